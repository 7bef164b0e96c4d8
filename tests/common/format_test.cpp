// The formatter against the outputs of the Windows wide printf family.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "common/safe_format.h"
#include "common/text.h"
#include "common/word_format.h"

namespace quillon {
namespace {

using enum FormatStatus;
constexpr auto kIntMin = std::numeric_limits<int>::min();

// Formats and returns UTF-8 (readable in failure messages); "<error N>" on
// failure.
std::string F(std::string_view format, const std::vector<FormatArgument>& args = {}) {
  std::u16string out;
  FormatArgumentList list(args);
  const FormatResult r = FormatAppend(out, FromUtf8(format), list);
  if (!r.ok()) return "<error " + std::to_string(static_cast<int>(r.status)) + ">";
  EXPECT_EQ(r.written, out.size());
  return ToUtf8(out);
}

// Tables of {format, arguments, exact output} and {format, arguments, status[, capacity]}.
struct Out {
  std::string_view format;
  std::vector<FormatArgument> args;
  std::string_view expected;
};
void ExpectOutputs(std::initializer_list<Out> cases) {
  for (const Out& c : cases) EXPECT_EQ(F(c.format, c.args), c.expected) << c.format;
}
struct Refused {
  std::string_view format;
  std::vector<FormatArgument> args;
  FormatStatus status;
  std::size_t capacity = kUnboundedFormat;
};
void ExpectStatuses(std::initializer_list<Refused> cases) {
  for (const Refused& c : cases) {
    std::u16string out;
    FormatArgumentList list(c.args);
    EXPECT_EQ(FormatAppend(out, FromUtf8(c.format), list, c.capacity).status, c.status) << c.format;
  }
}

TEST(SafeFormat, Integers) {
  // clang-format off
  ExpectOutputs({
      {"", {}, ""}, {"100%% sure", {}, "100% sure"}, {"%%%%", {}, "%%"},
      {"%i", {-42}, "-42"}, {"%d", {kIntMin}, "-2147483648"}, {"%+d", {5}, "+5"},
      {"% d", {5}, " 5"},
      {"%+ d", {5}, "+5"},  // '+' wins over ' '
      {"%5d", {42}, "   42"}, {"%05d", {-42}, "-0042"}, {"%-08d|", {42}, "42      |"},  // '-' wins
      {"%.5d", {42}, "00042"}, {"%8.5d", {-42}, "  -00042"},
      {"%08.5d", {42}, "   00042"},  // a precision turns '0' off
      {"%.0d", {0}, ""}, {"%5.0d|", {0}, "     |"},
      {"%1d", {12345}, "12345"},  // a width never cuts
      // Windows' long is 32 bits: bits above 32 are dropped for int and long.
      {"%d", {0xFFFFFFFFu}, "-1"}, {"%ld", {0x80000000u}, "-2147483648"},
      {"%I32d", {0xFFFFFFFEu}, "-2"},
      {"%d", {0x100000005LL}, "5"}, {"%lu", {0x1FFFFFFFFULL}, "4294967295"},
      {"%u", {-1}, "4294967295"},
      {"%hd", {40000}, "-25536"}, {"%hu", {-1}, "65535"}, {"%hhu", {300}, "44"},
      {"%hhd", {200}, "-56"},
      {"%lld", {-9000000000LL}, "-9000000000"}, {"%llu", {-1LL}, "18446744073709551615"},
      {"%I64u", {18446744073709551615ULL}, "18446744073709551615"},
      {"%I64d", {std::numeric_limits<long long>::min()}, "-9223372036854775808"},
      {"%u", {3000000000u}, "3000000000"}, {"%+u", {5}, "5"},  // sign flags do not apply
      {"% x", {255}, "ff"}, {"%X", {255}, "FF"}, {"0x%04X", {0x1A}, "0x001A"},
      {"%#x", {255}, "0xff"},
      {"%#X", {255}, "0XFF"}, {"%#x", {0}, "0"},  // no prefix for zero
      {"%#06x", {1}, "0x0001"}, {"%#-8x|", {1}, "0x1     |"}, {"%#.4x", {1}, "0x0001"},
      {"%#o", {8}, "010"}, {"%#.0o", {0}, "0"}, {"%#.3o", {8}, "010"},  // precision gives the zero
      {"%o", {-1}, "37777777777"}, {"%llo", {-1LL}, "1777777777777777777777"},
      // A star argument is an int (a 64-bit value keeps its low 32 bits); a
      // negative width left-justifies, a negative precision is none.
      {"%*d", {5, 42}, "   42"}, {"%*d|", {-5, 42}, "42   |"}, {"%.*d", {4, 7}, "0007"},
      {"%.*d", {-1, 7}, "7"}, {"%.*f", {-3, 1.5}, "1.500000"}, {"%*d", {0x100000003LL, 1}, "  1"}});
  // clang-format on
}

TEST(SafeFormat, CharactersAndTexts) {
  const std::u16string hello = u"hello";
  // clang-format off
  ExpectOutputs({
      {"%c", {0x20AC}, "\xE2\x82\xAC"}, {"%lc%wc", {66, 67}, "BC"},
      {"%3c|%-3c|", {'x', 'y'}, "  x|y  |"},
      {"%03c", {'x'}, "00x"}, {"%c", {0x10041}, "A"},  // only the low 16 bits count
      {"%hc", {0x180}, "\xE2\x82\xAC"},  // narrow, in the ANSI code page (0x80: euro)
      {"%s", {hello}, "hello"}, {"%ls|%ws", {u"a", u"b"}, "a|b"}, {"[%8s]", {hello}, "[   hello]"},
      {"[%08s]", {hello}, "[000hello]"},  // '0' pads text too
      {"%.3s", {hello}, "hel"}, {"%.0s|", {hello}, "|"}, {"[%*.*s]", {6, 2, hello}, "[    he]"},
      {"%s", {static_cast<const char16_t*>(nullptr)}, "(null)"},
      {"%s|", {std::u16string_view(u"ab\0cd", 5)}, "ab|"},  // a text ends at its first NUL
      {"%s", {u"\u00e9t\u00e9"}, "\xC3\xA9t\xC3\xA9"},
      // %hs takes narrow text in the ANSI code page; wide text is accepted too.
      {"%hs", {FormatArgument::Narrow("caf\xE9")}, "caf\xC3\xA9"}, {"%hs", {u"wide"}, "wide"},
      {"%s", {FormatArgument::Narrow("narrow")}, "narrow"},
      {"%.2hs|%5hs", {FormatArgument::Narrow("xyz"), FormatArgument::Narrow("ab")}, "xy|   ab"},
      {"%hs|", {FormatArgument::Narrow(std::string_view("a\0b", 3))}, "a|"}});
  // clang-format on
}

TEST(SafeFormat, FloatingPoint) {
  const double inf = std::numeric_limits<double>::infinity();
  const auto nan = [](std::uint64_t bits) { return std::bit_cast<double>(bits); };
  // clang-format off
  ExpectOutputs({
      {"%5.2f", {3.14159}, " 3.14"}, {"%.2f", {2.675}, "2.67"},  // the binary value is below .675
      {"%.0f", {2.5}, "2"},  // ties go to even
      {"%#.0f", {3.0}, "3."}, {"%+.1f", {2.0}, "+2.0"}, {"%08.2f", {-1.5}, "-0001.50"},
      {"%f", {-0.0}, "-0.000000"}, {"%Lf", {0.5}, "0.500000"}, {"%.3f", {1e-10}, "0.000"},
      {"%f", {1e20}, "100000000000000000000.000000"},
      {"%E", {123456.0}, "1.234560E+05"}, {"%.2e", {0.000123}, "1.23e-04"},
      {"%e", {0.0}, "0.000000e+00"},
      {"%.0e", {5.0}, "5e+00"}, {"%#.0e", {5.0}, "5.e+00"}, {"%012.3e", {-12.5}, "-001.250e+01"},
      {"%g", {0.0}, "0"}, {"%g", {100000.0}, "100000"}, {"%g", {1000000.0}, "1e+06"},
      {"%g", {0.0001}, "0.0001"}, {"%g", {0.00001}, "1e-05"}, {"%g", {123456789.0}, "1.23457e+08"},
      {"%g", {9.9999995}, "10"},  // rounding moves the exponent
      {"%.0g", {3.7}, "4"},  // precision 0 counts as 1
      {"%#g", {1.0}, "1.00000"}, {"%#g", {1e6}, "1.00000e+06"}, {"%#.1g", {10.0}, "1.e+01"},
      {"%#.2g", {10.0}, "10."}, {"%10.3g|", {0.000123456}, "  0.000123|"},
      {"%f", {inf}, "inf"}, {"%E", {inf}, "INF"}, {"%+f", {inf}, "+inf"},
      {"%.2f", {inf}, "inf"}, {"%06f", {inf}, "   inf"},  // no precision, blanks even with '0'
      {"%f", {nan(0x7FF8000000000000ULL)}, "nan"},
      {"%f", {nan(0xFFF8000000000000ULL)}, "-nan(ind)"},
      {"%G", {nan(0xFFF8000000000000ULL)}, "-NAN(IND)"},
      {"%f", {nan(0xFFF8000000000001ULL)}, "-nan"},
      {"%g", {nan(0x7FF0000000000001ULL)}, "nan(snan)"}});
  // clang-format on
  // Every digit of the largest double is exact.
  const std::string max = F("%.0f", {std::numeric_limits<double>::max()});
  EXPECT_EQ(max.size(), 309u);
  EXPECT_EQ(max.substr(0, 17) + max.substr(300), "17976931348623157124858368");
}

TEST(SafeFormat, HugePrecisionIsPaddedNotComputed) {
  const std::string fixed = F("%.2000f", {0.5});
  ASSERT_EQ(fixed.size(), 2002u);
  EXPECT_EQ(fixed.find_first_not_of('0', 3), std::string::npos);
  // The smallest subnormal needs 1074 decimals; all of them are exact.
  const std::string tiny = F("%.1080f", {std::numeric_limits<double>::denorm_min()});
  ASSERT_EQ(tiny.size(), 1082u);
  EXPECT_EQ(tiny.substr(324, 6), "049406");  // 4.94065645841246544e-324
  EXPECT_EQ(tiny.substr(1075), "5000000");   // the 1074th decimal is the last
  const std::string sci = F("%.1200e", {1.0});
  EXPECT_EQ(sci.size(), 1u + 1u + 1200u + 4u);
  EXPECT_EQ(sci.substr(sci.size() - 5), "0e+00");
  EXPECT_EQ(F("%#.1500g", {1.0}).size(), 1501u);
  EXPECT_EQ(F("%.1500g", {1.0}), "1");
  EXPECT_EQ(F("%.65536d", {1}).size(), 65536u);
  EXPECT_EQ(F("%65536d", {1}).size(), 65536u);
}

TEST(SafeFormat, RefusedFormatsAndArguments) {
  // clang-format off
  ExpectStatuses({
      {"%", {}, kInvalidFormat}, {"%-08", {}, kInvalidFormat}, {"%l", {}, kInvalidFormat},
      {"%n", {0}, kInvalidFormat}, {"%p", {0}, kInvalidFormat}, {"%a", {1.0}, kInvalidFormat},
      {"%S", {u"x"}, kInvalidFormat}, {"%5%", {}, kInvalidFormat},
      {"%999999999d", {1}, kInvalidFormat},
      {"%.65537d", {1}, kInvalidFormat}, {"%65537s", {u""}, kInvalidFormat},
      // A bare 'I' depends on the pointer size of a build; modifiers that make
      // no sense for the conversion.
      {"%Id", {1}, kInvalidFormat}, {"%I16d", {1}, kInvalidFormat}, {"%Ld", {1}, kInvalidFormat},
      {"%wd", {1}, kInvalidFormat}, {"%hf", {1.0}, kInvalidFormat},
      {"%lls", {u"x"}, kInvalidFormat},
      {"%hhc", {65}, kInvalidFormat},
      {"%s", {1}, kArgumentMismatch}, {"%hs", {0x1234u}, kArgumentMismatch},
      {"%s", {1.5}, kArgumentMismatch}, {"%d", {u"text"}, kArgumentMismatch},
      {"%f", {1}, kArgumentMismatch}, {"%c", {u"c"}, kArgumentMismatch},
      {"%d %d", {1}, kMissingArgument},
      {"%d%n", {}, kMissingArgument}, {"%n%d", {}, kInvalidFormat},  // the first problem counts
      {"%*d", {1.0, 1}, kArgumentMismatch}, {"%.*s", {u"x", u"y"}, kArgumentMismatch},
      {"%*d", {5}, kMissingArgument}, {"%*d", {70000, 1}, kInvalidFormat},
      {"%*d", {kIntMin, 1}, kInvalidFormat}, {"%.*d", {70000, 1}, kInvalidFormat},
      // The output without terminator must fit: exactly `capacity` is fine.
      {"%04d", {7}, kOk, 4}, {"%05d", {7}, kOverflow, 4}, {"ab%-3d", {7}, kOk, 5},
      {"ab%-4d", {7}, kOverflow, 5}, {"%%", {}, kOverflow, 0}, {"", {}, kOk, 0},
      {"%.2000f", {1.0}, kOverflow, 2001}, {"%.2000f", {1.0}, kOk, 2002}});
  // clang-format on
}

TEST(SafeFormat, FailureLeavesOutputUntouched) {
  const std::pair<const char16_t*, std::size_t> cases[] = {
      {u"text %d %n", kUnboundedFormat},     // invalid after some output
      {u"text %d %s", kUnboundedFormat},     // mismatch after some output
      {u"text %d %d %d", kUnboundedFormat},  // missing after some output
      {u"text %d and more", 8},              // overflow in a literal
      {u"%d%100d", 50},                      // overflow in a field
  };
  for (const auto& [format, capacity] : cases) {
    std::u16string out = u"keep me";
    const FormatArgument args[] = {12, 34};
    FormatArgumentList list(args);
    EXPECT_FALSE(FormatAppend(out, format, list, capacity).ok()) << ToUtf8(format);
    EXPECT_EQ(out, u"keep me") << ToUtf8(format);
  }
}

TEST(SafeFormat, AppendsAndConsumesInOrder) {
  const FormatArgument args[] = {1, u"two", 3.0, 4};
  FormatArgumentList list(args);
  std::u16string out = u"abc";
  // The capacity counts only the new text; extra arguments are left alone.
  const FormatResult r = FormatAppend(out, u"[%d %s %g]", list, 9);
  ASSERT_TRUE(r.ok());
  EXPECT_EQ(r.written, 9u);
  EXPECT_EQ(out, u"abc[1 two 3]");
  EXPECT_EQ(list.Consumed(), 3u);
  std::vector<FormatArgument> many(500, FormatArgument(7));
  std::u16string format;
  for (int i = 0; i < 500; ++i) format += u"%d,";
  FormatArgumentList many_list(many);
  out.clear();
  ASSERT_TRUE(FormatAppend(out, format, many_list).ok());
  EXPECT_EQ(out.size(), 1000u);
  EXPECT_EQ(out.substr(996), u"7,7,");
  EXPECT_EQ(many_list.Consumed(), 500u);
  // The format is a C string: nothing after a NUL is read; a NUL character
  // is written, and counted.
  out.clear();
  FormatArgumentList none({});
  EXPECT_TRUE(FormatAppend(out, std::u16string_view(u"ab\0%n", 5), none).ok());
  const FormatArgument zero[] = {0};
  FormatArgumentList nul(zero);
  EXPECT_EQ(FormatAppend(out, u"a%cb", nul).written, 3u);
  EXPECT_EQ(out, std::u16string(u"aba\0b", 5));
}

TEST(SafeFormat, FormatConvenience) {
  EXPECT_EQ(Format(u"%05u/%02u", {21u, 2u}), u"00021/02");
  EXPECT_EQ(Format(u"%18s  %05d  ", {u"a.c", 7}), u"               a.c  00007  ");
  EXPECT_EQ(Format(u"%s", {1}), u"");
}

const std::u16string kTwo = u"Two";
const std::u16string kWide = u"\u4142\u0043x";  // bytes 42 41 43 00 78 00
const std::u16string kEmpty;
const FormatWord T{0, &kTwo}, W{0, &kWide}, E{0, &kEmpty};
constexpr FormatWord N(std::uint32_t bits) { return {bits, nullptr}; }
const std::optional<std::u16string> kRefused;

struct Row {
  std::u16string_view format;
  std::vector<FormatWord> words;
  std::optional<std::u16string> text;
  std::size_t bound = kUnboundedFormat;
};

// Text words give their text; in a wide printf "%hs", "%S" and "%hS" are
// narrow texts (the wide text's bytes, little-endian, up to the first zero
// byte, the precision counting bytes); the word 0 is the null text; a text
// address is no number (the runtime would read memory it was not given).
TEST(FormatWords, TextsNumbersAndRefusals) {
  // clang-format off
  const Row rows[] = {
      {u"[%s|%ls|%ws|%lS|%wS]", {T, T, T, T, T}, u"[Two|Two|Two|Two|Two]"},
      {u"[%5.2s][%-4s]", {T, T}, u"[   Tw][Two ]"}, {u"%.*s|%d", {N(1), T, N(7)}, u"T|7"},
      {u"[%hs][%S][%hS]", {T, T, T}, u"[T][T][T]"}, {u"[%hs]", {W}, u"[BAC]"},
      {u"[%.2S]", {W}, u"[BA]"}, {u"[%hs]", {E}, u"[]"},
      {u"%s %hs %S %Z", {N(0), N(0), N(0), N(0)}, u"(null) (null) (null) (null)"},
      {u"%s", {N(1)}, kRefused},
      {u"%u=%s (%p)", {N(3), T, N(0xBEEF)}, u"3=Two (0000BEEF)"},
      {u"%jd %s", {N(1), N(1), T}, u"4294967297 Two"},
      // Either half of a 64-bit number or double; a refusal past the bound.
      {u"%I64u", {N(1), T}, kRefused}, {u"%f", {T, N(1)}, kRefused},
      {u"%05000d%u", {N(1), T}, kRefused, 10},
      {u"%s %s", {T}, kRefused}, {u"%lld", {N(1)}, kRefused}, {u"%*s", {N(4)}, kRefused},
      {u"no conversion", {}, u"no conversion"},
      // Fields beyond the formatter's limit show their first characters under
      // a bound of at most 4095; a text's padding has no such limit.
      {u"%099999d", {N(1)}, std::u16string(4095, u'0'), 4095},
      {u"%.99999d", {N(1)}, std::u16string(20, u'0'), 20},
      {u"%099999d", {N(1)}, kRefused, 4096}, {u"%099999d", {N(1)}, kRefused},
      {u"%99999s", {T}, kRefused, 10}, {u"%99999s", {N(0)}, std::u16string(10, u' '), 10},
      {u"[%*d]", {N(0x80000000u), N(5)}, u"[5]"},  // INT_MIN pads nothing
  };
  // clang-format on
  for (const Row& r : rows) {
    EXPECT_EQ(FormatWords(r.format, r.words, r.bound), r.text) << r.format.size() << " " << r.bound;
  }
  for (const std::u16string_view format :
       {u"%d", u"%u", u"%x", u"%c", u"%C", u"%p", u"%zu", u"%*d", u"%.*d", u"%Z", u"%wZ"}) {
    EXPECT_EQ(FormatWords(format, std::vector{T, N(1)}), kRefused) << format.size();
  }
}

TEST(FormatWords, BoundKeepsTheFirstCharacters) {
  const std::uint32_t numbers[] = {12345, 6};
  EXPECT_EQ(FormatWords(u"ab%dcd%d", numbers, 4), u"ab12");
  EXPECT_EQ(FormatWords(u"ab%dcd%d", numbers, 0), u"");
  EXPECT_EQ(FormatWords(u"ab%dcd%d", numbers), u"ab12345cd6");
  // A substituted NUL character stays; the format ends at its own.
  const std::uint32_t nul[] = {0, 1};
  EXPECT_EQ(FormatWords(std::u16string_view(u"%cz\0%d", 6), nul), std::u16string(u"\0z", 2));
}

}  // namespace
}  // namespace quillon
