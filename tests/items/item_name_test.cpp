#include "items/item_name.h"

#include <gtest/gtest.h>

#include "database/database.h"
#include "items_test_support.h"

namespace quillon {
namespace {

using itemstest::AddItem;

class ItemNameTest : public ::testing::Test {
 protected:
  void SetUp() override { itemstest::FillSampleDatabase(db_); }
  std::u16string Name(const ItemKey& key, bool with_key = false) const {
    return ItemName(key, &db_, with_key);
  }
  Database db_;
};

TEST_F(ItemNameTest, NamesEachTypeFromItsTable) {
  EXPECT_EQ(Name({1, 19}), u"Bad Command Response");
  EXPECT_EQ(Name({2, 75}), u"Subsystem Dispatch Request");
  EXPECT_EQ(Name({1, 75}), u"Subsystem Dispatch Response");
  EXPECT_EQ(Name({3}), u"GPS");
  EXPECT_EQ(Name({4, 412}), u"EVENT_CALL_CONNECT");
  EXPECT_EQ(Name({5, 0x108A}), u"Searcher Status");
  EXPECT_EQ(Name({6, 21, 2}), u"Call Processing High");
  EXPECT_EQ(Name({7, 2}), u"Annotation");
  EXPECT_EQ(Name({8, 0x713A}), u"LTE RRC OTA");
  EXPECT_EQ(Name({9, 18, 42}), u"FTM Response");
  EXPECT_EQ(Name({10, 18, 42}), u"FTM Request");
}

TEST_F(ItemNameTest, RequestAndResponseTablesAreNotMixed) {
  EXPECT_EQ(Name({2, 19}), u"Unknown");     // 19 is only a response
  EXPECT_EQ(Name({6, 2, 21}), u"Unknown");  // subsystem and level swapped
}

TEST_F(ItemNameTest, UnknownKeysAreNamedUnknown) {
  EXPECT_EQ(Name({1, 20}), u"Unknown");
  EXPECT_EQ(Name({4, 413}), u"Unknown");
  EXPECT_EQ(Name({5, 0x108B}), u"Unknown");
  EXPECT_EQ(Name({7, 3}), u"Unknown");
  EXPECT_EQ(Name({8, 0x713B}), u"Unknown");
  EXPECT_EQ(Name({9, 18, 43}), u"Unknown");
}

TEST_F(ItemNameTest, OtaNameIgnoresFurtherNumbers) {
  EXPECT_EQ(Name({8, 0x713A, 1, 17}), u"LTE RRC OTA");
  EXPECT_EQ(Name({8, 0x713A, 1, 17}, true), u"[0x713A/001/017] LTE RRC OTA");
}

TEST_F(ItemNameTest, WithKeyPrefixesTheBracketedKeyText) {
  EXPECT_EQ(Name({4, 412}, true), u"[00412] EVENT_CALL_CONNECT");
  EXPECT_EQ(Name({4, 413}, true), u"[00413] Unknown");
  EXPECT_EQ(Name({3}, true), u"[-] GPS");
  EXPECT_EQ(Name({6, 21, 2}, true), u"[00021/02] Call Processing High");
}

TEST_F(ItemNameTest, InvalidKeysAreUnknownEvenWhenTheTableHasTheNumber) {
  // Element counts and bounds decide before any lookup.
  EXPECT_EQ(Name({1, 19, 0}), u"Unknown");
  EXPECT_EQ(Name({4, 412 + 4096}), u"Unknown");
  EXPECT_EQ(Name({6, 21, 33}), u"Unknown");
  EXPECT_EQ(Name({3, 1}), u"Unknown");
  EXPECT_EQ(Name({11, 1}), u"Unknown");
  EXPECT_EQ(Name({}), u"Unknown");
  EXPECT_EQ(Name({1, 256}, true), u"[???] Unknown");
}

TEST_F(ItemNameTest, EmptyNameInTheDatabaseIsUnknown) {
  AddItem(db_, DbItemTable::kEvent, 7, 0, u"");
  EXPECT_EQ(Name({4, 7}), u"Unknown");
}

TEST_F(ItemNameTest, MalformedIsNamedByItsCommandCode) {
  EXPECT_EQ(Name({0}), u"DIAG");
  EXPECT_EQ(Name({0, 16}), u"LOG");
  EXPECT_EQ(Name({0, 31}), u"MESSAGE");
  EXPECT_EQ(Name({0, 121}), u"MESSAGE");
  EXPECT_EQ(Name({0, 75}), u"SUBSYS");
  EXPECT_EQ(Name({0, 128}), u"SUBSYS");
  EXPECT_EQ(Name({0, 96}), u"EVENT");
  EXPECT_EQ(Name({0, 116}), u"EVENT");
  EXPECT_EQ(Name({0, 0}), u"DIAG");
  EXPECT_EQ(Name({0, 4000000000u}), u"DIAG");
  EXPECT_EQ(Name({0, 121}, true), u"[121] MESSAGE");
  EXPECT_EQ(Name({0}, true), u"[-] DIAG");
}

TEST_F(ItemNameTest, MalformedErrorResponsesTakeTheDiagResponseName) {
  EXPECT_EQ(Name({0, 19}), u"Bad Command Response");
  for (std::uint32_t code : {20u, 21u, 22u, 23u, 24u, 66u, 71u}) {
    EXPECT_EQ(Name({0, code}), u"DIAG") << code;
    AddItem(db_, DbItemTable::kDiagResponse, code, 0, u"Error " + std::u16string(1, u'A'));
    EXPECT_EQ(Name({0, code}), u"Error A") << code;
  }
  // Other response codes are not looked up even when the table has them.
  EXPECT_EQ(Name({0, 75}), u"SUBSYS");
  AddItem(db_, DbItemTable::kDiagResponse, 25, 0, u"Not an error");
  EXPECT_EQ(Name({0, 25}), u"DIAG");
}

TEST(ItemNameWithoutDatabase, OnlyFixedNamesRemain) {
  EXPECT_EQ(ItemName({4, 412}, nullptr, false), u"Unknown");
  EXPECT_EQ(ItemName({3}, nullptr, false), u"GPS");
  EXPECT_EQ(ItemName({0, 19}, nullptr, false), u"DIAG");
  EXPECT_EQ(ItemName({0, 16}, nullptr, true), u"[016] LOG");
}

}  // namespace
}  // namespace quillon
