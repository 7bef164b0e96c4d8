#include "common/safe_format.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

#include "platform/text_codec.h"

namespace quillon {

namespace {

// Largest width or precision accepted in a format.
constexpr std::uint32_t kMaxField = 65536;
// Digits beyond this many decimals (fixed) or significant digits (exponent
// form) are always zero for a double (2^-1074 has 1074 decimals, and no
// double has more than 767 significant digits), so they are emitted as
// padding instead of being computed.
constexpr int kMaxExactPrecision = 1100;
// Fixed notation of the largest double at kMaxExactPrecision: 309 integral
// digits, the point and the decimals.
constexpr std::size_t kFloatBufferSize = 1536;

enum Flag : unsigned {
  kLeft = 1,
  kPlus = 2,
  kSpace = 4,
  kAlternate = 8,
  kZero = 16,
};

enum class Length { kNone, kHH, kH, kL, kLL, kI32, kI64, kLongDouble, kWide };

struct ConversionSpec {
  unsigned flags = 0;
  std::uint32_t width = 0;
  int precision = -1;  // -1: none given
  Length length = Length::kNone;
  char16_t conversion = 0;
};

// One converted field before padding: prefix (sign, "0x"), zeros demanded
// by the precision, the body, zeros that were not worth computing, and a
// tail (the exponent). The body is either ASCII or UTF-16.
struct Field {
  char16_t prefix[2] = {};
  std::size_t prefix_length = 0;
  std::size_t lead_zeros = 0;
  std::string_view ascii;
  std::u16string_view wide;
  std::size_t inner_zeros = 0;
  std::string_view tail;
  bool zero_padding = false;  // the '0' flag pads this field with zeros

  void AddPrefix(char16_t c) { prefix[prefix_length++] = c; }
  std::size_t Length() const {
    return prefix_length + lead_zeros + ascii.size() + wide.size() + inner_zeros + tail.size();
  }
};

// Appends to the caller's text within the capacity; remembers where the
// call started so that a failure can restore the text exactly.
class Output {
 public:
  Output(std::u16string& out, std::size_t capacity)
      : out_(out), start_(out.size()), capacity_(capacity) {}

  std::size_t Written() const { return out_.size() - start_; }
  void Rollback() { out_.resize(start_); }

  bool Literal(std::u16string_view text) {
    if (!Fits(text.size())) return false;
    out_.append(text);
    return true;
  }

  bool Emit(const Field& field, const ConversionSpec& cs) {
    const std::size_t length = field.Length();
    const std::size_t pad = cs.width > length ? cs.width - length : 0;
    if (!Fits(length + pad)) return false;
    const bool left = (cs.flags & kLeft) != 0;
    const bool zeros = !left && field.zero_padding && (cs.flags & kZero) != 0;
    std::size_t at = out_.size();
    out_.resize(at + length + pad);
    char16_t* p = out_.data() + at;
    if (!left && !zeros) p = Fill(p, pad, u' ');
    for (std::size_t i = 0; i < field.prefix_length; ++i) *p++ = field.prefix[i];
    if (zeros) p = Fill(p, pad, u'0');
    p = Fill(p, field.lead_zeros, u'0');
    for (char c : field.ascii) *p++ = static_cast<char16_t>(c);
    if (!field.wide.empty()) {
      std::memcpy(p, field.wide.data(), field.wide.size() * sizeof(char16_t));
      p += field.wide.size();
    }
    p = Fill(p, field.inner_zeros, u'0');
    for (char c : field.tail) *p++ = static_cast<char16_t>(c);
    if (left) Fill(p, pad, u' ');
    return true;
  }

 private:
  bool Fits(std::size_t n) const { return n <= capacity_ - Written(); }
  static char16_t* Fill(char16_t* p, std::size_t n, char16_t c) {
    for (std::size_t i = 0; i < n; ++i) *p++ = c;
    return p;
  }

  std::u16string& out_;
  std::size_t start_;
  std::size_t capacity_;
};

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// Reads decimal digits; values above kMaxField are reported as too big
// (the digits are still consumed, so no overflow is possible).
bool ReadNumber(std::u16string_view format, std::size_t& i, std::uint32_t& value) {
  value = 0;
  bool too_big = false;
  while (i < format.size() && IsDigit(format[i])) {
    if (!too_big) {
      value = value * 10 + static_cast<std::uint32_t>(format[i] - u'0');
      too_big = value > kMaxField;
    }
    ++i;
  }
  return !too_big;
}

// A '*' argument: an int (32 bits on every platform the format targets).
FormatStatus ReadStarArgument(FormatArgumentSource& args, std::int64_t& value) {
  const FormatArgument* arg = args.Next();
  if (arg == nullptr) return FormatStatus::kMissingArgument;
  if (!arg->IsInteger()) return FormatStatus::kArgumentMismatch;
  value = static_cast<std::int32_t>(static_cast<std::uint32_t>(arg->Bits()));
  return FormatStatus::kOk;
}

FormatStatus ParseSpec(std::u16string_view format, std::size_t& i, FormatArgumentSource& args,
                       ConversionSpec& cs) {
  const std::size_t n = format.size();
  for (; i < n; ++i) {
    const char16_t c = format[i];
    if (c == u'-') {
      cs.flags |= kLeft;
    } else if (c == u'+') {
      cs.flags |= kPlus;
    } else if (c == u' ') {
      cs.flags |= kSpace;
    } else if (c == u'#') {
      cs.flags |= kAlternate;
    } else if (c == u'0') {
      cs.flags |= kZero;
    } else {
      break;
    }
  }

  if (i < n && format[i] == u'*') {
    ++i;
    std::int64_t width = 0;
    if (FormatStatus s = ReadStarArgument(args, width); s != FormatStatus::kOk) return s;
    if (width < 0) {
      // A negative width is the '-' flag with the positive width.
      cs.flags |= kLeft;
      width = -width;
    }
    if (width > kMaxField) return FormatStatus::kInvalidFormat;
    cs.width = static_cast<std::uint32_t>(width);
  } else if (!ReadNumber(format, i, cs.width)) {
    return FormatStatus::kInvalidFormat;
  }

  if (i < n && format[i] == u'.') {
    ++i;
    if (i < n && format[i] == u'*') {
      ++i;
      std::int64_t precision = 0;
      if (FormatStatus s = ReadStarArgument(args, precision); s != FormatStatus::kOk) return s;
      // A negative precision counts as none.
      if (precision > kMaxField) return FormatStatus::kInvalidFormat;
      cs.precision = precision < 0 ? -1 : static_cast<int>(precision);
    } else {
      std::uint32_t precision = 0;
      if (!ReadNumber(format, i, precision)) return FormatStatus::kInvalidFormat;
      cs.precision = static_cast<int>(precision);
    }
  }

  if (i < n) {
    const char16_t c = format[i];
    const auto next_is = [&](std::u16string_view s) { return format.substr(i + 1).starts_with(s); };
    if (c == u'h') {
      cs.length = next_is(u"h") ? Length::kHH : Length::kH;
      i += cs.length == Length::kHH ? 2 : 1;
    } else if (c == u'l') {
      cs.length = next_is(u"l") ? Length::kLL : Length::kL;
      i += cs.length == Length::kLL ? 2 : 1;
    } else if (c == u'I') {
      if (next_is(u"32")) {
        cs.length = Length::kI32;
      } else if (next_is(u"64")) {
        cs.length = Length::kI64;
      } else {
        // A bare 'I' means pointer size, which differs between builds.
        return FormatStatus::kInvalidFormat;
      }
      i += 3;
    } else if (c == u'L') {
      cs.length = Length::kLongDouble;
      ++i;
    } else if (c == u'w') {
      cs.length = Length::kWide;
      ++i;
    }
  }

  if (i >= n) return FormatStatus::kInvalidFormat;  // a '%' without conversion
  cs.conversion = format[i++];
  return FormatStatus::kOk;
}

// ---- integers --------------------------------------------------------------

FormatStatus ConvertInteger(const ConversionSpec& cs, FormatArgumentSource& args, Output& out) {
  unsigned bits;
  switch (cs.length) {
    case Length::kNone:
    case Length::kL:
    case Length::kI32:
      bits = 32;
      break;
    case Length::kH:
      bits = 16;
      break;
    case Length::kHH:
      bits = 8;
      break;
    case Length::kLL:
    case Length::kI64:
      bits = 64;
      break;
    default:
      return FormatStatus::kInvalidFormat;
  }
  const FormatArgument* arg = args.Next();
  if (arg == nullptr) return FormatStatus::kMissingArgument;
  if (!arg->IsInteger()) return FormatStatus::kArgumentMismatch;

  std::uint64_t value = arg->Bits();
  if (bits < 64) value &= (std::uint64_t{1} << bits) - 1;
  const char16_t conv = cs.conversion;
  const bool is_signed = conv == u'd' || conv == u'i';
  bool negative = false;
  if (is_signed && bits < 64 && (value >> (bits - 1)) != 0) {
    negative = true;
    value = (std::uint64_t{1} << bits) - value;
  } else if (is_signed && bits == 64 && (value >> 63) != 0) {
    negative = true;
    value = 0 - value;
  }

  const unsigned base = conv == u'o' ? 8 : (conv == u'x' || conv == u'X') ? 16 : 10;
  const char* digit_set = conv == u'X' ? "0123456789ABCDEF" : "0123456789abcdef";
  char digits[24];
  char* const end = digits + sizeof(digits);
  char* p = end;
  // Constant divisors let the compiler avoid a hardware division per digit.
  if (base == 10) {
    std::uint64_t v = value;
    for (; v > 0xFFFFFFFF; v /= 10) *--p = static_cast<char>('0' + v % 10);
    for (auto v32 = static_cast<std::uint32_t>(v); v32 != 0; v32 /= 10) {
      *--p = static_cast<char>('0' + v32 % 10);
    }
  } else {
    const unsigned shift = base == 16 ? 4 : 3;
    for (std::uint64_t v = value; v != 0; v >>= shift) *--p = digit_set[v & (base - 1)];
  }
  // Precision 0 with the value 0 prints no digits at all.
  const std::size_t precision = cs.precision < 0 ? 1 : static_cast<std::size_t>(cs.precision);
  if (p == end && precision > 0) *--p = '0';

  Field field;
  const std::size_t count = static_cast<std::size_t>(end - p);
  field.lead_zeros = precision > count ? precision - count : 0;
  if (is_signed) {
    if (negative) {
      field.AddPrefix(u'-');
    } else if (cs.flags & kPlus) {
      field.AddPrefix(u'+');
    } else if (cs.flags & kSpace) {
      field.AddPrefix(u' ');
    }
  } else if ((cs.flags & kAlternate) != 0) {
    if (base == 16 && value != 0) {
      field.AddPrefix(u'0');
      field.AddPrefix(conv);
    } else if (base == 8 && field.lead_zeros == 0 && (count == 0 || *p != '0')) {
      field.lead_zeros = 1;  // octal '#' guarantees a leading zero
    }
  }
  field.ascii = std::string_view(p, count);
  // With a precision the '0' flag is ignored for integers.
  field.zero_padding = cs.precision < 0;
  return out.Emit(field, cs) ? FormatStatus::kOk : FormatStatus::kOverflow;
}

// ---- characters and text ---------------------------------------------------

bool IsWideLength(Length length) {
  return length == Length::kNone || length == Length::kL || length == Length::kWide;
}

FormatStatus ConvertChar(const ConversionSpec& cs, FormatArgumentSource& args, Output& out) {
  if (!IsWideLength(cs.length) && cs.length != Length::kH) {
    return FormatStatus::kInvalidFormat;
  }
  const FormatArgument* arg = args.Next();
  if (arg == nullptr) return FormatStatus::kMissingArgument;
  if (!arg->IsInteger()) return FormatStatus::kArgumentMismatch;
  char16_t c;
  if (cs.length == Length::kH) {
    // A narrow character in the ANSI code page.
    const char narrow = static_cast<char>(arg->Bits() & 0xFF);
    const std::u16string wide = platform::AnsiToUtf16(std::string_view(&narrow, 1));
    c = wide.empty() ? u'?' : wide[0];
  } else {
    c = static_cast<char16_t>(arg->Bits() & 0xFFFF);
  }
  Field field;
  field.wide = std::u16string_view(&c, 1);
  field.zero_padding = true;
  return out.Emit(field, cs) ? FormatStatus::kOk : FormatStatus::kOverflow;
}

FormatStatus ConvertText(const ConversionSpec& cs, FormatArgumentSource& args, Output& out) {
  if (!IsWideLength(cs.length) && cs.length != Length::kH) {
    return FormatStatus::kInvalidFormat;
  }
  const FormatArgument* arg = args.Next();
  if (arg == nullptr) return FormatStatus::kMissingArgument;
  if (!arg->IsText()) return FormatStatus::kArgumentMismatch;
  const std::size_t limit =
      cs.precision < 0 ? std::u16string_view::npos : static_cast<std::size_t>(cs.precision);

  // Texts end at their first NUL, as the C strings they stand for do.
  std::u16string converted;
  std::u16string_view text;
  if (arg->kind() == FormatArgument::Kind::kWideText) {
    text = arg->Wide();
    text = text.substr(0, text.find(u'\0'));
    text = text.substr(0, limit);
  } else {
    std::string_view narrow = arg->NarrowText();
    narrow = narrow.substr(0, narrow.find('\0'));
    // The precision counts the narrow characters before conversion.
    converted = platform::AnsiToUtf16(narrow.substr(0, limit));
    text = std::u16string_view(converted).substr(0, limit);
  }
  Field field;
  field.wide = text;
  field.zero_padding = true;
  return out.Emit(field, cs) ? FormatStatus::kOk : FormatStatus::kOverflow;
}

// ---- floating point --------------------------------------------------------

struct FloatDigits {
  char head[kFloatBufferSize];
  char tail[8];
};

// Writes `value` (non-negative, finite) with std::to_chars; false when the
// buffer is too small, which the precision cap rules out.
bool ToChars(char* first, char* last, double value, std::chars_format format, int precision,
             std::size_t& length) {
  const auto result = std::to_chars(first, last, value, format, precision);
  if (result.ec != std::errc()) return false;
  length = static_cast<std::size_t>(result.ptr - first);
  return true;
}

// Splits "d.ddde+XX" at the 'e': the mantissa stays in head, the exponent
// moves to tail (upper-cased when asked). Returns the exponent's value.
int SplitExponent(FloatDigits& d, std::size_t& head_length, std::size_t& tail_length, bool upper) {
  const void* found = std::memchr(d.head, 'e', head_length);
  if (found == nullptr) {
    tail_length = 0;
    return 0;
  }
  const auto at = static_cast<std::size_t>(static_cast<const char*>(found) - d.head);
  tail_length = head_length - at;
  if (tail_length > sizeof(d.tail)) tail_length = sizeof(d.tail);
  std::memcpy(d.tail, d.head + at, tail_length);
  if (upper) d.tail[0] = 'E';
  head_length = at;
  int exponent = 0;
  if (tail_length > 2) std::from_chars(d.tail + 2, d.tail + tail_length, exponent);
  return d.tail[1] == '-' ? -exponent : exponent;
}

bool HasPoint(const FloatDigits& d, std::size_t head_length) {
  return std::memchr(d.head, '.', head_length) != nullptr;
}

void AddPoint(FloatDigits& d, std::size_t& head_length) {
  if (!HasPoint(d, head_length) && head_length < sizeof(d.head)) d.head[head_length++] = '.';
}

FormatStatus FormatFinite(double magnitude, const ConversionSpec& cs, FloatDigits& d,
                          Field& field) {
  const char16_t conv = cs.conversion;
  const bool alternate = (cs.flags & kAlternate) != 0;
  const bool upper = conv == u'E' || conv == u'G';
  const int precision = cs.precision < 0 ? 6 : cs.precision;
  std::size_t head = 0;
  std::size_t tail = 0;
  std::size_t extra = 0;
  char* const first = d.head;
  char* const last = d.head + sizeof(d.head);

  if (conv == u'f') {
    const int exact = precision < kMaxExactPrecision ? precision : kMaxExactPrecision;
    if (!ToChars(first, last, magnitude, std::chars_format::fixed, exact, head)) {
      return FormatStatus::kInvalidFormat;
    }
    extra = static_cast<std::size_t>(precision - exact);
    if (alternate) AddPoint(d, head);
  } else if (conv == u'e' || conv == u'E') {
    const int exact = precision < kMaxExactPrecision ? precision : kMaxExactPrecision;
    if (!ToChars(first, last, magnitude, std::chars_format::scientific, exact, head)) {
      return FormatStatus::kInvalidFormat;
    }
    SplitExponent(d, head, tail, upper);
    extra = static_cast<std::size_t>(precision - exact);
    if (alternate) AddPoint(d, head);
  } else {
    // %g: P significant digits; the exponent X of the rounded value picks
    // fixed notation when P > X >= -4, exponent notation otherwise.
    const int p = precision == 0 ? 1 : precision;
    const int sci = p - 1 < kMaxExactPrecision ? p - 1 : kMaxExactPrecision;
    if (!ToChars(first, last, magnitude, std::chars_format::scientific, sci, head)) {
      return FormatStatus::kInvalidFormat;
    }
    const int x = SplitExponent(d, head, tail, upper);
    if (p > x && x >= -4) {
      const int decimals = p - 1 - x;
      const int exact = decimals < kMaxExactPrecision ? decimals : kMaxExactPrecision;
      if (!ToChars(first, last, magnitude, std::chars_format::fixed, exact, head)) {
        return FormatStatus::kInvalidFormat;
      }
      tail = 0;
      extra = static_cast<std::size_t>(decimals - exact);
    } else {
      extra = static_cast<std::size_t>(p - 1 - sci);
    }
    if (alternate) {
      AddPoint(d, head);
    } else {
      // Without '#' trailing zeros go, and then a trailing point.
      extra = 0;
      if (HasPoint(d, head)) {
        while (head > 0 && d.head[head - 1] == '0') --head;
        if (head > 0 && d.head[head - 1] == '.') --head;
      }
    }
  }
  field.ascii = std::string_view(d.head, head);
  field.inner_zeros = extra;
  field.tail = std::string_view(d.tail, tail);
  field.zero_padding = true;
  return FormatStatus::kOk;
}

// Infinities and NaNs as the current Windows C runtime prints them: "inf",
// "nan", "-nan(ind)" for the default NaN, "nan(snan)" for signalling ones.
void FormatNonFinite(double value, bool upper, Field& field, FloatDigits& d) {
  const auto bits = std::bit_cast<std::uint64_t>(value);
  const std::uint64_t mantissa = bits & ((std::uint64_t{1} << 52) - 1);
  const std::uint64_t quiet_bit = std::uint64_t{1} << 51;
  const char* text;
  if (std::isinf(value)) {
    text = upper ? "INF" : "inf";
  } else if ((bits >> 63) != 0 && mantissa == quiet_bit) {
    text = upper ? "NAN(IND)" : "nan(ind)";
  } else if ((mantissa & quiet_bit) == 0) {
    text = upper ? "NAN(SNAN)" : "nan(snan)";
  } else {
    text = upper ? "NAN" : "nan";
  }
  const std::size_t length = std::strlen(text);
  std::memcpy(d.head, text, length);
  field.ascii = std::string_view(d.head, length);
  field.zero_padding = false;  // padded with blanks even with '0'
}

FormatStatus ConvertFloat(const ConversionSpec& cs, FormatArgumentSource& args, Output& out) {
  if (cs.length != Length::kNone && cs.length != Length::kL && cs.length != Length::kLongDouble) {
    return FormatStatus::kInvalidFormat;
  }
  const FormatArgument* arg = args.Next();
  if (arg == nullptr) return FormatStatus::kMissingArgument;
  if (arg->kind() != FormatArgument::Kind::kDouble) return FormatStatus::kArgumentMismatch;
  const double value = arg->Double();

  Field field;
  if (std::signbit(value)) {
    field.AddPrefix(u'-');
  } else if (cs.flags & kPlus) {
    field.AddPrefix(u'+');
  } else if (cs.flags & kSpace) {
    field.AddPrefix(u' ');
  }
  FloatDigits digits;
  if (!std::isfinite(value)) {
    FormatNonFinite(value, cs.conversion == u'E' || cs.conversion == u'G', field, digits);
  } else if (FormatStatus s = FormatFinite(std::fabs(value), cs, digits, field);
             s != FormatStatus::kOk) {
    return s;
  }
  return out.Emit(field, cs) ? FormatStatus::kOk : FormatStatus::kOverflow;
}

// ---- one conversion --------------------------------------------------------

FormatStatus Convert(std::u16string_view format, std::size_t& i, FormatArgumentSource& args,
                     Output& out) {
  if (i < format.size() && format[i] == u'%') {
    ++i;
    return out.Literal(u"%") ? FormatStatus::kOk : FormatStatus::kOverflow;
  }
  ConversionSpec cs;
  if (FormatStatus s = ParseSpec(format, i, args, cs); s != FormatStatus::kOk) return s;
  switch (cs.conversion) {
    case u'd':
    case u'i':
    case u'u':
    case u'o':
    case u'x':
    case u'X':
      return ConvertInteger(cs, args, out);
    case u'c':
      return ConvertChar(cs, args, out);
    case u's':
      return ConvertText(cs, args, out);
    case u'f':
    case u'e':
    case u'E':
    case u'g':
    case u'G':
      return ConvertFloat(cs, args, out);
    default:
      // %n and %p among them: they would write to or reveal memory.
      return FormatStatus::kInvalidFormat;
  }
}

}  // namespace

FormatResult FormatAppend(std::u16string& out, std::u16string_view format,
                          FormatArgumentSource& args, std::size_t capacity) {
  Output output(out, capacity);
  // The format is a C string: it ends at its first NUL.
  format = format.substr(0, format.find(u'\0'));
  std::size_t i = 0;
  while (i < format.size()) {
    const std::size_t percent = format.find(u'%', i);
    const std::size_t literal_end = percent == std::u16string_view::npos ? format.size() : percent;
    FormatStatus status = FormatStatus::kOk;
    if (literal_end > i && !output.Literal(format.substr(i, literal_end - i))) {
      status = FormatStatus::kOverflow;
    } else if (percent != std::u16string_view::npos) {
      i = percent + 1;
      status = Convert(format, i, args, output);
    } else {
      i = literal_end;
    }
    if (status != FormatStatus::kOk) {
      output.Rollback();
      return {status, 0};
    }
  }
  return {FormatStatus::kOk, output.Written()};
}

std::u16string Format(std::u16string_view format, std::initializer_list<FormatArgument> args) {
  std::u16string out;
  FormatArgumentList list(std::span<const FormatArgument>(args.begin(), args.size()));
  if (!FormatAppend(out, format, list).ok()) out.clear();
  return out;
}

}  // namespace quillon
