#include <gtest/gtest.h>

#include <map>

#include "database/database.h"
#include "database/internal/db_validation.h"
#include "db_test_util.h"

namespace quillon {
namespace {

using dbtest::Has;
using dbtest::TempDir;

// A database directory with the given tables (ANSI text); every other
// table is present and empty.
class ValidationTest : public ::testing::Test {
 protected:
  bool Load(const std::map<std::string, std::string>& files, bool descriptions = false) {
    dbtest::WriteEmptyTables(dir_.path());
    for (const auto& [name, text] : files) dbtest::WriteAnsi(dir_.path() / name, text);
    return db_.LoadTables(dir_.u16(), descriptions);
  }
  std::string Dump() const { return dbtest::Dump(messages_); }
  void ExpectMessages(std::initializer_list<std::u16string_view> texts,
                      DbSeverity severity = DbSeverity::kError) {
    dbtest::ExpectMessages(messages_, texts, severity);
  }

  TempDir dir_;
  DbMessageList messages_;
  Database db_{&messages_};
};

constexpr const char* kFields =
    "1^\"count\"^8^0^2^0\n"
    "2^\"value\"^8^0^2^0\n"
    "3^\"first\"^8^0^2^0\n"
    "4^\"last\"^8^0^2^0\n"
    "5^\"mode\"^8^1^77^0\n";  // enum 77 does not exist

TEST_F(ValidationTest, CleanDatabaseLoadsWithoutMessages) {
  EXPECT_TRUE(Load({{"Field.txt", kFields},
                    {"Struct.txt",
                     "10^0^0^1^\"\"^-1^0^\"\"\n"
                     "10^1^1^11^\"rec\"^-1^2^\"1\"\n"
                     "11^0^0^2^\"\"^-1^0^\"\"\n"
                     "11^1^0^3^\"\"^-1^5^\"1 != 0\"\n"},
                    {"Diag.txt", "5^\"100\"^\"Entity\"^10^1\n"},
                    {"FormatSpecifier.txt", "1^\"count %u\"^\"count\"\n"}}))
      << Dump();
  EXPECT_TRUE(messages_.Messages().empty()) << Dump();
  EXPECT_EQ(db_.FindDiagEntity({5, 100})->struct_id, 10);
}

TEST_F(ValidationTest, SelfContainingStructureAndMissingInitialFragment) {
  EXPECT_FALSE(
      Load({{"Field.txt", kFields},
            {"Struct.txt",
             "10^0^1^10^\"\"^-1^0^\"\"\n11^1^0^1^\"\"^-1^0^\"\"\n11^2^0^2^\"\"^-1^0^\"\"\n"},
            {"Diag.txt", "5^\"100\"^\"Loop\"^10^-1\n5^\"101\"^\"E\"^11^-1\n"}}));
  ExpectMessages({u"DB [Struct] Max depth exceeded, possible loop, struct ID 10",
                  u"DB [Struct] Invalid struct 5,100, ID 10",
                  u"DB [Struct] Missing initial fragment, struct ID 11"});
  EXPECT_EQ(db_.FindDiagEntity({5, 100})->struct_id, -1);
  EXPECT_EQ(db_.FindDiagEntity({5, 101})->struct_id, -1);
}

TEST_F(ValidationTest, DeepButFiniteNestingIsAccepted) {
  // 31 nested levels (depths 0..31 minus one) pass; one more fails.
  std::string rows;
  for (int i = 0; i < 31; ++i) {
    rows += std::to_string(100 + i) + "^0^1^" + std::to_string(101 + i) + "^\"\"^-1^0^\"\"\n";
  }
  rows += "131^0^0^1^\"\"^-1^0^\"\"\n";
  EXPECT_TRUE(Load(
      {{"Field.txt", kFields}, {"Struct.txt", rows}, {"Diag.txt", "5^\"1\"^\"Deep\"^100^-1\n"}}))
      << Dump();
  // Adding one level above makes the deepest struct sit at depth 32.
  messages_.Clear();
  rows += "99^0^1^100^\"\"^-1^0^\"\"\n";
  EXPECT_FALSE(Load({{"Field.txt", kFields},
                     {"Struct.txt", rows},
                     {"Diag.txt", "5^\"1\"^\"Deep\"^100^-1\n5^\"2\"^\"Deeper\"^99^-1\n"}}));
  ExpectMessages({u"DB [Struct] Max depth exceeded, possible loop, struct ID 131"});
  EXPECT_EQ(db_.FindDiagEntity({5, 1})->struct_id, 100);
  EXPECT_EQ(db_.FindDiagEntity({5, 2})->struct_id, -1);
}

TEST_F(ValidationTest, ArraySpecifierMayNameOnlyEarlierFields) {
  // Struct 10 reads field 1 and nests 11, whose array counts with field 1
  // (earlier, in the enclosing struct): valid. Struct 12 counts with field
  // 2, which it reads only afterwards: invalid.
  EXPECT_FALSE(Load({{"Field.txt", kFields},
                     {"Struct.txt",
                      "10^0^0^1^\"\"^-1^0^\"\"\n"
                      "10^1^1^11^\"\"^-1^0^\"\"\n"
                      "11^0^0^2^\"\"^-1^2^\"1\"\n"
                      "12^0^0^3^\"\"^-1^2^\"2\"\n"
                      "12^1^0^2^\"\"^-1^0^\"\"\n"},
                     {"Diag.txt", "5^\"1\"^\"Good\"^10^-1\n5^\"2\"^\"Bad\"^12^-1\n"}}));
  ExpectMessages({u"DB [Struct] Invalid array specifier, struct ID 12, ID 2"});
  EXPECT_EQ(messages_.CountAtLeast(kDbError), 2u) << Dump();
  EXPECT_EQ(db_.FindDiagEntity({5, 1})->struct_id, 10);
  EXPECT_EQ(db_.FindDiagEntity({5, 2})->struct_id, -1);
}

TEST_F(ValidationTest, RangeOptionalAndComputedSpecifiers) {
  EXPECT_FALSE(Load({{"Field.txt", kFields},
                     {"Struct.txt",
                      "20^0^0^3^\"\"^-1^0^\"\"\n"
                      "20^1^0^2^\"\"^-1^6^\"3 x\"\n"
                      "21^0^0^3^\"\"^-1^0^\"\"\n"
                      "21^1^0^2^\"\"^-1^6^\"3 4\"\n"
                      "22^0^0^2^\"\"^-1^5^\"1 =< 3\"\n"
                      "23^0^0^2^\"\"^-1^5^\"1 <= 3\"\n"
                      "24^0^0^2^\"\"^-1^7^\"1 ^ 3\"\n"
                      "25^0^0^2^\"\"^-1^7^\"1 * 3\"\n"
                      "26^0^0^3^\"\"^-1^0^\"\"\n"
                      "26^1^0^4^\"\"^-1^0^\"\"\n"
                      "26^2^0^2^\"\"^-1^6^\"3 4\"\n"
                      "26^3^0^2^\"\"^-1^5^\"3 % 2\"\n"
                      "26^4^0^2^\"\"^-1^7^\"4 - 1\"\n"
                      "27^0^0^2^\"\"^-1^7^\"1 < 3\"\n"},
                     {"Diag.txt",
                      "5^\"20\"^\"E20\"^20^-1\n5^\"21\"^\"E21\"^21^-1\n5^\"22\"^\"E22\"^22^-1\n"
                      "5^\"23\"^\"E23\"^23^-1\n5^\"24\"^\"E24\"^24^-1\n5^\"25\"^\"E25\"^25^-1\n"
                      "5^\"26\"^\"E26\"^26^-1\n5^\"27\"^\"E27\"^27^-1\n"}}));
  ExpectMessages(
      {u"DB [Struct] Invalid array specifier, struct ID 20, 3 x",
       u"DB [Struct] Invalid array specifier, struct ID 21, IDs 3 4",
       u"DB [Struct] Invalid optional specifier, struct ID 22, 1 =< 3",
       u"DB [Struct] Invalid optional specifier, struct ID 23, unknown field ID 1/1 <= 3"});
  // "1 ^ 3" cannot be written in a file (a caret splits the column);
  // struct 24's row fails to load, so the struct has no initial fragment.
  ExpectMessages({u"DB [Struct] Missing initial fragment, struct ID 24",
                  u"DB [Struct] Invalid array specifier, struct ID 25, unknown field ID 1/1 * 3",
                  u"DB [Struct] Invalid array specifier, struct ID 27, 1 < 3"});
  EXPECT_EQ(db_.FindDiagEntity({5, 26})->struct_id, 26);
  for (std::uint32_t id : {20u, 21u, 22u, 23u, 24u, 25u, 27u}) {
    EXPECT_EQ(db_.FindDiagEntity({5, id})->struct_id, -1) << id;
  }
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
    StructRow row;
    row.struct_id = sid;
    row.reference = 1;
    row.repetition = repetition;
    t.structs[{sid, 0}] = row;
    DiagEntity e;
    e.codes = {5, sid};
    e.name = u"E" + std::u16string(1, static_cast<char16_t>(u'0' + sid));
    e.struct_id = static_cast<std::int32_t>(sid);
    t.diag.emplace(e.codes, e);
  }
  DbMessageList messages;
  EXPECT_FALSE(db::CheckDiagEntities(t, messages));
  EXPECT_TRUE(Has(messages, u"DB [Struct] Missing array specifier, struct ID 1", kDbError));
  EXPECT_TRUE(Has(messages, u"DB [Struct] Missing array specifier, struct ID 2", kDbError));
  EXPECT_TRUE(Has(messages, u"DB [Struct] Missing optional specifier, struct ID 3", kDbError));
  EXPECT_TRUE(Has(messages, u"DB [Struct] Missing array specifier, struct ID 4", kDbError));
  for (const auto& [key, e] : t.diag) EXPECT_EQ(e.struct_id, -1);
}

TEST_F(ValidationTest, FieldsPadsEnumsAndFormatSpecifiers) {
  EXPECT_FALSE(
      Load({{"Field.txt", kFields},
            {"Struct.txt",
             "30^0^0^99^\"\"^-1^0^\"\"\n"
             "31^0^3^1^\"\"^-1^0^\"\"\n"
             "32^0^0^1^\"\"^-1^0^\"\"\n"
             "32^1^4^1^\"\"^-1^0^\"\"\n"
             "32^2^0^5^\"\"^-1^0^\"\"\n"},
            {"Diag.txt", "5^\"30\"^\"E30\"^30^-1\n5^\"31\"^\"E31\"^31^-1\n5^\"32\"^\"E32\"^32^9\n"},
            {"FormatSpecifier.txt", "1^\"x\"^\"\"\n"}}));
  ExpectMessages({u"DB [Struct] Invalid field, struct ID 30, ID 99",
                  u"DB [Struct] Invalid pad, struct ID 31, field ID 1"});
  ExpectMessages({u"DB [Struct] Invalid enumeration ID, field ID 5, enum ID 77"}, kDbWarning);
  ExpectMessages({u"DB [Struct] Invalid format specifier 5,32, ID 9\n"});
  EXPECT_EQ(db_.FindDiagEntity({5, 30})->struct_id, -1);
  EXPECT_EQ(db_.FindDiagEntity({5, 31})->struct_id, -1);
  // The missing enum is only a warning: struct 32 stays.
  EXPECT_EQ(db_.FindDiagEntity({5, 32})->struct_id, 32);
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
  EXPECT_EQ(db_.FindEnumByName(u"Colours"), std::optional<std::uint32_t>(1));
  // Enum names compare with their case.
  EXPECT_FALSE(Has(messages_, u"DB [Enum] Duplicate enum (by name) detected 'Lonely'", kDbError));
  // Enums without entries are not indexed by the check.
  EXPECT_EQ(db_.FindEnumByName(u"Lonely"), std::nullopt);
}

TEST_F(ValidationTest, NamesFoldAsciiAndLatin1CapitalsOnly) {
  // \u00c9/\u00e9 fold together; Greek capitals (U+0391) are kept as they are.
  EXPECT_FALSE(Load({{"Diag.txt",
                      "5^\"1\"^\"\xC9mile\"^-1^-1\n5^\"2\"^\"\xE9MILE\"^-1^-1\n"
                      "5^\"3\"^\"x\xD7\"^-1^-1\n5^\"4\"^\"x\xF7\"^-1^-1\n"}}));
  ExpectMessages({u"DB [Diag] Duplicate DIAG entity (by name) detected '\u00e9MILE'"});
  // The multiplication sign is not a capital of the division sign.
  EXPECT_EQ(messages_.Messages().size(), 1u) << Dump();
  EXPECT_NE(db_.FindDiagEntity({5, 1}, u"\u00e9mile"), nullptr);
  EXPECT_EQ(db::FoldCase(u"\u0391B\u00de"), u"\u0391b\u00fe");
}

TEST_F(ValidationTest, CategoryTrees) {
  EXPECT_FALSE(Load({{"LogCategory.txt",
                      "1^\"Top\"^-1^-1\n"
                      "2^\"Orphan\"^-1^50\n"
                      "3^\"A\"^-1^4\n"
                      "4^\"B\"^-1^3\n"
                      "5^\"Child\"^-1^1\n"},
                     {"LogItem.txt", "0x1000^\"Log A\"^\"1,5,60\"^0\n"},
                     {"EventCategory.txt", "7^\"Self\"^-1^7\n"}}));
  ExpectMessages({u"DB [Log Category] Missing ID, parent ID 50",
                  u"DB [Log Category] Loop in category, parent ID 4"});
  EXPECT_EQ(dbtest::Count(messages_, u"DB [Log Category] Loop in category, parent ID 4") +
                dbtest::Count(messages_, u"DB [Log Category] Loop in category, parent ID 3"),
            1u);
  ExpectMessages({u"DB [Log Item] Missing ID, category ID 60, reference Log A"});
  EXPECT_EQ(db_.FindCategory(DbItemTable::kLog, 2)->parent_id, -1);
  EXPECT_EQ(db_.FindCategory(DbItemTable::kLog, 3)->parent_id, -1);
  EXPECT_EQ(db_.FindCategory(DbItemTable::kLog, 4)->parent_id, 3);
  EXPECT_EQ(db_.FindCategory(DbItemTable::kLog, 5)->parent_id, 1);
  EXPECT_EQ(db_.FindLogItem(0x1000)->categories, (std::vector<std::int32_t>{-1, 1, 5}));
  ExpectMessages({u"DB [Event Category] Loop in category, parent ID 7"});
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
  ExpectMessages({u"DB [Field] Invalid description ID detected 251658240, resetting to -1",
                  u"DB [Field] Invalid description ID specified 7, resetting to -1",
                  u"DB [Enum] Invalid description ID specified 5, resetting to -1",
                  u"DB [Enum Entry] Invalid description ID specified 8, resetting to -1",
                  u"DB [Event ID] Invalid description ID specified 9, resetting to -1",
                  u"DB [Display] Invalid description ID specified 43, resetting to -1"});
  // Enum, NV Item and Display IDs below -1 load and are reset as "detected".
  ExpectMessages({u"DB [Enum] Invalid description ID detected -5, resetting to -1",
                  u"DB [NV Item] Invalid description ID detected -5, resetting to -1",
                  u"DB [Display] Invalid description ID detected -7, resetting to -1"});
  EXPECT_EQ(messages_.Messages().size(), 9u) << Dump();
  EXPECT_EQ(db_.FindEnum(2)->description_id, -1);
  EXPECT_EQ(db_.FindNvItem(1)->description_id, -1);
  EXPECT_EQ(db_.FindDisplay(2)->description_id, -1);
  // The Display Category table is not checked.
  EXPECT_EQ(db_.FindCategory(DbItemTable::kDisplay, 1)->description_id, 42);
  EXPECT_EQ(db_.FindField(1)->description_id, 1);
  EXPECT_EQ(db_.FindField(2)->description_id, -1);
  EXPECT_EQ(db_.FindField(3)->description_id, -1);
  EXPECT_EQ(db_.FindEnumEntry(1, 0)->description_id, 1);
  EXPECT_EQ(db_.FindEvent(1)->description_id, -1);
}

TEST_F(ValidationTest, MissingEnumAndUnloadedDescriptionsKeepTheLoadSuccessful) {
  EXPECT_TRUE(Load({{"Field.txt", "3^\"c\"^8^0^2^0^7\n5^\"mode\"^8^1^77^0\n"},
                    {"Struct.txt", "32^0^0^5^\"\"^-1^0^\"\"\n"},
                    {"Diag.txt", "5^\"32\"^\"E32\"^32^-1\n"}},
                   false))
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
  EXPECT_EQ(a->name, u"Korvanta Proprietary");
  EXPECT_EQ(a->kind, 0);
  EXPECT_EQ(a->type, 6u);
  EXPECT_TRUE(a->hexadecimal);
  EXPECT_EQ(db_.FindField(2)->type, 5u);
  EXPECT_EQ(db_.FindField(3)->name, u"open");
  EXPECT_EQ(db_.FindField(3)->kind, 1);
}

}  // namespace
}  // namespace quillon
