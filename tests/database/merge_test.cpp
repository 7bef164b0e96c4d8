#include <gtest/gtest.h>

#include "database/database.h"
#include "db_test_util.h"

namespace quillon {
namespace {

using dbtest::Has;
using dbtest::TempDir;
using dbtest::WriteAnsi;

class MergeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dbtest::WriteTables(dir_.path(),
                        {{"FormatSpecifier.txt", "1^\"len %u\"^\"len\"\n2^\"fixed\"^\"\"\n"},
                         {"Enum.txt", "1^\"Colours\"^-1^0\n2^\"Modes\"^-1^0\n"},
                         {"EnumEntry.txt", "1^0^\"red\"\n1^1^\"green\"\n2^0^\"idle\"\n"},
                         {"Field.txt", "1^\"len\"^8^0^2^0\n2^\"mode\"^8^1^2^0\n"},
                         {"Struct.txt", "1^0^0^1^\"\"^-1^0^\"\"\n1^1^0^2^\"\"^-1^2^\"1\"\n"},
                         {"Diag.txt", "5^\"100\"^\"Main Log\"^1^1\n"},
                         {"LogCategory.txt", "0^\"Radio\"^-1^-1\n1^\"Power\"^-1^-1\n"},
                         {"LogItem.txt", "0x1000^\"Main A\"^\"0\"^0\n0x1001^\"Main B\"^\"1\"^0\n"},
                         {"Description.txt", "0^\"d0\"\n1^\"d1\"\n"}});
    dbtest::WriteTables(
        dir_.Sub("userA"),
        {{"FormatSpecifier.txt", "1^\"a %u\"^\"x\"\n"},
         {"Enum.txt", "1^\"Colours\"^-1^0\n5^\"Levels\"^-1^0\n"},
         {"EnumEntry.txt", "1^1^\"GREEN\"\n1^2^\"blue\"\n5^0^\"low\"\n"},
         {"Field.txt", "1^\"x\"^8^0^2^0\n2^\"lvl\"^8^1^5^0^0\n3^\"y\"^8^0^2^0^1\n"},
         {"Struct.txt",
          "1^0^0^1^\"\"^-1^0^\"\"\n1^1^0^2^\"\"^-1^2^\"1\"\n1^2^1^2^\"\"^-1^0^\"\"\n"
          "2^0^0^3^\"\"^-1^5^\"1 > 2\"\n"},
         {"Diag.txt", "5^\"200\"^\"User Log\"^1^1\n5^\"300\"^\"main log\"^-1^-1\n"},
         {"LogCategory.txt", "0^\"Power\"^-1^-1\n1^\"Extra\"^-1^0\n"},
         {"LogItem.txt", "0x1000^\"User A\"^\"0\"^1\n0x2000^\"New\"^\"1\"^0\n"},
         {"Description.txt", "0^\"user zero\"\n1^\"\"\n"}});
    dbtest::WriteTables(dir_.Sub("userB"), {{"LogItem.txt", "0x2000^\"New B\"^\"\"^0\n"}});
    // Not a user database: the name ends in a full stop.
    WriteAnsi(dir_.Sub("skip.") / "LogItem.txt", "garbage\n");
  }

  // Directory order is the file system's: whether userA merged before userB.
  bool AFirst() const {
    std::size_t a_pos = 0, b_pos = 0;
    for (std::size_t i = 0; i < messages_.Messages().size(); ++i) {
      if (messages_.Messages()[i].text == u"DB Found user database 'userA'") a_pos = i;
      if (messages_.Messages()[i].text == u"DB Found user database 'userB'") b_pos = i;
    }
    return a_pos < b_pos;
  }

  TempDir dir_;
  DbMessageList messages_;
  Database db_{&messages_};
};

TEST_F(MergeTest, RenumbersMapsAndReports) {
  EXPECT_FALSE(db_.Load(dir_.u16(), true));
  const bool a_first = AFirst();
  dbtest::ExpectMessages(messages_,
                         {u"DB Found user database 'userA'", u"DB Found user database 'userB'"},
                         kDbInformation);
  // Some file systems (Windows) drop a trailing full stop from a new
  // directory's name; the rule can only be seen where the name survives.
  const bool dot_survives =
      dbtest::fs::exists(dir_.path() / "skip.") && !dbtest::fs::exists(dir_.path() / "skip");
  EXPECT_FALSE(dot_survives && Has(messages_, u"DB Found user database 'skip.'", kDbInformation));
  // Whichever user database came last holds key 0x2000, with one warning.
  dbtest::ExpectMessages(
      messages_,
      {u"DB Merge [Enum] Duplicate enum 'Colours' detected, using existing ID 1",
       u"DB Merge [Enum Entry] Duplicate enum entry 'GREEN' detected, replacing 'green' for enum "
       u"ID 1",
       u"DB Merge [Log Category] Duplicate category 'Power' detected, using existing ID 1",
       u"DB Merge [Log Item] Duplicate item 'User A' detected, replacing 'Main A'",
       a_first ? u"DB Merge [Log Item] Duplicate item 'New B' detected, replacing 'New'"
               : u"DB Merge [Log Item] Duplicate item 'New' detected, replacing 'New B'"},
      kDbWarning);
  EXPECT_EQ(db_.FindLogItem(0x2000)->name, a_first ? u"New B" : u"New");
  dbtest::ExpectMessages(
      messages_,
      {u"DB Merge [Diag] Duplicate DIAG entity 'main log' detected, using existing entity",
       u"DB Merge [Description] Error copying description '1'"});
  // A marked description ID that found no new ID stays marked, so every
  // later merge reports it again.
  const std::size_t reassign_reports = a_first ? 2 : 1;
  EXPECT_EQ(dbtest::Count(messages_,
                          u"DB Merge [Field] Error reassigning description ID 1, new ID not found",
                          kDbError),
            reassign_reports);
  EXPECT_EQ(messages_.Messages().size(), 9u + reassign_reports + (dot_survives ? 0u : 2u))
      << dbtest::Dump(messages_);

  // Format specifiers, enums, fields 3..5 with the enum reference and the
  // description renumbered above the main table's highest IDs.
  ASSERT_TRUE(db_.FindFormatSpecifier(3) && db_.FindEnum(3) && db_.FindField(5));
  EXPECT_EQ(db_.FindFormatSpecifier(3)->format, u"a %u");
  EXPECT_EQ(db_.FindEnum(3)->name, u"Levels");
  EXPECT_EQ(db_.FindEnumByName(u"Levels"), std::optional<std::uint32_t>(3));
  EXPECT_EQ(std::vector({db_.FindEnumEntry(3, 0)->name, db_.FindEnumEntry(1, 1)->name,
                         db_.FindEnumEntry(1, 2)->name}),
            std::vector<std::u16string>({u"low", u"GREEN", u"blue"}));
  EXPECT_EQ(db_.FindField(3)->name, u"x");
  EXPECT_EQ(db_.FindField(4)->type, 3u);
  EXPECT_EQ(db_.FindField(4)->description_id, 2);
  EXPECT_EQ(*db_.FindDescription(2), u"user zero");
  EXPECT_EQ(db_.FindField(5)->description_id, 0x0F000000 + 1);  // left marked

  // Structures 2 and 3 with their field, struct (user 2 became 3) and
  // specifier references.
  std::vector<std::pair<std::uint32_t, std::u16string>> rows;
  for (const StructRow& r : db_.FindStructRows(2)) rows.emplace_back(r.reference, r.specifier);
  EXPECT_EQ(rows,
            (std::vector<std::pair<std::uint32_t, std::u16string>>{{3, u""}, {4, u"3"}, {3, u""}}));
  const StructRow& optional = *db_.FindStructRows(3).begin();
  EXPECT_EQ(optional.specifier, u"3 > 2");
  EXPECT_EQ(optional.parsed.field_id, 3u);
  const DiagEntity* user_log = db_.FindDiagEntity({5, 200});
  ASSERT_NE(user_log, nullptr);
  EXPECT_EQ(std::pair(user_log->struct_id, user_log->format_id), std::pair(2, 3));
  EXPECT_EQ(db_.FindDiagEntity({5, 300}), nullptr);
  EXPECT_EQ(db_.GetReferencedFieldIds(*user_log), (std::vector<std::uint32_t>{3}));

  // Categories: "Power" reused, "Extra" new with its parent mapped.
  EXPECT_EQ(db_.FindCategory(DbItemTable::kLog, 2)->name, u"Extra");
  EXPECT_EQ(db_.FindCategory(DbItemTable::kLog, 2)->parent_id, 1);
  EXPECT_EQ(db_.Tables().Categories(DbItemTable::kLog).size(), 3u);
  const ItemEntry* user_a = db_.FindLogItem(0x1000);
  EXPECT_EQ(std::tuple(user_a->name, user_a->categories, user_a->flag),
            std::tuple(u"User A", std::vector<std::int32_t>{1}, true));
  ASSERT_NE(db_.ItemsInCategory(DbItemTable::kLog, 1), nullptr);
  EXPECT_EQ(db_.ItemsInCategory(DbItemTable::kLog, 1)->size(), 2u);  // Main B and User A
}

TEST(DbMerge, FamiliesInOrderAndNamesCopiedEarlierCountAsExisting) {
  Database main;
  DbTables& m = main.MutableTables();
  m.Categories(DbItemTable::kEvent)[0] = CategoryRecord{0, u"Call", -1, -1};
  m.Items(DbItemTable::kEvent)[MakeItemKey(1)] = ItemEntry{1, 0, u"EV", {0}, -1, false, {}};
  m.enums[0] = EnumRecord{0, u"E", -1, false};
  Database user;
  DbTables& u = user.MutableTables();
  u.Items(DbItemTable::kEvent)[MakeItemKey(1)] = ItemEntry{1, 0, u"EV2", {4}, -1, false, {}};
  u.Categories(DbItemTable::kEvent)[4] = CategoryRecord{4, u"Call", -1, -1};
  u.enums[7] = EnumRecord{7, u"E", -1, false};
  u.enums[8] = EnumRecord{8, u"Twice", -1, false};
  u.enums[9] = EnumRecord{9, u"Twice", -1, false};
  DbMessageList messages;
  main.SetSink(&messages);
  EXPECT_TRUE(main.Merge(user));
  std::vector<std::u16string> texts;
  for (const auto& msg : messages.Messages()) texts.push_back(msg.text);
  EXPECT_EQ(texts, (std::vector<std::u16string>{
                       u"DB Merge [Enum] Duplicate enum 'E' detected, using existing ID 0",
                       u"DB Merge [Enum] Duplicate enum 'Twice' detected, using existing ID 1",
                       u"DB Merge [Event Category] Duplicate category 'Call' detected, using "
                       u"existing ID 0",
                       u"DB Merge [Event ID] Duplicate item 'EV2' detected, replacing 'EV'"}))
      << dbtest::Dump(messages);
  EXPECT_EQ(main.Tables().enums.size(), 2u);
  EXPECT_EQ(main.FindEvent(1)->categories, std::vector<std::int32_t>{0});
}

TEST(DbMerge, EmptyMainTablesStartAtZero) {
  Database main;
  Database user;
  DbTables& u = user.MutableTables();
  u.enums[40] = EnumRecord{40, u"E", -1, false};
  u.enum_entries[{40, 1}] = EnumEntryRecord{40, 1, false, u"one", -1};
  u.enum_entries[{41, 1}] = EnumEntryRecord{41, 1, false, u"stray", -1};
  u.fields[7] = FieldRecord{7, u"f", 8, 1, 40, false, -1, false};
  u.fields[8] = FieldRecord{8, u"g", 8, 1, 41, false, -1, false};  // enum 41 missing
  u.Categories(DbItemTable::kEvent)[9] = CategoryRecord{9, u"Cat", -1, -1};
  DbMessageList messages;
  main.SetSink(&messages);
  EXPECT_FALSE(main.Merge(user));
  dbtest::ExpectMessages(messages, {u"DB Merge [Enum Entry] Error copying enum entry 'stray'",
                                    u"DB Merge [Field] Error copying field 'g'"});
  EXPECT_EQ(main.FindEnum(0)->name, u"E");
  EXPECT_EQ(main.FindField(0)->type, 0u);
  EXPECT_EQ(main.FindField(1), nullptr);
  EXPECT_EQ(main.FindCategory(DbItemTable::kEvent, 0)->name, u"Cat");
}

}  // namespace
}  // namespace quillon
