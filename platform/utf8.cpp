// UTF-16 <-> UTF-8. Portable on purpose: the Windows build uses this code
// too, so replacement of invalid input is identical on every platform.
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/text_codec.h"

namespace quillon::platform {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char32_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool IsLowSurrogate(char32_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

void AppendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out.push_back(static_cast<char>(c));
  } else if (c < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (c >> 6)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else if (c < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (c >> 12)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (c >> 18)));
    out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

void AppendUtf16(std::u16string& out, char32_t c) {
  if (c < 0x10000) {
    out.push_back(static_cast<char16_t>(c));
  } else {
    c -= 0x10000;
    out.push_back(static_cast<char16_t>(0xD800 | (c >> 10)));
    out.push_back(static_cast<char16_t>(0xDC00 | (c & 0x3FF)));
  }
}

// Decodes one UTF-8 sequence at `pos`. A malformed sequence yields U+FFFD
// and consumes its maximal valid prefix (at least one byte), the
// substitution practice recommended by Unicode.
char32_t DecodeUtf8(std::string_view text, std::size_t& pos) {
  const auto lead = static_cast<unsigned char>(text[pos++]);
  if (lead < 0x80) return lead;

  unsigned count = 0;
  char32_t value = 0;
  unsigned char lower = 0x80;
  unsigned char upper = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    count = 1;
    value = lead & 0x1F;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    count = 2;
    value = lead & 0x0F;
    if (lead == 0xE0) lower = 0xA0;  // overlong
    if (lead == 0xED) upper = 0x9F;  // surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    count = 3;
    value = lead & 0x07;
    if (lead == 0xF0) lower = 0x90;  // overlong
    if (lead == 0xF4) upper = 0x8F;  // above U+10FFFF
  } else {
    return kReplacement;
  }

  for (unsigned i = 0; i < count; ++i) {
    if (pos >= text.size()) return kReplacement;
    const auto next = static_cast<unsigned char>(text[pos]);
    if (next < lower || next > upper) return kReplacement;
    lower = 0x80;
    upper = 0xBF;
    value = (value << 6) | (next & 0x3F);
    ++pos;
  }
  return value;
}

}  // namespace

std::string Utf16ToUtf8(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (IsHighSurrogate(c) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
      c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<char32_t>(text[i + 1]) - 0xDC00);
      ++i;
    } else if (IsHighSurrogate(c) || IsLowSurrogate(c)) {
      c = kReplacement;  // unpaired surrogate
    }
    AppendUtf8(out, c);
  }
  return out;
}

std::u16string Utf8ToUtf16(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  std::size_t pos = 0;
  while (pos < text.size()) AppendUtf16(out, DecodeUtf8(text, pos));
  return out;
}

}  // namespace quillon::platform
