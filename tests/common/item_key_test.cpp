#include "common/item_key.h"

#include <gtest/gtest.h>

#include <vector>

#include "common/item_type_text.h"

namespace quillon {
namespace {

std::string Show(const std::vector<std::uint32_t>& key) {
  std::string s;
  for (const auto e : key) s += std::to_string(e) + " ";
  return s;
}

TEST(ItemKey, ValidityRules) {
  // clang-format off
  const std::vector<std::uint32_t> valid[] = {
      {kItemMalformed}, {kItemMalformed, 0xFFFFFFFF}, {kItemMalformed, 1, 2, 3, 4},
      {kItemDiagRx, 0}, {kItemDiagTx, 255}, {kItemGps}, {kItemEvent, 4095}, {kItemLog, 65535},
      {kItemMsg, 65535, 32}, {kItemString, 4}, {kItemOtaLog, 0x713A, 1, 0xFFFFFFFF, 17},
      {kItemOtaLog, 65535}, {kItemSubsysRx, 255, 65535}, {kItemSubsysTx, 255, 65535}};
  const std::vector<std::uint32_t> invalid[] = {
      {}, {11}, {0xFFFFFFFF, 1}, {kItemDiagRx, 256}, {kItemDiagTx, 256}, {kItemDiagRx},
      {kItemDiagTx, 1, 1}, {kItemGps, 0}, {kItemEvent, 4096}, {kItemEvent}, {kItemLog, 65536},
      {kItemLog, 1, 1}, {kItemMsg, 0, 33}, {kItemMsg, 65536, 0}, {kItemMsg, 1}, {kItemMsg, 1, 1, 1},
      {kItemString, 5}, {kItemString}, {kItemOtaLog}, {kItemOtaLog, 65536, 1},
      {kItemSubsysRx, 256, 0}, {kItemSubsysTx, 0, 65536}, {kItemSubsysRx, 18},
      {kItemSubsysTx, 18, 42, 0}};
  // clang-format on
  for (const auto& key : valid) EXPECT_TRUE(ItemKey(key).IsValid()) << Show(key);
  for (const auto& key : invalid) EXPECT_FALSE(ItemKey(key).IsValid()) << Show(key);
}

TEST(ItemTypeText, EveryCodeAndUnknown) {
  const char16_t* expected[] = {u"MALFORMED", u"DIAG RX",   u"DIAG TX",  u"GPS",
                                u"EVENT",     u"LOG",       u"MSG",      u"STRING",
                                u"OTA LOG",   u"SUBSYS RX", u"SUBSYS TX"};
  for (std::uint32_t code = 0; code < kItemTypeCount; ++code) {
    EXPECT_EQ(ItemTypeText(code), expected[code]) << code;
  }
  EXPECT_EQ(ItemTypeText(11), u"Unknown");
  EXPECT_EQ(ItemTypeText(0xFFFFFFFF), u"Unknown");
}

}  // namespace
}  // namespace quillon
