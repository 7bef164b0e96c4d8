#include <gtest/gtest.h>

#include "database/database.h"
#include "database/db_location.h"
#include "db_test_util.h"

namespace quillon {
namespace {

using U16s = std::vector<std::u16string>;

TEST(DbQueries, EnumValueTexts) {
  Database db;
  DbTables& t = db.MutableTables();
  t.enum_entries[{7, 1}] = EnumEntryRecord{7, 1, false, u"one", -1};
  t.enum_entries[{7, 2}] = EnumEntryRecord{7, 2, false, u"", -1};  // counts as missing
  t.enum_entries[{7, -2}] = EnumEntryRecord{7, -2, false, u"minus two", -1};
  // {enum, value, signed, number only}
  const std::tuple<std::uint32_t, std::int32_t, bool, bool> rows[] = {
      {7, 1, false, false}, {7, -2, true, false}, {7, 31, false, false}, {7, 31, false, true},
      {8, -2, true, false}, {8, -2, true, true},  {8, -2, false, false}, {7, 2, false, false}};
  U16s texts;
  for (const auto& [e, v, s, n] : rows) texts.push_back(db.GetEnumValueText(e, v, s, n));
  EXPECT_EQ(texts, (U16s{u"one", u"minus two", u"Unknown [7/0x1F]", u"0x1F", u"-2", u"0xFFFFFFFE",
                         u"Unknown [8/0xFFFFFFFE]", u"Unknown [7/0x2]"}));
}

TEST(DbQueries, ReferencedFieldIdsIncludeNestedStructures) {
  dbtest::TempDir dir;
  dbtest::WriteTables(dir.path(),
                      {{"Field.txt",
                        "1^\"a\"^8^0^2^0\n2^\"b\"^8^0^2^0\n3^\"c\"^8^0^2^0\n4^\"d\"^8^0^2^0\n"
                        "5^\"e\"^8^0^2^0\n6^\"f\"^8^0^2^0\n"},
                       {"Struct.txt",
                        "1^0^0^1^\"\"^-1^0^\"\"\n1^1^0^2^\"\"^-1^0^\"\"\n"
                        "1^2^4^2^\"\"^-1^0^\"\"\n"  // pad by field 2
                        "1^3^1^2^\"\"^-1^0^\"\"\n"  // nested struct 2
                        "1^4^1^2^\"\"^-1^0^\"\"\n"  // nested again: walked once
                        "2^0^0^3^\"\"^-1^0^\"\"\n2^1^0^4^\"\"^-1^0^\"\"\n"
                        "2^2^0^5^\"\"^-1^6^\"3 4\"\n"  // range
                        "2^3^0^6^\"\"^-1^5^\"1 > 0\"\n2^4^0^6^\"\"^-1^7^\"5 + 1\"\n"
                        "2^5^0^6^\"\"^-1^1^\"4\"\n"},  // fixed count: no field
                       {"Diag.txt", "5^\"1\"^\"E\"^1^-1\n5^\"2\"^\"Plain\"^-1^-1\n"}});
  DbMessageList messages;
  Database db(&messages);
  ASSERT_TRUE(db.Load(dir.u16(), false)) << dbtest::Dump(messages);
  const DiagEntity* e = db.FindDiagEntity({5, 1});
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(db.GetReferencedFieldIds(*e), (std::vector<std::uint32_t>{1, 2, 3, 4, 5}));
  EXPECT_TRUE(db.GetReferencedFieldIds(*db.FindDiagEntity({5, 2})).empty());
  std::vector<std::uint32_t> indexes;
  for (const StructRow& r : db.FindStructRows(2)) indexes.push_back(r.index);
  EXPECT_EQ(indexes, (std::vector<std::uint32_t>{0, 1, 2, 3, 4, 5}));
  EXPECT_TRUE(db.FindStructRows(3).empty());
  // Lookups by entity: the cache gives the same answers as the table.
  EXPECT_EQ(db.FindDiagEntity({5, 1}, u"e"), e);
  EXPECT_EQ(db.FindDiagEntity({5, 1}, u"Plain"), nullptr);
  EXPECT_EQ(db.FindDiagEntity({5}), nullptr);
  EXPECT_EQ(db.FindDiagEntity({}), nullptr);
}

TEST(DbQueries, ItemLookupsAndOtaCodes) {
  dbtest::TempDir dir;
  dbtest::WriteTables(dir.path(), {{"DiagRequest.txt", "75^\"Subsystem dispatch\"^\"\"\n"},
                                   {"SubsysResponse.txt", "18^42^\"Cmd\"^\"\"\n"},
                                   {"MessageLevel.txt", "5000^2^\"High\"^\"\"\n"},
                                   {"OTAType.txt", "0x713A^\"1,17\"^\"GSM L3\"^\"\"\n"}});
  Database db;
  ASSERT_TRUE(db.Load(dir.u16(), false));
  EXPECT_EQ(db.FindDiagRequest(75)->name, u"Subsystem dispatch");
  EXPECT_EQ(db.FindSubsysResponse(18, 42)->name, u"Cmd");
  EXPECT_EQ(db.FindMessageLevel(5000, 2)->name, u"High");
  const ItemEntry* missing[] = {db.FindDiagRequest(75 + 256),       db.FindDiagResponse(75),
                                db.FindSubsysRequest(18, 42),       db.FindMessageLevel(2, 5000),
                                db.FindOtaTypeByCodes({0x713A, 2}),  // kind not listed
                                db.FindOtaTypeByCodes({})};
  for (const ItemEntry* entry : missing) EXPECT_EQ(entry, nullptr);
  const ItemDatabaseView& view = db;
  EXPECT_TRUE(view.IsOtaLogCode(0x713A));
  EXPECT_FALSE(db.IsOtaLogCode(0x713B));
  EXPECT_EQ(db.FindOtaTypeByCodes({0x713A, 1, 99})->name, u"GSM L3");  // kind 1 listed
  EXPECT_EQ(db.FindOtaTypeByCodes({0x713A})->name, u"GSM L3");         // no kind
}

TEST(DbQueries, UserItemColoursMostSpecificFirst) {
  dbtest::TempDir dir;
  dbtest::WriteTables(dir.path(), {{"UserItemColor.txt",
                                    "\"5\"^1^0^0\n"          // every log
                                    "\"5,4660\"^0^2^0\n"     // log 0x1234
                                    "\"8,28986,1\"^0^0^3\n"  // an OTA kind
                                    "\"6\"^256^0^0\n"}});    // parsing error
  DbMessageList messages;
  Database db(&messages);
  ASSERT_TRUE(db.Load(dir.u16(), false));
  EXPECT_TRUE(messages.Messages().empty());  // colours load on first use
  const std::pair<ItemKey, std::optional<std::uint32_t>> rows[] = {
      {{5, 0x1234}, 2 * 256},     {{5, 0x1235}, 1},          {{8, 28986, 1, 17}, 3 * 65536},
      {{8, 28986}, std::nullopt}, {{6, 1, 2}, std::nullopt}, {{}, std::nullopt}};
  for (const auto& [key, color] : rows) EXPECT_EQ(db.FindUserItemColor(key), color);
  ASSERT_EQ(messages.Messages().size(), 1u);  // loaded once
  EXPECT_EQ(messages.Messages()[0].text,
            u"DB [User Item Color] Parsing error, line 3 (\"6\"^256^0^0)");
  EXPECT_EQ(messages.Messages()[0].severity, kDbError);
}

TEST(DbLocation, ModulePathRules) {
  // "\bin" only as a whole directory name; on POSIX '/' stands for the
  // backslash and the case is kept; only the first 260 characters count.
  const std::u16string long_path = u"\\x\\" + std::u16string(300, u'a') + u"\\q.dll";
  const std::tuple<std::u16string_view, char16_t, std::u16string_view> rows[] = {
      {u"C:\\Tools\\Bin\\Quillon.dll", u'\\', u"c:\\tools\\bin\\..\\Database\\"},
      {u"C:\\src\\Out\\Release\\x\\Q.dll", u'\\',
       u"c:\\src\\out\\release\\x\\..\\..\\..\\Database"},
      {u"C:\\src\\DEBUG\\Q.dll", u'\\', u"c:\\src\\debug\\..\\..\\..\\Database"},
      {u"D:\\Apps\\Q.dll", u'\\', u"d:\\apps\\"},
      {u"Q.dll", u'\\', u"."},
      {u"C:\\binary\\Q.dll", u'\\', u"c:\\binary\\"},
      {long_path, u'\\', u"\\x\\"},
      {u"/opt/Quillon/bin/libq.so", u'/', u"/opt/Quillon/bin/../Database/"},
      {u"/w/Build/Release/lib/libq.so", u'/', u"/w/Build/Release/lib/../../../Database"},
      {u"C:\\Tools\\Bin\\Q.dll", u'/', u"."}};
  for (const auto& [path, separator, dir] : rows) {
    EXPECT_EQ(db::DatabaseDirectoryForModule(path, separator, separator == u'/'), dir)
        << dbtest::Narrow(path);
  }
}

}  // namespace
}  // namespace quillon
