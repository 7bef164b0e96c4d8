// The ANSI code page on Windows is the system's (CP_ACP).
#include <windows.h>

#include <climits>
#include <string>
#include <string_view>

#include "platform/text_codec.h"

namespace quillon::platform {

std::u16string AnsiToUtf16(std::string_view text) {
  if (text.empty()) return {};
  if (text.size() > INT_MAX) return {};
  const int in = static_cast<int>(text.size());
  const int n = ::MultiByteToWideChar(CP_ACP, 0, text.data(), in, nullptr, 0);
  if (n <= 0) return {};
  std::wstring out(static_cast<std::size_t>(n), L'\0');
  ::MultiByteToWideChar(CP_ACP, 0, text.data(), in, out.data(), n);
  return std::u16string(reinterpret_cast<const char16_t*>(out.data()), out.size());
}

std::string Utf16ToAnsi(std::u16string_view text) {
  if (text.empty()) return {};
  if (text.size() > INT_MAX) return {};
  const auto* wide = reinterpret_cast<const wchar_t*>(text.data());
  const int in = static_cast<int>(text.size());
  // No best-fit substitutes ("A" for "Ā"): unmappable characters become
  // '?', as on the other platforms. A UTF-8 system code page takes neither
  // flag nor default character.
  const bool utf8 = ::GetACP() == CP_UTF8;
  const DWORD flags = utf8 ? 0 : WC_NO_BEST_FIT_CHARS;
  const char* fallback = utf8 ? nullptr : "?";
  const int n = ::WideCharToMultiByte(CP_ACP, flags, wide, in, nullptr, 0, fallback, nullptr);
  if (n <= 0) return {};
  std::string out(static_cast<std::size_t>(n), '\0');
  ::WideCharToMultiByte(CP_ACP, flags, wide, in, out.data(), n, fallback, nullptr);
  return out;
}

}  // namespace quillon::platform
