// Text conversions at the edges of the system. Text inside Quillon is
// UTF-16 (std::u16string); these convert to and from UTF-8 (terminal,
// Python) and the ANSI code page (Windows-1252 on POSIX, CP_ACP on Windows).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillon::platform {

// Invalid sequences become U+FFFD; never fails.
std::string Utf16ToUtf8(std::u16string_view text);
std::u16string Utf8ToUtf16(std::string_view text);
// ANSI code page to UTF-16 and back; unmappable characters become '?'.
std::u16string AnsiToUtf16(std::string_view text);
std::string Utf16ToAnsi(std::u16string_view text);

// The IsTextUnicode test as the database loader uses it: true for bytes
// starting with a UTF-16LE byte-order mark (FF FE) or that look like
// UTF-16LE text (statistics on zero bytes in odd positions); false for plain
// ANSI/ASCII text. Deterministic and identical on every platform.
bool LooksLikeUtf16(const void* data, std::size_t length);

}  // namespace quillon::platform
