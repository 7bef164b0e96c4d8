#include "common/item_key.h"

#include <gtest/gtest.h>

#include "common/item_type_text.h"

namespace quillon {
namespace {

TEST(ItemKey, EmptyAndUnknownTypesAreInvalid) {
  EXPECT_FALSE(ItemKey().IsValid());
  EXPECT_FALSE((ItemKey{11}).IsValid());
  EXPECT_FALSE((ItemKey{0xFFFFFFFF, 1}).IsValid());
}

TEST(ItemKey, Malformed) {
  EXPECT_TRUE((ItemKey{kItemMalformed}).IsValid());
  EXPECT_TRUE((ItemKey{kItemMalformed, 0xFFFFFFFF}).IsValid());
  EXPECT_TRUE((ItemKey{kItemMalformed, 1, 2, 3, 4}).IsValid());
}

TEST(ItemKey, Diag) {
  for (std::uint32_t type : {kItemDiagRx, kItemDiagTx}) {
    EXPECT_TRUE((ItemKey{type, 0}).IsValid());
    EXPECT_TRUE((ItemKey{type, 255}).IsValid());
    EXPECT_FALSE((ItemKey{type, 256}).IsValid());
    EXPECT_FALSE((ItemKey{type}).IsValid());
    EXPECT_FALSE((ItemKey{type, 1, 1}).IsValid());
  }
}

TEST(ItemKey, Gps) {
  EXPECT_TRUE((ItemKey{kItemGps}).IsValid());
  EXPECT_FALSE((ItemKey{kItemGps, 0}).IsValid());
}

TEST(ItemKey, Event) {
  EXPECT_TRUE((ItemKey{kItemEvent, 4095}).IsValid());
  EXPECT_FALSE((ItemKey{kItemEvent, 4096}).IsValid());
  EXPECT_FALSE((ItemKey{kItemEvent}).IsValid());
}

TEST(ItemKey, Log) {
  EXPECT_TRUE((ItemKey{kItemLog, 65535}).IsValid());
  EXPECT_FALSE((ItemKey{kItemLog, 65536}).IsValid());
  EXPECT_FALSE((ItemKey{kItemLog, 1, 1}).IsValid());
}

TEST(ItemKey, MessageLevelBoundIsInclusive32) {
  EXPECT_TRUE((ItemKey{kItemMsg, 65535, 32}).IsValid());
  EXPECT_FALSE((ItemKey{kItemMsg, 0, 33}).IsValid());
  EXPECT_FALSE((ItemKey{kItemMsg, 65536, 0}).IsValid());
  EXPECT_FALSE((ItemKey{kItemMsg, 1}).IsValid());
  EXPECT_FALSE((ItemKey{kItemMsg, 1, 1, 1}).IsValid());
}

TEST(ItemKey, String) {
  EXPECT_TRUE((ItemKey{kItemString, 4}).IsValid());
  EXPECT_FALSE((ItemKey{kItemString, 5}).IsValid());
  EXPECT_FALSE((ItemKey{kItemString}).IsValid());
}

TEST(ItemKey, OtaLogNeedsALogCodeAndAcceptsAnyTail) {
  EXPECT_FALSE((ItemKey{kItemOtaLog}).IsValid());
  EXPECT_TRUE((ItemKey{kItemOtaLog, 0x713A}).IsValid());
  EXPECT_TRUE((ItemKey{kItemOtaLog, 0x713A, 1, 0xFFFFFFFF, 17}).IsValid());
  EXPECT_TRUE((ItemKey{kItemOtaLog, 65535}).IsValid());
  EXPECT_FALSE((ItemKey{kItemOtaLog, 65536, 1}).IsValid());
}

TEST(ItemKey, Subsys) {
  for (std::uint32_t type : {kItemSubsysRx, kItemSubsysTx}) {
    EXPECT_TRUE((ItemKey{type, 255, 65535}).IsValid());
    EXPECT_FALSE((ItemKey{type, 256, 0}).IsValid());
    EXPECT_FALSE((ItemKey{type, 0, 65536}).IsValid());
    EXPECT_FALSE((ItemKey{type, 18}).IsValid());
    EXPECT_FALSE((ItemKey{type, 18, 42, 0}).IsValid());
  }
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
