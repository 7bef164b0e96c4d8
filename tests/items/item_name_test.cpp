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

TEST_F(ItemNameTest, NamesFromTheTableOfEachType) {
  // Request and response tables are not mixed; invalid keys are unknown
  // even when the table has the number; MALFORMED is named by its command
  // code; an OTA name ignores the further numbers.
  // clang-format off
  const std::vector<std::tuple<ItemKey, bool, std::u16string>> rows = {
      {{1, 19}, false, u"Bad Command Response"}, {{2, 75}, false, u"Subsystem Dispatch Request"},
      {{1, 75}, false, u"Subsystem Dispatch Response"}, {{3}, false, u"GPS"},
      {{3}, true, u"[-] GPS"}, {{4, 412}, false, u"EVENT_CALL_CONNECT"},
      {{4, 412}, true, u"[00412] EVENT_CALL_CONNECT"}, {{5, 0x108A}, false, u"Searcher Status"},
      {{6, 21, 2}, true, u"[00021/02] Call Processing High"}, {{7, 2}, false, u"Annotation"},
      {{8, 0x713A}, false, u"LTE RRC OTA"},
      {{8, 0x713A, 1, 17}, true, u"[0x713A/001/017] LTE RRC OTA"},
      {{9, 18, 42}, false, u"FTM Response"}, {{10, 18, 42}, false, u"FTM Request"},
      {{2, 19}, false, u"Unknown"}, {{6, 2, 21}, false, u"Unknown"}, {{1, 20}, false, u"Unknown"},
      {{4, 413}, true, u"[00413] Unknown"}, {{5, 0x108B}, false, u"Unknown"},
      {{7, 3}, false, u"Unknown"}, {{8, 0x713B}, false, u"Unknown"},
      {{9, 18, 43}, false, u"Unknown"}, {{1, 19, 0}, false, u"Unknown"},
      {{4, 412 + 4096}, false, u"Unknown"},
      {{0}, false, u"DIAG"}, {{0}, true, u"[-] DIAG"}, {{0, 16}, false, u"LOG"},
      {{0, 31}, false, u"MESSAGE"}, {{0, 121}, true, u"[121] MESSAGE"}, {{0, 75}, false, u"SUBSYS"},
      {{0, 128}, false, u"SUBSYS"}, {{0, 96}, false, u"EVENT"}, {{0, 116}, false, u"EVENT"},
      {{0, 0}, false, u"DIAG"}, {{0, 4000000000u}, false, u"DIAG"},
      {{0, 19}, false, u"Bad Command Response"}};
  // clang-format on
  for (const auto& [key, with_key, name] : rows) {
    EXPECT_EQ(Name(key, with_key), name) << testing::PrintToString(key.ToVector());
  }
  AddItem(db_, DbItemTable::kEvent, 7, 0, u"");
  EXPECT_EQ(Name({4, 7}), u"Unknown");  // an empty name is no name
}

TEST_F(ItemNameTest, MalformedErrorResponsesTakeTheDiagResponseName) {
  for (std::uint32_t code : {20u, 21u, 22u, 23u, 24u, 66u, 71u}) {
    EXPECT_EQ(Name({0, code}), u"DIAG") << code;
    AddItem(db_, DbItemTable::kDiagResponse, code, 0, u"Error A");
    EXPECT_EQ(Name({0, code}), u"Error A") << code;
  }
  // Other response codes are not looked up even when the table has them.
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
