#include "platform/internal/windows1252.h"

namespace quillon::platform {
namespace {

// 0x80..0x9F; everything else is ISO 8859-1 (identity).
constexpr char16_t kHighControls[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  // 80
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  // 88
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 90
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,  // 98
};

}  // namespace

char16_t Windows1252ToUtf16(unsigned char byte) {
  if (byte >= 0x80 && byte <= 0x9F) return kHighControls[byte - 0x80];
  return byte;
}

std::optional<unsigned char> Utf16ToWindows1252(char16_t unit) {
  if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF)) return static_cast<unsigned char>(unit);
  for (unsigned i = 0; i < 32; ++i) {
    if (kHighControls[i] == unit) return static_cast<unsigned char>(0x80 + i);
  }
  return std::nullopt;
}

}  // namespace quillon::platform
