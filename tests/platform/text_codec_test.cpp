#include "platform/text_codec.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "platform/internal/windows1252.h"

namespace quillon::platform {
namespace {

TEST(Utf8, RoundTripsAllPlanesAndBoundaries) {
  const std::u16string text = u"A\u00E9\u20AC\u4E2D\U0001F600z";
  const std::string utf8 = Utf16ToUtf8(text);
  EXPECT_EQ(utf8, "A\xC3\xA9\xE2\x82\xAC\xE4\xB8\xAD\xF0\x9F\x98\x80z");
  EXPECT_EQ(Utf8ToUtf16(utf8), text);
  EXPECT_EQ(Utf16ToUtf8(u""), "");
  EXPECT_EQ(Utf8ToUtf16(""), u"");
  // Embedded NULs are text like any other character.
  EXPECT_EQ(Utf8ToUtf16(std::string("a\0b", 3)), std::u16string(u"a\0b", 3));
  const std::u16string bounds = u"\u007F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF";
  EXPECT_EQ(Utf8ToUtf16(Utf16ToUtf8(bounds)), bounds);
  EXPECT_EQ(Utf16ToUtf8(u"\U0010FFFF"), "\xF4\x8F\xBF\xBF");
}

TEST(Utf8, UnpairedSurrogatesBecomeReplacement) {
  EXPECT_EQ(Utf16ToUtf8(u"a\xD800"), "a\xEF\xBF\xBD");
  EXPECT_EQ(Utf16ToUtf8(u"\xDC00\x62"), "\xEF\xBF\xBD\x62");
  EXPECT_EQ(Utf16ToUtf8(u"\xD800\xD800\xDC00"), "\xEF\xBF\xBD\xF0\x90\x80\x80");
}

TEST(Utf8, InvalidInputBecomesReplacementPerMaximalSubpart) {
  const struct {
    std::string utf8;
    std::u16string expected;  // '#' stands for U+FFFD
  } cases[] = {
      {"\x80", u"#"},                 // lone continuation
      {"\xC3", u"#"},                 // truncated at end
      {"\xC3z", u"#z"},               // truncated before ASCII
      {"\xE2\x82z", u"#z"},           // one mark for the prefix
      {"\xC0\xAF", u"##"},            // overlong '/'
      {"\xE0\x80\xAF", u"###"},       // overlong, 3 bytes
      {"\xED\xA0\x80", u"###"},       // encoded surrogate
      {"\xF4\x90\x80\x80", u"####"},  // above U+10FFFF
      {"\xF5\x80", u"##"},
      {"\xFF\x61\xFE", u"#a#"},
      {"\xF0\x9F\x98", u"#"},  // cut 4-byte sequence
  };
  for (const auto& c : cases) {
    std::u16string expected = c.expected;
    for (char16_t& ch : expected) {
      if (ch == u'#') ch = u'\uFFFD';
    }
    EXPECT_EQ(Utf8ToUtf16(c.utf8), expected) << Utf16ToUtf8(c.expected);
  }
}

TEST(Windows1252, TableAndRoundTrip) {
  const std::pair<unsigned char, char16_t> table[] = {
      {0x80, u'\u20AC'}, {0x8A, u'\u0160'}, {0x92, u'\u2019'}, {0x99, u'\u2122'}, {0x9F, u'\u0178'},
      {0x41, u'A'},      {0xA0, u'\u00A0'}, {0xFF, u'\u00FF'}, {0x81, u'\u0081'}, {0x8D, u'\u008D'},
      {0x8F, u'\u008F'}, {0x90, u'\u0090'}, {0x9D, u'\u009D'},  // undefined bytes keep their value
  };
  for (const auto& [byte, unit] : table) EXPECT_EQ(Windows1252ToUtf16(byte), unit) << +byte;
  for (unsigned b = 0; b < 256; ++b) {
    const auto back = Utf16ToWindows1252(Windows1252ToUtf16(static_cast<unsigned char>(b)));
    ASSERT_TRUE(back.has_value()) << b;
    EXPECT_EQ(*back, b);
  }
  EXPECT_FALSE(Utf16ToWindows1252(u'\u0080').has_value());  // 0x80 holds the euro sign
  EXPECT_FALSE(Utf16ToWindows1252(u'\u0100').has_value());
  EXPECT_FALSE(Utf16ToWindows1252(u'\u4E2D').has_value());
}

TEST(Ansi, AsciiRoundTripsEverywhere) {
  EXPECT_EQ(AnsiToUtf16("Hello, world! 0123 ~"), u"Hello, world! 0123 ~");
  EXPECT_EQ(Utf16ToAnsi(u"Hello, world! 0123 ~"), "Hello, world! 0123 ~");
  EXPECT_EQ(AnsiToUtf16(""), u"");
}

#if !defined(_WIN32)
// Windows follows the system's code page; elsewhere it is Windows-1252.
TEST(Ansi, UsesWindows1252) {
  EXPECT_EQ(AnsiToUtf16("\x80\xE9\x9F\x81"), u"\u20AC\u00E9\u0178\u0081");
  EXPECT_EQ(Utf16ToAnsi(u"\u20AC\u00E9\u0178\u0081"), "\x80\xE9\x9F\x81");
  // Unmappable characters, a surrogate pair among them, become one '?' each.
  EXPECT_EQ(Utf16ToAnsi(u"a\u4E2Db\U0001F600c\xD800"), "a?b?c?");
}
#endif

}  // namespace
}  // namespace quillon::platform
