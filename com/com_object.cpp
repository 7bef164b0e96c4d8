#include "com/com_object.h"

#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "automation/module.h"
#include "com/com_variant.h"

namespace quillon::com {

namespace {

// The type library loaded back from this module, once.
ITypeLib* ModuleTypeLibrary() {
  static ITypeLib* library = [] {
    wchar_t path[MAX_PATH];
    ITypeLib* loaded = nullptr;
    if (GetModuleFileNameW(ModuleInstance(), path, MAX_PATH) != 0) {
      LoadTypeLibEx(path, REGKIND_NONE, &loaded);
    }
    return loaded;
  }();
  return library;
}

}  // namespace

GUID GuidOf(std::string_view registry_form) {
  std::wstring text = L"{";
  text.append(registry_form.begin(), registry_form.end());
  text += L"}";
  GUID guid{};
  CLSIDFromString(text.data(), &guid);
  return guid;
}

IDispatch* ComObject::Wrap(std::shared_ptr<AutoObject> object) {
  return new ComObject(std::move(object));
}

ComObject::ComObject(std::shared_ptr<AutoObject> object)
    : object_(std::move(object)), class_(object_->Class()) {}

ComObject::~ComObject() = default;

HRESULT ComObject::QueryInterface(REFIID iid, void** out) {
  if (out == nullptr) return E_POINTER;
  if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch) ||
      IsEqualIID(iid, GuidOf(class_.interface_id))) {
    *out = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  *out = nullptr;
  return E_NOINTERFACE;
}

ULONG ComObject::AddRef() { return ++references_; }

ULONG ComObject::Release() {
  const ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

HRESULT ComObject::GetTypeInfoCount(UINT* count) {
  if (count == nullptr) return E_POINTER;
  *count = 1;
  return S_OK;
}

HRESULT ComObject::GetTypeInfo(UINT index, LCID, ITypeInfo** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (index != 0) return DISP_E_BADINDEX;
  ITypeLib* library = ModuleTypeLibrary();
  if (library == nullptr) return TYPE_E_CANTLOADLIBRARY;
  return library->GetTypeInfoOfGuid(GuidOf(class_.interface_id), out);
}

HRESULT ComObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  if (names == nullptr || ids == nullptr || count == 0) return E_INVALIDARG;
  HRESULT hr = S_OK;
  const AutoMethod* method =
      names[0] ? class_.FindMethod(std::u16string_view(reinterpret_cast<const char16_t*>(names[0])))
               : nullptr;
  ids[0] = method ? method->dispid : DISPID_UNKNOWN;
  if (!method) hr = DISP_E_UNKNOWNNAME;
  for (UINT i = 1; i < count; ++i) {
    ids[i] = DISPID_UNKNOWN;
    hr = DISP_E_UNKNOWNNAME;
  }
  return hr;
}

HRESULT ComObject::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                          EXCEPINFO*, UINT* arg_error) {
  const AutoMethod* method = class_.FindMethod(static_cast<std::int32_t>(id));
  if (method == nullptr) return DISP_E_MEMBERNOTFOUND;
  if ((flags & (DISPATCH_METHOD | DISPATCH_PROPERTYGET)) == 0) return DISP_E_MEMBERNOTFOUND;
  if (params == nullptr) return E_INVALIDARG;
  if (params->cNamedArgs != 0) return DISP_E_NONAMEDARGS;
  if (params->cArgs != method->params.size()) return DISP_E_BADPARAMCOUNT;

  std::deque<AutoVariant> storage;
  std::vector<AutoVariant> args(method->params.size());
  for (std::size_t i = 0; i < args.size(); ++i) {
    // Arguments arrive last first.
    const UINT position = params->cArgs - 1 - static_cast<UINT>(i);
    const HRESULT hr =
        ReadArgument(params->rgvarg[position], method->params[i].type, storage, &args[i]);
    if (FAILED(hr)) {
      if (arg_error) *arg_error = position;
      return hr;
    }
  }
  const AutoVariant value = object_->Invoke(*method, args);
  if (result == nullptr) return S_OK;
  VariantInit(result);
  return StoreResult(value, method->result, result);
}

HRESULT ClassFactory::QueryInterface(REFIID iid, void** out) {
  if (out == nullptr) return E_POINTER;
  if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IClassFactory)) {
    *out = static_cast<IClassFactory*>(this);
    return S_OK;
  }
  *out = nullptr;
  return E_NOINTERFACE;
}

HRESULT ClassFactory::CreateInstance(IUnknown* outer, REFIID iid, void** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (outer != nullptr) return CLASS_E_NOAGGREGATION;
  std::shared_ptr<AutoObject> object;
  try {
    object = maker_();
  } catch (...) {
    return E_OUTOFMEMORY;
  }
  IDispatch* dispatch = ComObject::Wrap(std::move(object));
  const HRESULT hr = dispatch->QueryInterface(iid, out);
  dispatch->Release();
  return hr;
}

HRESULT ClassFactory::LockServer(BOOL lock) {
  if (lock) {
    automation::LockModule();
  } else {
    automation::UnlockModule();
  }
  return S_OK;
}

}  // namespace quillon::com
