// Bound-by-bound checks of key texts: the smallest and largest valid key
// of every type reads back from its text, and the texts of keys just past
// each bound are refused by the parse of that type.
#include <gtest/gtest.h>

#include <vector>

#include "items/key_text.h"

namespace quillon {
namespace {

TEST(KeyTextBounds, EdgeKeysOfEveryTypeRoundTrip) {
  const std::vector<ItemKey> edges = {
      {0},
      {1, 0},
      {1, 255},
      {2, 0},
      {2, 255},
      {3},
      {4, 0},
      {4, 4095},
      {5, 0},
      {5, 65535},
      {6, 0, 0},
      {6, 65535, 32},
      {7, 0},
      {7, 4},
      {8, 0},
      {8, 65535},
      {8, 65535, 0, 0xFFFFFFFFu},
      {9, 0, 0},
      {9, 255, 65535},
      {10, 0, 0},
      {10, 255, 65535},
  };
  for (const ItemKey& key : edges) {
    std::u16string text;
    ASSERT_TRUE(KeyText(key, text)) << testing::PrintToString(key.Elements());
    const auto parsed = ParseKeyText(text, key[0]);
    ASSERT_TRUE(parsed.has_value()) << testing::PrintToString(key.Elements());
    EXPECT_EQ(*parsed, key);
    // The text of one type is read by another type's parse only when the
    // shapes agree; a DIAG text never reads as a SUBSYS key.
    if (key[0] == kItemDiagRx) {
      EXPECT_EQ(ParseKeyText(text, kItemSubsysRx), std::nullopt);
    }
  }
}

TEST(KeyTextBounds, TextsPastEachBoundAreRefused) {
  const std::vector<std::pair<std::uint32_t, std::u16string>> refused = {
      {1, u"256"},       {2, u"256"},        {2, u"-"},           {4, u"4096"},
      {4, u"-"},         {5, u"0x10000"},    {5, u"65536"},       {5, u"0200000"},
      {6, u"65536/00"},  {6, u"00001/33"},   {6, u"/1"},          {7, u"5"},
      {7, u"-1"},        {8, u"0x10000"},    {8, u"/001"},        {8, u""},
      {9, u"0256/0000"}, {9, u"0000/65536"}, {10, u"0256/0000"},  {10, u"0000/65536"},
      {10, u"0001"},     {11, u"1"},         {0xFFFFFFFFu, u"1"},
  };
  for (const auto& [type, text] : refused) {
    EXPECT_EQ(ParseKeyText(text, type), std::nullopt)
        << type << " " << testing::PrintToString(std::u16string(text));
  }
}

TEST(KeyTextBounds, OtaPartsAfterTheLogCodeAreDecimal) {
  // "/010" is ten, not octal eight; the log code itself may be octal.
  EXPECT_EQ(ParseKeyText(u"0x0001/010", 8), (ItemKey{8, 1, 10}));
  EXPECT_EQ(ParseKeyText(u"010/010", 8), (ItemKey{8, 8, 10}));
}

}  // namespace
}  // namespace quillon
