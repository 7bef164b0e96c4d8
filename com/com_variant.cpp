#include "com/com_variant.h"

#include <cstring>
#include <memory>

#include "com/com_object.h"

namespace quillon::com {

namespace {

const wchar_t* Wide(const char16_t* text) { return reinterpret_cast<const wchar_t*>(text); }

std::u16string FromBstr(BSTR text) {
  if (text == nullptr) return {};
  return std::u16string(reinterpret_cast<const char16_t*>(text), SysStringLen(text));
}

// A one-dimensional SAFEARRAY of bytes, lower bound 0 (never null).
HRESULT StoreBytes(const AutoByteArray& array, VARIANT* out) {
  SAFEARRAY* sa =
      SafeArrayCreateVector(array.element_type, 0, static_cast<ULONG>(array.bytes.size()));
  if (sa == nullptr) return E_OUTOFMEMORY;
  if (!array.bytes.empty()) std::memcpy(sa->pvData, array.bytes.data(), array.bytes.size());
  V_VT(out) = static_cast<VARTYPE>(VT_ARRAY | array.element_type);
  V_ARRAY(out) = sa;
  return S_OK;
}

// Any VARIANT as a value of the model. Only byte arrays keep their
// contents (read straight from the array's data, without locking it);
// other values keep their type and scalar bits.
AutoVariant ReadValue(const VARIANT& in, std::deque<AutoVariant>& storage) {
  const VARTYPE vt = V_VT(&in);
  if (vt == (VT_BYREF | VT_VARIANT)) {
    if (V_VARIANTREF(&in) == nullptr) return AutoVariant::Bits(vt, 0);
    storage.push_back(ReadValue(*V_VARIANTREF(&in), storage));
    return AutoVariant::ByRef(&storage.back());
  }
  if (vt == (VT_ARRAY | VT_UI1) || vt == (VT_ARRAY | VT_I1)) {
    const SAFEARRAY* sa = V_ARRAY(&in);
    const auto element = static_cast<std::uint16_t>(vt & ~VT_ARRAY);
    if (sa == nullptr) return AutoVariant::Array(element, nullptr);
    auto array = std::make_shared<AutoByteArray>();
    array->element_type = element;
    if (sa->cDims >= 1) {
      array->lower_bound = sa->rgsabound[0].lLbound;
      const auto* data = static_cast<const std::uint8_t*>(sa->pvData);
      if (data != nullptr) array->bytes.assign(data, data + sa->rgsabound[0].cElements);
    }
    return AutoVariant::Array(element, std::move(array));
  }
  if (vt == VT_BSTR) return AutoVariant::Bstr(FromBstr(V_BSTR(&in)));
  if (vt & (VT_BYREF | VT_ARRAY)) return AutoVariant::Bits(vt, 0);
  return AutoVariant::Bits(vt, static_cast<std::uint64_t>(V_I8(&in)));
}

}  // namespace

BSTR MakeBstr(std::u16string_view text) {
  return SysAllocStringLen(Wide(text.data()), static_cast<UINT>(text.size()));
}

HRESULT StoreResult(const AutoVariant& value, AutoType type, VARIANT* out) {
  switch (type) {
    case AutoType::kUI4:
      V_VT(out) = VT_UI4;
      V_UI4(out) = value.AsUI4();
      return S_OK;
    case AutoType::kBool:
      V_VT(out) = VT_BOOL;
      V_BOOL(out) = value.AsBool() ? VARIANT_TRUE : VARIANT_FALSE;
      return S_OK;
    case AutoType::kDate:
      V_VT(out) = VT_DATE;
      V_DATE(out) = value.AsDouble();
      return S_OK;
    case AutoType::kR8:
      V_VT(out) = VT_R8;
      V_R8(out) = value.AsDouble();
      return S_OK;
    case AutoType::kBstr:
      V_VT(out) = VT_BSTR;
      V_BSTR(out) = MakeBstr(value.AsText());
      return V_BSTR(out) ? S_OK : E_OUTOFMEMORY;
    case AutoType::kDispatch:
      V_VT(out) = VT_DISPATCH;
      V_DISPATCH(out) = value.AsObject() ? ComObject::Wrap(value.AsObject()) : nullptr;
      return S_OK;
    case AutoType::kVariant:
      break;
  }
  const std::uint16_t vt = value.Type();
  if (vt & VT_ARRAY) {
    if (!value.AsArray()) {
      V_VT(out) = vt;
      V_ARRAY(out) = nullptr;
      return S_OK;
    }
    return StoreBytes(*value.AsArray(), out);
  }
  switch (vt) {
    case kVtEmpty:
      return S_OK;
    case kVtBstr:
      return StoreResult(value, AutoType::kBstr, out);
    case kVtDispatch:
      return StoreResult(value, AutoType::kDispatch, out);
    case kVtBool:
      return StoreResult(value, AutoType::kBool, out);
    default:
      // Scalars: the bits fill the union from its first byte, as each
      // member of the type's width reads them.
      V_VT(out) = vt;
      V_UI8(out) = value.RawBits();
      return S_OK;
  }
}

HRESULT ReadArgument(const VARIANT& in, AutoType type, std::deque<AutoVariant>& storage,
                     AutoVariant* out) {
  if (type == AutoType::kVariant) {
    *out = ReadValue(in, storage);
    return S_OK;
  }
  VARIANT value;
  VariantInit(&value);
  // Reads through a by-reference script variable.
  HRESULT hr = VariantCopyInd(&value, const_cast<VARIANT*>(&in));
  if (SUCCEEDED(hr)) hr = VariantChangeType(&value, &value, 0, VarTypeOf(type));
  if (FAILED(hr)) {
    VariantClear(&value);
    return DISP_E_TYPEMISMATCH;
  }
  switch (type) {
    case AutoType::kUI4:
      *out = AutoVariant::UI4(V_UI4(&value));
      break;
    case AutoType::kBool:
      *out = AutoVariant::Bool(V_BOOL(&value) != VARIANT_FALSE);
      break;
    case AutoType::kBstr:
      *out = AutoVariant::Bstr(FromBstr(V_BSTR(&value)));
      break;
    case AutoType::kDate:
      *out = AutoVariant::Date(V_DATE(&value));
      break;
    case AutoType::kR8:
      *out = AutoVariant::R8(V_R8(&value));
      break;
    case AutoType::kDispatch:
    case AutoType::kVariant:
      // No method takes an object; variants are handled above.
      hr = DISP_E_TYPEMISMATCH;
      break;
  }
  VariantClear(&value);
  return hr;
}

}  // namespace quillon::com
