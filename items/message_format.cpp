#include "items/message_format.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "common/safe_format.h"
#include "common/text.h"
#include "items/message_layout.h"
#include "items/payload_reader.h"

namespace quillon {

namespace {

constexpr std::u16string_view kInvalidFormatText = u"Error: Invalid message format: ";

// One piece of a message format: a run of literal text, or one conversion
// ("%...X", "%%", or a malformed tail that the formatter will refuse). A
// conversion that the Windows runtime reads differently from the safe
// formatter carries the spelling that the formatter reads the same way.
struct Piece {
  std::u16string_view text;
  std::u16string rewritten;
  bool conversion = false;

  std::u16string_view Text() const {
    return rewritten.empty() ? text : std::u16string_view(rewritten);
  }
};

// The arguments of one message, typed per conversion, with a position
// that can be rewound so a conversion can be formatted again.
class MessageArguments final : public FormatArgumentSource {
 public:
  const FormatArgument* Next() override { return next_ < args_.size() ? &args_[next_++] : nullptr; }
  std::size_t Position() const { return next_; }
  void Rewind(std::size_t position) { next_ = position; }

  std::vector<FormatArgument>& Values() { return args_; }

 private:
  std::vector<FormatArgument> args_;
  std::size_t next_ = 0;
};

// Widths and precisions beyond what the safe formatter takes. The Windows
// runtime pads to any width up to INT_MAX (and refuses the format past
// that), while the message text keeps at most 4095 characters, so such a
// field can be handed on as a smaller one that shows the same characters
// (see ClampFields).
constexpr std::int64_t kMaxField = 65536;
constexpr std::int64_t kMaxFieldBeside = 16384;
constexpr std::int64_t kIntMax = 0x7FFFFFFF;

bool IsFlag(char16_t c) {
  return std::u16string_view(u"-+ #0").find(c) != std::u16string_view::npos;
}
bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// A width or precision as written: absent, '*' (from a slot) or digits.
struct Field {
  enum class Kind { kNone, kStar, kDigits };
  Kind kind = Kind::kNone;
  std::u16string_view digits;
  std::int64_t value = 0;  // digits: saturated just above INT_MAX
  bool from_slot = false;  // '*': the slot was there
  std::int32_t slot = 0;   // '*': the slot as a 32-bit int
  bool changed = false;    // `value` (with the slot's sign) is handed on instead

  void ReadDigits(std::u16string_view text) {
    kind = Kind::kDigits;
    digits = text;
    for (const char16_t c : text) value = std::min(value * 10 + (c - u'0'), kIntMax + 1);
  }
  // The size that the runtime works with; -1 for none (no field, a missing
  // slot, a negative precision).
  std::int64_t Magnitude(bool is_precision) const {
    if (changed || kind == Kind::kDigits) return value;
    if (kind != Kind::kStar || !from_slot) return -1;
    if (slot < 0) return is_precision ? -1 : -std::int64_t{slot};
    return slot;
  }
  void Set(std::int64_t magnitude) {
    changed = true;
    value = magnitude;
  }
  void AppendTo(std::u16string& out) const {
    if (kind == Kind::kStar) {
      out += u'*';
    } else if (kind == Kind::kDigits && !changed) {
      out += digits;
    } else if (changed) {
      for (const char c : std::to_string(value)) out += static_cast<char16_t>(c);
    }
  }
  // The argument a '*' field hands on.
  FormatArgument Argument() const {
    if (!changed) return FormatArgument(static_cast<unsigned>(slot));
    return FormatArgument(static_cast<int>(slot < 0 ? -value : value));
  }
};

// Walks the format the way the formatter parses it and hands out the
// 32-bit slots as the arguments each conversion asks for, the way a 32-bit
// x86 va_list is read. Once the slots run out no further argument is made,
// so a later conversion finds none (and the formatter reports it) instead
// of receiving an argument that belongs to another conversion.
//
// Where the Windows runtime reads a conversion that the safe formatter
// refuses, the conversion is handed on in a spelling that the formatter
// reads the way Windows does: "%p" as "%.8X", "%C" as "%hc", the lengths
// "I" (a pointer, 32 bits here), "z" and "t" as none and "j" as "ll", "%S"
// and "%Z" as "%s", a text conversion of a null slot as a null text
// ("(null)"), and widths and precisions beyond the formatter's limit as
// smaller ones with the same visible result.
class FormatScanner {
 public:
  FormatScanner(std::u16string_view format, std::span<const std::uint32_t> slots,
                std::vector<FormatArgument>& args)
      : format_(format), slots_(slots), args_(args) {}

  std::vector<Piece> Scan() {
    std::vector<Piece> pieces;
    std::size_t i = 0;
    while (i < format_.size()) {
      const std::size_t percent = format_.find(u'%', i);
      if (percent == std::u16string_view::npos) {
        pieces.push_back({format_.substr(i), {}, false});
        break;
      }
      if (percent > i) pieces.push_back({format_.substr(i, percent - i), {}, false});
      Piece piece;
      piece.conversion = true;
      const std::size_t end = ScanConversion(percent, piece.rewritten);
      piece.text = format_.substr(percent, end - percent);
      pieces.push_back(std::move(piece));
      i = end;
    }
    return pieces;
  }

 private:
  bool At(std::size_t i, char16_t c) const { return i < format_.size() && format_[i] == c; }

  std::size_t ReadField(std::size_t i, Field& field) {
    if (At(i, u'*')) {
      field.kind = Field::Kind::kStar;
      if (auto v = Slots(1)) {
        field.from_slot = true;
        field.slot = static_cast<std::int32_t>(static_cast<std::uint32_t>(*v));
      }
      return i + 1;
    }
    const std::size_t begin = i;
    while (i < format_.size() && IsDigit(format_[i])) ++i;
    if (i > begin) field.ReadDigits(format_.substr(begin, i - begin));
    return i;
  }

  // Scans the conversion at `percent` and appends its arguments; returns
  // the index after it (the end of the format for a malformed tail). Fills
  // `rewritten` when the formatter is to read another spelling.
  std::size_t ScanConversion(std::size_t percent, std::u16string& rewritten) {
    std::size_t i = percent + 1;
    if (At(i, u'%')) return i + 1;
    const std::size_t flags_begin = i;
    while (i < format_.size() && IsFlag(format_[i])) ++i;
    const std::u16string_view flags = format_.substr(flags_begin, i - flags_begin);
    Field width;
    Field precision;
    i = ReadField(i, width);
    bool has_precision = false;
    if (At(i, u'.')) {
      has_precision = true;
      i = ReadField(i + 1, precision);
    }
    const std::size_t length_begin = i;
    const std::u16string_view rest = format_.substr(std::min(i, format_.size()));
    if (rest.starts_with(u"ll") || rest.starts_with(u"hh")) {
      i += 2;
    } else if (rest.starts_with(u"I64") || rest.starts_with(u"I32")) {
      i += 3;
    } else if (!rest.empty() &&
               std::u16string_view(u"hlLwIjzt").find(rest[0]) != std::u16string_view::npos) {
      ++i;
    }
    if (i >= format_.size()) return format_.size();
    const std::u16string_view written_length = format_.substr(length_begin, i - length_begin);
    std::u16string_view length = written_length;
    const bool wide = length == u"ll" || length == u"I64" || length == u"j";
    if (length == u"I" || length == u"z" || length == u"t") {
      length = u"";
    } else if (length == u"j") {
      length = u"ll";
    }
    char16_t conversion = format_[i];
    std::optional<FormatArgument> argument;
    bool precision_overridden = false;
    switch (conversion) {
      case u'd':
      case u'i':
      case u'u':
      case u'o':
      case u'x':
      case u'X':
        argument = wide ? Take64() : Take32();
        break;
      case u'f':
      case u'e':
      case u'E':
      case u'g':
      case u'G':
        argument = TakeDouble();
        break;
      case u'c':
        argument = Take32();
        break;
      case u'C':  // a character of the other width: a narrow one
        argument = Take32();
        if (length.empty() || length == u"h") {
          length = u"h";
          conversion = u'c';
        } else if (length == u"l" || length == u"w") {
          conversion = u'c';
        }
        break;
      case u'S':  // a text of the other width, or a counted string
      case u'Z':
        conversion = u's';
        argument = TakeText();
        break;
      case u's':
        argument = TakeText();
        break;
      case u'p':  // a 32-bit pointer: always eight upper-case hex digits
        argument = Take32();
        length = u"";
        conversion = u'X';
        has_precision = true;
        precision_overridden = true;
        break;
      default:  // refused by the formatter without an argument, as written
        return i + 1;
    }
    // The arguments in the order the slots were read; the first missing
    // one ends them.
    if (width.kind == Field::Kind::kStar && !width.from_slot) return i + 1;
    if (precision.kind == Field::Kind::kStar && !precision.from_slot) {
      if (width.kind == Field::Kind::kStar) args_.push_back(width.Argument());
      return i + 1;
    }
    if (precision_overridden) {
      precision = Field();  // a '*' slot was read all the same
      precision.Set(8);
    }
    ClampFields(width, precision);
    if (width.kind == Field::Kind::kStar) args_.push_back(width.Argument());
    if (precision.kind == Field::Kind::kStar) args_.push_back(precision.Argument());
    if (argument) args_.push_back(*argument);

    if (width.changed || precision.changed || length != written_length ||
        conversion != format_[i]) {
      rewritten = u"%";
      rewritten += flags;
      width.AppendTo(rewritten);
      if (has_precision) {
        rewritten += u'.';
        precision.AppendTo(rewritten);
      }
      rewritten += length;
      rewritten += conversion;
    }
    return i + 1;
  }

  // A width beyond the formatter's limit (and at most INT_MAX) fills the
  // first 4095 characters of its text with padding, and so does 65536 when
  // the precision is at most 16384 (the text itself then stays far below
  // 65536 - 4095 characters). A precision beyond the limit fills them with
  // digits and zeros, and so does 65536 when the width is at most 65536 (no
  // padding either way). A width of INT_MIN is not negated by the runtime
  // and pads nothing. Other combinations are handed on as they are, and the
  // formatter refuses them.
  static void ClampFields(Field& width, Field& precision) {
    if (width.kind == Field::Kind::kStar && width.from_slot && width.slot == INT32_MIN) {
      width.Set(0);
    }
    const std::int64_t w = width.Magnitude(false);
    const std::int64_t p = precision.Magnitude(true);
    if (w > kMaxField && w <= kIntMax && p <= kMaxFieldBeside) width.Set(kMaxField);
    if (p > kMaxField && p <= kIntMax && w <= kMaxField) precision.Set(kMaxField);
  }

  std::optional<std::uint64_t> Slots(std::size_t count) {
    if (exhausted_ || slots_.size() - next_ < count) {
      exhausted_ = true;
      return std::nullopt;
    }
    std::uint64_t value = 0;
    for (std::size_t k = 0; k < count; ++k) {
      value |= std::uint64_t{slots_[next_ + k]} << (32 * k);
    }
    next_ += count;
    return value;
  }
  std::optional<FormatArgument> Take32() {
    if (auto v = Slots(1)) return FormatArgument(static_cast<unsigned>(*v));
    return std::nullopt;
  }
  std::optional<FormatArgument> Take64() {
    if (auto v = Slots(2)) return FormatArgument(static_cast<unsigned long long>(*v));
    return std::nullopt;
  }
  std::optional<FormatArgument> TakeDouble() {
    if (auto v = Slots(2)) return FormatArgument(std::bit_cast<double>(*v));
    return std::nullopt;
  }
  // A text pointer: a null one prints "(null)" as the runtime prints it;
  // any other number cannot be read as a text, which the formatter reports.
  std::optional<FormatArgument> TakeText() {
    if (auto v = Slots(1)) {
      if (*v == 0) return FormatArgument(static_cast<const char16_t*>(nullptr));
      return FormatArgument(static_cast<unsigned>(*v));
    }
    return std::nullopt;
  }

  std::u16string_view format_;
  std::span<const std::uint32_t> slots_;
  std::vector<FormatArgument>& args_;
  std::size_t next_ = 0;
  bool exhausted_ = false;
};

void AppendBounded(std::u16string& out, std::u16string_view text, std::size_t bound) {
  const std::size_t room = bound > out.size() ? bound - out.size() : 0;
  out.append(text.substr(0, room));
}

// Formats piece by piece so that a message longer than the bound keeps its
// first `bound` characters, as a bounded C printf leaves them, while every
// later conversion is still checked: a bad one anywhere fails the message.
std::optional<std::u16string> Substitute(std::u16string_view format,
                                         std::span<const std::uint32_t> slots, std::size_t bound) {
  MessageArguments args;
  const std::vector<Piece> pieces = FormatScanner(format, slots, args.Values()).Scan();
  std::u16string text;
  std::u16string scratch;
  bool full = false;
  for (const Piece& piece : pieces) {
    if (!piece.conversion) {
      if (!full) {
        AppendBounded(text, piece.Text(), bound);
        full = text.size() == bound;
      }
      continue;
    }
    const std::size_t position = args.Position();
    scratch.clear();
    FormatResult r =
        FormatAppend(full ? scratch : text, piece.Text(), args, full ? 0 : bound - text.size());
    if (r.status == FormatStatus::kOverflow && !full) {
      // Render this one conversion whole (its size is limited by the
      // formatter's width and precision limits) and keep what fits.
      args.Rewind(position);
      r = FormatAppend(scratch, piece.Text(), args);
      if (!r.ok()) return std::nullopt;
      AppendBounded(text, scratch, bound);
      full = true;
    } else if (!r.ok() && r.status != FormatStatus::kOverflow) {
      return std::nullopt;
    }
  }
  // The result is a C string: a substituted NUL character ends it.
  text.resize(std::min(text.size(), text.find(u'\0')));
  return text;
}

bool IsTrailingSpace(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }

void MakeLine(std::u16string_view file, std::uint32_t line, std::u16string_view format,
              std::span<const std::uint32_t> args, std::size_t bound, std::u16string& out) {
  out = Format(u"%18s  %05d  ", {file, static_cast<int>(line)});
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

std::vector<std::uint32_t> Arguments(const PayloadReader& r, std::size_t offset,
                                     std::size_t count) {
  std::vector<std::uint32_t> args(count);
  for (std::size_t k = 0; k < count; ++k) args[k] = *r.U32(offset + 4 * k);
  return args;
}

bool FormatLegacy(const PayloadReader& r, std::u16string& out) {
  if (!r.Has(kLegacyMessageArgsOffset, 4 * kLegacyMessageArgCount)) return false;
  const std::u16string file = AnsiField(r, kLegacyMessageFileOffset, kLegacyMessageFileSize);
  const std::u16string format = AnsiField(r, kLegacyMessageFormatOffset, kLegacyMessageFormatSize);
  const auto args = Arguments(r, kLegacyMessageArgsOffset, kLegacyMessageArgCount);
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
  const auto args = Arguments(r, kExtendedMessageArgsOffset, count);
  MakeLine(file, *r.U16(kExtendedMessageLineOffset), format, args, kMessageTextBound, out);
  return true;
}

}  // namespace

std::u16string FormatDeviceMessage(std::u16string_view format, std::span<const std::uint32_t> args,
                                   std::size_t bound) {
  format = format.substr(0, format.find(u'\0'));
  if (auto text = Substitute(format, args, bound)) return std::move(*text);
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
