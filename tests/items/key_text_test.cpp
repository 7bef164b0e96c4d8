#include "items/key_text.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <vector>

#include "items/item_config.h"
#include "items/item_name.h"
#include "items/type_text.h"

namespace quillon {
namespace {

std::string Show(const ItemKey& key) { return testing::PrintToString(key.ToVector()); }

const char16_t* const kTypeTexts[] = {u"MALFORMED", u"DIAG RX",   u"DIAG TX",  u"GPS",
                                      u"EVENT",     u"LOG",       u"MSG",      u"STRING",
                                      u"OTA LOG",   u"SUBSYS RX", u"SUBSYS TX"};

// The smallest, a typical and the largest key of every type, with its text.
TEST(KeyText, FormatsAndReadsBackEveryType) {
  // clang-format off
  const std::vector<std::pair<ItemKey, std::u16string>> rows = {
      {{0}, u"-"}, {{1, 0}, u"000"}, {{1, 75}, u"075"}, {{2, 255}, u"255"}, {{3}, u"-"},
      {{4, 0}, u"00000"}, {{4, 412}, u"00412"}, {{4, 4095}, u"04095"}, {{5, 0}, u"0x0000"},
      {{5, 0x1a}, u"0x001A"}, {{5, 0x108A}, u"0x108A"}, {{5, 65535}, u"0xFFFF"},
      {{6, 0, 0}, u"00000/00"}, {{6, 21, 2}, u"00021/02"}, {{6, 65535, 32}, u"65535/32"},
      {{7, 0}, u"0"}, {{7, 4}, u"4"}, {{8, 0x713A}, u"0x713A"},
      {{8, 0x713A, 1, 17}, u"0x713A/001/017"}, {{8, 0x713A, 4000000000u}, u"0x713A/4000000000"},
      {{8, 65535, 0, 0xFFFFFFFFu}, u"0xFFFF/000/4294967295"}, {{9, 0, 0}, u"0000/0000"},
      {{9, 18, 42}, u"0018/0042"}, {{10, 255, 65535}, u"0255/65535"}};
  // clang-format on
  for (const auto& [key, text] : rows) {
    SCOPED_TRACE(Show(key));
    EXPECT_EQ(KeyText(key), text);
    EXPECT_EQ(BracketedKeyText(key), u"[" + text + u"]");
    EXPECT_EQ(TypeText(key), kTypeTexts[key[0]]);
    EXPECT_EQ(ParseKeyText(text, key[0]), key);
  }
  // MALFORMED's command code is printed but its parse takes no numbers.
  EXPECT_EQ(KeyText({0, 7}), u"007");
  EXPECT_EQ(ParseKeyText(u"007", 0), (ItemKey{0}));
}

TEST(KeyText, InvalidKeysAreRefused) {
  const std::vector<ItemKey> invalid = {
      {},        {11},       {1},         {1, 256},       {1, 2, 3},  {3, 0},
      {4, 4096}, {5, 65536}, {6, 1},      {6, 65536, 1},  {6, 5, 33}, {7, 5},
      {8},       {8, 65536}, {9, 256, 1}, {10, 1, 65536}, {9, 1}};
  ItemConfig config(nullptr);
  for (const ItemKey& key : invalid) {
    SCOPED_TRACE(Show(key));
    std::u16string out = u"stale";
    EXPECT_FALSE(KeyText(key, out));
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(BracketedKeyText(key), u"[???]");
    EXPECT_EQ(TypeText(key), u"Unknown");
    EXPECT_EQ(ItemName(key, nullptr, true), u"[???] Unknown");
    EXPECT_FALSE(config.AddKey(key));
    EXPECT_TRUE(config.IsUnknownKey(key));
  }
}

// "0x%04X" is 6 characters and each "/%03u" at least 4 more. The text may
// use all 64 characters of the buffer but is never truncated.
TEST(KeyText, OtaTextIsBoundTo64Characters) {
  auto ota = [](int ones, std::uint32_t last) {
    std::vector<std::uint32_t> elements = {8, 0x713A};
    elements.insert(elements.end(), ones, 1);
    elements.push_back(last);
    return ItemKey(elements);
  };
  const std::vector<std::pair<ItemKey, std::size_t>> fitting = {{ota(13, 1), 62},
                                                                {ota(13, 12345), 64}};
  for (const auto& [key, size] : fitting) EXPECT_EQ(KeyText(key).size(), size);
  for (const ItemKey& key : {ota(14, 1), ota(13, 123456)}) {  // 66 and 65 characters
    std::u16string out = u"stale";
    EXPECT_FALSE(KeyText(key, out));
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(BracketedKeyText(key), u"[???]");
  }
}

// Numbers are read as the C library's wcstoul reads them.
TEST(ParseKeyText, ReadsNumbersLikeTheCLibrary) {
  // A leading 0 reads octal, except in the parts after the OTA log code.
  // clang-format off
  const std::vector<std::tuple<std::u16string, std::uint32_t, ItemKey>> rows = {
      {u"anything", 0, {0}}, {u"4660", 5, {5, 4660}}, {u"010", 5, {5, 8}},
      {u"  \t42", 1, {1, 42}}, {u"+42", 1, {1, 42}}, {u"42abc", 1, {1, 42}}, {u"0x0", 5, {5, 0}},
      {u"0XfF", 5, {5, 255}}, {u"0x1/-1", 8, {8, 1, 0xFFFFFFFFu}},
      {u"0x1/99999999999", 8, {8, 1, 0xFFFFFFFFu}}, {u"0x0001/010", 8, {8, 1, 10}},
      {u"010/010", 8, {8, 8, 10}}};
  // clang-format on
  for (const auto& [text, type, key] : rows) {
    EXPECT_EQ(ParseKeyText(text, type), key) << testing::PrintToString(text);
  }
}

TEST(ParseKeyText, Refuses) {
  // "0x" is a prefix even without a hexadecimal digit after it.
  // clang-format off
  const std::vector<std::pair<std::uint32_t, std::u16string>> refused = {
      {11, u"1"}, {0xFFFFFFFFu, u"1"}, {1, u""}, {4, u"abc"}, {1, u"256"}, {2, u"256"},
      {2, u"-"}, {4, u"4096"}, {4, u"-"}, {5, u"0x10000"}, {5, u"65536"}, {5, u"0200000"},
      {6, u"65536/00"}, {6, u"00001/33"}, {6, u"/1"}, {6, u"00021"}, {6, u"00021/"}, {7, u"5"},
      {7, u"-1"}, {8, u"-1"}, {8, u"0x10000"}, {8, u"/001"}, {8, u""}, {8, u"0x1/x"},
      {9, u"00018"}, {9, u"0256/0000"}, {9, u"0000/65536"}, {10, u"0256/0000"},
      {10, u"0000/65536"}, {10, u"0001"}, {5, u"0x"}, {5, u"0xg"}, {8, u" -0X"}, {8, u"0x/1"}};
  // clang-format on
  for (const auto& [type, text] : refused) {
    EXPECT_EQ(ParseKeyText(text, type), std::nullopt)
        << type << " " << testing::PrintToString(text);
  }
}

TEST(ParseKeyText, RoundTripsRandomValidKeys) {
  std::mt19937 rng(20240611);
  auto up_to = [&rng](std::uint32_t max) {
    return std::uniform_int_distribution<std::uint32_t>(0, max)(rng);
  };
  // Largest first and second numbers per type; 0 means no such number.
  // clang-format off
  const std::uint32_t bounds[11][2] = {{0, 0}, {255, 0}, {255, 0}, {0, 0}, {4095, 0}, {65535, 0},
                                       {65535, 32}, {4, 0}, {65535, 0}, {255, 65535}, {255, 65535}};
  // clang-format on
  for (int i = 0; i < 20000; ++i) {
    const std::uint32_t type = up_to(10);
    ItemKey key{type};
    for (std::uint32_t bound : bounds[type]) {
      if (bound != 0) key.Append(up_to(bound));
    }
    if (type == kItemOtaLog) {
      // At most five more numbers of any size still fit 64 characters.
      for (std::uint32_t k = up_to(5); k > 0; --k) key.Append(up_to(up_to(1) ? 999 : 0xFFFFFFFFu));
    }
    std::u16string text;
    ASSERT_TRUE(KeyText(key, text)) << Show(key);
    ASSERT_EQ(ParseKeyText(text, type), key) << Show(key);
  }
}

TEST(JoinKeyTexts, JoinsInOrderAndSkipsKeysWithoutText) {
  const std::vector<ItemKey> keys = {{4, 1}, {5, 0x10}, {4, 5000}, {1, 3}};
  EXPECT_EQ(JoinKeyTexts(keys, u','), u"00001,0x0010,003");
  EXPECT_EQ(JoinKeyTexts(std::vector<ItemKey>{}, u','), u"");
  EXPECT_EQ(JoinKeyTexts(std::set<ItemKey>{{5, 2}, {4, 9}, {5, 1}}, u' '), u"00009 0x0001 0x0002");
  // An invalid first key still counts as the first element.
  EXPECT_EQ(JoinKeyTexts(std::vector<ItemKey>{{1, 256}, {1, 3}}, u';'), u";003");
  EXPECT_EQ(JoinKeyTexts(std::set<ItemKey>{{1, 999}, {2, 1}}, u'|'), u"|001");
}

}  // namespace
}  // namespace quillon
