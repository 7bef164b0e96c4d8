// Quillon.dll's four exports: class objects of the creatable classes,
// unload checks and self-registration (type library, classes, ProgIDs,
// apartment threading).
#include <windows.h>
// windows.h first: the headers below need its types.
#include <oleauto.h>
#include <olectl.h>

#include <array>
#include <memory>
#include <string>

#include "automation/auto_event_service.h"
#include "automation/auto_item_store_files.h"
#include "automation/module.h"
#include "com/com_object.h"

namespace quillon::com {

namespace {

HINSTANCE g_instance = nullptr;

std::shared_ptr<AutoObject> MakeItemStoreFiles() { return std::make_shared<CAutoItemStoreFiles>(); }
std::shared_ptr<AutoObject> MakeEventService() { return std::make_shared<CAutoEventService>(); }

std::array<ClassFactory, 2>& ClassObjects() {
  static std::array<ClassFactory, 2> factories{
      ClassFactory(ItemStoreFilesClass(), &MakeItemStoreFiles),
      ClassFactory(EventServiceClass(), &MakeEventService)};
  return factories;
}

std::wstring Widen(std::string_view text) { return std::wstring(text.begin(), text.end()); }

std::wstring Braced(std::string_view guid) { return L"{" + Widen(guid) + L"}"; }

std::wstring ModulePath() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD n = GetModuleFileNameW(g_instance, path.data(), static_cast<DWORD>(path.size()));
    if (n == 0) return {};
    if (n < path.size()) {
      path.resize(n);
      return path;
    }
    path.resize(path.size() * 2);
  }
}

// Sets the value `name` (default value when empty) of HKCR\`key`.
bool SetValue(const std::wstring& key, const wchar_t* name, const std::wstring& value) {
  HKEY handle = nullptr;
  if (RegCreateKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &handle,
                      nullptr) != ERROR_SUCCESS) {
    return false;
  }
  const auto bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
  const LONG status =
      RegSetValueExW(handle, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()), bytes);
  RegCloseKey(handle);
  return status == ERROR_SUCCESS;
}

// Removes HKCR\`key` with everything below it; a key that is not there is
// already removed.
bool RemoveKey(const std::wstring& key) {
  const LONG status = RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
  if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND) return false;
  if (status == ERROR_SUCCESS) RegDeleteKeyW(HKEY_CLASSES_ROOT, key.c_str());
  return true;
}

bool RegisterClass(const AutoClass& c, const std::wstring& module_path) {
  const std::wstring clsid = L"CLSID\\" + Braced(c.class_id);
  const std::wstring prog_id = Widen(c.prog_id);
  const std::wstring name = Widen(c.name);
  return SetValue(clsid, nullptr, name) && SetValue(clsid + L"\\ProgID", nullptr, prog_id) &&
         SetValue(clsid + L"\\InprocServer32", nullptr, module_path) &&
         SetValue(clsid + L"\\InprocServer32", L"ThreadingModel", L"Apartment") &&
         SetValue(clsid + L"\\TypeLib", nullptr, Braced(QuillonTypeLibrary().library_id)) &&
         SetValue(prog_id, nullptr, name) &&
         SetValue(prog_id + L"\\CLSID", nullptr, Braced(c.class_id));
}

bool UnregisterClass(const AutoClass& c) {
  return RemoveKey(L"CLSID\\" + Braced(c.class_id)) && RemoveKey(Widen(c.prog_id));
}

}  // namespace

HINSTANCE ModuleInstance() { return g_instance; }

}  // namespace quillon::com

using namespace quillon;
using namespace quillon::com;

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    g_instance = instance;
    DisableThreadLibraryCalls(instance);
  }
  return TRUE;
}

extern "C" HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID clsid, REFIID iid, void** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  for (ClassFactory& factory : ClassObjects()) {
    if (IsEqualCLSID(clsid, GuidOf(factory.Class().class_id))) {
      // The database is loaded before the first object can need it.
      automation::ProcessDatabase();
      return factory.QueryInterface(iid, out);
    }
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

extern "C" HRESULT STDAPICALLTYPE DllCanUnloadNow() {
  return automation::CanUnloadNow() ? S_OK : S_FALSE;
}

extern "C" HRESULT STDAPICALLTYPE DllRegisterServer() {
  std::wstring path = ModulePath();
  ITypeLib* library = nullptr;
  if (path.empty() || FAILED(LoadTypeLibEx(path.c_str(), REGKIND_NONE, &library))) {
    return SELFREG_E_TYPELIB;
  }
  const HRESULT hr = RegisterTypeLib(library, path.data(), nullptr);
  library->Release();
  if (FAILED(hr)) return SELFREG_E_TYPELIB;
  for (const ClassFactory& factory : ClassObjects()) {
    if (!RegisterClass(factory.Class(), path)) return SELFREG_E_CLASS;
  }
  return S_OK;
}

extern "C" HRESULT STDAPICALLTYPE DllUnregisterServer() {
  const AutoTypeLibrary& lib = QuillonTypeLibrary();
  const GUID id = GuidOf(lib.library_id);
  // Locale 0 first; registration files the library under its own locale
  // (0x409), which is where the platform finds it when 0 is not there.
  if (FAILED(UnRegisterTypeLib(id, lib.major_version, lib.minor_version, 0, SYS_WIN64)) &&
      FAILED(UnRegisterTypeLib(id, lib.major_version, lib.minor_version, lib.locale, SYS_WIN64))) {
    return SELFREG_E_TYPELIB;
  }
  for (const ClassFactory& factory : ClassObjects()) {
    if (!UnregisterClass(factory.Class())) return SELFREG_E_CLASS;
  }
  return S_OK;
}
