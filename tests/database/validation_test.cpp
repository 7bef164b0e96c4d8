#include <gtest/gtest.h>

#include <map>

#include "database/database.h"
#include "database/internal/db_validation.h"
#include "db_test_util.h"

namespace quillon {
namespace {

using dbtest::Has;

// A struct row: struct ID, index, member kind, reference, repetition, specifier.
std::string S(int id, int index, int kind, int ref, int rep = 0,
              const std::string& specifier = "") {
  return std::to_string(id) + "^" + std::to_string(index) + "^" + std::to_string(kind) + "^" +
         std::to_string(ref) + "^\"\"^-1^" + std::to_string(rep) + "^\"" + specifier + "\"\n";
}
// The Diag entity {5, code} named "E<code>" over a struct and a format specifier.
std::string D(int code, int struct_id, int format = -1) {
  const std::string c = std::to_string(code);
  return "5^\"" + c + "\"^\"E" + c + "\"^" + std::to_string(struct_id) + "^" +
         std::to_string(format) + "\n";
}

// A database directory with the given tables (ANSI text); every other
// table is present and empty.
class ValidationTest : public ::testing::Test {
 protected:
  bool Load(const std::map<std::string, std::string>& files, bool descriptions = false) {
    dbtest::WriteTables(dir_.path());
    for (const auto& [name, text] : files) dbtest::WriteAnsi(dir_.path() / name, text);
    return db_.LoadTables(dir_.u16(), descriptions);
  }
  // Loads Field.txt as kFields and the given structs and entities.
  bool LoadStructs(const std::string& structs, const std::string& diag) {
    return Load({{"Field.txt", kFields}, {"Struct.txt", structs}, {"Diag.txt", diag}});
  }
  std::string Dump() const { return dbtest::Dump(messages_); }
  void ExpectMessages(std::initializer_list<std::u16string_view> texts,
                      DbSeverity severity = DbSeverity::kError) {
    dbtest::ExpectMessages(messages_, texts, severity);
  }
  // The struct IDs left on the entities {5, code}.
  std::vector<std::int32_t> StructIds(std::initializer_list<std::uint32_t> codes) const {
    std::vector<std::int32_t> ids;
    for (const std::uint32_t code : codes) ids.push_back(db_.FindDiagEntity({5, code})->struct_id);
    return ids;
  }

  // Fields 1..4 plain; field 5 names the missing enum 77.
  static constexpr const char* kFields =
      "1^\"count\"^8^0^2^0\n2^\"value\"^8^0^2^0\n3^\"first\"^8^0^2^0\n4^\"last\"^8^0^2^0\n"
      "5^\"mode\"^8^1^77^0\n";
  dbtest::TempDir dir_;
  DbMessageList messages_;
  Database db_{&messages_};
};

using Ids = std::vector<std::int32_t>;

TEST_F(ValidationTest, CleanDatabaseLoadsWithoutMessages) {
  EXPECT_TRUE(Load({{"Field.txt", kFields},
                    {"Struct.txt", S(10, 0, 0, 1) + S(10, 1, 1, 11, 2, "1") + S(11, 0, 0, 2) +
                                       S(11, 1, 0, 3, 5, "1 != 0")},
                    {"Diag.txt", D(100, 10, 1)},
                    {"FormatSpecifier.txt", "1^\"count %u\"^\"count\"\n"}}))
      << Dump();
  EXPECT_TRUE(messages_.Messages().empty()) << Dump();
  EXPECT_EQ(StructIds({100}), Ids{10});
}

TEST_F(ValidationTest, SelfContainingStructureAndMissingInitialFragment) {
  EXPECT_FALSE(
      LoadStructs(S(10, 0, 1, 10) + S(11, 1, 0, 1) + S(11, 2, 0, 2), D(100, 10) + D(101, 11)));
  ExpectMessages({u"DB [Struct] Max depth exceeded, possible loop, struct ID 10",
                  u"DB [Struct] Invalid struct 5,100, ID 10",
                  u"DB [Struct] Missing initial fragment, struct ID 11"});
  EXPECT_EQ(StructIds({100, 101}), (Ids{-1, -1}));
}

TEST_F(ValidationTest, ThirtyTwoNestingLevelsAreTooDeep) {
  // Structs 100..130 each nest the next; 131 reads a field. One more level
  // above makes the deepest struct sit at depth 32.
  std::string rows = S(131, 0, 0, 1);
  for (int i = 0; i < 31; ++i) rows += S(100 + i, 0, 1, 101 + i);
  EXPECT_TRUE(LoadStructs(rows, D(1, 100))) << Dump();
  messages_.Clear();
  EXPECT_FALSE(LoadStructs(rows + S(99, 0, 1, 100), D(1, 100) + D(2, 99)));
  ExpectMessages({u"DB [Struct] Max depth exceeded, possible loop, struct ID 131"});
  EXPECT_EQ(StructIds({1, 2}), (Ids{100, -1}));
}

TEST_F(ValidationTest, Specifiers) {
  // Struct 10 reads field 1 and nests 11, whose array counts with field 1
  // (earlier, in the enclosing struct): valid. Struct 12 counts with field
  // 2, which it reads only afterwards. "1 ^ 3" cannot be written in a file
  // (a caret splits the column): struct 24's row fails to load.
  EXPECT_FALSE(LoadStructs(
      S(10, 0, 0, 1) + S(10, 1, 1, 11) + S(11, 0, 0, 2, 2, "1") + S(12, 0, 0, 3, 2, "2") +
          S(12, 1, 0, 2) + S(20, 0, 0, 3) + S(20, 1, 0, 2, 6, "3 x") + S(21, 0, 0, 3) +
          S(21, 1, 0, 2, 6, "3 4") + S(22, 0, 0, 2, 5, "1 =< 3") + S(23, 0, 0, 2, 5, "1 <= 3") +
          S(24, 0, 0, 2, 7, "1 ^ 3") + S(25, 0, 0, 2, 7, "1 * 3") + S(26, 0, 0, 3) +
          S(26, 1, 0, 4) + S(26, 2, 0, 2, 6, "3 4") + S(26, 3, 0, 2, 5, "3 % 2") +
          S(26, 4, 0, 2, 7, "4 - 1") + S(27, 0, 0, 2, 7, "1 < 3"),
      D(1, 10) + D(2, 12) + D(20, 20) + D(21, 21) + D(22, 22) + D(23, 23) + D(24, 24) + D(25, 25) +
          D(26, 26) + D(27, 27)));
  ExpectMessages(
      {u"DB [Struct] Invalid array specifier, struct ID 12, ID 2",
       u"DB [Struct] Invalid array specifier, struct ID 20, 3 x",
       u"DB [Struct] Invalid array specifier, struct ID 21, IDs 3 4",
       u"DB [Struct] Invalid optional specifier, struct ID 22, 1 =< 3",
       u"DB [Struct] Invalid optional specifier, struct ID 23, unknown field ID 1/1 <= 3",
       u"DB [Struct] Missing initial fragment, struct ID 24",
       u"DB [Struct] Invalid array specifier, struct ID 25, unknown field ID 1/1 * 3",
       u"DB [Struct] Invalid array specifier, struct ID 27, 1 < 3"});
  EXPECT_EQ(StructIds({1, 2, 20, 21, 22, 23, 24, 25, 26, 27}),
            (Ids{10, -1, -1, -1, -1, -1, -1, -1, 26, -1}));
}

TEST_F(ValidationTest, MissingSpecifiersFromEditedTables) {
  // Empty specifiers cannot be loaded from a file; a database edited in
  // memory can still hold them.
  DbTables t;
  t.fields[1] = FieldRecord{1, u"f", 8, 0, 2, false, -1, false};
  std::uint32_t sid = 0;
  for (const std::int32_t repetition :
       {kRepeatCountField, kRepeatRange, kRepeatOptional, kRepeatComputed}) {
    ++sid;
    t.structs[{sid, 0}] = StructRow{sid, 0, kMemberField, 1, {}, kDbNone, repetition, {}, {}};
    const std::vector<std::uint32_t> codes = {5, sid};
    t.diag.emplace(codes, DiagEntity{codes, u"E" + std::u16string(1, char16_t(u'0' + sid)),
                                     static_cast<std::int32_t>(sid)});
  }
  DbMessageList messages;
  EXPECT_FALSE(db::CheckDiagEntities(t, messages));
  dbtest::ExpectMessages(messages, {u"DB [Struct] Missing array specifier, struct ID 1",
                                    u"DB [Struct] Missing array specifier, struct ID 2",
                                    u"DB [Struct] Missing optional specifier, struct ID 3",
                                    u"DB [Struct] Missing array specifier, struct ID 4"});
  for (const auto& [key, e] : t.diag) EXPECT_EQ(e.struct_id, -1);
}

TEST_F(ValidationTest, FieldsPadsEnumsAndFormatSpecifiers) {
  EXPECT_FALSE(Load({{"Field.txt", kFields},
                     {"Struct.txt", S(30, 0, 0, 99) + S(31, 0, 3, 1) + S(32, 0, 0, 1) +
                                        S(32, 1, 4, 1) + S(32, 2, 0, 5)},
                     {"Diag.txt", D(30, 30) + D(31, 31) + D(32, 32, 9)},
                     {"FormatSpecifier.txt", "1^\"x\"^\"\"\n"}}));
  ExpectMessages({u"DB [Struct] Invalid field, struct ID 30, ID 99",
                  u"DB [Struct] Invalid pad, struct ID 31, field ID 1",
                  u"DB [Struct] Invalid format specifier 5,32, ID 9\n"});
  // The missing enum is only a warning: struct 32 stays.
  ExpectMessages({u"DB [Struct] Invalid enumeration ID, field ID 5, enum ID 77"}, kDbWarning);
  EXPECT_EQ(StructIds({30, 31, 32}), (Ids{-1, -1, 32}));
  EXPECT_EQ(db_.FindDiagEntity({5, 32})->format_id, -1);
}

TEST_F(ValidationTest, DuplicateNames) {
  EXPECT_FALSE(Load({{"Diag.txt", "5^\"1\"^\"Same\"^-1^-1\n5^\"2\"^\"SAME\"^-1^-1\n"},
                     {"EventID.txt", "1^\"EVENT_A\"^\"\"^-1\n2^\"event_a\"^\"\"^-1\n"},
                     {"Enum.txt", "1^\"Colours\"^-1^0\n2^\"Colours\"^-1^0\n3^\"Lonely\"^-1^0\n"},
                     {"EnumEntry.txt", "1^0^\"red\"\n2^0^\"blue\"\n9^1^\"orphan\"\n"}}));
  ExpectMessages({u"DB [Diag] Duplicate DIAG entity (by name) detected 'SAME'",
                  u"DB [Event ID] Duplicate event (by name) detected 'event_a'",
                  u"DB [Enum] Duplicate enum (by name) detected 'Colours'",
                  u"DB [Enum Entry] Missing enum ID detected 9"});
  EXPECT_EQ(messages_.Messages().size(), 4u) << Dump();
  EXPECT_EQ(db_.FindEnumByName(u"Colours"), std::optional<std::uint32_t>(1));
  EXPECT_EQ(db_.FindEnumByName(u"Lonely"), std::nullopt);  // enums without entries
}

TEST_F(ValidationTest, NamesFoldAsciiAndLatin1CapitalsOnly) {
  // \u00c9/\u00e9 fold together; the multiplication sign is not a capital of
  // the division sign; Greek capitals (U+0391) are kept as they are.
  EXPECT_FALSE(Load({{"Diag.txt",
                      "5^\"1\"^\"\xC9mile\"^-1^-1\n5^\"2\"^\"\xE9MILE\"^-1^-1\n"
                      "5^\"3\"^\"x\xD7\"^-1^-1\n5^\"4\"^\"x\xF7\"^-1^-1\n"}}));
  ExpectMessages({u"DB [Diag] Duplicate DIAG entity (by name) detected '\u00e9MILE'"});
  EXPECT_EQ(messages_.Messages().size(), 1u) << Dump();
  EXPECT_NE(db_.FindDiagEntity({5, 1}, u"\u00e9mile"), nullptr);
  EXPECT_EQ(db::FoldCase(u"\u0391B\u00de"), u"\u0391b\u00fe");
}

TEST_F(ValidationTest, CategoryTrees) {
  EXPECT_FALSE(Load({{"LogCategory.txt",
                      "1^\"Top\"^-1^-1\n2^\"Orphan\"^-1^50\n3^\"A\"^-1^4\n4^\"B\"^-1^3\n"
                      "5^\"Child\"^-1^1\n"},
                     {"LogItem.txt", "0x1000^\"Log A\"^\"1,5,60\"^0\n"},
                     {"EventCategory.txt", "7^\"Self\"^-1^7\n"}}));
  ExpectMessages({u"DB [Log Category] Missing ID, parent ID 50",
                  u"DB [Log Item] Missing ID, category ID 60, reference Log A",
                  u"DB [Event Category] Loop in category, parent ID 7"});
  EXPECT_EQ(dbtest::Count(messages_, u"DB [Log Category] Loop in category, parent ID 4") +
                dbtest::Count(messages_, u"DB [Log Category] Loop in category, parent ID 3"),
            1u);
  std::vector<std::int32_t> parents;
  for (std::uint32_t id : {2, 3, 4, 5})
    parents.push_back(db_.FindCategory(DbItemTable::kLog, id)->parent_id);
  EXPECT_EQ(parents, (Ids{-1, -1, 3, 1}));
  EXPECT_EQ(db_.FindLogItem(0x1000)->categories, (Ids{-1, 1, 5}));
  EXPECT_EQ(db_.FindCategory(DbItemTable::kEvent, 7)->parent_id, -1);
}

TEST_F(ValidationTest, DescriptionReferences) {
  EXPECT_FALSE(
      Load({{"Description.txt", "1^\"one\"\n251658240^\"reserved\"\n"},
            {"Field.txt", "1^\"a\"^8^0^2^0^1\n2^\"b\"^8^0^2^0^251658240\n3^\"c\"^8^0^2^0^7\n"},
            {"Enum.txt", "1^\"E\"^5^0\n2^\"F\"^-5^0\n"},
            {"NVItem.txt", "1^\"NV\"^\"\"^-5\n"},
            {"EnumEntry.txt", "1^0^\"zero\"^1\n1^1^\"one\"^8\n"},
            {"EventID.txt", "1^\"EV\"^\"\"^9\n"},
            {"DisplayCategory.txt", "1^\"Disp\"^42^-1\n"},
            {"Display.txt", "1^\"D\"^\"1\"^43\n2^\"D2\"^\"\"^-7\n"}},
           true));
  // Enum, NV Item and Display IDs below -1 load and are reset as "detected".
  ExpectMessages({u"DB [Field] Invalid description ID detected 251658240, resetting to -1",
                  u"DB [Field] Invalid description ID specified 7, resetting to -1",
                  u"DB [Enum] Invalid description ID specified 5, resetting to -1",
                  u"DB [Enum Entry] Invalid description ID specified 8, resetting to -1",
                  u"DB [Event ID] Invalid description ID specified 9, resetting to -1",
                  u"DB [Display] Invalid description ID specified 43, resetting to -1",
                  u"DB [Enum] Invalid description ID detected -5, resetting to -1",
                  u"DB [NV Item] Invalid description ID detected -5, resetting to -1",
                  u"DB [Display] Invalid description ID detected -7, resetting to -1"});
  EXPECT_EQ(messages_.Messages().size(), 9u) << Dump();
  const std::vector<std::int32_t> ids = {
      db_.FindEnum(2)->description_id,
      db_.FindNvItem(1)->description_id,
      db_.FindDisplay(2)->description_id,
      db_.FindField(1)->description_id,
      db_.FindField(2)->description_id,
      db_.FindField(3)->description_id,
      db_.FindEnumEntry(1, 0)->description_id,
      db_.FindEvent(1)->description_id,
      db_.FindCategory(DbItemTable::kDisplay, 1)->description_id};  // not checked
  EXPECT_EQ(ids, (Ids{-1, -1, -1, 1, -1, -1, 1, -1, 42}));
}

TEST_F(ValidationTest, MissingEnumAndUnloadedDescriptionsKeepTheLoadSuccessful) {
  EXPECT_TRUE(Load({{"Field.txt", "3^\"c\"^8^0^2^0^7\n5^\"mode\"^8^1^77^0\n"},
                    {"Struct.txt", S(32, 0, 0, 5)},
                    {"Diag.txt", D(32, 32)}}))
      << Dump();
  EXPECT_EQ(messages_.CountAtLeast(kDbWarning), 1u);  // the enum warning only
  EXPECT_EQ(db_.FindField(3)->description_id, 7);
  EXPECT_EQ(db_.FindDescription(7), nullptr);
}

TEST_F(ValidationTest, HidingProprietaryFields) {
  EXPECT_TRUE(Load(
      {{"Field.txt", "1^\"secret\"^8^1^3^0^-1^1\n2^\"signed\"^8^2^3^0^-1^1\n3^\"open\"^8^1^3^0\n"},
       {"Enum.txt", "3^\"E\"^-1^0\n"}}))
      << Dump();
  db_.HideProprietaryFields();
  const FieldRecord* a = db_.FindField(1);
  EXPECT_EQ(std::tuple(a->name, a->kind, a->type, a->hexadecimal),
            std::tuple(u"Korvanta Proprietary", 0, 6u, true));
  EXPECT_EQ(db_.FindField(2)->type, 5u);
  EXPECT_EQ(std::tuple(db_.FindField(3)->name, db_.FindField(3)->kind), std::tuple(u"open", 1));
}

}  // namespace
}  // namespace quillon
