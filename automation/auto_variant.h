// The automation value model, portable: a VARIANT with its type number, the
// text of a BSTR, a one-dimensional SAFEARRAY of bytes and the object of a
// VT_DISPATCH. Surfaces (COM, Python, the CLI) convert these to and from
// their own values and decide nothing about them: the type rules live here.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "render/variant.h"

namespace quillon {

class AutoObject;

// VARTYPE numbers, as the platform defines them.
enum VarType : std::uint16_t {
  kVtEmpty = 0,
  kVtNull = 1,
  kVtI2 = 2,
  kVtI4 = 3,
  kVtR4 = 4,
  kVtR8 = 5,
  kVtDate = 7,
  kVtBstr = 8,
  kVtDispatch = 9,
  kVtBool = 11,
  kVtVariant = 12,
  kVtI1 = 16,
  kVtUI1 = 17,
  kVtUI2 = 18,
  kVtUI4 = 19,
  kVtI8 = 20,
  kVtUI8 = 21,
  kVtArray = 0x2000,
  kVtByRef = 0x4000,
};

// The automation boolean: true is all bits set.
inline constexpr std::int16_t kAutoTrue = -1;
inline constexpr std::int16_t kAutoFalse = 0;

// A one-dimensional safe array of 1-byte elements (VT_UI1 or VT_I1).
struct AutoByteArray {
  std::uint16_t element_type = kVtUI1;
  std::int32_t lower_bound = 0;
  std::vector<std::uint8_t> bytes;
};

class AutoVariant {
 public:
  // VT_EMPTY.
  AutoVariant() = default;

  static AutoVariant UI4(std::uint32_t v) { return Bits(kVtUI4, v); }
  // VT_BOOL holding -1 or 0.
  static AutoVariant Bool(bool v) {
    return Bits(kVtBool, static_cast<std::uint16_t>(v ? kAutoTrue : kAutoFalse));
  }
  static AutoVariant R8(double v);
  // An automation date (days since 30 December 1899, fraction = time).
  static AutoVariant Date(double v);
  static AutoVariant Bstr(std::u16string v);
  // VT_DISPATCH; a null `object` is the automation null object.
  static AutoVariant Dispatch(std::shared_ptr<AutoObject> object);
  // VT_ARRAY | VT_UI1 with lower bound 0 holding a copy of the bytes; never
  // a null array, also for no bytes.
  static AutoVariant ByteArray(const std::uint8_t* data, std::size_t length);
  // VT_ARRAY | element type over `array`; a null `array` is a null SAFEARRAY.
  static AutoVariant Array(std::uint16_t element_type, std::shared_ptr<const AutoByteArray> array);
  // VT_BYREF | VT_VARIANT: a script variable passed by reference. `target`
  // must outlive this value.
  static AutoVariant ByRef(const AutoVariant* target);
  // A parsed field value: the same type number and value; strings become
  // a BSTR, booleans the automation boolean.
  static AutoVariant FromValue(const Variant& value);
  // Any scalar type with its raw bits (tests and surfaces).
  static AutoVariant Bits(std::uint16_t vt, std::uint64_t bits);

  // The full type number, VT_ARRAY and VT_BYREF bits included.
  std::uint16_t Type() const { return vt_; }
  bool IsEmpty() const { return vt_ == kVtEmpty; }
  // The variant a VT_BYREF | VT_VARIANT refers to (through any chain of
  // them); this one otherwise.
  const AutoVariant& Deref() const;

  // Raw bits of a scalar: signed types sign-extended, VT_BOOL as -1 / 0,
  // VT_R4/VT_R8/VT_DATE as their bit patterns.
  std::uint64_t RawBits() const { return bits_; }
  std::uint32_t AsUI4() const { return static_cast<std::uint32_t>(bits_); }
  bool AsBool() const { return bits_ != 0; }
  double AsDouble() const;  // VT_R8 and VT_DATE
  float AsFloat() const;    // VT_R4
  const std::u16string& AsText() const { return text_; }
  const std::shared_ptr<AutoObject>& AsObject() const { return object_; }
  const std::shared_ptr<const AutoByteArray>& AsArray() const { return array_; }

  // The bytes of an event payload: only a VT_ARRAY | VT_UI1 holding a
  // non-null array qualifies, directly or through a by-reference variant;
  // null for every other type (signed bytes and other arrays included).
  const AutoByteArray* PayloadBytes() const;

 private:
  std::uint16_t vt_ = kVtEmpty;
  std::uint64_t bits_ = 0;
  std::u16string text_;
  std::shared_ptr<const AutoByteArray> array_;
  std::shared_ptr<AutoObject> object_;
  const AutoVariant* ref_ = nullptr;
};

}  // namespace quillon
