// The UTF-16 test used when reading text whose encoding is not declared.
// The rule (also described in docs/platform.md) is our own, deterministic
// and the same on every platform:
//  - fewer than two bytes, or an odd count: not UTF-16;
//  - at most the first 256 UTF-16LE units are examined, trailing zero units
//    (terminators appended by callers) are ignored;
//  - a first unit FEFF (bytes FF FE) is UTF-16; FFFE (bytes FE FF, a
//    byte-swapped mark) is not;
//  - units that never occur in text (U+0000 inside the text, U+FFFE,
//    U+FFFF, unpaired surrogates) mean not UTF-16;
//  - otherwise the text is UTF-16 when more than half of its units lie in
//    U+0001..U+00FF, i.e. have a zero byte at the odd offset. ANSI text
//    almost never contains zero bytes, so it fails this test.
#include <cstddef>
#include <cstdint>

#include "platform/text_codec.h"

namespace quillon::platform {
namespace {

constexpr std::size_t kMaxUnits = 256;

}  // namespace

bool LooksLikeUtf16(const void* data, std::size_t length) {
  if (data == nullptr || length < 2 || length % 2 != 0) return false;
  const auto* bytes = static_cast<const unsigned char*>(data);
  std::size_t count = length / 2;
  const bool cut = count > kMaxUnits;
  if (cut) count = kMaxUnits;
  auto unit = [bytes](std::size_t i) {
    return static_cast<char16_t>(bytes[2 * i] | (bytes[2 * i + 1] << 8));
  };

  while (count > 0 && unit(count - 1) == 0) --count;
  if (count == 0) return false;
  if (unit(0) == 0xFEFF) return true;
  if (unit(0) == 0xFFFE) return false;

  std::size_t narrow = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const char16_t u = unit(i);
    if (u == 0 || u == 0xFFFE || u == 0xFFFF) return false;
    if (u >= 0xD800 && u <= 0xDBFF) {
      // A high surrogate needs a low one next; one cut off by the examined
      // window is given the benefit of the doubt.
      if (i + 1 == count) {
        if (!cut) return false;
        continue;
      }
      const char16_t next = unit(i + 1);
      if (next < 0xDC00 || next > 0xDFFF) return false;
      ++i;
      continue;
    }
    if (u >= 0xDC00 && u <= 0xDFFF) return false;
    if (u <= 0xFF) ++narrow;
  }
  return narrow * 2 > count;
}

}  // namespace quillon::platform
