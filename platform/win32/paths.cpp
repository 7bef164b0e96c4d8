// Path queries on Windows.
#include <windows.h>

#include "platform/file.h"
#include "platform/win32/wide_path.h"

namespace quillon::platform {

bool PathExists(std::u16string_view path) {
  const auto wide = win32::WidePath(path);
  return wide && ::GetFileAttributesW(wide->c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::uint32_t DeleteFilePath(std::u16string_view path) {
  const auto wide = win32::WidePath(path);
  if (!wide) return win32::BadPathError(path);
  return ::DeleteFileW(wide->c_str()) ? error::kSuccess : ::GetLastError();
}

bool IsFixedDriveRoot(std::u16string_view root) {
  const auto wide = win32::WidePath(root);
  return wide && ::GetDriveTypeW(wide->c_str()) == DRIVE_FIXED;
}

bool IsLocalFixedPath(std::u16string_view /*path*/) { return false; }

char16_t PathSeparator() { return u'\\'; }

}  // namespace quillon::platform
