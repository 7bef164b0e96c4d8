// The ANSI code page on POSIX is Windows-1252, the code page of the
// systems whose files and texts the library exchanges.
#include <string>
#include <string_view>

#include "platform/internal/windows1252.h"
#include "platform/text_codec.h"

namespace quillon::platform {

std::u16string AnsiToUtf16(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  for (const char c : text) out.push_back(Windows1252ToUtf16(static_cast<unsigned char>(c)));
  return out;
}

std::string Utf16ToAnsi(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t unit = text[i];
    // A surrogate pair is one character and becomes one '?'.
    if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
        text[i + 1] <= 0xDFFF) {
      ++i;
    }
    const auto byte = Utf16ToWindows1252(unit);
    out.push_back(byte ? static_cast<char>(*byte) : '?');
  }
  return out;
}

}  // namespace quillon::platform
