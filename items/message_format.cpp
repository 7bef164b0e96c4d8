#include "items/message_format.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "common/number_text.h"
#include "common/text.h"
#include "common/word_format.h"
#include "items/message_layout.h"
#include "items/payload_reader.h"

namespace quillon {

namespace {

constexpr std::u16string_view kInvalidFormatText = u"Error: Invalid message format: ";

bool IsTrailingSpace(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }

// The heading "%18s  %05d  " of a 16-bit line number, appended without a
// format parse (every MSG item renders one).
void AppendHeading(std::u16string_view file, std::uint16_t line, std::u16string& out) {
  constexpr std::size_t kFileColumns = 18;
  if (file.size() < kFileColumns) out.append(kFileColumns - file.size(), u' ');
  out += file;
  out += u"  ";
  for (std::uint32_t limit = 10000; limit > 1 && line < limit; limit /= 10) out += u'0';
  AppendDecimal(out, line);
  out += u"  ";
}

void MakeLine(std::u16string_view file, std::uint16_t line, std::u16string_view format,
              std::span<const std::uint32_t> args, std::size_t bound, std::u16string& out) {
  out.clear();
  AppendHeading(file, line, out);
  out += FormatDeviceMessage(format, args, bound);
  while (!out.empty() && IsTrailingSpace(out.back())) out.pop_back();
}

// An 8-bit text of at most `size` bytes at `offset`, ending at its first
// zero byte.
std::u16string AnsiField(const PayloadReader& r, std::size_t offset, std::size_t size) {
  const auto bytes = r.Sub(offset, std::min(size, r.size() - std::min(offset, r.size())));
  if (!bytes || bytes->empty()) return {};
  std::string_view text(reinterpret_cast<const char*>(bytes->data()), bytes->size());
  return FromAnsi(text.substr(0, text.find('\0')));
}

// The argument list: every whole 32-bit word from `offset` to the end of
// the payload. The announced arguments come first; a format with more
// conversions reads on into the words after them (the format's own bytes,
// then the file name), as the device's runtime reads its va_list. Only a
// conversion past the last whole word is refused.
std::vector<std::uint32_t> Arguments(const PayloadReader& r, std::size_t offset) {
  const std::size_t count = offset < r.size() ? (r.size() - offset) / 4 : 0;
  std::vector<std::uint32_t> args(count);
  for (std::size_t k = 0; k < count; ++k) args[k] = *r.U32(offset + 4 * k);
  return args;
}

bool FormatLegacy(const PayloadReader& r, std::u16string& out) {
  if (!r.Has(kLegacyMessageArgsOffset, 4 * kLegacyMessageArgCount)) return false;
  const std::u16string file = AnsiField(r, kLegacyMessageFileOffset, kLegacyMessageFileSize);
  const std::u16string format = AnsiField(r, kLegacyMessageFormatOffset, kLegacyMessageFormatSize);
  const auto args = Arguments(r, kLegacyMessageArgsOffset);
  MakeLine(file, *r.U16(kLegacyMessageLineOffset), format, args, kLegacyMessageTextBound, out);
  return true;
}

bool FormatExtended(const PayloadReader& r, std::u16string& out) {
  const std::size_t count = *r.U8(kExtendedMessageArgCountOffset);
  const std::size_t format_offset = kExtendedMessageArgsOffset + 4 * count;
  if (format_offset >= r.size()) return false;
  // The file name is the last zero-terminated text: from the byte after
  // the zero that precedes the final byte, to the end.
  std::size_t start = r.size() - 1;
  while (start > 0 && r.Bytes()[start - 1] != 0) --start;
  const std::u16string file = AnsiField(r, start, r.size() - start);
  const std::u16string format = AnsiField(r, format_offset, r.size() - format_offset);
  const auto args = Arguments(r, kExtendedMessageArgsOffset);
  MakeLine(file, *r.U16(kExtendedMessageLineOffset), format, args, kMessageTextBound, out);
  return true;
}

}  // namespace

std::u16string FormatDeviceMessage(std::u16string_view format, std::span<const std::uint32_t> args,
                                   std::size_t bound) {
  format = format.substr(0, format.find(u'\0'));
  if (auto text = FormatWords(format, args, bound)) {
    // The text is a C string: a substituted NUL character ends it.
    text->resize(std::min(text->size(), text->find(u'\0')));
    return std::move(*text);
  }
  std::u16string error(kInvalidFormatText);
  error += format;
  error.resize(std::min(error.size(), bound));
  return error;
}

bool FormatMessagePayload(std::span<const std::uint8_t> payload, std::u16string& out) {
  out.clear();
  const PayloadReader r(payload);
  // Every field of the extended form lies at or after its argument area.
  if (!r.Has(0, kExtendedMessageArgsOffset)) return false;
  const bool done =
      r.Bytes()[0] == kLegacyMessageCommand ? FormatLegacy(r, out) : FormatExtended(r, out);
  if (!done) out.clear();
  return done;
}

bool FormatMessageItem(const ItemRecord& item, std::u16string& out) {
  out.clear();
  if (item.TypeCode() != kItemMsg || !item.IsValid() || item.GetPayload() == nullptr) {
    return false;
  }
  return FormatMessagePayload(std::span(item.GetPayload(), item.GetPayloadLength()), out);
}

}  // namespace quillon
