// The formatter against the outputs of the Windows wide printf family.
#include "common/safe_format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "common/text.h"

namespace quillon {
namespace {

// Formats and returns UTF-8 (readable in failure messages); "<error N>" on
// failure.
std::string F(std::string_view format, std::initializer_list<FormatArgument> args = {}) {
  std::u16string out;
  FormatArgumentList list(std::span<const FormatArgument>(args.begin(), args.size()));
  const FormatResult r = FormatAppend(out, FromUtf8(format), list);
  if (!r.ok()) return "<error " + std::to_string(static_cast<int>(r.status)) + ">";
  EXPECT_EQ(r.written, out.size());
  return ToUtf8(out);
}

FormatStatus Status(std::string_view format, std::initializer_list<FormatArgument> args = {},
                    std::size_t capacity = kUnboundedFormat) {
  std::u16string out;
  FormatArgumentList list(std::span<const FormatArgument>(args.begin(), args.size()));
  return FormatAppend(out, FromUtf8(format), list, capacity).status;
}

TEST(SafeFormat, LiteralsAndPercent) {
  EXPECT_EQ(F(""), "");
  EXPECT_EQ(F("plain text"), "plain text");
  EXPECT_EQ(F("100%% sure"), "100% sure");
  EXPECT_EQ(F("%%%%"), "%%");
  // The format is a C string: nothing after a NUL is read.
  std::u16string out;
  FormatArgumentList none({});
  EXPECT_TRUE(FormatAppend(out, std::u16string_view(u"ab\0%n", 5), none).ok());
  EXPECT_EQ(out, u"ab");
}

TEST(SafeFormat, SignedIntegers) {
  EXPECT_EQ(F("%d", {42}), "42");
  EXPECT_EQ(F("%i", {-42}), "-42");
  EXPECT_EQ(F("%d", {0}), "0");
  EXPECT_EQ(F("%d", {std::numeric_limits<int>::min()}), "-2147483648");
  EXPECT_EQ(F("%+d", {5}), "+5");
  EXPECT_EQ(F("%+d", {-5}), "-5");
  EXPECT_EQ(F("% d", {5}), " 5");
  EXPECT_EQ(F("%+ d", {5}), "+5");  // '+' wins over ' '
  EXPECT_EQ(F("%5d", {42}), "   42");
  EXPECT_EQ(F("%-5d|", {42}), "42   |");
  EXPECT_EQ(F("%05d", {-42}), "-0042");
  EXPECT_EQ(F("%-08d|", {42}), "42      |");  // '-' wins over '0'
  EXPECT_EQ(F("%.5d", {42}), "00042");
  EXPECT_EQ(F("%8.5d", {-42}), "  -00042");
  EXPECT_EQ(F("%08.5d", {42}), "   00042");  // a precision turns '0' off
  EXPECT_EQ(F("%.0d", {0}), "");
  EXPECT_EQ(F("%5.0d|", {0}), "     |");
  EXPECT_EQ(F("%1d", {12345}), "12345");  // a width never cuts
}

TEST(SafeFormat, WindowsLongIs32Bits) {
  // An unsigned value above 2^31 prints as a negative int and long.
  EXPECT_EQ(F("%d", {0xFFFFFFFFu}), "-1");
  EXPECT_EQ(F("%ld", {0x80000000u}), "-2147483648");
  EXPECT_EQ(F("%I32d", {0xFFFFFFFEu}), "-2");
  // Bits above 32 are dropped for int and long.
  EXPECT_EQ(F("%d", {0x100000005LL}), "5");
  EXPECT_EQ(F("%lu", {0x1FFFFFFFFULL}), "4294967295");
  EXPECT_EQ(F("%u", {-1}), "4294967295");
}

TEST(SafeFormat, LengthModifiers) {
  EXPECT_EQ(F("%hd", {70000}), "4464");
  EXPECT_EQ(F("%hd", {40000}), "-25536");
  EXPECT_EQ(F("%hu", {-1}), "65535");
  EXPECT_EQ(F("%hhu", {300}), "44");
  EXPECT_EQ(F("%hhd", {200}), "-56");
  EXPECT_EQ(F("%hhx", {0x1234}), "34");
  EXPECT_EQ(F("%lld", {-9000000000LL}), "-9000000000");
  EXPECT_EQ(F("%llu", {-1LL}), "18446744073709551615");
  EXPECT_EQ(F("%I64u", {18446744073709551615ULL}), "18446744073709551615");
  EXPECT_EQ(F("%I64d", {std::numeric_limits<long long>::min()}), "-9223372036854775808");
  EXPECT_EQ(F("%I64X", {0xDEADBEEFCAFEULL}), "DEADBEEFCAFE");
  // A bare 'I' depends on the pointer size of a build: refused.
  EXPECT_EQ(Status("%Id", {1}), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%I16d", {1}), FormatStatus::kInvalidFormat);
  // Modifiers that make no sense for the conversion.
  EXPECT_EQ(Status("%Ld", {1}), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%wd", {1}), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%hf", {1.0}), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%lls", {u"x"}), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%hhc", {65}), FormatStatus::kInvalidFormat);
}

TEST(SafeFormat, UnsignedOctalHex) {
  EXPECT_EQ(F("%u", {3000000000u}), "3000000000");
  EXPECT_EQ(F("%+u", {5}), "5");  // sign flags do not apply
  EXPECT_EQ(F("% x", {255}), "ff");
  EXPECT_EQ(F("%x", {255}), "ff");
  EXPECT_EQ(F("%X", {255}), "FF");
  EXPECT_EQ(F("%04X", {0x108A}), "108A");
  EXPECT_EQ(F("0x%04X", {0x1A}), "0x001A");
  EXPECT_EQ(F("%#x", {255}), "0xff");
  EXPECT_EQ(F("%#X", {255}), "0XFF");
  EXPECT_EQ(F("%#x", {0}), "0");  // no prefix for zero
  EXPECT_EQ(F("%#06x", {1}), "0x0001");
  EXPECT_EQ(F("%#8x|", {1}), "     0x1|");
  EXPECT_EQ(F("%#-8x|", {1}), "0x1     |");
  EXPECT_EQ(F("%#.4x", {1}), "0x0001");
  EXPECT_EQ(F("%o", {8}), "10");
  EXPECT_EQ(F("%#o", {8}), "010");
  EXPECT_EQ(F("%#o", {0}), "0");
  EXPECT_EQ(F("%#.0o", {0}), "0");
  EXPECT_EQ(F("%#.3o", {8}), "010");  // precision already gives the zero
  EXPECT_EQ(F("%o", {-1}), "37777777777");
  EXPECT_EQ(F("%llo", {-1LL}), "1777777777777777777777");
}

TEST(SafeFormat, Characters) {
  EXPECT_EQ(F("%c", {65}), "A");
  EXPECT_EQ(F("%c", {0x20AC}), "\xE2\x82\xAC");  // a wide character
  EXPECT_EQ(F("%lc%wc", {66, 67}), "BC");
  EXPECT_EQ(F("%3c|%-3c|", {'x', 'y'}), "  x|y  |");
  EXPECT_EQ(F("%03c", {'x'}), "00x");
  // Only the low 16 bits make the wide character.
  EXPECT_EQ(F("%c", {0x10041}), "A");
  // %hc is a narrow character in the ANSI code page (0x80 is the euro sign).
  EXPECT_EQ(F("%hc", {0x41}), "A");
  EXPECT_EQ(F("%hc", {0x180}), "\xE2\x82\xAC");
  // A NUL character is written, and counted.
  std::u16string out;
  const FormatArgument args[] = {0};
  FormatArgumentList list(args);
  const FormatResult r = FormatAppend(out, u"a%cb", list);
  ASSERT_TRUE(r.ok());
  EXPECT_EQ(r.written, 3u);
  EXPECT_EQ(out, std::u16string(u"a\0b", 3));
}

TEST(SafeFormat, Text) {
  const std::u16string hello = u"hello";
  EXPECT_EQ(F("%s", {hello}), "hello");
  EXPECT_EQ(F("%ls|%ws", {u"a", u"b"}), "a|b");
  EXPECT_EQ(F("[%8s]", {hello}), "[   hello]");
  EXPECT_EQ(F("[%-8s]", {hello}), "[hello   ]");
  EXPECT_EQ(F("[%08s]", {hello}), "[000hello]");  // '0' pads text too
  EXPECT_EQ(F("%.3s", {hello}), "hel");
  EXPECT_EQ(F("%.0s|", {hello}), "|");
  EXPECT_EQ(F("%.10s", {hello}), "hello");
  EXPECT_EQ(F("[%*.*s]", {6, 2, hello}), "[    he]");
  EXPECT_EQ(F("[%-*s]", {6, hello}), "[hello ]");
  EXPECT_EQ(F("%s", {static_cast<const char16_t*>(nullptr)}), "(null)");
  // A text ends at its first NUL.
  const std::u16string embedded(u"ab\0cd", 5);
  EXPECT_EQ(F("%s|", {embedded}), "ab|");
  EXPECT_EQ(F("%s", {u"\u00e9t\u00e9"}), "\xC3\xA9t\xC3\xA9");
}

TEST(SafeFormat, NarrowText) {
  // %hs takes narrow text in the ANSI code page; wide text is accepted too.
  EXPECT_EQ(F("%hs", {FormatArgument::Narrow("abc")}), "abc");
  EXPECT_EQ(F("%hs", {FormatArgument::Narrow("caf\xE9")}), "caf\xC3\xA9");
  EXPECT_EQ(F("%hs", {u"wide"}), "wide");
  EXPECT_EQ(F("%s", {FormatArgument::Narrow("narrow")}), "narrow");
  EXPECT_EQ(F("%.2hs|%5hs", {FormatArgument::Narrow("xyz"), FormatArgument::Narrow("ab")}),
            "xy|   ab");
  EXPECT_EQ(F("%hs|", {FormatArgument::Narrow(std::string_view("a\0b", 3))}), "a|");
}

TEST(SafeFormat, StarArguments) {
  EXPECT_EQ(F("%*d", {5, 42}), "   42");
  EXPECT_EQ(F("%*d|", {-5, 42}), "42   |");  // negative width: left-justified
  EXPECT_EQ(F("%.*d", {4, 7}), "0007");
  EXPECT_EQ(F("%.*d", {-1, 7}), "7");  // negative precision: none
  EXPECT_EQ(F("%.*f", {-3, 1.5}), "1.500000");
  EXPECT_EQ(F("%0*d", {4, 7}), "0007");
  // The star argument is an int: a 64-bit value keeps its low 32 bits.
  EXPECT_EQ(F("%*d", {0x100000003LL, 1}), "  1");
  EXPECT_EQ(Status("%*d", {1.0, 1}), FormatStatus::kArgumentMismatch);
  EXPECT_EQ(Status("%.*s", {u"x", u"y"}), FormatStatus::kArgumentMismatch);
  EXPECT_EQ(Status("%*d", {5}), FormatStatus::kMissingArgument);
  EXPECT_EQ(Status("%*d"), FormatStatus::kMissingArgument);
  EXPECT_EQ(Status("%*d", {70000, 1}), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%*d", {-70000, 1}), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%*d", {std::numeric_limits<int>::min(), 1}), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%.*d", {70000, 1}), FormatStatus::kInvalidFormat);
}

TEST(SafeFormat, FixedNotation) {
  EXPECT_EQ(F("%f", {1.0}), "1.000000");
  EXPECT_EQ(F("%5.2f", {3.14159}), " 3.14");
  EXPECT_EQ(F("%.2f", {2.675}), "2.67");  // the exact binary value is below .675
  EXPECT_EQ(F("%.0f", {2.5}), "2");       // ties go to even
  EXPECT_EQ(F("%.0f", {3.5}), "4");
  EXPECT_EQ(F("%#.0f", {3.0}), "3.");
  EXPECT_EQ(F("%+.1f", {2.0}), "+2.0");
  EXPECT_EQ(F("% .1f", {2.0}), " 2.0");
  EXPECT_EQ(F("%08.2f", {-1.5}), "-0001.50");
  EXPECT_EQ(F("%-8.2f|", {-1.5}), "-1.50   |");
  EXPECT_EQ(F("%f", {-0.0}), "-0.000000");
  EXPECT_EQ(F("%lf", {0.5}), "0.500000");
  EXPECT_EQ(F("%Lf", {0.5}), "0.500000");
  EXPECT_EQ(F("%.3f", {1e-10}), "0.000");
  EXPECT_EQ(F("%f", {1e20}), "100000000000000000000.000000");
  // Every digit of the largest double is exact.
  const std::string max = F("%.0f", {std::numeric_limits<double>::max()});
  EXPECT_EQ(max.size(), 309u);
  EXPECT_EQ(max.substr(0, 17), "17976931348623157");
  EXPECT_EQ(max.substr(300), "124858368");
}

TEST(SafeFormat, ExponentNotation) {
  EXPECT_EQ(F("%e", {1.0}), "1.000000e+00");
  EXPECT_EQ(F("%E", {123456.0}), "1.234560E+05");
  EXPECT_EQ(F("%.2e", {0.000123}), "1.23e-04");
  EXPECT_EQ(F("%e", {0.0}), "0.000000e+00");
  EXPECT_EQ(F("%e", {1e300}), "1.000000e+300");
  EXPECT_EQ(F("%.0e", {5.0}), "5e+00");
  EXPECT_EQ(F("%#.0e", {5.0}), "5.e+00");
  EXPECT_EQ(F("%012.3e", {-12.5}), "-001.250e+01");
  EXPECT_EQ(F("%+e", {1.0}), "+1.000000e+00");
}

TEST(SafeFormat, GeneralNotation) {
  EXPECT_EQ(F("%g", {0.0}), "0");
  EXPECT_EQ(F("%g", {1.0}), "1");
  EXPECT_EQ(F("%g", {0.5}), "0.5");
  EXPECT_EQ(F("%g", {100000.0}), "100000");
  EXPECT_EQ(F("%g", {1000000.0}), "1e+06");
  EXPECT_EQ(F("%G", {1000000.0}), "1E+06");
  EXPECT_EQ(F("%g", {0.0001}), "0.0001");
  EXPECT_EQ(F("%g", {0.00001}), "1e-05");
  EXPECT_EQ(F("%g", {123456789.0}), "1.23457e+08");
  EXPECT_EQ(F("%g", {9.9999995}), "10");  // rounding moves the exponent
  EXPECT_EQ(F("%.3g", {3.14159}), "3.14");
  EXPECT_EQ(F("%.0g", {3.7}), "4");  // precision 0 counts as 1
  EXPECT_EQ(F("%#g", {1.0}), "1.00000");
  EXPECT_EQ(F("%#g", {1e6}), "1.00000e+06");
  EXPECT_EQ(F("%#.1g", {10.0}), "1.e+01");
  EXPECT_EQ(F("%#.2g", {10.0}), "10.");
  EXPECT_EQ(F("%10.3g|", {0.000123456}), "  0.000123|");
  EXPECT_EQ(F("%-10g|", {2.5}), "2.5       |");
}

TEST(SafeFormat, InfinityAndNan) {
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(F("%f", {inf}), "inf");
  EXPECT_EQ(F("%e", {-inf}), "-inf");
  EXPECT_EQ(F("%E", {inf}), "INF");
  EXPECT_EQ(F("%+f", {inf}), "+inf");
  EXPECT_EQ(F("%.2f", {inf}), "inf");     // the precision does not apply
  EXPECT_EQ(F("%06f", {inf}), "   inf");  // blanks even with '0'
  EXPECT_EQ(F("%-6f|", {-inf}), "-inf  |");
  EXPECT_EQ(F("%f", {std::bit_cast<double>(0x7FF8000000000000ULL)}), "nan");
  EXPECT_EQ(F("%f", {std::bit_cast<double>(0xFFF8000000000000ULL)}), "-nan(ind)");
  EXPECT_EQ(F("%G", {std::bit_cast<double>(0xFFF8000000000000ULL)}), "-NAN(IND)");
  EXPECT_EQ(F("%f", {std::bit_cast<double>(0xFFF8000000000001ULL)}), "-nan");
  EXPECT_EQ(F("%g", {std::bit_cast<double>(0x7FF0000000000001ULL)}), "nan(snan)");
}

TEST(SafeFormat, HugePrecisionIsPaddedNotComputed) {
  const std::string fixed = F("%.2000f", {0.5});
  ASSERT_EQ(fixed.size(), 2002u);
  EXPECT_EQ(fixed.substr(0, 3), "0.5");
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

TEST(SafeFormat, InvalidFormats) {
  EXPECT_EQ(Status("%"), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("abc%"), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%-08"), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%l"), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%n", {0}), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%p", {0}), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%q", {0}), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%a", {1.0}), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%S", {u"x"}), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%5%"), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%999999999d", {1}), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%99999999999999999999999d", {1}), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%.65537d", {1}), FormatStatus::kInvalidFormat);
  EXPECT_EQ(Status("%65537s", {u""}), FormatStatus::kInvalidFormat);
}

TEST(SafeFormat, ArgumentKindsMustMatch) {
  EXPECT_EQ(Status("%s", {1}), FormatStatus::kArgumentMismatch);
  EXPECT_EQ(Status("%hs", {0x1234u}), FormatStatus::kArgumentMismatch);
  EXPECT_EQ(Status("%s", {1.5}), FormatStatus::kArgumentMismatch);
  EXPECT_EQ(Status("%d", {u"text"}), FormatStatus::kArgumentMismatch);
  EXPECT_EQ(Status("%d", {1.5}), FormatStatus::kArgumentMismatch);
  EXPECT_EQ(Status("%f", {1}), FormatStatus::kArgumentMismatch);
  EXPECT_EQ(Status("%c", {u"c"}), FormatStatus::kArgumentMismatch);
  EXPECT_EQ(Status("%s %s %s %s %s %s %s %s"), FormatStatus::kMissingArgument);
  EXPECT_EQ(Status("%d %d", {1}), FormatStatus::kMissingArgument);
  // The first problem is the one reported.
  EXPECT_EQ(Status("%d%n"), FormatStatus::kMissingArgument);
  EXPECT_EQ(Status("%n%d"), FormatStatus::kInvalidFormat);
}

TEST(SafeFormat, ArgumentsAreConsumedInOrder) {
  const FormatArgument args[] = {1, u"two", 3.0, 4};
  FormatArgumentList list(args);
  std::u16string out;
  ASSERT_TRUE(FormatAppend(out, u"%d %s %g", list).ok());
  EXPECT_EQ(out, u"1 two 3");
  EXPECT_EQ(list.Consumed(), 3u);  // extra arguments are left alone
}

TEST(SafeFormat, CapacityBoundary) {
  // The output without terminator must fit: exactly `capacity` is fine.
  EXPECT_EQ(Status("abcd", {}, 4), FormatStatus::kOk);
  EXPECT_EQ(Status("abcde", {}, 4), FormatStatus::kOverflow);
  EXPECT_EQ(Status("%04d", {7}, 4), FormatStatus::kOk);
  EXPECT_EQ(Status("%05d", {7}, 4), FormatStatus::kOverflow);
  EXPECT_EQ(Status("ab%-3d", {7}, 5), FormatStatus::kOk);
  EXPECT_EQ(Status("ab%-4d", {7}, 5), FormatStatus::kOverflow);
  EXPECT_EQ(Status("%s", {u"xyz"}, 2), FormatStatus::kOverflow);
  EXPECT_EQ(Status("%%", {}, 0), FormatStatus::kOverflow);
  EXPECT_EQ(Status("", {}, 0), FormatStatus::kOk);
  EXPECT_EQ(Status("%.2000f", {1.0}, 2001), FormatStatus::kOverflow);
  EXPECT_EQ(Status("%.2000f", {1.0}, 2002), FormatStatus::kOk);
}

TEST(SafeFormat, FailureLeavesOutputUntouched) {
  const std::u16string before = u"keep me";
  const struct {
    const char16_t* format;
    std::size_t capacity;
  } cases[] = {
      {u"text %d %n", kUnboundedFormat},     // invalid after some output
      {u"text %d %s", kUnboundedFormat},     // mismatch after some output
      {u"text %d %d %d", kUnboundedFormat},  // missing after some output
      {u"text %d and more", 8},              // overflow in a literal
      {u"%d%100d", 50},                      // overflow in a field
  };
  for (const auto& c : cases) {
    std::u16string out = before;
    const FormatArgument args[] = {12, 34};
    FormatArgumentList list(args);
    EXPECT_FALSE(FormatAppend(out, c.format, list, c.capacity).ok()) << ToUtf8(c.format);
    EXPECT_EQ(out, before) << ToUtf8(c.format);
  }
}

TEST(SafeFormat, AppendsAndCountsOnlyNewText) {
  std::u16string out = u"abc";
  const FormatArgument args[] = {5};
  FormatArgumentList list(args);
  const FormatResult r = FormatAppend(out, u"[%d]", list, 3);
  ASSERT_TRUE(r.ok());
  EXPECT_EQ(r.written, 3u);
  EXPECT_EQ(out, u"abc[5]");
}

TEST(SafeFormat, FormatConvenience) {
  EXPECT_EQ(Format(u"%05u/%02u", {21u, 2u}), u"00021/02");
  EXPECT_EQ(Format(u"%18s  %05d  ", {u"a.c", 7}), u"               a.c  00007  ");
  EXPECT_EQ(Format(u"%s", {1}), u"");
}

TEST(SafeFormat, ManyConversionsInOneFormat) {
  std::vector<FormatArgument> args;
  std::u16string format;
  std::u16string expected;
  for (int i = 0; i < 500; ++i) {
    args.emplace_back(i);
    format += u"%d,";
    expected += FromUtf8(std::to_string(i)) + u",";
  }
  FormatArgumentList list(args);
  std::u16string out;
  ASSERT_TRUE(FormatAppend(out, format, list).ok());
  EXPECT_EQ(out, expected);
}

}  // namespace
}  // namespace quillon
