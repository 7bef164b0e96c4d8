// Shared libraries on Windows: GetModuleHandleW, LoadLibraryExW,
// LoadLibraryW, GetProcAddress, FreeLibrary.
#include "platform/dynamic_library.h"

#include <windows.h>

#include <string>

#include "platform/win32/wide_path.h"

namespace quillon::platform {

namespace {

std::u16string SystemMessage(DWORD code) {
  wchar_t* text = nullptr;
  const DWORD length = ::FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, code, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
  std::u16string message;
  if (length != 0 && text != nullptr) {
    message.assign(win32::AsU16(std::wstring_view(text, length)));
    while (!message.empty() && (message.back() == u'\n' || message.back() == u'\r')) {
      message.pop_back();
    }
  }
  if (text != nullptr) ::LocalFree(text);
  return message;
}

}  // namespace

LibraryModule FindOpenLibrary(std::u16string_view path) {
  const auto wide = win32::WidePath(path);
  if (!wide) return nullptr;
  return reinterpret_cast<LibraryModule>(::GetModuleHandleW(wide->c_str()));
}

LibraryOpenResult OpenLibrary(std::u16string_view path, LibraryLoadMode mode) {
  LibraryOpenResult result;
  const auto wide = win32::WidePath(path);
  if (!wide) {
    result.error = win32::BadPathError(path);
    return result;
  }
  HMODULE module = mode == LibraryLoadMode::kProbe
                       ? ::LoadLibraryExW(wide->c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES)
                       : ::LoadLibraryW(wide->c_str());
  if (module == nullptr) {
    result.error = ::GetLastError();
    result.message = SystemMessage(result.error);
  }
  result.module = reinterpret_cast<LibraryModule>(module);
  return result;
}

void CloseLibrary(LibraryModule module) {
  if (module != nullptr) ::FreeLibrary(reinterpret_cast<HMODULE>(module));
}

void* LibrarySymbol(LibraryModule module, const char* name) {
  if (module == nullptr || name == nullptr) return nullptr;
  return reinterpret_cast<void*>(::GetProcAddress(reinterpret_cast<HMODULE>(module), name));
}

std::string ExportSpelling(std::string_view decorated_name) { return std::string(decorated_name); }

std::u16string SharedLibraryFileName(std::u16string_view base_name) {
  return std::u16string(base_name) + u".dll";
}

}  // namespace quillon::platform
