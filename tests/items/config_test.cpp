#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "database/database.h"
#include "items/ini_settings.h"
#include "items/item_config.h"
#include "items_test_support.h"
#include "tests/support/temp_path.h"

namespace quillon {
namespace {

using itemstest::TestItem;
using Types = std::set<std::uint32_t>;
using Keys = std::set<ItemKey>;

class ItemConfigTest : public ::testing::Test {
 protected:
  void SetUp() override { itemstest::FillSampleDatabase(db_); }
  bool Accepts(const ItemKey& key) const { return config_.Accepts(TestItem(key[0], key)); }
  // Loads the values of section "Cfg".
  void Load(std::u16string_view values) {
    IniSettings settings = IniSettings::FromText(u"[Cfg]\n" + std::u16string(values));
    config_.Load(u"Cfg", &settings);
  }
  void AddKeys(const std::vector<ItemKey>& keys) {
    for (const ItemKey& key : keys) ASSERT_TRUE(config_.AddKey(key));
  }

  Database db_;
  ItemConfig config_{&db_};
};

TEST_F(ItemConfigTest, SelectionRules) {
  EXPECT_TRUE(config_.EnabledTypes().empty());  // starts empty, accepting unknowns
  EXPECT_TRUE(config_.AcceptUnknowns());
  EXPECT_FALSE(Accepts({1, 200}));  // unknown, but the type is off
  EXPECT_FALSE(Accepts({0}));
  config_.EnableType(kItemEvent);  // no keys: the whole type
  config_.SetAcceptUnknowns(false);
  EXPECT_TRUE(config_.AcceptsWholeType(kItemEvent));
  EXPECT_TRUE(Accepts({4, 999}));
  EXPECT_FALSE(Accepts({5, 0x108A}));
  // Invalid items never pass.
  EXPECT_FALSE(config_.Accepts(TestItem(4, {4, 412}, {0}, false)));
  EXPECT_FALSE(config_.Accepts(TestItem(4, {4, 5000})));
  EXPECT_FALSE(config_.Accepts(TestItem(4, {4, 412}, {})));  // no buffer

  AddKeys({{1, 75}});
  EXPECT_FALSE(Accepts({1, 75}));  // keys alone do not enable the type
  config_.EnableType(kItemDiagRx);
  EXPECT_FALSE(config_.AcceptsWholeType(kItemDiagRx));
  EXPECT_TRUE(Accepts({1, 75}));
  EXPECT_FALSE(Accepts({1, 19}));   // known to the database, not selected
  EXPECT_FALSE(Accepts({1, 200}));  // unknown, unknowns refused
  config_.SetAcceptUnknowns(true);
  EXPECT_TRUE(Accepts({1, 200}));
  EXPECT_FALSE(Accepts({1, 19}));

  // MALFORMED and GPS have no key set and go by the enabled set alone.
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
}

TEST_F(ItemConfigTest, OtaKindsSelectOtaLogsWithoutAKind) {
  AddKeys({{8, 0x1004, 0}, {8, 0x412F, 3}});
  config_.EnableType(kItemOtaLog);
  config_.SetAcceptUnknowns(false);
  EXPECT_TRUE(Accepts({8, 0x412F, 3}));
  EXPECT_FALSE(Accepts({8, 0x412F, 4}));  // a kind the set does not name
  EXPECT_TRUE(Accepts({8, 0x1004}));      // no kind: any kind of its code
  EXPECT_TRUE(Accepts({8, 0x412F}));
  EXPECT_FALSE(Accepts({8, 0x1005}));
}

TEST_F(ItemConfigTest, KeySetsEnableDisableAndClear) {
  AddKeys({{6, 1, 32}, {6, 1, 32}});  // a duplicate changes nothing
  EXPECT_EQ(config_.Keys(kItemMsg).size(), 1u);
  AddKeys({{4, 1}});
  EXPECT_TRUE(config_.HasKeys(kItemEvent, false));
  EXPECT_FALSE(config_.HasKeys(kItemEvent, true));
  config_.EnableType(kItemEvent);
  EXPECT_TRUE(config_.HasKeys(kItemEvent, true));
  config_.DisableType(kItemEvent);
  EXPECT_FALSE(config_.IsTypeEnabled(kItemEvent));
  EXPECT_FALSE(config_.HasKeys(kItemEvent, false));
  config_.DisableType(99);  // no such type: nothing happens

  AddKeys({{2, 1}, {9, 18, 42}, {8, 0x713A}, {7, 2}});
  config_.EnableConfiguredTypes();
  EXPECT_EQ(config_.EnabledTypes(), (Types{2, 6, 7, 8, 9}));
  config_.EnableType(kItemGps);
  config_.SetAcceptUnknowns(false);
  config_.Clear();
  EXPECT_TRUE(config_.EnabledTypes().empty());
  EXPECT_TRUE(config_.Keys(kItemDiagTx).empty());
  EXPECT_TRUE(config_.AcceptUnknowns());
}

TEST_F(ItemConfigTest, CategoryAndLevelMaskTexts) {
  AddKeys({{5, 0x2000}, {5, 0x10}, {5, 0x108A}, {10, 18, 42}, {10, 2, 100}});
  EXPECT_EQ(config_.CategoryText(kItemLog), u"0x0010,0x108A,0x2000");
  EXPECT_EQ(config_.CategoryText(kItemSubsysTx), u"0002/0100,0018/0042");
  EXPECT_EQ(config_.CategoryText(kItemEvent), u"");
  EXPECT_EQ(config_.CategoryText(42), u"");
  // Level 32 sets no bit of the mask.
  AddKeys({{6, 7, 32}, {6, 5, 3}, {6, 5, 0}});
  EXPECT_EQ(config_.LevelMaskText(kItemMsg), u"5:0x9;7:0x0");
  AddKeys({{6, 65535, 31}});
  EXPECT_EQ(config_.LevelMaskText(kItemMsg), u"5:0x9;7:0x0;65535:0x80000000");
  EXPECT_EQ(config_.LevelMaskText(kItemLog), u"");
  config_.Clear();
  EXPECT_EQ(config_.LevelMaskText(kItemMsg), u"");
}

TEST_F(ItemConfigTest, UnknownKeys) {
  // clang-format off
  const std::vector<std::pair<ItemKey, bool>> rows = {
      {{1, 19}, false}, {{1, 20}, true}, {{2, 75}, false}, {{2, 19}, true}, {{4, 412}, false},
      {{4, 411}, true}, {{5, 0x108A}, false}, {{5, 0x108B}, true}, {{6, 21, 2}, false},
      {{6, 21, 3}, true}, {{8, 0x713A}, false}, {{8, 0x713A, 1}, false}, {{8, 0x713B}, true},
      {{9, 18, 42}, false}, {{9, 18, 43}, true}, {{10, 18, 42}, false}, {{10, 42, 18}, true},
      {{3}, false}, {{7, 4}, false}, {{0}, true}, {{0, 19}, true}};
  // clang-format on
  for (const auto& [key, unknown] : rows) {
    EXPECT_EQ(config_.IsUnknownKey(key), unknown) << testing::PrintToString(key.ToVector());
  }
  ItemConfig without_db(nullptr);
  EXPECT_TRUE(without_db.IsUnknownKey({1, 19}));
  EXPECT_FALSE(without_db.IsUnknownKey({3}));
  EXPECT_FALSE(without_db.IsUnknownKey({7, 1}));
  without_db.AddKey({5, 0x713A});
  without_db.EnableType(kItemLog);
  EXPECT_TRUE(without_db.Accepts(TestItem(5, {5, 1})));
}

TEST_F(ItemConfigTest, LoadReadsEveryValue) {
  Load(
      u"Items=\"1,2,4,5,6,7,8,9,10\"\nDIAG Requests=075,019\nDIAG Responses=019\n"
      u"Subsystem Requests=0018/0042\nSubsystem Responses=0018/0042,0002/0100\n"
      u"Event IDs=00412\nLog Codes=0x108A\nOTA Types=0x713A/001/017\n"
      u"Message Levels=00021/02,00005/32\nString Types=2\nAccept Unknowns=0\n");
  EXPECT_EQ(config_.EnabledTypes(), (Types{1, 2, 4, 5, 6, 7, 8, 9, 10}));
  // clang-format off
  const std::vector<std::pair<std::uint32_t, Keys>> sets = {
      {kItemDiagTx, {{2, 19}, {2, 75}}}, {kItemDiagRx, {{1, 19}}}, {kItemSubsysTx, {{10, 18, 42}}},
      {kItemSubsysRx, {{9, 2, 100}, {9, 18, 42}}}, {kItemEvent, {{4, 412}}},
      {kItemLog, {{5, 0x108A}}}, {kItemOtaLog, {{8, 0x713A, 1, 17}}},
      {kItemMsg, {{6, 5, 32}, {6, 21, 2}}}, {kItemString, {{7, 2}}}};
  // clang-format on
  for (const auto& [type, keys] : sets) EXPECT_EQ(config_.Keys(type), keys) << type;
  EXPECT_FALSE(config_.AcceptUnknowns());
}

TEST_F(ItemConfigTest, LoadSkipsBadCodesAndPieces) {
  Load(u"Items=0, 3 ,11,x,,-1,99999999999,10\n");
  EXPECT_EQ(config_.EnabledTypes(), (Types{0, 3, 10}));
  // Leading zeros do not make a code long; a long code does not wrap.
  Load(u"Items=0000000000007,4294967297,42949672960\n");
  EXPECT_EQ(config_.EnabledTypes(), (Types{7}));
  Load(u"Items=\"\"\n");
  EXPECT_TRUE(config_.EnabledTypes().empty());
  // One leading quote of the value is skipped; later pieces that begin
  // with a quote are skipped; a trailing quote ends the number reading.
  Load(u"Event IDs=\"00001,\"00002,00003\",abc,4096, 5\n");
  EXPECT_EQ(config_.Keys(kItemEvent), (Keys{{4, 1}, {4, 3}, {4, 5}}));
  Load(u"Subsystem Requests=0018,0018/0042\n");  // no "/": no key
  EXPECT_EQ(config_.Keys(kItemSubsysTx), (Keys{{10, 18, 42}}));
  for (const auto& [value, on] : {std::pair{u"0", false}, {u"-5", true}, {u"no", true}}) {
    Load(u"Accept Unknowns=" + std::u16string(value));
    EXPECT_EQ(config_.AcceptUnknowns(), on) << testing::PrintToString(std::u16string(value));
  }
}

TEST_F(ItemConfigTest, LoadStartsClearedAndNeedsAUsableSection) {
  AddKeys({{4, 1}});
  config_.EnableType(kItemEvent);
  config_.SetAcceptUnknowns(false);
  Load(u"Log Codes=0x0001\n");
  EXPECT_TRUE(config_.Keys(kItemEvent).empty());
  EXPECT_TRUE(config_.EnabledTypes().empty());  // keys alone enable nothing
  EXPECT_TRUE(config_.AcceptUnknowns());

  IniSettings ini = IniSettings::FromText(u"[Cfg]\nItems=1\nAccept Unknowns=0\n");
  IniSettings unavailable;
  const std::vector<std::pair<std::u16string_view, IniSettings*>> loads = {
      {u"", &ini}, {u"Other", &ini}, {u"Cfg", nullptr}, {u"Cfg", &unavailable}};
  for (const auto& [section, settings] : loads) {
    config_.EnableType(kItemGps);
    config_.SetAcceptUnknowns(false);
    config_.Load(section, settings);
    EXPECT_TRUE(config_.EnabledTypes().empty()) << testing::PrintToString(std::u16string(section));
    EXPECT_TRUE(config_.AcceptUnknowns());
  }
}

// Log codes the database lists as OTA log codes move into the OTA set, one
// key per listed kind; a code without kinds adds none. LOG goes when that
// empties the log codes, OTA LOG comes when it fills an empty OTA set.
TEST_F(ItemConfigTest, LoadMovesOtaLogCodesIntoTheOtaSet) {
  itemstest::AddItem(db_, DbItemTable::kOta, 0x412F, 0, u"No kinds");
  Load(u"Items=5\nLog Codes=0x713A,0x412F\n");
  EXPECT_TRUE(config_.Keys(kItemLog).empty());
  EXPECT_EQ(config_.EnabledTypes(), (Types{kItemOtaLog}));
  EXPECT_EQ(config_.Keys(kItemOtaLog), (Keys{{8, 0x713A, 1}, {8, 0x713A, 2}}));
  Load(u"Items=5\nLog Codes=0x412F\n");
  EXPECT_TRUE(config_.Keys(kItemLog).empty());
  EXPECT_TRUE(config_.Keys(kItemOtaLog).empty());
  EXPECT_TRUE(config_.EnabledTypes().empty());
  Load(u"Items=5\nLog Codes=0x713A,0x108A\n");
  EXPECT_EQ(config_.Keys(kItemLog), (Keys{{5, 0x108A}}));
  EXPECT_EQ(config_.EnabledTypes(), (Types{kItemLog, kItemOtaLog}));
  // An OTA set that had keys already and is not listed stays off.
  Load(u"Items=5\nLog Codes=0x713A\nOTA Types=0x5226\n");
  EXPECT_FALSE(config_.IsTypeEnabled(kItemOtaLog));
  EXPECT_EQ(config_.Keys(kItemOtaLog).size(), 3u);
  // Codes the database does not list stay, even the built-in OTA log codes.
  Load(u"Items=5\nLog Codes=0x5226\n");
  EXPECT_EQ(config_.Keys(kItemLog), (Keys{{5, 0x5226}}));
  EXPECT_FALSE(config_.IsTypeEnabled(kItemOtaLog));
}

std::optional<std::u16string> Read(IniSettings& ini, std::u16string_view section,
                                   std::u16string_view name) {
  if (!ini.OpenSection(section)) return std::nullopt;
  return ini.ReadString(name);
}

TEST(IniSettings, SectionsNamesAndValues) {
  IniSettings ini = IniSettings::FromText(
      u"; a comment\n# another\norphan=ignored\n[ First ]\n  Name  =  some value  \nEmpty=\n"
      u"Eq=a=b\nQuoted=\"1,2\" ; kept\nno equals sign\n=no name\n[Second]\r\nA=1\r\nB=2\rC=3\n\n"
      u"\r\nD=4\nA=dup\n[T]\n[second]\nA=3\nE=5");
  EXPECT_TRUE(ini.IsAvailable());
  EXPECT_EQ(ini.ReadString(u"Name"), std::nullopt);  // nothing open yet
  EXPECT_EQ(Read(ini, u"First", u"Name"), u"some value");
  EXPECT_EQ(Read(ini, u"FIRST", u"name"), u"some value");  // names ignore case
  EXPECT_EQ(Read(ini, u"First", u"Empty"), u"");
  EXPECT_EQ(Read(ini, u"First", u"Eq"), u"a=b");
  EXPECT_EQ(Read(ini, u"First", u"Quoted"), u"\"1,2\" ; kept");
  for (std::u16string_view missing : {u"orphan", u"no equals sign", u"", u"A"}) {
    EXPECT_EQ(Read(ini, u"First", missing), std::nullopt);
  }
  // Every line ending; the first section and the first name win.
  for (const auto& [name, value] :
       {std::pair{u"A", u"1"}, {u"B", u"2"}, {u"C", u"3"}, {u"D", u"4"}, {u"E", u"5"}}) {
    EXPECT_EQ(Read(ini, u"Second", name), value);
  }
  EXPECT_FALSE(ini.OpenSection(u"Third"));
  EXPECT_EQ(ini.ReadString(u"A"), std::nullopt);  // a failed open closes
  EXPECT_FALSE(IniSettings().IsAvailable());
  EXPECT_FALSE(IniSettings().OpenSection(u"S"));
}

TEST(IniSettings, Integers) {
  const std::optional<std::int32_t> none;
  // clang-format off
  const std::vector<std::pair<std::u16string, std::optional<std::int32_t>>> rows = {
      {u"42", 42}, {u"-7", -7}, {u"0x1F", 31}, {u"+3", 3}, {u"12abc", none}, {u"", none},
      {u"2147483647", 2147483647}, {u"2147483648", none}, {u"-2147483648", -2147483647 - 1},
      {u"0x", none}, {u" 5 ", 5}, {u"0XfF", 255}};
  // clang-format on
  for (const auto& [value, number] : rows) {
    IniSettings ini = IniSettings::FromText(u"[S]\nN=" + value + u"\n");
    ASSERT_TRUE(ini.OpenSection(u"S"));
    EXPECT_EQ(ini.ReadInteger(u"N"), number) << testing::PrintToString(value);
    EXPECT_EQ(ini.ReadInteger(u"Missing"), none);
  }
}

std::string Utf16Bytes(std::u16string_view text, bool big_endian) {
  std::string bytes;
  for (char16_t c : text) {
    const char lo = static_cast<char>(c & 0xFF), hi = static_cast<char>(c >> 8);
    bytes += big_endian ? hi : lo;
    bytes += big_endian ? lo : hi;
  }
  return bytes;
}

TEST(IniSettings, Encodings) {
  const std::u16string text = u"[S\u00E9ction]\nN\u00E4me=v\u20AC\n";
  const std::string utf8 =
      "[S\xC3\xA9"
      "ction]\nN\xC3\xA4me=v\xE2\x82\xAC\n";
  for (const std::string& bytes :
       {utf8, "\xEF\xBB\xBF" + utf8, "\xFF\xFE" + Utf16Bytes(text, false),
        "\xFE\xFF" + Utf16Bytes(text, true), Utf16Bytes(text, false)}) {
    IniSettings ini = IniSettings::FromBytes(bytes.data(), bytes.size());
    EXPECT_EQ(Read(ini, u"S\u00E9ction", u"N\u00E4me"), u"v\u20AC");
  }
  IniSettings empty = IniSettings::FromBytes(nullptr, 10);
  EXPECT_TRUE(empty.IsAvailable());
  EXPECT_FALSE(empty.OpenSection(u"S"));
}

TEST(IniSettings, Files) {
  const testsupport::TempPath temp(u"items", u".ini");
  const std::filesystem::path& path = temp.path();
  IniSettings missing = IniSettings::FromFile(path.u16string());
  EXPECT_FALSE(missing.IsAvailable());
  EXPECT_EQ(missing.LastError(), 2u);

  std::ofstream(path, std::ios::binary) << "; by hand\r\n[Searcher]\r\nItems = \"5,1\"\r\n";
  IniSettings ini = IniSettings::FromFile(path.u16string());
  ASSERT_TRUE(ini.IsAvailable());
  EXPECT_EQ(ini.LastError(), 0u);
  ItemConfig config(nullptr);
  config.Load(u"searcher", &ini);
  EXPECT_EQ(config.EnabledTypes(), (std::set<std::uint32_t>{1, 5}));
}

}  // namespace
}  // namespace quillon
