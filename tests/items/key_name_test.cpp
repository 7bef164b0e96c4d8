#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "database/database.h"
#include "items/item_config.h"
#include "items/item_name.h"
#include "items/key_text.h"
#include "items/type_text.h"
#include "items_test_support.h"

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
  // Each rule of validity is tested on ItemKey itself.
  const std::vector<ItemKey> invalid = {{}, {11}, {1, 256}, {3, 0}, {6, 5, 33}, {8}, {9, 1}};
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

TEST(JoinKeyTexts, JoinsInOrderAndSkipsKeysWithoutText) {
  const std::vector<ItemKey> keys = {{4, 1}, {5, 0x10}, {4, 5000}, {1, 3}};
  EXPECT_EQ(JoinKeyTexts(keys, u','), u"00001,0x0010,003");
  EXPECT_EQ(JoinKeyTexts(std::vector<ItemKey>{}, u','), u"");
  EXPECT_EQ(JoinKeyTexts(std::set<ItemKey>{{5, 2}, {4, 9}, {5, 1}}, u' '), u"00009 0x0001 0x0002");
  // An invalid first key still counts as the first element.
  EXPECT_EQ(JoinKeyTexts(std::vector<ItemKey>{{1, 256}, {1, 3}}, u';'), u";003");
  EXPECT_EQ(JoinKeyTexts(std::set<ItemKey>{{1, 999}, {2, 1}}, u'|'), u"|001");
}

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
