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

std::string Hex(const std::string& bytes) {
  std::string out;
  for (const unsigned char b : bytes.substr(0, 24)) {
    out += "0123456789ABCDEF"[b >> 4];
    out += "0123456789ABCDEF"[b & 15];
  }
  return out;
}

TEST(LooksLikeUtf16, Accepts) {
  std::u16string window_end(256, u'x');  // only the first 256 units count
  window_end += std::u16string(300, u'\u4E2D');
  std::u16string cut_pair(255, u'x');  // a pair cut by the window does not count against it
  cut_pair += u"\U0001F600zz";
  const std::string accepted[] = {
      Le(u"\uFEFFHello"),
      Le(u"\uFEFF\u4E2D\u6587"),  // with a mark no narrow characters are needed
      "\xFF\xFE",
      Le(u"Hello, world"),
      Le(u"ID^Name^\"x\"\r\n"),
      Le(u"A"),
      Le(u"Name \u4E2D\u6587 value"),
      Le(u"\u4E2Dabc"),                     // half the characters narrow
      Le(u"Hello") + std::string(2, '\0'),  // with the terminator callers append
      Le(u"abc\U0001F600"),                 // a proper surrogate pair
      Le(window_end),
      Le(cut_pair),
  };
  for (const std::string& bytes : accepted) {
    EXPECT_TRUE(LooksLikeUtf16(bytes.data(), bytes.size())) << Hex(bytes);
  }
}

TEST(LooksLikeUtf16, Rejects) {
  const std::string rejected[] = {
      "\xFE\xFF\x00H\x00i",  // big-endian mark
      std::string("\0H\0e\0l\0l\0o", 10),
      "Hello",   // odd length
      "Hello!",  // even length, no zero bytes
      std::string("Hello!\0\0", 8),
      "1^\"Field\"^2^3\r\n",
      "caf\xE9 cr\xE8me",
      Le(u"Hello").substr(1),
      std::string(8, '\0'),
      "",
      Le(std::u16string_view(u"ab\0cd", 5)),  // NUL inside the text
      Le(u"abc\uFFFF"),
      Le(u"abc\xDC00x"),  // lone low surrogate
      Le(u"abc\xD800x"),  // lone high surrogate
      Le(u"abc\xD800"),   // cut at the real end
      // Without a mark at least half the characters must be narrow: text
      // that is all CJK is indistinguishable from arbitrary bytes.
      Le(u"\u4E2D\u6587\u6587\u4E2Da"),
  };
  for (const std::string& bytes : rejected) {
    EXPECT_FALSE(LooksLikeUtf16(bytes.data(), bytes.size())) << Hex(bytes);
  }
  EXPECT_FALSE(LooksLikeUtf16(nullptr, 4));
}

}  // namespace
}  // namespace quillon::platform
