// The COM face of an automation object: IDispatch served from the object's
// dispatch map (automation/auto_object.h), with the class's dispatch
// interface from the embedded type library for GetTypeInfo. Also the class
// object of the two creatable classes.
#pragma once

#include <windows.h>
// windows.h first: the headers below need its types.
#include <oleauto.h>

#include <atomic>
#include <memory>

#include "automation/auto_object.h"

namespace quillon::com {

// The module handle of Quillon.dll (set by DllMain).
HINSTANCE ModuleInstance();
// The identifier in a dispatch map's registry form ("XXXXXXXX-...").
GUID GuidOf(std::string_view registry_form);

class ComObject final : public IDispatch {
 public:
  // A new COM object with one reference, owning a share of `object`.
  static IDispatch* Wrap(std::shared_ptr<AutoObject> object);

  // IUnknown: IUnknown, IDispatch and the class's dispatch interface.
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;

  // IDispatch
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** out) override;
  // Names are found without regard to case; parameter names are not
  // resolved (named arguments are refused by Invoke).
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID,
                                          DISPID* ids) override;
  // Methods and property gets; exactly the declared number of positional
  // arguments, each coerced to its declared type.
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params,
                                   VARIANT* result, EXCEPINFO*, UINT* arg_error) override;

 private:
  explicit ComObject(std::shared_ptr<AutoObject> object);
  ~ComObject();

  std::atomic<ULONG> references_{1};
  std::shared_ptr<AutoObject> object_;
  const AutoClass& class_;
};

// The class object of a creatable class: makes a new automation object of
// that class per request. Lives as long as the module.
class ClassFactory final : public IClassFactory {
 public:
  using Maker = std::shared_ptr<AutoObject> (*)();
  ClassFactory(const AutoClass& automation_class, Maker maker)
      : class_(automation_class), maker_(maker) {}
  const AutoClass& Class() const { return class_; }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override;
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

 private:
  const AutoClass& class_;
  Maker maker_;
};

}  // namespace quillon::com
