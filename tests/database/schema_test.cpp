#include <gtest/gtest.h>

#include <tuple>

#include "database/db_schema.h"
#include "db_test_util.h"

namespace quillon::db {
namespace {

using dbtest::Narrow;

using LineParser = bool (*)(std::u16string_view);
template <class Record, auto Parse>
bool Try(std::u16string_view line) {
  Record r;
  return Parse(line, r);
}
template <DbItemTable Table>
bool TryItem(std::u16string_view line) {
  ItemEntry r;
  return ParseItemLine(Table, line, r);
}
constexpr LineParser kField = Try<FieldRecord, ParseFieldLine>;
constexpr LineParser kStruct = Try<StructRow, ParseStructLine>;
constexpr LineParser kDiag = Try<DiagEntity, ParseDiagLine>;
constexpr LineParser kCategory = Try<CategoryRecord, ParseCategoryLine>;
constexpr LineParser kFormat = Try<FormatSpecifierRecord, ParseFormatSpecifierLine>;
constexpr LineParser kColor = Try<UserItemColorRecord, ParseUserItemColorLine>;

void ExpectParses(LineParser parse, bool ok, std::initializer_list<std::u16string_view> lines) {
  for (const auto line : lines) EXPECT_EQ(parse(line), ok) << Narrow(line);
}

TEST(DbLineChecks, AcceptedAndRefusedLines) {
  // Fields: six columns at least; minimum sizes per type (9: 8 bits, 10: 16,
  // zero-terminated 11: none); at most 64 bits, enums 32; type and kind in
  // range; a name without commas; description at least -1.
  ExpectParses(kField, true,
               {u"1^\"s\"^8^0^9^0", u"1^\"z\"^0^0^11^0", u"1^\"w\"^16^0^10^0", u"1^\"b\"^64^0^0^0",
                u"1^\"e\"^32^2^99999^0"});
  ExpectParses(kField, false,
               {u"7^\"len\"^16^0^4", u"1^\"s\"^4^0^9^0", u"1^\"w\"^8^0^10^0", u"1^\"b\"^9^0^2^0",
                u"1^\"b\"^65^0^8^0", u"1^\"b\"^0^0^6^0", u"1^\"b\"^17^0^4^0", u"1^\"b\"^33^0^13^0",
                u"1^\"t\"^8^0^15^0", u"1^\"k\"^8^3^2^0", u"1^\"e\"^33^2^5^0", u"1^\"a,b\"^8^0^2^0",
                u"1^\"\"^8^0^2^0", u"1^\"x\"^8^0^2^0^-2"});
  // Struct rows: the bit order marker only at index 0, a move not to position
  // 0, a specifier text only with repetition (kinds 3 and 4 take either).
  ExpectParses(kStruct, true,
               {u"10^0^6^0^\"\"^-1^0^\"\"", u"10^1^2^16^\"\"^-1^0^\"\"", u"10^1^0^7^\"\"^-1^3^\"\"",
                u"10^1^0^7^\"\"^-1^4^\"x\""});
  ExpectParses(kStruct, false,
               {u"10^1^6^0^\"\"^-1^0^\"\"", u"10^0^8^0^\"\"^-1^0^\"\"", u"10^1^2^0^\"\"^-1^0^\"\"",
                u"10^1^0^7^\"\"^-1^0^\"3\"", u"10^1^0^7^\"\"^-1^1^\"\"", u"10^1^0^7^\"\"^-1^5^\"\"",
                u"10^1^0^7^\"\"^-1^8^\"x\""});
  // Diag: a code, a type in range, a struct at least -1 and a name.
  ExpectParses(kDiag, false,
               {u"5^\"\"^\"Log\"^3^-1", u"12^\"1\"^\"Log\"^3^-1", u"5^\"1\"^\"Log\"^-2^-1",
                u"5^\"1\"^\"\"^3^-1"});
  ExpectParses(kCategory, false, {u"4^\"Power\"^17^-2"});
  ExpectParses(TryItem<DbItemTable::kDiagResponse>, false, {u"1^\"X\"", u"1^\"\"^\"\""});
  // Only events bound the description ID; NV Item and Display take any
  // number (the description check resets it later).
  ExpectParses(TryItem<DbItemTable::kEvent>, false, {u"1^\"EV\"^\"\"^-2"});
  ExpectParses(TryItem<DbItemTable::kNv>, true, {u"1^\"NV\"^\"\"^-2"});
  // Colour components below 256, and at least one item.
  ExpectParses(kColor, false, {u"\"5\"^256^0^0", u"\"5\"^0^0^-1", u"\"\"^1^2^3"});
  ExpectParses(kFormat, true, {u"1^\"len=%u\"^\"len\"", u"1^\"fixed\"^\"\""});
  ExpectParses(kFormat, false, {u"1^\"\"^\"len\""});
}

// Parses a line and writes the record again; "refused" when either fails.
using LineRewriter = std::u16string (*)(std::u16string_view);
template <class Record, auto Parse, auto Format>
std::u16string Rewrite(std::u16string_view line) {
  Record r;
  std::u16string out;
  return Parse(line, r) && Format(r, out) ? out : u"refused";
}
template <DbItemTable Table>
std::u16string RewriteItem(std::u16string_view line) {
  ItemEntry r;
  std::u16string out;
  return ParseItemLine(Table, line, r) && FormatItemLine(Table, r, out) ? out : u"refused";
}

TEST(DbLineWriting, RecordsAreWrittenInTheirCanonicalForm) {
  const auto field = Rewrite<FieldRecord, ParseFieldLine, FormatFieldLine>;
  const auto row = Rewrite<StructRow, ParseStructLine, FormatStructLine>;
  const auto diag = Rewrite<DiagEntity, ParseDiagLine, FormatDiagLine>;
  const auto entry = Rewrite<EnumEntryRecord, ParseEnumEntryLine, FormatEnumEntryLine>;
  const auto category = Rewrite<CategoryRecord, ParseCategoryLine, FormatCategoryLine>;
  const auto enumeration = Rewrite<EnumRecord, ParseEnumLine, FormatEnumLine>;
  // Optional columns are written out; enum entry values keep their hex or
  // decimal form; Diag code lists keep order and duplicates but category and
  // OTA code lists are sets; quoted old-style description columns are -1;
  // the Diag Request command code keeps only its low eight bits.
  const std::tuple<LineRewriter, std::u16string_view, std::u16string_view> rows[] = {
      {field, u"7^\"len\"^16^0^4^1", u"7^\"len\"^16^0^4^1^-1^0"},
      {field, u"8^\"x\"^8^1^3^0^12^1", u"8^\"x\"^8^1^3^0^12^1"},
      {row, u"10^1^0^7^\"rec\"^24^5^\"3 = 1\"", u"10^1^0^7^\"rec\"^24^5^\"3 = 1\""},
      {row, u"10^0^0^7^\"\"^-1^0^\"\"", u"10^0^0^7^\"\"^-1^0^\"\""},
      {diag, u"5^\"0x1234,-1\"^\"Log\"^3^-1", u"5^\"4660,-1\"^\"Log\"^3^-1^0"},
      {diag, u"5^\"0x1234,7,7\"^\"Log\"^3^-1^1", u"5^\"4660,7,7\"^\"Log\"^3^-1^1"},
      {entry, u"3^0x1F^\"a\"", u"3^0x1F^\"a\"^-1"},
      {entry, u"3^31^\"a\"", u"3^31^\"a\"^-1"},
      {entry, u"3^0XfF^\"a\"^4", u"3^0xFF^\"a\"^4"},
      {category, u"4^\"Power\"^17^2", u"4^\"Power\"^17^2"},
      {category, u"4^\"Power\"^\"old text\"^-1", u"4^\"Power\"^-1^-1"},
      {enumeration, u"10009^\"String types\"^\"x\"^1", u"10009^\"String types\"^-1^1"},
      {enumeration, u"4^\"E\"^-2^0", u"4^\"E\"^-2^0"},
      {RewriteItem<DbItemTable::kDiagRequest>, u"300^\"X\"^\"2,1,2\"", u"44^\"X\"^\"1,2\""},
      {RewriteItem<DbItemTable::kSubsysRequest>, u"18^42^\"Cmd\"", u"18^42^\"Cmd\"^\"\""},
      {RewriteItem<DbItemTable::kEvent>, u"276^\"E\"^\"3\"^\"text\"", u"276^\"E\"^\"3\"^-1"},
      {RewriteItem<DbItemTable::kEvent>, u"276^\"E\"^\"3\"^9", u"276^\"E\"^\"3\"^9"},
      {RewriteItem<DbItemTable::kMessage>, u"5000^2^\"High\"^\"\"", u"5000^2^\"High\"^\"\""},
      {RewriteItem<DbItemTable::kNv>, u"1^\"NV\"^\"\"^-2", u"1^\"NV\"^\"\"^-2"},
      {RewriteItem<DbItemTable::kLog>, u"0x713a^\"GSM\"^\"\"^1", u"0x713A^\"GSM\"^\"\"^1"},
      {RewriteItem<DbItemTable::kLog>, u"16^\"Small\"^\"\"^0", u"0x0010^\"Small\"^\"\"^0"},
      {RewriteItem<DbItemTable::kOta>, u"0x412F^5^\"RRC\"^\"\"", u"0x412F^\"5\"^\"RRC\"^\"\""},
      {RewriteItem<DbItemTable::kOta>, u"0x412F^\"2,1,2\"^\"RRC\"^\"1\"",
       u"0x412F^\"1,2\"^\"RRC\"^\"1\""},
      {RewriteItem<DbItemTable::kDisplay>, u"1^\"D\"^\"\"^-2", u"1^\"D\"^\"\"^-2"},
  };
  for (const auto& [rewrite, in, out] : rows) EXPECT_EQ(rewrite(in), out) << Narrow(in);
  std::u16string out;
  EXPECT_FALSE(FormatFieldLine(FieldRecord{}, out));  // no name
}

TEST(DbLineParsing, ValuesAndDerivedSpecifiers) {
  StructRow r;
  ASSERT_TRUE(ParseStructLine(u"10^1^0^7^\"rec\"^24^5^\"3 = 1\"", r));
  EXPECT_TRUE(r.parsed.valid);
  EXPECT_EQ(r.parsed.field_id, 3u);
  // An unparsable specifier still loads; the structure check reports it.
  ASSERT_TRUE(ParseStructLine(u"10^1^0^7^\"\"^-1^5^\"3 =< 1\"", r));
  EXPECT_FALSE(r.parsed.valid);
  const std::pair<std::u16string_view, std::int32_t> values[] = {
      {u"3^0xFFFFFFFE^\"m\"", -2}, {u"3^-7^\"m\"", -7},          {u"3^zz^\"m\"", -1},
      {u"3^010^\"m\"", 8},         {u"3^0x1FFFFFFFF^\"m\"", -1},
  };
  for (const auto& [line, value] : values) {
    EnumEntryRecord e;
    ASSERT_TRUE(ParseEnumEntryLine(line, e)) << Narrow(line);
    EXPECT_EQ(e.value, value) << Narrow(line);
  }
  UserItemColorRecord c;
  ASSERT_TRUE(ParseUserItemColorLine(u"\"5,4660\"^255^0x10^1", c));
  EXPECT_EQ(c.items, (std::vector<std::uint32_t>{5, 4660}));
  EXPECT_EQ(c.color, 255u + 16u * 256 + 65536u);
  DescriptionRecord d;
  ASSERT_TRUE(ParseDescriptionLine(u"4^\"\"", d));
  EXPECT_TRUE(d.text.empty());
}

}  // namespace
}  // namespace quillon::db
