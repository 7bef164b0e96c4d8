#include "common/item_key.h"

#include <gtest/gtest.h>

#include <vector>

namespace quillon {
namespace {

TEST(ItemKey, ValidityRules) {
  // clang-format off
  const std::vector<std::uint32_t> valid[] = {
      {kItemMalformed}, {kItemMalformed, 0xFFFFFFFF, 2, 3}, {kItemDiagRx, 0}, {kItemDiagTx, 255},
      {kItemGps}, {kItemEvent, 4095}, {kItemLog, 65535}, {kItemMsg, 65535, 32}, {kItemString, 4},
      {kItemOtaLog, 0x713A, 1, 0xFFFFFFFF, 17}, {kItemOtaLog, 65535}, {kItemSubsysRx, 255, 65535},
      {kItemSubsysTx, 255, 65535}};
  const std::vector<std::uint32_t> invalid[] = {
      {}, {11}, {0xFFFFFFFF, 1}, {kItemDiagRx, 256}, {kItemDiagTx, 256}, {kItemDiagRx},
      {kItemDiagTx, 1, 1}, {kItemGps, 0}, {kItemEvent, 4096}, {kItemEvent}, {kItemLog, 65536},
      {kItemLog, 1, 1}, {kItemMsg, 0, 33}, {kItemMsg, 65536, 0}, {kItemMsg, 1}, {kItemMsg, 1, 1, 1},
      {kItemString, 5}, {kItemString}, {kItemOtaLog}, {kItemOtaLog, 65536, 1},
      {kItemSubsysRx, 256, 0}, {kItemSubsysTx, 0, 65536}, {kItemSubsysRx, 18},
      {kItemSubsysTx, 18, 42, 0}};
  // clang-format on
  for (const auto& key : valid)
    EXPECT_TRUE(ItemKey(key).IsValid()) << ::testing::PrintToString(key);
  for (const auto& key : invalid)
    EXPECT_FALSE(ItemKey(key).IsValid()) << ::testing::PrintToString(key);
}

}  // namespace
}  // namespace quillon
