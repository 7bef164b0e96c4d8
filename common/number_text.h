// Fast appenders for the fixed number formats of value texts ("%u", "%d",
// "0x%0NX" ...). They produce exactly what the printf formats produce and
// avoid a format-string parse for every field.
#pragma once

#include <cstdint>
#include <string>

namespace quillon {

// "%u" / "%I64u".
inline void AppendDecimal(std::u16string& out, std::uint64_t value) {
  char16_t digits[20];
  int n = 0;
  do {
    digits[n++] = static_cast<char16_t>(u'0' + value % 10);
    value /= 10;
  } while (value != 0);
  while (n > 0) out.push_back(digits[--n]);
}

// "%d" / "%hd" / "%I64d" of a value already sign-extended to 64 bits.
inline void AppendSignedDecimal(std::u16string& out, std::int64_t value) {
  if (value < 0) {
    out.push_back(u'-');
    AppendDecimal(out, 0 - static_cast<std::uint64_t>(value));
  } else {
    AppendDecimal(out, static_cast<std::uint64_t>(value));
  }
}

// "%0<min_digits>X": upper-case hexadecimal with at least `min_digits`
// digits (1 gives plain "%X").
inline void AppendHexDigits(std::u16string& out, std::uint64_t value, int min_digits) {
  static constexpr char16_t kDigits[] = u"0123456789ABCDEF";
  char16_t digits[16];
  int n = 0;
  do {
    digits[n++] = kDigits[value & 0xF];
    value >>= 4;
  } while (value != 0);
  for (int pad = n; pad < min_digits; ++pad) out.push_back(u'0');
  while (n > 0) out.push_back(digits[--n]);
}

// "0x%0<min_digits>X".
inline void AppendHexPrefixed(std::u16string& out, std::uint64_t value, int min_digits) {
  out.push_back(u'0');
  out.push_back(u'x');
  AppendHexDigits(out, value, min_digits);
}

}  // namespace quillon
