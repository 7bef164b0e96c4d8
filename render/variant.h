// A portable, VARIANT-like typed value: what a parsed field's value is
// handed out as. The type codes are the automation VT_ numbers, so the
// automation layer converts one into a real VARIANT by copying the value.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

namespace quillon {

enum class VariantType : std::uint16_t {
  kEmpty = 0,  // VT_EMPTY
  kI2 = 2,     // VT_I2
  kI4 = 3,     // VT_I4
  kR4 = 4,     // VT_R4
  kR8 = 5,     // VT_R8
  kText = 8,   // VT_BSTR
  kBool = 11,  // VT_BOOL
  kI1 = 16,    // VT_I1
  kUI1 = 17,   // VT_UI1
  kUI2 = 18,   // VT_UI2
  kUI4 = 19,   // VT_UI4
  kI8 = 20,    // VT_I8
  kUI8 = 21,   // VT_UI8
};

class Variant {
 public:
  Variant() = default;

  static Variant Bool(bool v) { return Variant(VariantType::kBool, v ? 1u : 0u); }
  static Variant I1(std::int8_t v) { return Signed(VariantType::kI1, v); }
  static Variant UI1(std::uint8_t v) { return Variant(VariantType::kUI1, v); }
  static Variant I2(std::int16_t v) { return Signed(VariantType::kI2, v); }
  static Variant UI2(std::uint16_t v) { return Variant(VariantType::kUI2, v); }
  static Variant I4(std::int32_t v) { return Signed(VariantType::kI4, v); }
  static Variant UI4(std::uint32_t v) { return Variant(VariantType::kUI4, v); }
  static Variant I8(std::int64_t v) { return Signed(VariantType::kI8, v); }
  static Variant UI8(std::uint64_t v) { return Variant(VariantType::kUI8, v); }
  static Variant R4(float v) {
    std::uint32_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    return Variant(VariantType::kR4, bits);
  }
  static Variant R8(double v) {
    std::uint64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    return Variant(VariantType::kR8, bits);
  }
  static Variant Text(std::u16string v) {
    Variant r(VariantType::kText, 0);
    r.text_ = std::move(v);
    return r;
  }

  VariantType Type() const { return type_; }
  bool IsEmpty() const { return type_ == VariantType::kEmpty; }

  // The integer types (and bool) as a 64-bit number: signed types are
  // sign-extended, unsigned ones zero-extended.
  std::int64_t AsInt64() const { return static_cast<std::int64_t>(bits_); }
  std::uint64_t AsUInt64() const { return bits_; }
  bool AsBool() const { return bits_ != 0; }
  float AsFloat() const {
    const auto low = static_cast<std::uint32_t>(bits_);
    float f;
    std::memcpy(&f, &low, sizeof f);
    return f;
  }
  double AsDouble() const {
    double d;
    std::memcpy(&d, &bits_, sizeof d);
    return d;
  }
  const std::u16string& AsText() const { return text_; }

  friend bool operator==(const Variant&, const Variant&) = default;

 private:
  Variant(VariantType type, std::uint64_t bits) : type_(type), bits_(bits) {}
  static Variant Signed(VariantType type, std::int64_t v) {
    return Variant(type, static_cast<std::uint64_t>(v));
  }

  VariantType type_ = VariantType::kEmpty;
  std::uint64_t bits_ = 0;
  std::u16string text_;
};

}  // namespace quillon
