#include "platform/text_codec.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/windows1252.h"

namespace quillon::platform {
namespace {

TEST(Utf8, RoundTripsAllPlanes) {
  const std::u16string text = u"A\u00E9\u20AC\u4E2D\U0001F600z";
  const std::string utf8 = Utf16ToUtf8(text);
  EXPECT_EQ(utf8, "A\xC3\xA9\xE2\x82\xAC\xE4\xB8\xAD\xF0\x9F\x98\x80z");
  EXPECT_EQ(Utf8ToUtf16(utf8), text);
  EXPECT_EQ(Utf16ToUtf8(u""), "");
  EXPECT_EQ(Utf8ToUtf16(""), u"");
  // Embedded NULs are text like any other character.
  EXPECT_EQ(Utf8ToUtf16(std::string("a\0b", 3)), std::u16string(u"a\0b", 3));
}

TEST(Utf8, BoundaryCodePoints) {
  const std::u16string text = u"\u007F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF";
  EXPECT_EQ(Utf8ToUtf16(Utf16ToUtf8(text)), text);
  EXPECT_EQ(Utf16ToUtf8(u"\U0010FFFF"), "\xF4\x8F\xBF\xBF");
}

TEST(Utf8, UnpairedSurrogatesBecomeReplacement) {
  EXPECT_EQ(Utf16ToUtf8(u"a\xD800"), "a\xEF\xBF\xBD");
  EXPECT_EQ(Utf16ToUtf8(u"\xDC00"
                        u"b"),
            "\xEF\xBF\xBD"
            "b");
  EXPECT_EQ(Utf16ToUtf8(u"\xD800\xD800\xDC00"), "\xEF\xBF\xBD\xF0\x90\x80\x80");
}

TEST(Utf8, InvalidInputBecomesReplacementPerMaximalSubpart) {
  const std::u16string r = u"\uFFFD";
  EXPECT_EQ(Utf8ToUtf16("\x80"), r);                          // lone continuation
  EXPECT_EQ(Utf8ToUtf16("\xC3"), r);                          // truncated at end
  EXPECT_EQ(Utf8ToUtf16("\xC3z"), r + u"z");                  // truncated before ASCII
  EXPECT_EQ(Utf8ToUtf16("\xE2\x82z"), r + u"z");              // one mark for the prefix
  EXPECT_EQ(Utf8ToUtf16("\xC0\xAF"), r + r);                  // overlong '/'
  EXPECT_EQ(Utf8ToUtf16("\xE0\x80\xAF"), r + r + r);          // overlong, 3 bytes
  EXPECT_EQ(Utf8ToUtf16("\xED\xA0\x80"), r + r + r);          // encoded surrogate
  EXPECT_EQ(Utf8ToUtf16("\xF4\x90\x80\x80"), r + r + r + r);  // above U+10FFFF
  EXPECT_EQ(Utf8ToUtf16("\xF5\x80"), r + r);
  EXPECT_EQ(Utf8ToUtf16("\xFF"
                        "a\xFE"),
            r + u"a" + r);
  EXPECT_EQ(Utf8ToUtf16("\xF0\x9F\x98"), r);  // cut 4-byte sequence
}

TEST(Windows1252, HighControlsTable) {
  EXPECT_EQ(Windows1252ToUtf16(0x80), u'\u20AC');
  EXPECT_EQ(Windows1252ToUtf16(0x8A), u'\u0160');
  EXPECT_EQ(Windows1252ToUtf16(0x92), u'\u2019');
  EXPECT_EQ(Windows1252ToUtf16(0x99), u'\u2122');
  EXPECT_EQ(Windows1252ToUtf16(0x9F), u'\u0178');
  for (const unsigned undefined : {0x81u, 0x8Du, 0x8Fu, 0x90u, 0x9Du}) {
    EXPECT_EQ(Windows1252ToUtf16(static_cast<unsigned char>(undefined)), undefined);
  }
  EXPECT_EQ(Windows1252ToUtf16(0x41), u'A');
  EXPECT_EQ(Windows1252ToUtf16(0xA0), u'\u00A0');
  EXPECT_EQ(Windows1252ToUtf16(0xFF), u'\u00FF');
}

TEST(Windows1252, EveryByteRoundTrips) {
  for (unsigned b = 0; b < 256; ++b) {
    const char16_t unit = Windows1252ToUtf16(static_cast<unsigned char>(b));
    const auto back = Utf16ToWindows1252(unit);
    ASSERT_TRUE(back.has_value()) << b;
    EXPECT_EQ(*back, b);
  }
  EXPECT_FALSE(Utf16ToWindows1252(u'\u0080').has_value());  // 0x80 holds the euro sign
  EXPECT_FALSE(Utf16ToWindows1252(u'\u0100').has_value());
  EXPECT_FALSE(Utf16ToWindows1252(u'\u4E2D').has_value());
}

TEST(Ansi, AsciiRoundTripsEverywhere) {
  const std::string ascii = "Hello, world! 0123 ~";
  EXPECT_EQ(AnsiToUtf16(ascii), u"Hello, world! 0123 ~");
  EXPECT_EQ(Utf16ToAnsi(u"Hello, world! 0123 ~"), ascii);
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
