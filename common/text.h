// Small helpers for the system's UTF-16 text.
//
// Text inside the core is std::u16string. These wrap the platform codecs for
// the edges (UTF-8 for terminals and tests, the ANSI code page for 8-bit
// device texts) and widen ASCII literals without a codec.
#pragma once

#include <string>
#include <string_view>

#include "platform/text_codec.h"

namespace quillon {

inline std::string ToUtf8(std::u16string_view text) { return platform::Utf16ToUtf8(text); }
inline std::u16string FromUtf8(std::string_view text) { return platform::Utf8ToUtf16(text); }
inline std::u16string FromAnsi(std::string_view text) { return platform::AnsiToUtf16(text); }

// Appends 7-bit ASCII text; each byte becomes one UTF-16 unit. Bytes above
// 0x7F are not ASCII and become '?', so the helper cannot be misused for
// code-page text.
inline void AppendAscii(std::u16string& out, std::string_view ascii) {
  const std::size_t at = out.size();
  out.resize(at + ascii.size());
  for (std::size_t i = 0; i < ascii.size(); ++i) {
    const auto c = static_cast<unsigned char>(ascii[i]);
    out[at + i] = c < 0x80 ? static_cast<char16_t>(c) : u'?';
  }
}

inline std::u16string Ascii(std::string_view ascii) {
  std::u16string out;
  AppendAscii(out, ascii);
  return out;
}

}  // namespace quillon
