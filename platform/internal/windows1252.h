// The Windows-1252 code page as a table, used as the ANSI code page where
// the platform has none (POSIX). Kept portable so it can be tested on every
// build.
#pragma once

#include <optional>

namespace quillon::platform {

// The UTF-16 unit for a Windows-1252 byte. Bytes 0x81, 0x8D, 0x8F, 0x90 and
// 0x9D have no character and map to the C1 control of the same value, as
// Windows' own conversion does.
char16_t Windows1252ToUtf16(unsigned char byte);

// The Windows-1252 byte for a UTF-16 unit, or nothing when the code page
// has no such character.
std::optional<unsigned char> Utf16ToWindows1252(char16_t unit);

}  // namespace quillon::platform
