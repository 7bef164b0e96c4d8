#include <gtest/gtest.h>

#include "database/database.h"
#include "database/db_location.h"
#include "db_test_util.h"

namespace quillon {
namespace {

using dbtest::TempDir;
using dbtest::WriteAnsi;

TEST(DbQueries, EnumValueTexts) {
  Database db;
  DbTables& t = db.MutableTables();
  t.enum_entries[{7, 1}] = EnumEntryRecord{7, 1, false, u"one", -1};
  t.enum_entries[{7, 2}] = EnumEntryRecord{7, 2, false, u"", -1};
  t.enum_entries[{7, -2}] = EnumEntryRecord{7, -2, false, u"minus two", -1};
  EXPECT_EQ(db.GetEnumValueText(7, 1, false, false), u"one");
  EXPECT_EQ(db.GetEnumValueText(7, -2, true, false), u"minus two");
  EXPECT_EQ(db.GetEnumValueText(7, 31, false, false), u"Unknown [7/0x1F]");
  EXPECT_EQ(db.GetEnumValueText(7, 31, false, true), u"0x1F");
  EXPECT_EQ(db.GetEnumValueText(8, -2, true, false), u"-2");
  EXPECT_EQ(db.GetEnumValueText(8, -2, true, true), u"0xFFFFFFFE");
  EXPECT_EQ(db.GetEnumValueText(8, -2, false, false), u"Unknown [8/0xFFFFFFFE]");
  // An entry whose name is empty counts as missing.
  EXPECT_EQ(db.GetEnumValueText(7, 2, false, false), u"Unknown [7/0x2]");
}

TEST(DbQueries, ReferencedFieldIdsIncludeNestedStructures) {
  TempDir dir;
  dbtest::WriteEmptyTables(dir.path());
  WriteAnsi(dir.path() / "Field.txt",
            "1^\"a\"^8^0^2^0\n2^\"b\"^8^0^2^0\n3^\"c\"^8^0^2^0\n4^\"d\"^8^0^2^0\n"
            "5^\"e\"^8^0^2^0\n6^\"f\"^8^0^2^0\n");
  WriteAnsi(dir.path() / "Struct.txt",
            "1^0^0^1^\"\"^-1^0^\"\"\n"
            "1^1^0^2^\"\"^-1^0^\"\"\n"
            "1^2^4^2^\"\"^-1^0^\"\"\n"  // pad by field 2
            "1^3^1^2^\"\"^-1^0^\"\"\n"  // nested struct 2
            "1^4^1^2^\"\"^-1^0^\"\"\n"  // nested again: walked once
            "2^0^0^3^\"\"^-1^0^\"\"\n"
            "2^1^0^4^\"\"^-1^0^\"\"\n"
            "2^2^0^5^\"\"^-1^6^\"3 4\"\n"  // range
            "2^3^0^6^\"\"^-1^5^\"1 > 0\"\n"
            "2^4^0^6^\"\"^-1^7^\"5 + 1\"\n"
            "2^5^0^6^\"\"^-1^1^\"4\"\n");  // fixed count: no field
  WriteAnsi(dir.path() / "Diag.txt", "5^\"1\"^\"E\"^1^-1\n5^\"2\"^\"Plain\"^-1^-1\n");
  DbMessageList messages;
  Database db(&messages);
  ASSERT_TRUE(db.Load(dir.u16(), false)) << dbtest::Dump(messages);
  const DiagEntity* e = db.FindDiagEntity({5, 1});
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(db.GetReferencedFieldIds(*e), (std::vector<std::uint32_t>{1, 2, 3, 4, 5}));
  EXPECT_EQ(&db.GetReferencedFieldIds(*e), &db.GetReferencedFieldIds(*e));  // cached
  EXPECT_TRUE(db.GetReferencedFieldIds(*db.FindDiagEntity({5, 2})).empty());
  std::vector<std::uint32_t> indexes;
  for (const StructRow& r : db.FindStructRows(2)) indexes.push_back(r.index);
  EXPECT_EQ(indexes, (std::vector<std::uint32_t>{0, 1, 2, 3, 4, 5}));
  EXPECT_TRUE(db.FindStructRows(3).empty());
  // Lookups by entity: the cache gives the same answers as the table.
  EXPECT_EQ(db.FindDiagEntity({5, 1}), e);
  EXPECT_EQ(db.FindDiagEntity({5, 1}, u"e"), e);
  EXPECT_EQ(db.FindDiagEntity({5, 1}, u"Plain"), nullptr);
  EXPECT_EQ(db.FindDiagEntity({5}), nullptr);
  EXPECT_EQ(db.FindDiagEntity({}), nullptr);
}

TEST(DbQueries, ItemLookupsAndOtaCodes) {
  TempDir dir;
  dbtest::WriteEmptyTables(dir.path());
  WriteAnsi(dir.path() / "DiagRequest.txt", "75^\"Subsystem dispatch\"^\"\"\n");
  WriteAnsi(dir.path() / "SubsysResponse.txt", "18^42^\"Cmd\"^\"\"\n");
  WriteAnsi(dir.path() / "MessageLevel.txt", "5000^2^\"High\"^\"\"\n");
  WriteAnsi(dir.path() / "OTAType.txt", "0x713A^\"1,17\"^\"GSM L3\"^\"\"\n");
  Database db;
  ASSERT_TRUE(db.Load(dir.u16(), false));
  EXPECT_EQ(db.FindDiagRequest(75)->name, u"Subsystem dispatch");
  EXPECT_EQ(db.FindDiagRequest(75 + 256), nullptr);
  EXPECT_EQ(db.FindDiagResponse(75), nullptr);
  EXPECT_EQ(db.FindSubsysResponse(18, 42)->name, u"Cmd");
  EXPECT_EQ(db.FindSubsysRequest(18, 42), nullptr);
  EXPECT_EQ(db.FindMessageLevel(5000, 2)->name, u"High");
  EXPECT_EQ(db.FindMessageLevel(2, 5000), nullptr);
  EXPECT_TRUE(db.IsOtaLogCode(0x713A));
  EXPECT_FALSE(db.IsOtaLogCode(0x713B));
  EXPECT_EQ(db.FindOtaTypeByCodes({0x713A, 1, 99})->name, u"GSM L3");  // kind 1 listed
  EXPECT_EQ(db.FindOtaTypeByCodes({0x713A})->name, u"GSM L3");         // no kind
  EXPECT_EQ(db.FindOtaTypeByCodes({0x713A, 2}), nullptr);              // kind not listed
  EXPECT_EQ(db.FindOtaTypeByCodes({}), nullptr);
  const ItemDatabaseView& view = db;
  EXPECT_TRUE(view.IsOtaLogCode(0x713A));
}

TEST(DbQueries, UserItemColoursMostSpecificFirst) {
  TempDir dir;
  dbtest::WriteEmptyTables(dir.path());
  WriteAnsi(dir.path() / "UserItemColor.txt",
            "\"5\"^1^0^0\n"          // every log
            "\"5,4660\"^0^2^0\n"     // log 0x1234
            "\"8,28986,1\"^0^0^3\n"  // an OTA kind
            "\"6\"^256^0^0\n");      // parsing error
  DbMessageList messages;
  Database db(&messages);
  ASSERT_TRUE(db.Load(dir.u16(), false));
  EXPECT_TRUE(messages.Messages().empty());  // colours load on first use
  EXPECT_EQ(db.FindUserItemColor(ItemKey{5, 0x1234}), std::optional<std::uint32_t>(2 * 256));
  EXPECT_TRUE(dbtest::Has(messages, u"DB [User Item Color] Parsing error, line 3 (\"6\"^256^0^0)",
                          kDbError))
      << dbtest::Dump(messages);
  EXPECT_EQ(db.FindUserItemColor(ItemKey{5, 0x1235}), std::optional<std::uint32_t>(1));
  EXPECT_EQ(db.FindUserItemColor(ItemKey{8, 28986, 1, 17}),
            std::optional<std::uint32_t>(3 * 65536));
  EXPECT_EQ(db.FindUserItemColor(ItemKey{8, 28986}), std::nullopt);
  EXPECT_EQ(db.FindUserItemColor(ItemKey{6, 1, 2}), std::nullopt);
  EXPECT_EQ(db.FindUserItemColor(ItemKey{}), std::nullopt);
  EXPECT_EQ(messages.Messages().size(), 1u);  // loaded once
}

TEST(DbLocation, ModulePathRules) {
  using db::DatabaseDirectoryForModule;
  EXPECT_EQ(DatabaseDirectoryForModule(u"C:\\Tools\\Bin\\Quillon.dll", u'\\', false),
            u"c:\\tools\\bin\\..\\Database\\");
  EXPECT_EQ(DatabaseDirectoryForModule(u"C:\\src\\Out\\Release\\x\\Q.dll", u'\\', false),
            u"c:\\src\\out\\release\\x\\..\\..\\..\\Database");
  EXPECT_EQ(DatabaseDirectoryForModule(u"C:\\src\\DEBUG\\Q.dll", u'\\', false),
            u"c:\\src\\debug\\..\\..\\..\\Database");
  EXPECT_EQ(DatabaseDirectoryForModule(u"D:\\Apps\\Q.dll", u'\\', false), u"d:\\apps\\");
  EXPECT_EQ(DatabaseDirectoryForModule(u"Q.dll", u'\\', false), u".");
  // "\bin" only as a whole directory name.
  EXPECT_EQ(DatabaseDirectoryForModule(u"C:\\binary\\Q.dll", u'\\', false), u"c:\\binary\\");
  // POSIX: '/' stands for the backslash, and the case is kept.
  EXPECT_EQ(DatabaseDirectoryForModule(u"/opt/Quillon/bin/libq.so", u'/', true),
            u"/opt/Quillon/bin/../Database/");
  EXPECT_EQ(DatabaseDirectoryForModule(u"/w/Build/Release/lib/libq.so", u'/', true),
            u"/w/Build/Release/lib/../../../Database");
  EXPECT_EQ(DatabaseDirectoryForModule(u"C:\\Tools\\Bin\\Q.dll", u'/', true), u".");
  // Only the first 260 characters of the path count.
  const std::u16string long_dir(300, u'a');
  EXPECT_EQ(DatabaseDirectoryForModule(u"\\x\\" + long_dir + u"\\q.dll", u'\\', false), u"\\x\\");
}

}  // namespace
}  // namespace quillon
