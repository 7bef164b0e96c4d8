// Helpers shared by the Windows implementation: UTF-16 text as the
// NUL-terminated wide strings the API takes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillon::platform::win32 {

static_assert(sizeof(wchar_t) == sizeof(char16_t), "Windows wide characters are UTF-16 units");

// A NUL-terminated copy of `path`, or nothing for a path that cannot name
// a file (empty or containing U+0000).
std::optional<std::wstring> WidePath(std::u16string_view path);

// Checks for a path refused by WidePath, with the code Windows gives.
std::uint32_t BadPathError(std::u16string_view path);

inline std::u16string_view AsU16(std::wstring_view text) {
  return {reinterpret_cast<const char16_t*>(text.data()), text.size()};
}

}  // namespace quillon::platform::win32
