#include "platform/win32/wide_path.h"

#include "platform/file.h"

namespace quillon::platform::win32 {

std::optional<std::wstring> WidePath(std::u16string_view path) {
  if (path.empty() || path.find(u'\0') != std::u16string_view::npos) return std::nullopt;
  return std::wstring(reinterpret_cast<const wchar_t*>(path.data()), path.size());
}

std::uint32_t BadPathError(std::u16string_view path) {
  // The same answers as the POSIX build: an empty name is a missing path,
  // a NUL inside a counted path is a caller error (the API would silently
  // cut the name there).
  return path.empty() ? error::kPathNotFound : error::kInvalidParameter;
}

}  // namespace quillon::platform::win32
