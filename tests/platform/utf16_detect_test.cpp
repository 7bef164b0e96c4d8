#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "platform/text_codec.h"

namespace quillon::platform {
namespace {

// The UTF-16LE bytes of a text.
std::string Le(std::u16string_view text) {
  std::string bytes;
  for (const char16_t c : text) {
    bytes.push_back(static_cast<char>(c & 0xFF));
    bytes.push_back(static_cast<char>(c >> 8));
  }
  return bytes;
}

bool Looks(const std::string& bytes) { return LooksLikeUtf16(bytes.data(), bytes.size()); }

TEST(LooksLikeUtf16, ByteOrderMarkIsAccepted) {
  EXPECT_TRUE(Looks(Le(u"\uFEFFHello")));
  EXPECT_TRUE(Looks(Le(u"\uFEFF\u4E2D\u6587")));  // no narrow characters needed
  EXPECT_TRUE(Looks("\xFF\xFE"));
  // The byte-swapped mark is big-endian text, which is not accepted.
  EXPECT_FALSE(Looks("\xFE\xFF\x00H\x00i"));
}

TEST(LooksLikeUtf16, TextWithoutMarkIsAccepted) {
  EXPECT_TRUE(Looks(Le(u"Hello, world")));
  EXPECT_TRUE(Looks(Le(u"ID^Name^\"x\"\r\n")));
  EXPECT_TRUE(Looks(Le(u"A")));
  // Some non-Latin characters among mostly narrow ones.
  EXPECT_TRUE(Looks(Le(u"Name \u4E2D\u6587 value")));
  // With the terminator callers append.
  EXPECT_TRUE(Looks(Le(u"Hello") + std::string(2, '\0')));
}

TEST(LooksLikeUtf16, AnsiTextIsRejected) {
  EXPECT_FALSE(Looks("Hello"));   // odd length
  EXPECT_FALSE(Looks("Hello!"));  // even length, no zero bytes
  EXPECT_FALSE(Looks(std::string("Hello!\0\0", 8)));
  EXPECT_FALSE(Looks("1^\"Field\"^2^3\r\n"));
  EXPECT_FALSE(Looks("caf\xE9 cr\xE8me"));
  EXPECT_FALSE(Looks(Le(u"Hello").substr(1)));  // odd length
}

TEST(LooksLikeUtf16, RejectsBigEndianAndNonText) {
  std::string big_endian;
  for (const char c : std::string("Hello")) {
    big_endian.push_back('\0');
    big_endian.push_back(c);
  }
  EXPECT_FALSE(Looks(big_endian));
  EXPECT_FALSE(Looks(std::string(8, '\0')));
  EXPECT_FALSE(Looks(""));
  EXPECT_FALSE(LooksLikeUtf16(nullptr, 4));
  EXPECT_FALSE(Looks(Le(std::u16string_view(u"ab\0cd", 5))));  // NUL inside the text
  EXPECT_FALSE(Looks(Le(u"abc\uFFFF")));
  EXPECT_FALSE(Looks(Le(u"abc\xDC00x")));    // lone low surrogate
  EXPECT_FALSE(Looks(Le(u"abc\xD800x")));    // lone high surrogate
  EXPECT_FALSE(Looks(Le(u"abc\xD800")));     // cut at the real end
  EXPECT_TRUE(Looks(Le(u"abc\U0001F600")));  // a proper pair
}

TEST(LooksLikeUtf16, MostlyWideCharactersWithoutMarkAreRejected) {
  // Without a mark, at least half the characters must be narrow: text that
  // is all CJK is indistinguishable from arbitrary bytes.
  EXPECT_FALSE(Looks(Le(u"\u4E2D\u6587\u6587\u4E2Da")));
  EXPECT_TRUE(Looks(Le(u"\u4E2Dabc")));
}

TEST(LooksLikeUtf16, OnlyTheFirst256UnitsCount) {
  std::u16string text(256, u'x');
  text += std::u16string(300, u'\u4E2D');
  EXPECT_TRUE(Looks(Le(text)));
  // A surrogate pair cut by the window does not count against the text.
  std::u16string cut(255, u'x');
  cut += u"\U0001F600";
  EXPECT_TRUE(Looks(Le(cut + u"zz")));
}

}  // namespace
}  // namespace quillon::platform
