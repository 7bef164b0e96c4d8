#include "items/message_format.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "common/text.h"
#include "items_test_support.h"

namespace quillon {
namespace {

using Bytes = std::vector<std::uint8_t>;

void PutU16(Bytes& b, std::size_t at, std::uint16_t v) {
  b[at] = static_cast<std::uint8_t>(v);
  b[at + 1] = static_cast<std::uint8_t>(v >> 8);
}
void PutU32(Bytes& b, std::size_t at, std::uint32_t v) {
  for (int k = 0; k < 4; ++k) b[at + k] = static_cast<std::uint8_t>(v >> (8 * k));
}

// An extended (0x79) message payload.
Bytes Extended(const std::vector<std::uint32_t>& args, const std::string& format,
               const std::string& file, std::uint16_t line) {
  Bytes b(20 + 4 * args.size(), 0);
  b[0] = 0x79;
  b[2] = static_cast<std::uint8_t>(args.size());
  PutU16(b, 12, line);
  PutU16(b, 14, 21);  // subsystem
  PutU32(b, 16, 1);   // level low
  for (std::size_t k = 0; k < args.size(); ++k) PutU32(b, 20 + 4 * k, args[k]);
  b.insert(b.end(), format.begin(), format.end());
  b.push_back(0);
  b.insert(b.end(), file.begin(), file.end());
  b.push_back(0);
  return b;
}

// A legacy (0x1F) message payload of 87 bytes.
Bytes Legacy(const std::vector<std::uint32_t>& args, const std::string& format,
             const std::string& file, std::uint16_t line) {
  Bytes b(87, 0);
  b[0] = 0x1F;
  b[11] = 2;
  std::memcpy(&b[12], file.data(), std::min<std::size_t>(file.size(), 13));
  PutU16(b, 25, line);
  std::memcpy(&b[27], format.data(), std::min<std::size_t>(format.size(), 40));
  for (std::size_t k = 0; k < 3 && k < args.size(); ++k) PutU32(b, 67 + 4 * k, args[k]);
  return b;
}

std::u16string Line(const Bytes& payload) {
  std::u16string out = u"stale";
  EXPECT_TRUE(FormatMessagePayload(payload, out));
  return out;
}

// The heading of file "a.c", line 7.
const std::u16string kHead = u"               a.c  00007  ";

std::u16string Message(const std::string& format, const std::vector<std::uint32_t>& args) {
  const std::u16string line = Line(Extended(args, format, "a.c", 7));
  EXPECT_EQ(line.substr(0, std::min(line.size(), kHead.size())),
            kHead.substr(0, std::min(line.size(), kHead.size())));
  return line.size() > kHead.size() ? line.substr(kHead.size()) : u"";
}

std::u16string ErrorFor(const std::string& format) {
  return u"Error: Invalid message format: " + FromUtf8(format);
}

TEST(MessageLine, HeadingColumnsAndTrailingLineBreak) {
  EXPECT_EQ(Line(Extended({}, "hello\n", "a.c", 7)), kHead + u"hello");
  EXPECT_EQ(Line(Extended({}, "x \r\n\t\n", "a.c", 7)), kHead + u"x");
  // An empty message leaves the heading, whose trailing blanks go too.
  EXPECT_EQ(Line(Extended({}, "", "a.c", 65535)), u"               a.c  65535");
}

TEST(MessageLine, LongFileNamesAreNotCut) {
  const std::string file = "modem/proc/cp/src/call_processing_main.c";
  EXPECT_EQ(Line(Extended({}, "m", file, 123)), FromUtf8(file) + u"  00123  m");
  const std::string eighteen = "exactly_18_chars.c";
  ASSERT_EQ(eighteen.size(), 18u);
  EXPECT_EQ(Line(Extended({}, "m", eighteen, 1)), FromUtf8(eighteen) + u"  00001  m");
}

TEST(MessageLine, ZeroToManyArguments) {
  EXPECT_EQ(Message("no args", {}), u"no args");
  EXPECT_EQ(Message("%d", {42}), u"42");
  EXPECT_EQ(Message("%d %i %u", {0xFFFFFFFFu, 0x80000000u, 0xFFFFFFFFu}),
            u"-1 -2147483648 4294967295");
  EXPECT_EQ(Message("%x %X %#x %o %05d|%-4d|", {0xBEEF, 0xBEEF, 255, 8, 42, 7}),
            u"beef BEEF 0xff 10 00042|7   |");
  EXPECT_EQ(Message("%c%c", {'o', 'k'}), u"ok");
  std::vector<std::uint32_t> many(255);
  std::string format;
  std::u16string expected;
  for (std::uint32_t k = 0; k < many.size(); ++k) {
    many[k] = k * 3;
    format += "%u,";
    expected += FromUtf8(std::to_string(k * 3)) + u",";
  }
  EXPECT_EQ(Message(format, many), expected);
}

TEST(MessageLine, UnusedArgumentsAreIgnored) { EXPECT_EQ(Message("%d", {1, 2, 3}), u"1"); }

// 64-bit integers and doubles take two 32-bit slots, low word first, the
// way a 32-bit x86 va_list holds them.
TEST(MessageLine, WideConversionsTakeTwoSlots) {
  EXPECT_EQ(Message("%lld", {1, 1}), u"4294967297");
  EXPECT_EQ(Message("%I64x|%d", {0x89ABCDEF, 0x01234567, 5}), u"123456789abcdef|5");
  EXPECT_EQ(Message("%llu %lld", {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFE, 0xFFFFFFFF}),
            u"18446744073709551615 -2");
  EXPECT_EQ(Message("%I32d %hd %hhu", {7, 0x12345678, 0x1FF}), u"7 22136 255");
  const auto bits = std::bit_cast<std::uint64_t>(1.5);
  const auto lo = static_cast<std::uint32_t>(bits);
  const auto hi = static_cast<std::uint32_t>(bits >> 32);
  EXPECT_EQ(Message("%f %d", {lo, hi, 9}), u"1.500000 9");
  EXPECT_EQ(Message("%.2e", {lo, hi}), u"1.50e+00");
  // A 64-bit conversion with one slot left has no argument.
  EXPECT_EQ(Message("%d %lld", {1, 2}), ErrorFor("%d %lld"));
}

TEST(MessageLine, StarWidthAndPrecisionTakeSlots) {
  EXPECT_EQ(Message("[%*d]", {5, 42}), u"[   42]");
  EXPECT_EQ(Message("[%-*.*d]", {6, 4, 42}), u"[0042  ]");
  EXPECT_EQ(Message("[%*d]", {0xFFFFFFFD, 1}), u"[1  ]");  // negative width: left
}

TEST(MessageLine, HostileFormatsGiveTheErrorLine) {
  const std::vector<std::pair<std::string, std::vector<std::uint32_t>>> cases = {
      {"%s", {5}},           // a number read as a text pointer
      {"%s", {0x00401000}},  // even one that looks like an address
      {"name=%s line", {}},  // no argument at all
      {"%ls %hs %S", {1, 2, 3}},
      {"%*.*s", {4, 4, 0x1000}},
      {"%S %Z", {1, 2}},
      {"%n", {0}},  // would write through the argument
      {"%d%n", {1, 0}},
      {"%", {}},  // a lone '%'
      {"100%", {1}},
      {"%5", {1}},
      {"%I", {1}},
      {"%I6d", {1}},
      {"%q", {1}},
      {"%hhC", {1}},
      {"%d %d", {1}},  // more conversions than arguments
      {"%.*p", {}},
      {"%2147483648d", {1}},  // a width the runtime cannot hold
      {"%.2147483648d", {1}},
      {"%70000.70000d", {1}},  // both fields beyond 65536
      {"%70000.20000d", {1}},
      {"%f", {1}},  // half a double
  };
  for (const auto& [format, args] : cases) {
    EXPECT_EQ(Message(format, args), ErrorFor(format)) << format;
  }
}

// Conversions that the Windows runtime prints although the safe formatter
// spells them otherwise.
TEST(MessageLine, PointersPrintAsEightHexDigits) {
  EXPECT_EQ(Message("%p", {0x1000}), u"00001000");
  EXPECT_EQ(Message("[%10p][%-10p]", {0xBEEF, 0xBEEF}), u"[  0000BEEF][0000BEEF  ]");
  EXPECT_EQ(Message("%#p", {0x1F}), u"0X0000001F");
  EXPECT_EQ(Message("%010p", {0x1F}), u"  0000001F");  // the precision turns '0' off
  // The precision is always eight digits; a '*' precision still takes its slot.
  EXPECT_EQ(Message("%.2p|%.*p|%d", {0x1F, 2, 0x2F, 5}), u"0000001F|0000002F|5");
  EXPECT_EQ(Message("%*p|%d", {9, 0xFFFFFFFF, 5}), u" FFFFFFFF|5");
  // A length does not change a pointer's size.
  EXPECT_EQ(Message("%lp %hp %llp|%d", {0x12345678, 0x12345678, 1, 2}),
            u"12345678 12345678 00000001|2");
}

TEST(MessageLine, NullTextPointersPrintNull) {
  EXPECT_EQ(Message("%s", {0}), u"(null)");
  EXPECT_EQ(Message("[%8s][%-7s][%.3s]", {0, 0, 0}), u"[  (null)][(null) ][(nu]");
  EXPECT_EQ(Message("%hs %ls %ws %S %Z|%d", {0, 0, 0, 0, 0, 4}),
            u"(null) (null) (null) (null) (null)|4");
  EXPECT_EQ(Message("%s %s", {0, 1}), ErrorFor("%s %s"));
}

TEST(MessageLine, OtherWidthCharactersAndPointerSizedLengths) {
  EXPECT_EQ(Message("%C%hC%lC%wC", {0x41, 0x142, 0x263A, 0x43}), u"AB\u263AC");
  EXPECT_EQ(Message("%Id %Iu %Ix|%zu %td|%d", {0xFFFFFFFF, 0xFFFFFFFF, 255, 7, 0xFFFFFFFF, 9}),
            u"-1 4294967295 ff|7 -1|9");
  EXPECT_EQ(Message("%jd|%ju|%d", {1, 1, 0xFFFFFFFF, 0xFFFFFFFF, 3}),
            u"4294967297|18446744073709551615|3");
}

// A width or precision beyond 65536 (and within INT_MAX) prints: its
// padding or zeros fill the whole 4095-character text.
TEST(MessageLine, HugeFieldsFillTheText) {
  const std::u16string zeros(kMessageTextBound, u'0');
  EXPECT_EQ(Message("%99999d", {1}), u"");  // blanks only, trimmed
  EXPECT_EQ(Message("%2147483647d", {1}), u"");
  EXPECT_EQ(Message("%099999d", {1}), zeros);
  EXPECT_EQ(Message("ab%-99999dcd", {1}), u"ab1");
  EXPECT_EQ(Message("%.99999d", {1}), zeros);
  EXPECT_EQ(Message("%100.70000x", {1}), zeros);
  EXPECT_EQ(Message("%70000.5d", {1}), u"");
  EXPECT_EQ(Message("%-70000.16384d", {1}), zeros);
  EXPECT_EQ(Message("x%.99999f", {0, 0x3FF00000}), u"x1." + zeros.substr(0, 4092));
  EXPECT_EQ(Message("%*d", {100000, 1}), u"");
  EXPECT_EQ(Message("%*d|", {static_cast<std::uint32_t>(-100000), 1}), u"1");
  EXPECT_EQ(Message("%.*d", {100000, 3}), zeros);
  EXPECT_EQ(Message("[%.*d]", {static_cast<std::uint32_t>(-100000), 3}), u"[3]");
  // INT_MIN cannot be negated: the field pads nothing.
  EXPECT_EQ(Message("[%*d]", {0x80000000u, 5}), u"[5]");
}

TEST(MessageLine, PercentLiteral) { EXPECT_EQ(Message("100%% of %d", {3}), u"100% of 3"); }

TEST(MessageLine, NulCharacterEndsTheText) { EXPECT_EQ(Message("ab%ccd", {0}), u"ab"); }

TEST(MessageLine, LongMessagesAreCutAtTheBound) {
  // The 7 of a zero-padded field is past the cut.
  EXPECT_EQ(Message("%05000d", {7}), std::u16string(kMessageTextBound, u'0'));
  EXPECT_EQ(Message("%-5000d", {7}), u"7");  // trailing blanks trimmed
  const std::string literal(5000, 'z');
  EXPECT_EQ(Message(literal, {}), std::u16string(kMessageTextBound, u'z'));
  // A literal that fills the text exactly, then more conversions.
  const std::string exact(kMessageTextBound, 'y');
  EXPECT_EQ(Message(exact + "%d tail", {1}), FromUtf8(exact));
}

TEST(MessageLine, ConversionsPastTheBoundAreStillChecked) {
  EXPECT_EQ(Message("%5000d%s", {7, 1}), ErrorFor("%5000d%s"));
  EXPECT_EQ(Message("%5000d%d", {7}), ErrorFor("%5000d%d"));
  EXPECT_EQ(Message("%05000d%%%d", {7, 8}).size(), kMessageTextBound);
}

TEST(MessageLine, ErrorLineIsBoundToo) {
  const std::string format = std::string(5000, 'e') + "%s";
  const std::u16string text = Message(format, {1});
  ASSERT_EQ(text.size(), kMessageTextBound);
  EXPECT_EQ(text, ErrorFor(format).substr(0, kMessageTextBound));
}

TEST(MessageLine, ShortOrBrokenPayloadsAreRefused) {
  std::u16string out = u"stale";
  EXPECT_FALSE(FormatMessagePayload({}, out));
  EXPECT_TRUE(out.empty());
  Bytes b = Extended({1, 2}, "%d", "a.c", 1);
  EXPECT_FALSE(FormatMessagePayload(std::span(b).first(19), out));
  // Three arguments announced, but the payload ends inside them.
  b = Extended({}, "", "", 1);
  b[2] = 3;
  b.resize(30);
  EXPECT_FALSE(FormatMessagePayload(b, out));
  EXPECT_TRUE(out.empty());
  // The format starts exactly at the end of the payload.
  b.resize(32);
  EXPECT_FALSE(FormatMessagePayload(b, out));
}

TEST(MessageLine, PayloadWithoutFinalZeroUsesTheBytesToTheEnd) {
  Bytes b = Extended({}, "fmt", "file.c", 2);
  b.pop_back();  // no terminator: the file name still ends at the payload end
  EXPECT_EQ(Line(b), u"            file.c  00002  fmt");
}

TEST(LegacyMessageLine, FixedFieldsAndThreeArguments) {
  EXPECT_EQ(Line(Legacy({1, 2, 3}, "v=%d %d %d\n", "legacy.c", 25)),
            u"          legacy.c  00025  v=1 2 3");
  // Only three arguments exist.
  EXPECT_EQ(Line(Legacy({1, 2, 3}, "%d %d %d %d", "l.c", 1)),
            u"               l.c  00001  " + ErrorFor("%d %d %d %d"));
}

TEST(LegacyMessageLine, FullWidthTextsAreNotReadPastTheirFields) {
  // 13-character file name and 40-character format without terminators.
  const std::string file = "thirteen_ch.c";
  const std::string format = "0123456789012345678901234567890123456789";
  ASSERT_EQ(file.size(), 13u);
  ASSERT_EQ(format.size(), 40u);
  EXPECT_EQ(Line(Legacy({}, format, file, 9)),
            u"     " + FromUtf8(file) + u"  00009  " + FromUtf8(format));
}

TEST(LegacyMessageLine, BoundIs511) {
  const std::u16string line = Line(Legacy({1}, "%-600d|", "l.c", 1));
  EXPECT_EQ(line.size(), 27 + 1u);  // the cut leaves "1" and blanks, trimmed
  const std::u16string full = Line(Legacy({1}, "%0600d", "l.c", 1));
  EXPECT_EQ(full.size(), 27 + kLegacyMessageTextBound);
}

TEST(LegacyMessageLine, ShortLegacyPayloadIsRefused) {
  Bytes b = Legacy({1, 2, 3}, "%d", "l.c", 1);
  std::u16string out;
  b.resize(78);
  EXPECT_FALSE(FormatMessagePayload(b, out));
  b.resize(79);
  EXPECT_TRUE(FormatMessagePayload(b, out));
}

TEST(FormatMessageItem, OnlyValidMessageItems) {
  using itemstest::TestItem;
  const Bytes payload = Extended({42}, "v=%d", "a.c", 7);
  std::u16string out;
  EXPECT_TRUE(FormatMessageItem(TestItem(6, {6, 21, 0}, payload), out));
  EXPECT_EQ(out, kHead + u"v=42");

  out = u"stale";
  EXPECT_FALSE(FormatMessageItem(TestItem(6, {6, 21, 0}, payload, false), out));
  EXPECT_TRUE(out.empty());
  EXPECT_FALSE(FormatMessageItem(TestItem(5, {5, 1}, payload), out));
  EXPECT_FALSE(FormatMessageItem(TestItem(6, {6, 21, 0}, {}), out));  // no buffer
  EXPECT_TRUE(out.empty());
}

TEST(FormatDeviceMessage, DirectUse) {
  const std::uint32_t args[] = {3, 4};
  EXPECT_EQ(FormatDeviceMessage(u"%d+%d", args, 100), u"3+4");
  EXPECT_EQ(FormatDeviceMessage(u"%d+%d", args, 2), u"3+");
  EXPECT_EQ(FormatDeviceMessage(u"%s", args, 10), u"Error: Inv");
}

// Arbitrary bytes never crash the formatter and every line it gives has
// the fixed heading columns.
TEST(MessageLine, RandomPayloadsAreSafe) {
  std::mt19937 rng(7);
  const std::string alphabet = "%%%dsnxXcufgeE*.-+ #0123456789lhI64wLqpSZCjzt\n";
  for (int i = 0; i < 3000; ++i) {
    Bytes b(std::uniform_int_distribution<std::size_t>(0, 200)(rng));
    for (auto& byte : b) {
      byte = (rng() % 3 == 0) ? static_cast<std::uint8_t>(rng())
                              : static_cast<std::uint8_t>(alphabet[rng() % alphabet.size()]);
    }
    if (!b.empty()) b[0] = (i % 4 == 0) ? 0x1F : 0x79;
    if (b.size() > 2) b[2] = static_cast<std::uint8_t>(rng() % 8);
    std::u16string out;
    if (FormatMessagePayload(b, out)) {
      // File name (18+ columns), two blanks, five digits.
      ASSERT_GE(out.size(), 25u);
    } else {
      ASSERT_TRUE(out.empty());
    }
  }
}

}  // namespace
}  // namespace quillon
