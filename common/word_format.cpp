#include "common/word_format.h"

#include <algorithm>
#include <bit>
#include <list>
#include <string>
#include <vector>

namespace quillon {

namespace {

// One piece of a format: a run of literal text, or one conversion ("%...X",
// "%%", or a malformed tail that the formatter will refuse). A conversion
// that the Windows runtime reads differently from the safe formatter
// carries the spelling that the formatter reads the same way.
struct Piece {
  std::u16string_view text;
  std::u16string rewritten;
  bool conversion = false;

  std::u16string_view Text() const {
    return rewritten.empty() ? text : std::u16string_view(rewritten);
  }
};

// The arguments of one format, typed per conversion, with a position that
// can be rewound so a conversion can be formatted again. The narrow
// readings of texts live here too, at stable addresses, for the views.
class WordArguments final : public FormatArgumentSource {
 public:
  const FormatArgument* Next() override { return next_ < args_.size() ? &args_[next_++] : nullptr; }
  std::size_t Position() const { return next_; }
  void Rewind(std::size_t position) { next_ = position; }

  std::vector<FormatArgument>& Values() { return args_; }
  std::string& NewNarrowText() { return narrow_texts_.emplace_back(); }

 private:
  std::vector<FormatArgument> args_;
  // A list: stable addresses, and (unlike a deque) no allocation while
  // empty, which it is for almost every format.
  std::list<std::string> narrow_texts_;
  std::size_t next_ = 0;
};

// Widths and precisions beyond what the safe formatter takes. The Windows
// runtime pads to any width up to INT_MAX (and refuses the format past
// that). A text bound to at most 4095 characters shows only the first
// characters of such a field, so it can be handed on as a smaller one that
// shows the same characters (see ClampFields). Without such a bound the
// field stays as written and the formatter refuses it: the whole text, up
// to 2^31 characters, is not made.
constexpr std::size_t kClampedFieldBound = 4095;
constexpr std::int64_t kMaxField = 65536;
constexpr std::int64_t kMaxFieldBeside = 16384;
constexpr std::int64_t kIntMax = 0x7FFFFFFF;
constexpr std::size_t kExpectedPieces = 16;

bool IsFlag(char16_t c) {
  return std::u16string_view(u"-+ #0").find(c) != std::u16string_view::npos;
}
bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// A width or precision as written: absent, '*' (from a word) or digits.
struct Field {
  enum class Kind { kNone, kStar, kDigits };
  Kind kind = Kind::kNone;
  std::u16string_view digits;
  std::int64_t value = 0;  // digits: saturated just above INT_MAX
  bool from_slot = false;  // '*': the word was there
  std::int32_t slot = 0;   // '*': the word as a 32-bit int
  bool changed = false;    // `value` (with the word's sign) is handed on instead

  void ReadDigits(std::u16string_view text) {
    kind = Kind::kDigits;
    digits = text;
    for (const char16_t c : text) value = std::min(value * 10 + (c - u'0'), kIntMax + 1);
  }
  // The size that the runtime works with; -1 for none (no field, a missing
  // word, a negative precision).
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

// Walks the format the way the formatter parses it and hands out the words
// as the arguments each conversion asks for, the way a 32-bit x86 va_list
// is read. Once the words run out no further argument is made, so a later
// conversion finds none (and the formatter reports it) instead of
// receiving an argument that belongs to another conversion.
//
// Where the Windows runtime reads a conversion that the safe formatter
// refuses, the conversion is handed on in a spelling that the formatter
// reads the way Windows does: "%p" as "%.8X", "%C" as "%hc", the lengths
// "I" (a pointer, 32 bits here), "z" and "t" as none and "j" as "ll", "%S"
// and "%Z" as "%s", a text conversion of the word 0 as a null text
// ("(null)"), and widths and precisions beyond the formatter's limit as
// smaller ones with the same visible result.
class WordScanner {
 public:
  WordScanner(std::u16string_view format, std::span<const FormatWord> words, std::size_t bound,
              WordArguments& args)
      : format_(format), words_(words), args_(args), clamp_fields_(bound <= kClampedFieldBound) {}

  // The pieces of the format; nothing when a conversion would read memory
  // it was not given.
  std::optional<std::vector<Piece>> Scan() {
    std::vector<Piece> pieces;
    // Device messages and summaries have a few conversions: one allocation
    // holds them all.
    pieces.reserve(kExpectedPieces);
    args_.Values().reserve(kExpectedPieces);
    std::size_t i = 0;
    while (i < format_.size() && !refused_) {
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
    if (refused_) return std::nullopt;
    return pieces;
  }

 private:
  bool At(std::size_t i, char16_t c) const { return i < format_.size() && format_[i] == c; }

  std::size_t ReadField(std::size_t i, Field& field) {
    if (At(i, u'*')) {
      field.kind = Field::Kind::kStar;
      if (auto v = Number(1)) {
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
    // A text of the other width: "%S" and "%hS" are narrow in a wide
    // printf, as is "%hs".
    const bool other_width = written_length == u"l" || written_length == u"w";
    if (length == u"I" || length == u"z" || length == u"t") {
      length = u"";
    } else if (length == u"j") {
      length = u"ll";
    }
    char16_t conversion = format_[i];
    text_word_ = false;
    std::optional<FormatArgument> argument;
    bool precision_overridden = false;
    switch (conversion) {
      case u'd':
      case u'i':
      case u'u':
      case u'o':
      case u'x':
      case u'X':
        argument = Integer(wide ? 2 : 1);
        break;
      case u'f':
      case u'e':
      case u'E':
      case u'g':
      case u'G':
        if (auto v = Number(2)) argument = FormatArgument(std::bit_cast<double>(*v));
        break;
      case u'c':
        argument = Integer(1);
        break;
      case u'C':  // a character of the other width: a narrow one
        argument = Integer(1);
        if (length.empty() || length == u"h") {
          length = u"h";
          conversion = u'c';
        } else if (length == u"l" || length == u"w") {
          conversion = u'c';
        }
        break;
      case u'S':  // a text of the other width
        conversion = u's';
        argument = TakeText(!other_width, false);
        break;
      case u'Z':  // a counted string: a structure that points to its text
        conversion = u's';
        argument = TakeText(false, true);
        break;
      case u's':
        argument = TakeText(written_length == u"h", false);
        break;
      case u'p':  // a 32-bit pointer: always eight upper-case hex digits
        argument = Integer(1);
        length = u"";
        conversion = u'X';
        has_precision = true;
        precision_overridden = true;
        break;
      default:  // refused by the formatter without an argument, as written
        return i + 1;
    }
    // The arguments in the order the words were read; the first missing
    // one ends them.
    std::vector<FormatArgument>& args = args_.Values();
    if (width.kind == Field::Kind::kStar && !width.from_slot) return i + 1;
    if (precision.kind == Field::Kind::kStar && !precision.from_slot) {
      if (width.kind == Field::Kind::kStar) args.push_back(width.Argument());
      return i + 1;
    }
    if (precision_overridden) {
      precision = Field();  // a '*' word was read all the same
      precision.Set(8);
    }
    if (width.kind == Field::Kind::kStar && width.from_slot && width.slot == INT32_MIN) {
      width.Set(0);  // not negated by the runtime: pads nothing
    }
    // A text's own length is not limited, so its padding is not either.
    if (clamp_fields_ && !text_word_) ClampFields(width, precision);
    if (width.kind == Field::Kind::kStar) args.push_back(width.Argument());
    if (precision.kind == Field::Kind::kStar) args.push_back(precision.Argument());
    if (argument) args.push_back(*argument);

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
  // padding either way). Other combinations are handed on as they are, and
  // the formatter refuses them.
  static void ClampFields(Field& width, Field& precision) {
    const std::int64_t w = width.Magnitude(false);
    const std::int64_t p = precision.Magnitude(true);
    if (w > kMaxField && w <= kIntMax && p <= kMaxFieldBeside) width.Set(kMaxField);
    if (p > kMaxField && p <= kIntMax && w <= kMaxField) precision.Set(kMaxField);
  }

  // The next `count` words; nullptr when they have run out (and from then
  // on).
  const FormatWord* Take(std::size_t count) {
    if (exhausted_ || words_.size() - next_ < count) {
      exhausted_ = true;
      return nullptr;
    }
    const FormatWord* taken = &words_[next_];
    next_ += count;
    return taken;
  }
  // The next `count` words as one number, low word first. A text address
  // among them would be read as a number: the format is refused.
  std::optional<std::uint64_t> Number(std::size_t count) {
    const FormatWord* taken = Take(count);
    if (taken == nullptr) return std::nullopt;
    std::uint64_t value = 0;
    for (std::size_t k = 0; k < count; ++k) {
      if (taken[k].text != nullptr) {
        refused_ = true;
        return std::nullopt;
      }
      value |= std::uint64_t{taken[k].bits} << (32 * k);
    }
    return value;
  }
  std::optional<FormatArgument> Integer(std::size_t count) {
    if (auto v = Number(count)) {
      if (count == 1) return FormatArgument(static_cast<unsigned>(*v));
      return FormatArgument(static_cast<unsigned long long>(*v));
    }
    return std::nullopt;
  }
  // A text pointer: the null one prints "(null)" as the runtime prints it;
  // any other number cannot be read as a text, which the formatter reports.
  // A text address gives its text, or for a narrow conversion the wide
  // text's bytes read as a narrow C string. A counted string is a
  // structure, which no text is.
  std::optional<FormatArgument> TakeText(bool narrow, bool counted) {
    const FormatWord* w = Take(1);
    if (w == nullptr) return std::nullopt;
    if (w->text == nullptr) {
      if (w->bits == 0) return FormatArgument(static_cast<const char16_t*>(nullptr));
      return FormatArgument(static_cast<unsigned>(w->bits));
    }
    text_word_ = true;
    if (counted) {
      refused_ = true;
      return std::nullopt;
    }
    if (!narrow) return FormatArgument(std::u16string_view(*w->text));
    std::string& bytes = args_.NewNarrowText();
    for (const char16_t unit : *w->text) {
      const auto low = static_cast<char>(unit & 0xFF);
      if (low == 0) break;
      bytes.push_back(low);
      const auto high = static_cast<char>(unit >> 8);
      if (high == 0) break;
      bytes.push_back(high);
    }
    return FormatArgument::Narrow(bytes);
  }

  std::u16string_view format_;
  std::span<const FormatWord> words_;
  WordArguments& args_;
  const bool clamp_fields_;
  std::size_t next_ = 0;
  bool exhausted_ = false;
  bool refused_ = false;
  bool text_word_ = false;  // the current conversion takes a text address
};

void AppendBounded(std::u16string& out, std::u16string_view text, std::size_t bound) {
  const std::size_t room = bound > out.size() ? bound - out.size() : 0;
  out.append(text.substr(0, room));
}

}  // namespace

// Formats piece by piece so that a text longer than the bound keeps its
// first `bound` characters, while every later conversion is still checked:
// a bad one anywhere refuses the format, as the C runtime walks it whole.
std::optional<std::u16string> FormatWords(std::u16string_view format,
                                          std::span<const FormatWord> words, std::size_t bound) {
  format = format.substr(0, format.find(u'\0'));
  WordArguments args;
  const std::optional<std::vector<Piece>> pieces = WordScanner(format, words, bound, args).Scan();
  if (!pieces) return std::nullopt;
  std::u16string text;
  text.reserve(std::min(bound, format.size() * 2));
  std::u16string scratch;
  bool full = false;
  for (const Piece& piece : *pieces) {
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
  return text;
}

std::optional<std::u16string> FormatWords(std::u16string_view format,
                                          std::span<const std::uint32_t> words, std::size_t bound) {
  std::vector<FormatWord> numbers(words.size());
  for (std::size_t k = 0; k < words.size(); ++k) numbers[k].bits = words[k];
  return FormatWords(format, numbers, bound);
}

}  // namespace quillon
