#include "automation/auto_variant.h"

#include <cstring>
#include <utility>

#include "automation/auto_object.h"

namespace quillon {

namespace {

std::uint64_t DoubleBits(double v) {
  std::uint64_t bits;
  std::memcpy(&bits, &v, sizeof bits);
  return bits;
}

}  // namespace

AutoVariant AutoVariant::Bits(std::uint16_t vt, std::uint64_t bits) {
  AutoVariant v;
  v.vt_ = vt;
  v.bits_ = bits;
  return v;
}

AutoVariant AutoVariant::R8(double v) { return Bits(kVtR8, DoubleBits(v)); }

AutoVariant AutoVariant::Date(double v) { return Bits(kVtDate, DoubleBits(v)); }

AutoVariant AutoVariant::Bstr(std::u16string v) {
  AutoVariant r;
  r.vt_ = kVtBstr;
  r.text_ = std::move(v);
  return r;
}

AutoVariant AutoVariant::Dispatch(std::shared_ptr<AutoObject> object) {
  AutoVariant r;
  r.vt_ = kVtDispatch;
  r.object_ = std::move(object);
  return r;
}

AutoVariant AutoVariant::ByteArray(const std::uint8_t* data, std::size_t length) {
  auto array = std::make_shared<AutoByteArray>();
  if (data != nullptr && length > 0) array->bytes.assign(data, data + length);
  return Array(kVtUI1, std::move(array));
}

AutoVariant AutoVariant::Array(std::uint16_t element_type,
                               std::shared_ptr<const AutoByteArray> array) {
  AutoVariant r;
  r.vt_ = static_cast<std::uint16_t>(kVtArray | element_type);
  r.array_ = std::move(array);
  return r;
}

AutoVariant AutoVariant::ByRef(const AutoVariant* target) {
  AutoVariant r;
  r.vt_ = kVtByRef | kVtVariant;
  r.ref_ = target;
  return r;
}

AutoVariant AutoVariant::FromValue(const Variant& value) {
  switch (value.Type()) {
    case VariantType::kEmpty:
      return {};
    case VariantType::kText:
      return Bstr(value.AsText());
    case VariantType::kBool:
      return Bool(value.AsBool());
    default:
      return Bits(static_cast<std::uint16_t>(value.Type()), value.AsUInt64());
  }
}

const AutoVariant& AutoVariant::Deref() const {
  const AutoVariant* v = this;
  while (v->vt_ == (kVtByRef | kVtVariant) && v->ref_ != nullptr) v = v->ref_;
  return *v;
}

double AutoVariant::AsDouble() const {
  double d;
  std::memcpy(&d, &bits_, sizeof d);
  return d;
}

float AutoVariant::AsFloat() const {
  const auto low = static_cast<std::uint32_t>(bits_);
  float f;
  std::memcpy(&f, &low, sizeof f);
  return f;
}

const AutoByteArray* AutoVariant::PayloadBytes() const {
  const AutoVariant& v = Deref();
  if (v.vt_ != (kVtArray | kVtUI1) || !v.array_) return nullptr;
  return v.array_.get();
}

}  // namespace quillon
