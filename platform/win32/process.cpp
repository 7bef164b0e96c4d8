// Thread, module and clock queries on Windows.
#include <windows.h>

#include <string>

#include "platform/clock.h"
#include "platform/file.h"
#include "platform/win32/wide_path.h"

namespace quillon::platform {

std::uint32_t CurrentThreadId() { return ::GetCurrentThreadId(); }

std::u16string ModulePath() {
  // The module holding this function: the DLL when the library is built
  // into one, else the program.
  HMODULE module = nullptr;
  if (!::GetModuleHandleExW(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          reinterpret_cast<LPCWSTR>(&ModulePath), &module)) {
    return {};
  }
  std::wstring buffer(MAX_PATH, L'\0');
  for (;;) {
    const DWORD n = ::GetModuleFileNameW(module, buffer.data(), static_cast<DWORD>(buffer.size()));
    if (n == 0) return {};
    if (n < buffer.size()) {
      buffer.resize(n);
      return std::u16string(win32::AsU16(buffer));
    }
    if (buffer.size() >= 32768) return {};  // longer than any Windows path
    buffer.resize(buffer.size() * 2);
  }
}

FileTime CurrentFileTime() {
  FILETIME now{};
  ::GetSystemTimeAsFileTime(&now);
  return (static_cast<FileTime>(now.dwHighDateTime) << 32) | now.dwLowDateTime;
}

}  // namespace quillon::platform
