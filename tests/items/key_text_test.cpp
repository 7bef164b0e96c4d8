#include "items/key_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <vector>

#include "items/type_text.h"

namespace quillon {
namespace {

std::u16string Text(const ItemKey& key) { return KeyText(key); }

TEST(KeyText, FormatsEachType) {
  EXPECT_EQ(Text({0}), u"-");
  EXPECT_EQ(Text({0, 7}), u"007");
  EXPECT_EQ(Text({1, 75}), u"075");
  EXPECT_EQ(Text({2, 0}), u"000");
  EXPECT_EQ(Text({2, 255}), u"255");
  EXPECT_EQ(Text({3}), u"-");
  EXPECT_EQ(Text({4, 412}), u"00412");
  EXPECT_EQ(Text({4, 4095}), u"04095");
  EXPECT_EQ(Text({5, 0x108A}), u"0x108A");
  EXPECT_EQ(Text({5, 0x1a}), u"0x001A");
  EXPECT_EQ(Text({6, 21, 2}), u"00021/02");
  EXPECT_EQ(Text({6, 65535, 32}), u"65535/32");
  EXPECT_EQ(Text({7, 3}), u"3");
  EXPECT_EQ(Text({8, 0x713A}), u"0x713A");
  EXPECT_EQ(Text({8, 0x713A, 1, 17}), u"0x713A/001/017");
  EXPECT_EQ(Text({8, 0x713A, 4000000000u}), u"0x713A/4000000000");
  EXPECT_EQ(Text({9, 18, 42}), u"0018/0042");
  EXPECT_EQ(Text({10, 255, 65535}), u"0255/65535");
}

TEST(KeyText, InvalidKeysHaveNoText) {
  const std::vector<ItemKey> invalid = {
      {},        {11},       {1},         {1, 256},       {1, 2, 3},  {3, 0},
      {4, 4096}, {5, 65536}, {6, 1},      {6, 65536, 1},  {6, 1, 33}, {7, 5},
      {8},       {8, 65536}, {9, 256, 1}, {10, 1, 65536}, {9, 1},
  };
  for (const ItemKey& key : invalid) {
    std::u16string out = u"stale";
    EXPECT_FALSE(KeyText(key, out)) << testing::PrintToString(key.Elements());
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(BracketedKeyText(key), u"[???]");
    EXPECT_EQ(TypeText(key), u"Unknown");
  }
}

TEST(KeyText, MessageLevelBoundIs32) {
  EXPECT_EQ(Text({6, 5, 32}), u"00005/32");
  EXPECT_EQ(Text({6, 5, 33}), u"");
}

TEST(KeyText, Bracketed) {
  EXPECT_EQ(BracketedKeyText({4, 412}), u"[00412]");
  EXPECT_EQ(BracketedKeyText({3}), u"[-]");
  EXPECT_EQ(BracketedKeyText({1, 256}), u"[???]");
}

// "0x%04X" is 6 characters and each "/%03u" 4 more: 14 appended numbers
// make 62 characters, 15 would make 66.
TEST(KeyText, OtaOverflowIsEmptyNotTruncated) {
  std::vector<std::uint32_t> elements = {8, 0x713A};
  for (int i = 0; i < 14; ++i) elements.push_back(1);
  std::u16string out;
  ASSERT_TRUE(KeyText(ItemKey(elements), out));
  EXPECT_EQ(out.size(), 62u);

  elements.push_back(1);
  EXPECT_FALSE(KeyText(ItemKey(elements), out));
  EXPECT_TRUE(out.empty());
  EXPECT_EQ(BracketedKeyText(ItemKey(elements)), u"[???]");
}

// The text may use all 64 characters of the buffer, as the buffer count of
// the C library's bounded wide printf allows.
TEST(KeyText, OtaTextOfExactly64CharactersFits) {
  // 6 + 14 * 4 = 62; one element printed as "/12" + one more digit: use a
  // 5-digit and a 3-digit last pair to reach 64 exactly.
  std::vector<std::uint32_t> elements = {8, 0x713A};
  for (int i = 0; i < 13; ++i) elements.push_back(1);  // 6 + 52 = 58
  elements.push_back(12345);                           // "/12345" -> 64
  std::u16string out;
  ASSERT_TRUE(KeyText(ItemKey(elements), out));
  EXPECT_EQ(out.size(), 64u);
  elements.back() = 123456;  // 65 characters
  EXPECT_FALSE(KeyText(ItemKey(elements), out));
}

TEST(ParseKeyText, ReadsEachType) {
  EXPECT_EQ(ParseKeyText(u"anything", 0), (ItemKey{0}));
  EXPECT_EQ(ParseKeyText(u"075", 1), (ItemKey{1, 75}));
  EXPECT_EQ(ParseKeyText(u"255", 2), (ItemKey{2, 255}));
  EXPECT_EQ(ParseKeyText(u"-", 3), (ItemKey{3}));
  EXPECT_EQ(ParseKeyText(u"00412", 4), (ItemKey{4, 412}));
  EXPECT_EQ(ParseKeyText(u"0x1234", 5), (ItemKey{5, 4660}));
  EXPECT_EQ(ParseKeyText(u"4660", 5), (ItemKey{5, 4660}));
  EXPECT_EQ(ParseKeyText(u"010", 5), (ItemKey{5, 8}));  // a leading 0 reads octal
  EXPECT_EQ(ParseKeyText(u"00021/02", 6), (ItemKey{6, 21, 2}));
  EXPECT_EQ(ParseKeyText(u"3", 7), (ItemKey{7, 3}));
  EXPECT_EQ(ParseKeyText(u"0x713A/001/017", 8), (ItemKey{8, 0x713A, 1, 17}));
  EXPECT_EQ(ParseKeyText(u"0018/0042", 9), (ItemKey{9, 18, 42}));
  EXPECT_EQ(ParseKeyText(u"0255/65535", 10), (ItemKey{10, 255, 65535}));
}

TEST(ParseKeyText, ReadsNumbersLikeTheCLibrary) {
  EXPECT_EQ(ParseKeyText(u"  \t42", 1), (ItemKey{1, 42}));  // leading white space
  EXPECT_EQ(ParseKeyText(u"+42", 1), (ItemKey{1, 42}));
  EXPECT_EQ(ParseKeyText(u"42abc", 1), (ItemKey{1, 42}));  // stops at a non-digit
  EXPECT_EQ(ParseKeyText(u"0x0", 5), (ItemKey{5, 0}));
  EXPECT_EQ(ParseKeyText(u"0XfF", 5), (ItemKey{5, 255}));
  EXPECT_EQ(ParseKeyText(u"-1", 8), std::nullopt);  // wraps to 0xFFFFFFFF
  EXPECT_EQ(ParseKeyText(u"0x1/-1", 8), (ItemKey{8, 1, 0xFFFFFFFFu}));
  EXPECT_EQ(ParseKeyText(u"0x1/99999999999", 8), (ItemKey{8, 1, 0xFFFFFFFFu}));  // saturates
}

TEST(ParseKeyText, Refuses) {
  EXPECT_EQ(ParseKeyText(u"1", 11), std::nullopt);   // no such type
  EXPECT_EQ(ParseKeyText(u"", 1), std::nullopt);     // no number
  EXPECT_EQ(ParseKeyText(u"abc", 4), std::nullopt);  // no digits
  EXPECT_EQ(ParseKeyText(u"256", 1), std::nullopt);  // out of bounds
  EXPECT_EQ(ParseKeyText(u"4096", 4), std::nullopt);
  EXPECT_EQ(ParseKeyText(u"5", 7), std::nullopt);
  EXPECT_EQ(ParseKeyText(u"00018", 9), std::nullopt);  // no "/": no numbers read
  EXPECT_EQ(ParseKeyText(u"00021", 6), std::nullopt);
  EXPECT_EQ(ParseKeyText(u"00021/", 6), std::nullopt);  // nothing after "/"
  EXPECT_EQ(ParseKeyText(u"0x1/x", 8), std::nullopt);
  // "0x" is a prefix even without a hexadecimal digit after it: no number.
  EXPECT_EQ(ParseKeyText(u"0x", 5), std::nullopt);
  EXPECT_EQ(ParseKeyText(u"0xg", 5), std::nullopt);
  EXPECT_EQ(ParseKeyText(u" -0X", 8), std::nullopt);
  EXPECT_EQ(ParseKeyText(u"0x/1", 8), std::nullopt);
  EXPECT_EQ(ParseKeyText(u"5/33", 6), std::nullopt);  // level above 32
  EXPECT_EQ(ParseKeyText(u"0x10000", 5), std::nullopt);
}

TEST(ParseKeyText, MalformedAndGpsParseToTheTypeCodeAlone) {
  // MALFORMED's "007" does not read back: its parse takes no numbers.
  EXPECT_EQ(ParseKeyText(KeyText({0, 7}), 0), (ItemKey{0}));
  EXPECT_EQ(ParseKeyText(KeyText({3}), 3), (ItemKey{3}));
}

// Any valid key's text reads back as the same key (MALFORMED with a
// command code aside).
TEST(ParseKeyText, RoundTripsRandomValidKeys) {
  std::mt19937 rng(20240611);
  auto up_to = [&rng](std::uint32_t max) {
    return std::uniform_int_distribution<std::uint32_t>(0, max)(rng);
  };
  int checked = 0;
  for (int i = 0; i < 20000; ++i) {
    const std::uint32_t type = up_to(10);
    ItemKey key{type};
    switch (type) {
      case 1:
      case 2:
        key.Append(up_to(255));
        break;
      case 4:
        key.Append(up_to(4095));
        break;
      case 5:
        key.Append(up_to(65535));
        break;
      case 6:
        key.Append(up_to(65535));
        key.Append(up_to(32));
        break;
      case 7:
        key.Append(up_to(4));
        break;
      case 8: {
        key.Append(up_to(65535));
        const std::uint32_t more = up_to(8);
        // Mostly small numbers, some of any size.
        for (std::uint32_t k = 0; k < more; ++k) key.Append(up_to(up_to(1) ? 999 : 0xFFFFFFFFu));
        break;
      }
      case 9:
      case 10:
        key.Append(up_to(255));
        key.Append(up_to(65535));
        break;
      default:
        break;
    }
    ASSERT_TRUE(key.IsValid());
    std::u16string text;
    if (type == 8) {
      // Big further numbers may overflow the 64 characters: then the key
      // has no text, and only then.
      std::size_t expected = 6;
      for (std::size_t k = 2; k < key.size(); ++k) {
        expected += 1 + std::max<std::size_t>(3, std::to_string(key[k]).size());
      }
      if (expected > kKeyTextCapacity) {
        EXPECT_FALSE(KeyText(key, text));
        ++checked;
        continue;
      }
    }
    ASSERT_TRUE(KeyText(key, text)) << testing::PrintToString(key.Elements());
    ASSERT_LE(text.size(), kKeyTextCapacity);
    auto parsed = ParseKeyText(text, type);
    ASSERT_TRUE(parsed.has_value()) << testing::PrintToString(key.Elements());
    EXPECT_EQ(*parsed, key);
    ++checked;
  }
  EXPECT_EQ(checked, 20000);
}

TEST(JoinKeyTexts, JoinsInOrder) {
  const std::vector<ItemKey> keys = {{4, 1}, {5, 0x10}, {1, 3}};
  EXPECT_EQ(JoinKeyTexts(keys, u','), u"00001,0x0010,003");
  EXPECT_EQ(JoinKeyTexts(std::vector<ItemKey>{}, u','), u"");
}

TEST(JoinKeyTexts, SkipsKeysWithoutText) {
  const std::vector<ItemKey> middle = {{4, 1}, {4, 5000}, {4, 2}};
  EXPECT_EQ(JoinKeyTexts(middle, u';'), u"00001;00002");
  // An invalid first key still counts as the first element, so the text
  // starts with the separator.
  const std::vector<ItemKey> first = {{1, 256}, {1, 3}};
  EXPECT_EQ(JoinKeyTexts(first, u';'), u";003");
}

TEST(JoinKeyTexts, SetOrder) {
  const std::set<ItemKey> keys = {{5, 2}, {4, 9}, {5, 1}};
  EXPECT_EQ(JoinKeyTexts(keys, u' '), u"00009 0x0001 0x0002");
  const std::set<ItemKey> with_invalid = {{1, 999}, {2, 1}};
  EXPECT_EQ(JoinKeyTexts(with_invalid, u'|'), u"|001");
}

}  // namespace
}  // namespace quillon
