#include "items/message_format.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "common/text.h"
#include "items_test_support.h"

namespace quillon {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Args = std::vector<std::uint32_t>;

void Put(Bytes& b, std::size_t at, std::uint32_t v, int size) {
  for (int k = 0; k < size; ++k) b[at + k] = static_cast<std::uint8_t>(v >> (8 * k));
}

// An extended (0x79) message payload.
Bytes Extended(const Args& args, const std::string& format, const std::string& file,
               std::uint16_t line) {
  Bytes b(20 + 4 * args.size(), 0);
  b[0] = 0x79;
  b[2] = static_cast<std::uint8_t>(args.size());
  Put(b, 12, line, 2);
  Put(b, 14, 21, 2);  // subsystem
  Put(b, 16, 1, 4);   // level low
  for (std::size_t k = 0; k < args.size(); ++k) Put(b, 20 + 4 * k, args[k], 4);
  b.insert(b.end(), format.begin(), format.end());
  b.push_back(0);
  b.insert(b.end(), file.begin(), file.end());
  b.push_back(0);
  return b;
}

// A legacy (0x1F) message payload of 87 bytes.
Bytes Legacy(const Args& args, const std::string& format, const std::string& file,
             std::uint16_t line) {
  Bytes b(87, 0);
  b[0] = 0x1F;
  b[11] = 2;
  std::memcpy(&b[12], file.data(), std::min<std::size_t>(file.size(), 13));
  Put(b, 25, line, 2);
  std::memcpy(&b[27], format.data(), std::min<std::size_t>(format.size(), 40));
  for (std::size_t k = 0; k < 3 && k < args.size(); ++k) Put(b, 67 + 4 * k, args[k], 4);
  return b;
}

std::u16string Line(const Bytes& payload) {
  std::u16string out = u"stale";
  EXPECT_TRUE(FormatMessagePayload(payload, out));
  return out;
}

// The heading of file "a.c", line 7.
const std::u16string kHead = u"               a.c  00007  ";

std::u16string Message(const std::string& format, const Args& args) {
  const std::u16string line = Line(Extended(args, format, "a.c", 7));
  const std::size_t head = std::min(line.size(), kHead.size());
  EXPECT_EQ(line.substr(0, head), kHead.substr(0, head));
  return line.size() > kHead.size() ? line.substr(kHead.size()) : u"";
}

std::u16string ErrorFor(const std::string& format) {
  return u"Error: Invalid message format: " + FromUtf8(format);
}

// Expected text of each format; none stands for the error line.
struct Row {
  std::string format;
  Args args;
  std::optional<std::u16string> text;
};

void CheckRows(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    EXPECT_EQ(Message(row.format, row.args), row.text ? *row.text : ErrorFor(row.format))
        << row.format;
  }
}

TEST(MessageLine, HeadingColumnsAndTrailingLineBreaks) {
  EXPECT_EQ(Line(Extended({}, "hello\n", "a.c", 7)), kHead + u"hello");
  EXPECT_EQ(Line(Extended({}, "x \r\n\t\n", "a.c", 7)), kHead + u"x");
  // An empty message leaves the heading, whose trailing blanks go too.
  EXPECT_EQ(Line(Extended({}, "", "a.c", 65535)), u"               a.c  65535");
  // Long file names are not cut.
  for (const std::string file :
       {"modem/proc/cp/src/call_processing_main.c", "exactly_18_chars.c"}) {
    EXPECT_EQ(Line(Extended({}, "m", file, 123)), FromUtf8(file) + u"  00123  m");
  }
  // Without a final zero the file name ends at the payload end.
  Bytes b = Extended({}, "fmt", "file.c", 2);
  b.pop_back();
  EXPECT_EQ(Line(b), u"            file.c  00002  fmt");
}

// 64-bit integers and doubles take two 32-bit slots, low word first, the
// way a 32-bit x86 va_list holds them.
TEST(MessageLine, ZeroToManyArguments) {
  const auto bits = std::bit_cast<std::uint64_t>(1.5);
  const auto lo = static_cast<std::uint32_t>(bits), hi = static_cast<std::uint32_t>(bits >> 32);
  // clang-format off
  CheckRows({
      {"no args", {}, u"no args"}, {"%d", {1, 2, 3}, u"1"},  // unused arguments are ignored
      {"%d %i %u", {0xFFFFFFFFu, 0x80000000u, 0xFFFFFFFFu}, u"-1 -2147483648 4294967295"},
      {"%x %X %#x %o %05d|%-4d|", {0xBEEF, 0xBEEF, 255, 8, 42, 7},
       u"beef BEEF 0xff 10 00042|7   |"},
      {"%c%c", {'o', 'k'}, u"ok"}, {"ab%ccd", {0}, u"ab"},  // a NUL character ends the text
      {"100%% of %d", {3}, u"100% of 3"}, {"%lld", {1, 1}, u"4294967297"},
      {"%I64x|%d", {0x89ABCDEF, 0x01234567, 5}, u"123456789abcdef|5"},
      {"%llu %lld", {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFE, 0xFFFFFFFF}, u"18446744073709551615 -2"},
      {"%I32d %hd %hhu", {7, 0x12345678, 0x1FF}, u"7 22136 255"},
      {"%f %d", {lo, hi, 9}, u"1.500000 9"}, {"%.2e", {lo, hi}, u"1.50e+00"},
      {"[%*d]", {5, 42}, u"[   42]"}, {"[%-*.*d]", {6, 4, 42}, u"[0042  ]"},
      {"[%*d]", {0xFFFFFFFD, 1}, u"[1  ]"}});  // negative width: left
  // clang-format on
  Args many(255);
  std::string format;
  std::u16string expected;
  for (std::uint32_t k = 0; k < many.size(); ++k) {
    many[k] = k * 3;
    format += "%u,";
    expected += FromUtf8(std::to_string(k * 3)) + u",";
  }
  EXPECT_EQ(Message(format, many), expected);
}

TEST(MessageLine, HostileFormatsGiveTheErrorLine) {
  // A number read as a text pointer, a '%n' that would write through its
  // argument, unknown or cut conversions, a read past the payload, half a
  // double at its end, widths the runtime cannot hold or both fields beyond
  // 65536, conversions past the text bound: all give the error line.
  // clang-format off
  const std::vector<std::pair<std::string, Args>> formats = {
      {"%s", {5}}, {"%s", {0x00401000}}, {"name=%s line", {}}, {"%ls %hs %S", {1, 2, 3}},
      {"%*.*s", {4, 4, 0x1000}}, {"%S %Z", {1, 2}}, {"%s %s", {0, 1}}, {"%n", {0}},
      {"%d%n", {1, 0}}, {"%", {}}, {"100%", {1}}, {"%5", {1}}, {"%I", {1}}, {"%I6d", {1}},
      {"%q", {1}}, {"%hhC", {1}}, {"%x%x%x%x%x", {1}}, {"%.*p%.*p", {}}, {"%f", {}},
      {"%2147483648d", {1}}, {"%.2147483648d", {1}}, {"%70000.70000d", {1}},
      {"%70000.20000d", {1}}, {"%5000d%s", {7, 1}}, {"%5000d%s", {7}}};
  // clang-format on
  std::vector<Row> rows;
  for (const auto& [format, args] : formats) rows.push_back({format, args, std::nullopt});
  CheckRows(rows);
  const std::string format = std::string(5000, 'e') + "%s";
  EXPECT_EQ(Message(format, {1}), ErrorFor(format).substr(0, kMessageTextBound));
}

// The argument list is the payload from offset 20 on: conversions beyond
// the announced arguments read the following words, the format's own bytes
// and then the file name, and only a read past the payload's end fails.
TEST(MessageLine, MissingArgumentsReadTheFollowingWords) {
  // After the arguments: "%x|%" "x|%x" "|%x\0" "a.c\0" (16 bytes, 4 words).
  // clang-format off
  CheckRows({
      {"%x|%x|%x|%x", {}, u"257c7825|78257c78|78257c|632e61"},
      {"%x|%x|%x|%x|%x", {}, std::nullopt},  // 19 bytes: the fifth word is cut
      {"%d %d", {1}, u"1 622879781"},          // "%d %" read as a number
      {"%d %lld", {1, 2}, u"1 2675248288734642178"},
      {"%s", {}, std::nullopt}});  // the format's bytes are no text address
  // clang-format on
}

// Conversions that the Windows runtime prints although the safe formatter
// spells them otherwise.
TEST(MessageLine, WindowsRuntimeConversions) {
  // clang-format off
  CheckRows({
      {"%p", {0x1000}, u"00001000"}, {"%#p", {0x1F}, u"0X0000001F"},
      {"[%10p][%-10p]", {0xBEEF, 0xBEEF}, u"[  0000BEEF][0000BEEF  ]"},
      {"%010p", {0x1F}, u"  0000001F"},  // the precision turns '0' off
      {"%.2p|%.*p|%d", {0x1F, 2, 0x2F, 5}, u"0000001F|0000002F|5"},
      {"%*p|%d", {9, 0xFFFFFFFF, 5}, u" FFFFFFFF|5"},
      {"%lp %hp %llp|%d", {0x12345678, 0x12345678, 1, 2}, u"12345678 12345678 00000001|2"},
      {"%s", {0}, u"(null)"}, {"[%8s][%-7s][%.3s]", {0, 0, 0}, u"[  (null)][(null) ][(nu]"},
      {"%hs %ls %ws %S %Z|%d", {0, 0, 0, 0, 0, 4}, u"(null) (null) (null) (null) (null)|4"},
      {"%C%hC%lC%wC", {0x41, 0x142, 0x263A, 0x43}, u"AB\u263AC"},
      {"%Id %Iu %Ix|%zu %td|%d", {0xFFFFFFFF, 0xFFFFFFFF, 255, 7, 0xFFFFFFFF, 9},
       u"-1 4294967295 ff|7 -1|9"},
      {"%jd|%ju|%d", {1, 1, 0xFFFFFFFF, 0xFFFFFFFF, 3}, u"4294967297|18446744073709551615|3"}});
  // clang-format on
}

// Texts are cut at 4095 characters; a width or precision beyond 65536
// (and within INT_MAX) fills the whole text with padding or zeros.
TEST(MessageLine, LongTextsAndHugeWidths) {
  const std::u16string zeros(kMessageTextBound, u'0');
  const std::string exact(kMessageTextBound, 'y');
  // clang-format off
  CheckRows({
      {"%05000d", {7}, zeros},  // the 7 is past the cut
      {"%-5000d", {7}, u"7"}, {"%05000d%%%d", {7, 8}, zeros},
      {std::string(5000, 'z'), {}, std::u16string(kMessageTextBound, u'z')},
      {exact + "%d tail", {1}, FromUtf8(exact)},
      {"%99999d", {1}, u""}, {"%2147483647d", {1}, u""}, {"%099999d", {1}, zeros},
      {"ab%-99999dcd", {1}, u"ab1"}, {"%.99999d", {1}, zeros}, {"%100.70000x", {1}, zeros},
      {"%70000.5d", {1}, u""}, {"%-70000.16384d", {1}, zeros},
      {"x%.99999f", {0, 0x3FF00000}, u"x1." + zeros.substr(0, 4092)},
      {"%*d", {100000, 1}, u""}, {"%*d|", {static_cast<std::uint32_t>(-100000), 1}, u"1"},
      {"%.*d", {100000, 3}, zeros}, {"[%.*d]", {static_cast<std::uint32_t>(-100000), 3}, u"[3]"},
      {"[%*d]", {0x80000000u, 5}, u"[5]"}});  // INT_MIN cannot be negated
  // clang-format on
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
  out = u"stale";
  EXPECT_FALSE(FormatMessagePayload(b, out));
  EXPECT_TRUE(out.empty());
  b.resize(32);  // the format starts exactly at the end of the payload
  EXPECT_FALSE(FormatMessagePayload(b, out));
  // A legacy payload needs its three arguments' first 12 bytes.
  b = Legacy({1, 2, 3}, "%d", "l.c", 1);
  b.resize(78);
  EXPECT_FALSE(FormatMessagePayload(b, out));
  b.resize(79);
  EXPECT_TRUE(FormatMessagePayload(b, out));
}

TEST(LegacyMessageLine, FixedFieldsThreeArgumentsAndBound511) {
  EXPECT_EQ(Line(Legacy({1, 2, 3}, "v=%d %d %d\n", "legacy.c", 25)),
            u"          legacy.c  00025  v=1 2 3");
  // Conversions beyond the three arguments read the payload's further words
  // (zeros here), up to its end.
  EXPECT_EQ(Line(Legacy({1, 2, 3}, "%d %d %d %d %d", "l.c", 1)),
            u"               l.c  00001  1 2 3 0 0");
  EXPECT_EQ(Line(Legacy({1, 2, 3}, "%d %d %d %d %d %d", "l.c", 1)),
            u"               l.c  00001  " + ErrorFor("%d %d %d %d %d %d"));
  // Full-width file name (13) and format (40) without terminators.
  const std::string file = "thirteen_ch.c", format = "0123456789012345678901234567890123456789";
  EXPECT_EQ(Line(Legacy({}, format, file, 9)),
            u"     " + FromUtf8(file) + u"  00009  " + FromUtf8(format));
  EXPECT_EQ(Line(Legacy({1}, "%-600d|", "l.c", 1)), u"               l.c  00001  1");
  EXPECT_EQ(Line(Legacy({1}, "%0600d", "l.c", 1)),
            u"               l.c  00001  " + std::u16string(kLegacyMessageTextBound, u'0'));
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

}  // namespace
}  // namespace quillon
