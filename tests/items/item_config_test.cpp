#include "items/item_config.h"

#include <gtest/gtest.h>

#include "database/database.h"
#include "items/ini_settings.h"
#include "items_test_support.h"

namespace quillon {
namespace {

using itemstest::AddItem;
using itemstest::AddOtaType;
using itemstest::TestItem;

class ItemConfigTest : public ::testing::Test {
 protected:
  void SetUp() override { itemstest::FillSampleDatabase(db_); }

  bool Accepts(const ItemKey& key) const { return config_.Accepts(TestItem(key[0], key)); }
  void LoadText(std::u16string_view ini, std::u16string_view section = u"Cfg") {
    IniSettings settings = IniSettings::FromText(ini);
    config_.Load(section, &settings);
  }

  Database db_;
  ItemConfig config_{&db_};
};

TEST_F(ItemConfigTest, StartsEmptyAndAcceptsNothing) {
  EXPECT_TRUE(config_.EnabledTypes().empty());
  EXPECT_TRUE(config_.AcceptUnknowns());
  for (std::uint32_t type = 0; type < kItemTypeCount; ++type) {
    EXPECT_FALSE(config_.AcceptsWholeType(type));
    EXPECT_FALSE(config_.HasKeys(type, false));
  }
  EXPECT_FALSE(Accepts({1, 19}));
  EXPECT_FALSE(Accepts({1, 200}));  // unknown, but the type is off
  EXPECT_FALSE(Accepts({0}));
}

TEST_F(ItemConfigTest, EnabledTypeWithoutKeysAcceptsAllOfIt) {
  config_.EnableType(kItemEvent);
  config_.SetAcceptUnknowns(false);
  EXPECT_TRUE(config_.AcceptsWholeType(kItemEvent));
  EXPECT_TRUE(Accepts({4, 412}));
  EXPECT_TRUE(Accepts({4, 999}));
  EXPECT_FALSE(Accepts({5, 0x108A}));
}

TEST_F(ItemConfigTest, InvalidItemsAreNeverAccepted) {
  config_.EnableType(kItemEvent);
  EXPECT_FALSE(config_.Accepts(TestItem(4, {4, 412}, {0}, false)));
  EXPECT_FALSE(config_.Accepts(TestItem(4, {4, 5000})));     // key out of bounds
  EXPECT_FALSE(config_.Accepts(TestItem(4, {4, 412}, {})));  // no buffer
}

TEST_F(ItemConfigTest, KeySetSelectsWithinTheType) {
  ASSERT_TRUE(config_.AddKey({1, 75}));
  config_.SetAcceptUnknowns(false);
  EXPECT_FALSE(Accepts({1, 75}));  // keys alone do not enable the type
  config_.EnableType(kItemDiagRx);
  EXPECT_FALSE(config_.AcceptsWholeType(kItemDiagRx));
  EXPECT_TRUE(Accepts({1, 75}));
  EXPECT_FALSE(Accepts({1, 19}));   // known to the database, not selected
  EXPECT_FALSE(Accepts({1, 200}));  // unknown, unknowns refused
}

TEST_F(ItemConfigTest, UnknownKeysPassOnlyWithAcceptUnknowns) {
  config_.AddKey({1, 75});
  config_.EnableType(kItemDiagRx);
  EXPECT_TRUE(Accepts({1, 200}));  // not in the database
  EXPECT_FALSE(Accepts({1, 19}));  // in the database
  config_.SetAcceptUnknowns(false);
  EXPECT_FALSE(Accepts({1, 200}));
}

TEST_F(ItemConfigTest, MalformedAndGpsGoByTheEnabledSetAlone) {
  EXPECT_FALSE(config_.AddKey({0, 7}));
  EXPECT_FALSE(config_.AddKey({3}));
  EXPECT_FALSE(Accepts({3}));
  config_.EnableType(kItemGps);
  config_.EnableType(kItemMalformed);
  config_.SetAcceptUnknowns(false);
  EXPECT_TRUE(Accepts({3}));
  EXPECT_TRUE(Accepts({0, 7}));
  EXPECT_TRUE(config_.AcceptsWholeType(kItemGps));
  EXPECT_EQ(config_.CategoryText(kItemGps), u"");
  EXPECT_EQ(config_.CategoryText(kItemMalformed), u"");
}

TEST_F(ItemConfigTest, AddKeyRefusesInvalidKeys) {
  EXPECT_FALSE(config_.AddKey({}));
  EXPECT_FALSE(config_.AddKey({1, 256}));
  EXPECT_FALSE(config_.AddKey({11, 1}));
  EXPECT_FALSE(config_.AddKey({6, 1, 33}));
  EXPECT_TRUE(config_.AddKey({6, 1, 32}));
  EXPECT_TRUE(config_.AddKey({6, 1, 32}));  // a duplicate changes nothing
  EXPECT_EQ(config_.Keys(kItemMsg).size(), 1u);
}

TEST_F(ItemConfigTest, HasKeysAndDisableType) {
  config_.AddKey({4, 1});
  EXPECT_TRUE(config_.HasKeys(kItemEvent, false));
  EXPECT_FALSE(config_.HasKeys(kItemEvent, true));
  config_.EnableType(kItemEvent);
  EXPECT_TRUE(config_.HasKeys(kItemEvent, true));
  config_.DisableType(kItemEvent);
  EXPECT_FALSE(config_.IsTypeEnabled(kItemEvent));
  EXPECT_FALSE(config_.HasKeys(kItemEvent, false));
  config_.EnableType(kItemGps);
  config_.DisableType(kItemGps);
  EXPECT_FALSE(config_.IsTypeEnabled(kItemGps));
  config_.DisableType(99);  // no such type: nothing happens
}

TEST_F(ItemConfigTest, EnableConfiguredTypesEnablesTypesWithKeys) {
  config_.AddKey({2, 1});
  config_.AddKey({9, 18, 42});
  config_.AddKey({8, 0x713A});
  config_.AddKey({7, 2});
  config_.EnableConfiguredTypes();
  EXPECT_EQ(config_.EnabledTypes(), (std::set<std::uint32_t>{2, 7, 8, 9}));
}

TEST_F(ItemConfigTest, ClearResetsEverything) {
  config_.AddKey({2, 1});
  config_.EnableType(kItemDiagTx);
  config_.EnableType(kItemGps);
  config_.SetAcceptUnknowns(false);
  config_.Clear();
  EXPECT_TRUE(config_.EnabledTypes().empty());
  EXPECT_TRUE(config_.Keys(kItemDiagTx).empty());
  EXPECT_TRUE(config_.AcceptUnknowns());
}

TEST_F(ItemConfigTest, CategoryTextIsOrderedByKey) {
  config_.AddKey({5, 0x2000});
  config_.AddKey({5, 0x10});
  config_.AddKey({5, 0x108A});
  EXPECT_EQ(config_.CategoryText(kItemLog), u"0x0010,0x108A,0x2000");
  config_.AddKey({10, 18, 42});
  config_.AddKey({10, 2, 100});
  EXPECT_EQ(config_.CategoryText(kItemSubsysTx), u"0002/0100,0018/0042");
  EXPECT_EQ(config_.CategoryText(kItemEvent), u"");
  EXPECT_EQ(config_.CategoryText(42), u"");
}

TEST_F(ItemConfigTest, LevelMaskText) {
  config_.AddKey({6, 7, 32});
  config_.AddKey({6, 5, 3});
  config_.AddKey({6, 5, 0});
  EXPECT_EQ(config_.LevelMaskText(kItemMsg), u"5:0x9;7:0x0");
  config_.AddKey({6, 65535, 31});
  EXPECT_EQ(config_.LevelMaskText(kItemMsg), u"5:0x9;7:0x0;65535:0x80000000");
  EXPECT_EQ(config_.LevelMaskText(kItemLog), u"");
  config_.Clear();
  EXPECT_EQ(config_.LevelMaskText(kItemMsg), u"");
}

TEST_F(ItemConfigTest, UnknownKeyByType) {
  EXPECT_FALSE(config_.IsUnknownKey({1, 19}));
  EXPECT_TRUE(config_.IsUnknownKey({1, 20}));
  EXPECT_FALSE(config_.IsUnknownKey({2, 75}));
  EXPECT_TRUE(config_.IsUnknownKey({2, 19}));
  EXPECT_FALSE(config_.IsUnknownKey({4, 412}));
  EXPECT_TRUE(config_.IsUnknownKey({4, 411}));
  EXPECT_FALSE(config_.IsUnknownKey({5, 0x108A}));
  EXPECT_TRUE(config_.IsUnknownKey({5, 0x108B}));
  EXPECT_FALSE(config_.IsUnknownKey({6, 21, 2}));
  EXPECT_TRUE(config_.IsUnknownKey({6, 21, 3}));
  EXPECT_FALSE(config_.IsUnknownKey({8, 0x713A}));
  EXPECT_FALSE(config_.IsUnknownKey({8, 0x713A, 1}));
  EXPECT_TRUE(config_.IsUnknownKey({8, 0x713B}));
  EXPECT_FALSE(config_.IsUnknownKey({9, 18, 42}));
  EXPECT_TRUE(config_.IsUnknownKey({9, 18, 43}));
  EXPECT_FALSE(config_.IsUnknownKey({10, 18, 42}));
  EXPECT_TRUE(config_.IsUnknownKey({10, 42, 18}));
  // Never unknown, always unknown, invalid.
  EXPECT_FALSE(config_.IsUnknownKey({3}));
  EXPECT_FALSE(config_.IsUnknownKey({7, 4}));
  EXPECT_TRUE(config_.IsUnknownKey({0}));
  EXPECT_TRUE(config_.IsUnknownKey({0, 19}));
  EXPECT_TRUE(config_.IsUnknownKey({1, 19, 1}));
  EXPECT_TRUE(config_.IsUnknownKey({7, 5}));
}

TEST(ItemConfigWithoutDatabase, EveryTableKeyIsUnknown) {
  ItemConfig config(nullptr);
  EXPECT_TRUE(config.IsUnknownKey({1, 19}));
  EXPECT_FALSE(config.IsUnknownKey({3}));
  EXPECT_FALSE(config.IsUnknownKey({7, 1}));
  config.AddKey({5, 0x713A});
  config.EnableType(kItemLog);
  EXPECT_TRUE(config.Accepts(TestItem(5, {5, 1})));
}

// ---- Load

TEST_F(ItemConfigTest, LoadReadsEveryValue) {
  LoadText(
      u"[Cfg]\n"
      u"Items=\"1,2,4,5,6,7,8,9,10\"\n"
      u"DIAG Requests=075,019\n"
      u"DIAG Responses=019\n"
      u"Subsystem Requests=0018/0042\n"
      u"Subsystem Responses=0018/0042,0002/0100\n"
      u"Event IDs=00412\n"
      u"Log Codes=0x108A\n"
      u"OTA Types=0x713A/001/017\n"
      u"Message Levels=00021/02,00005/32\n"
      u"String Types=2\n"
      u"Accept Unknowns=0\n");
  EXPECT_EQ(config_.EnabledTypes(), (std::set<std::uint32_t>{1, 2, 4, 5, 6, 7, 8, 9, 10}));
  EXPECT_EQ(config_.Keys(kItemDiagTx), (std::set<ItemKey>{{2, 19}, {2, 75}}));
  EXPECT_EQ(config_.Keys(kItemDiagRx), (std::set<ItemKey>{{1, 19}}));
  EXPECT_EQ(config_.Keys(kItemSubsysTx), (std::set<ItemKey>{{10, 18, 42}}));
  EXPECT_EQ(config_.Keys(kItemSubsysRx), (std::set<ItemKey>{{9, 2, 100}, {9, 18, 42}}));
  EXPECT_EQ(config_.Keys(kItemEvent), (std::set<ItemKey>{{4, 412}}));
  EXPECT_EQ(config_.Keys(kItemLog), (std::set<ItemKey>{{5, 0x108A}}));
  EXPECT_EQ(config_.Keys(kItemOtaLog), (std::set<ItemKey>{{8, 0x713A, 1, 17}}));
  EXPECT_EQ(config_.Keys(kItemMsg), (std::set<ItemKey>{{6, 5, 32}, {6, 21, 2}}));
  EXPECT_EQ(config_.Keys(kItemString), (std::set<ItemKey>{{7, 2}}));
  EXPECT_FALSE(config_.AcceptUnknowns());
}

TEST_F(ItemConfigTest, LoadItemsListSkipsBadCodes) {
  LoadText(u"[Cfg]\nItems=\"1,2,5\"\n");
  EXPECT_EQ(config_.EnabledTypes(), (std::set<std::uint32_t>{1, 2, 5}));
  LoadText(u"[Cfg]\nItems=0, 3 ,11,x,,-1,99999999999,10\n");
  EXPECT_EQ(config_.EnabledTypes(), (std::set<std::uint32_t>{0, 3, 10}));
  // Leading zeros do not make a code long; a long code does not wrap.
  LoadText(u"[Cfg]\nItems=0000000000007,4294967297,42949672960\n");
  EXPECT_EQ(config_.EnabledTypes(), (std::set<std::uint32_t>{7}));
  LoadText(u"[Cfg]\nItems=\"\"\n");
  EXPECT_TRUE(config_.EnabledTypes().empty());
}

TEST_F(ItemConfigTest, LoadKeyListSkipsQuotedAndUnparsablePieces) {
  // One leading quote of the value is skipped; later pieces that begin
  // with a quote are skipped; a trailing quote ends the number reading.
  LoadText(u"[Cfg]\nEvent IDs=\"00001,\"00002,00003\",abc,4096, 5\n");
  EXPECT_EQ(config_.Keys(kItemEvent), (std::set<ItemKey>{{4, 1}, {4, 3}, {4, 5}}));
  LoadText(u"[Cfg]\nSubsystem Requests=0018,0018/0042\n");  // no "/": no key
  EXPECT_EQ(config_.Keys(kItemSubsysTx), (std::set<ItemKey>{{10, 18, 42}}));
}

TEST_F(ItemConfigTest, LoadReadsBackCategoryText) {
  ItemConfig source(&db_);
  source.AddKey({4, 412});
  source.AddKey({4, 7});
  source.AddKey({6, 21, 2});
  source.AddKey({8, 0x713A, 3, 4000});
  source.AddKey({9, 255, 65535});
  std::u16string ini = u"[Cfg]\n";
  ini += u"Event IDs=\"" + source.CategoryText(kItemEvent) + u"\"\n";
  ini += u"Message Levels=" + source.CategoryText(kItemMsg) + u"\n";
  ini += u"OTA Types=" + source.CategoryText(kItemOtaLog) + u"\n";
  ini += u"Subsystem Responses=" + source.CategoryText(kItemSubsysRx) + u"\n";
  LoadText(ini);
  for (std::uint32_t type : {4u, 6u, 8u, 9u}) {
    EXPECT_EQ(config_.Keys(type), source.Keys(type)) << type;
  }
}

TEST_F(ItemConfigTest, LoadStartsFromAClearedConfiguration) {
  config_.AddKey({4, 1});
  config_.EnableType(kItemEvent);
  config_.SetAcceptUnknowns(false);
  LoadText(u"[Cfg]\nLog Codes=0x0001\n");
  EXPECT_TRUE(config_.Keys(kItemEvent).empty());
  EXPECT_TRUE(config_.EnabledTypes().empty());  // keys alone enable nothing
  EXPECT_TRUE(config_.AcceptUnknowns());
}

TEST_F(ItemConfigTest, LoadWithoutUsableSectionLeavesItCleared) {
  const std::u16string ini = u"[Cfg]\nItems=1\nAccept Unknowns=0\n";
  for (std::u16string_view section : {u"", u"Other"}) {
    config_.EnableType(kItemGps);
    config_.SetAcceptUnknowns(false);
    LoadText(ini, section);
    EXPECT_TRUE(config_.EnabledTypes().empty());
    EXPECT_TRUE(config_.AcceptUnknowns());
  }
  config_.EnableType(kItemGps);
  config_.Load(u"Cfg", nullptr);
  EXPECT_TRUE(config_.EnabledTypes().empty());
  IniSettings unavailable;
  config_.EnableType(kItemGps);
  config_.Load(u"Cfg", &unavailable);
  EXPECT_TRUE(config_.EnabledTypes().empty());
}

TEST_F(ItemConfigTest, LoadAcceptUnknowns) {
  LoadText(u"[Cfg]\nAccept Unknowns=0\n");
  EXPECT_FALSE(config_.AcceptUnknowns());
  LoadText(u"[Cfg]\nAccept Unknowns=-5\n");
  EXPECT_TRUE(config_.AcceptUnknowns());
  LoadText(u"[Cfg]\nAccept Unknowns=no\n");  // not an integer: stays on
  EXPECT_TRUE(config_.AcceptUnknowns());
}

TEST_F(ItemConfigTest, LoadMovesOtaLogCodesIntoTheOtaSet) {
  AddOtaType(db_, 0x412F, {}, u"No kinds");
  LoadText(u"[Cfg]\nItems=5\nLog Codes=0x713A,0x412F\n");
  EXPECT_TRUE(config_.Keys(kItemLog).empty());
  EXPECT_FALSE(config_.IsTypeEnabled(kItemLog));
  EXPECT_TRUE(config_.IsTypeEnabled(kItemOtaLog));
  // One OTA key per listed kind; the code without kinds adds none.
  EXPECT_EQ(config_.Keys(kItemOtaLog), (std::set<ItemKey>{{8, 0x713A, 1}, {8, 0x713A, 2}}));
}

TEST_F(ItemConfigTest, LoadDropsOtaLogCodesWithoutKinds) {
  AddOtaType(db_, 0x412F, {}, u"No kinds");
  LoadText(u"[Cfg]\nItems=5\nLog Codes=0x412F\n");
  EXPECT_TRUE(config_.Keys(kItemLog).empty());
  EXPECT_TRUE(config_.Keys(kItemOtaLog).empty());
  // The log-code set emptied: LOG goes. The OTA set stayed empty: OTA LOG
  // is not enabled.
  EXPECT_TRUE(config_.EnabledTypes().empty());
}

TEST_F(ItemConfigTest, LoadKeepsLogTypeWhenOtherLogCodesRemain) {
  LoadText(u"[Cfg]\nItems=5\nLog Codes=0x713A,0x108A\n");
  EXPECT_EQ(config_.Keys(kItemLog), (std::set<ItemKey>{{5, 0x108A}}));
  EXPECT_TRUE(config_.IsTypeEnabled(kItemLog));
  EXPECT_TRUE(config_.IsTypeEnabled(kItemOtaLog));
}

TEST_F(ItemConfigTest, LoadEnablesOtaOnlyWhenTheMoveFilledAnEmptySet) {
  // The OTA set had keys already and OTA LOG is not listed: it stays off.
  LoadText(u"[Cfg]\nItems=5\nLog Codes=0x713A\nOTA Types=0x5226\n");
  EXPECT_FALSE(config_.IsTypeEnabled(kItemOtaLog));
  EXPECT_EQ(config_.Keys(kItemOtaLog).size(), 3u);
  // Log codes that the database does not list as OTA stay where they are,
  // even the built-in OTA log codes.
  LoadText(u"[Cfg]\nItems=5\nLog Codes=0x5226\n");
  EXPECT_EQ(config_.Keys(kItemLog), (std::set<ItemKey>{{5, 0x5226}}));
  EXPECT_FALSE(config_.IsTypeEnabled(kItemOtaLog));
}

TEST_F(ItemConfigTest, LoadedConfigurationSelectsItems) {
  LoadText(u"[Cfg]\nItems=1,3\nDIAG Responses=075\nAccept Unknowns=0\n");
  EXPECT_TRUE(Accepts({1, 75}));
  EXPECT_FALSE(Accepts({1, 19}));
  EXPECT_FALSE(Accepts({1, 200}));
  EXPECT_TRUE(Accepts({3}));
  EXPECT_FALSE(Accepts({4, 412}));
}

}  // namespace
}  // namespace quillon
