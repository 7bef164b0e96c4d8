#include "items/message_format.h"

#include <bit>
#include <optional>
#include <vector>

#include "common/safe_format.h"
#include "common/text.h"
#include "items/message_layout.h"
#include "items/payload_reader.h"

namespace quillon {

namespace {

constexpr std::u16string_view kInvalidFormatText = u"Error: Invalid message format: ";

// One piece of a message format: a run of literal text, or one conversion
// ("%...X", "%%", or a malformed tail that the formatter will refuse).
struct Piece {
  std::u16string_view text;
  bool conversion = false;
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

// Walks the format the way the formatter parses it and hands out the
// 32-bit slots as the arguments each conversion asks for, the way a 32-bit
// x86 va_list is read. Once the slots run out no further argument is made,
// so a later conversion finds none (and the formatter reports it) instead
// of receiving an argument that belongs to another conversion.
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
        pieces.push_back({format_.substr(i), false});
        break;
      }
      if (percent > i) pieces.push_back({format_.substr(i, percent - i), false});
      const std::size_t end = ScanConversion(percent + 1);
      pieces.push_back({format_.substr(percent, end - percent), true});
      i = end;
    }
    return pieces;
  }

 private:
  bool At(std::size_t i, char16_t c) const { return i < format_.size() && format_[i] == c; }
  bool IsDigit(std::size_t i) const {
    return i < format_.size() && format_[i] >= u'0' && format_[i] <= u'9';
  }

  // Scans from just after a '%'; returns the index after the conversion
  // (the end of the format for a malformed tail).
  std::size_t ScanConversion(std::size_t i) {
    if (At(i, u'%')) return i + 1;
    while (i < format_.size() &&
           std::u16string_view(u"-+ #0").find(format_[i]) != std::u16string_view::npos) {
      ++i;
    }
    // A width or precision is either '*' (one argument) or digits.
    if (At(i, u'*')) {
      Take32();
      ++i;
    } else {
      while (IsDigit(i)) ++i;
    }
    if (At(i, u'.')) {
      ++i;
      if (At(i, u'*')) {
        Take32();
        ++i;
      } else {
        while (IsDigit(i)) ++i;
      }
    }
    bool wide = false;
    const std::u16string_view rest = format_.substr(std::min(i, format_.size()));
    if (rest.starts_with(u"ll") || rest.starts_with(u"hh")) {
      wide = rest[0] == u'l';
      i += 2;
    } else if (rest.starts_with(u"I64") || rest.starts_with(u"I32")) {
      wide = rest[1] == u'6';
      i += 3;
    } else if (rest.starts_with(u"I")) {
      return format_.size();  // the formatter refuses a bare 'I'
    } else if (!rest.empty() &&
               std::u16string_view(u"hlLw").find(rest[0]) != std::u16string_view::npos) {
      ++i;
    }
    if (i >= format_.size()) return format_.size();
    switch (format_[i]) {
      case u'd':
      case u'i':
      case u'u':
      case u'o':
      case u'x':
      case u'X':
        wide ? Take64() : Take32();
        break;
      case u'f':
      case u'e':
      case u'E':
      case u'g':
      case u'G':
        TakeDouble();
        break;
      case u'c':
      case u's':  // a pointer slot: given as a number, which "%s" refuses
        Take32();
        break;
      default:  // refused by the formatter without an argument
        break;
    }
    return i + 1;
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
  void Take32() {
    if (auto v = Slots(1)) args_.emplace_back(static_cast<unsigned>(*v));
  }
  void Take64() {
    if (auto v = Slots(2)) args_.emplace_back(static_cast<unsigned long long>(*v));
  }
  void TakeDouble() {
    if (auto v = Slots(2)) args_.emplace_back(std::bit_cast<double>(*v));
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
        AppendBounded(text, piece.text, bound);
        full = text.size() == bound;
      }
      continue;
    }
    const std::size_t position = args.Position();
    scratch.clear();
    FormatResult r =
        FormatAppend(full ? scratch : text, piece.text, args, full ? 0 : bound - text.size());
    if (r.status == FormatStatus::kOverflow && !full) {
      // Render this one conversion whole (its size is limited by the
      // formatter's width and precision limits) and keep what fits.
      args.Rewind(position);
      r = FormatAppend(scratch, piece.text, args);
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
