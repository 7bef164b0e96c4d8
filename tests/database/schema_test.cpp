#include <gtest/gtest.h>

#include "database/db_schema.h"

namespace quillon::db {
namespace {

template <class Record, class Parse, class Format>
std::u16string RoundTrip(std::u16string_view line, Parse parse, Format format) {
  Record r;
  EXPECT_TRUE(parse(line, r)) << "line did not parse";
  std::u16string out;
  EXPECT_TRUE(format(r, out));
  return out;
}

TEST(DbFieldLine, ColumnsAndOptionalColumns) {
  FieldRecord f;
  ASSERT_TRUE(ParseFieldLine(u"7^\"len\"^16^0^4^1", f));
  EXPECT_EQ(f.id, 7u);
  EXPECT_EQ(f.name, u"len");
  EXPECT_EQ(f.bit_size, 16u);
  EXPECT_EQ(f.type, 4u);
  EXPECT_TRUE(f.hexadecimal);
  EXPECT_EQ(f.description_id, -1);
  EXPECT_FALSE(f.proprietary);
  FieldRecord g;
  ASSERT_TRUE(ParseFieldLine(u"8^\"x\"^8^1^3^0^12^1", g));
  EXPECT_EQ(g.kind, 1);
  EXPECT_EQ(g.description_id, 12);
  EXPECT_TRUE(g.proprietary);
  FieldRecord h;
  EXPECT_FALSE(ParseFieldLine(u"7^\"len\"^16^0^4", h));  // five columns
}

TEST(DbFieldLine, SizeLimitsKindsAndNames) {
  FieldRecord f;
  EXPECT_FALSE(ParseFieldLine(u"1^\"s\"^4^0^9^0", f));  // type 9 needs 8 bits
  EXPECT_TRUE(ParseFieldLine(u"1^\"s\"^8^0^9^0", f));
  EXPECT_TRUE(ParseFieldLine(u"1^\"z\"^0^0^11^0", f));  // zero-terminated: no minimum
  EXPECT_FALSE(ParseFieldLine(u"1^\"w\"^8^0^10^0", f));
  EXPECT_TRUE(ParseFieldLine(u"1^\"w\"^16^0^10^0", f));
  EXPECT_FALSE(ParseFieldLine(u"1^\"b\"^9^0^2^0", f));
  EXPECT_TRUE(ParseFieldLine(u"1^\"b\"^64^0^0^0", f));
  EXPECT_FALSE(ParseFieldLine(u"1^\"b\"^65^0^8^0", f));
  EXPECT_FALSE(ParseFieldLine(u"1^\"b\"^0^0^6^0", f));
  EXPECT_FALSE(ParseFieldLine(u"1^\"b\"^17^0^4^0", f));
  EXPECT_FALSE(ParseFieldLine(u"1^\"b\"^33^0^13^0", f));
  EXPECT_FALSE(ParseFieldLine(u"1^\"t\"^8^0^15^0", f));  // type code out of range
  EXPECT_FALSE(ParseFieldLine(u"1^\"k\"^8^3^2^0", f));   // kind out of range
  EXPECT_FALSE(ParseFieldLine(u"1^\"e\"^33^2^5^0", f));  // enums up to 32 bits
  EXPECT_TRUE(ParseFieldLine(u"1^\"e\"^32^2^99999^0", f));
  EXPECT_FALSE(ParseFieldLine(u"1^\"a,b\"^8^0^2^0", f));
  EXPECT_FALSE(ParseFieldLine(u"1^\"\"^8^0^2^0", f));
  EXPECT_FALSE(ParseFieldLine(u"1^\"x\"^8^0^2^0^-2", f));  // description below -1
}

TEST(DbFieldLine, WritesAllEightColumns) {
  EXPECT_EQ(RoundTrip<FieldRecord>(u"7^\"len\"^16^0^4^1", ParseFieldLine, FormatFieldLine),
            u"7^\"len\"^16^0^4^1^-1^0");
  FieldRecord bad;
  bad.name = u"";
  std::u16string out;
  EXPECT_FALSE(FormatFieldLine(bad, out));
}

TEST(DbStructLine, MemberKindsAndSpecifiers) {
  StructRow r;
  ASSERT_TRUE(ParseStructLine(u"10^0^0^7^\"\"^-1^0^\"\"", r));
  EXPECT_EQ(r.struct_id, 10u);
  EXPECT_EQ(r.reference, 7u);
  EXPECT_EQ(r.bit_offset, -1);
  EXPECT_FALSE(ParseStructLine(u"10^1^6^0^\"\"^-1^0^\"\"", r));  // bit order marker at index 1
  EXPECT_TRUE(ParseStructLine(u"10^0^6^0^\"\"^-1^0^\"\"", r));
  EXPECT_FALSE(ParseStructLine(u"10^0^8^0^\"\"^-1^0^\"\"", r));
  EXPECT_FALSE(ParseStructLine(u"10^1^2^0^\"\"^-1^0^\"\"", r));  // move to position 0
  EXPECT_TRUE(ParseStructLine(u"10^1^2^16^\"\"^-1^0^\"\"", r));
  EXPECT_FALSE(ParseStructLine(u"10^1^0^7^\"\"^-1^0^\"3\"", r));  // text without repetition
  EXPECT_FALSE(ParseStructLine(u"10^1^0^7^\"\"^-1^1^\"\"", r));   // fixed array without count
  EXPECT_FALSE(ParseStructLine(u"10^1^0^7^\"\"^-1^5^\"\"", r));
  EXPECT_TRUE(ParseStructLine(u"10^1^0^7^\"\"^-1^3^\"\"", r));  // kinds 3, 4 take either
  EXPECT_TRUE(ParseStructLine(u"10^1^0^7^\"\"^-1^4^\"x\"", r));
  EXPECT_FALSE(ParseStructLine(u"10^1^0^7^\"\"^-1^8^\"x\"", r));
  ASSERT_TRUE(ParseStructLine(u"10^1^0^7^\"rec\"^24^5^\"3 = 1\"", r));
  EXPECT_EQ(r.label, u"rec");
  EXPECT_EQ(r.bit_offset, 24);
  EXPECT_TRUE(r.parsed.valid);
  EXPECT_EQ(r.parsed.field_id, 3u);
  // An unparsable specifier still loads; the structure check reports it.
  ASSERT_TRUE(ParseStructLine(u"10^1^0^7^\"\"^-1^5^\"3 =< 1\"", r));
  EXPECT_FALSE(r.parsed.valid);
  EXPECT_EQ(
      RoundTrip<StructRow>(u"10^1^0^7^\"rec\"^24^5^\"3 = 1\"", ParseStructLine, FormatStructLine),
      u"10^1^0^7^\"rec\"^24^5^\"3 = 1\"");
}

TEST(DbDiagLine, CodeListsAndNames) {
  DiagEntity e;
  ASSERT_TRUE(ParseDiagLine(u"5^\"0x1234,7,7\"^\"Log\"^3^-1", e));
  EXPECT_EQ(e.codes, (std::vector<std::uint32_t>{5, 0x1234, 7, 7}));  // duplicates kept
  EXPECT_EQ(e.struct_id, 3);
  EXPECT_EQ(e.format_id, -1);
  EXPECT_FALSE(e.flag);
  DiagEntity f;
  ASSERT_TRUE(ParseDiagLine(u"5^\"1\"^\"Log\"^3^-1^1", f));
  EXPECT_TRUE(f.flag);
  DiagEntity g;
  EXPECT_FALSE(ParseDiagLine(u"5^\"\"^\"Log\"^3^-1", g));    // no code
  EXPECT_FALSE(ParseDiagLine(u"12^\"1\"^\"Log\"^3^-1", g));  // type out of range
  EXPECT_FALSE(ParseDiagLine(u"5^\"1\"^\"Log\"^-2^-1", g));  // struct below -1
  EXPECT_FALSE(ParseDiagLine(u"5^\"1\"^\"\"^3^-1", g));
  EXPECT_EQ(RoundTrip<DiagEntity>(u"5^\"0x1234,-1\"^\"Log\"^3^-1", ParseDiagLine, FormatDiagLine),
            u"5^\"4660,-1\"^\"Log\"^3^-1^0");
}

TEST(DbEnumEntryLine, ValueFormsSurviveAWrite) {
  EXPECT_EQ(RoundTrip<EnumEntryRecord>(u"3^0x1F^\"a\"", ParseEnumEntryLine, FormatEnumEntryLine),
            u"3^0x1F^\"a\"^-1");
  EXPECT_EQ(RoundTrip<EnumEntryRecord>(u"3^31^\"a\"", ParseEnumEntryLine, FormatEnumEntryLine),
            u"3^31^\"a\"^-1");
  EXPECT_EQ(RoundTrip<EnumEntryRecord>(u"3^0XfF^\"a\"^4", ParseEnumEntryLine, FormatEnumEntryLine),
            u"3^0xFF^\"a\"^4");
  EnumEntryRecord e;
  ASSERT_TRUE(ParseEnumEntryLine(u"3^0xFFFFFFFE^\"m\"", e));
  EXPECT_EQ(e.value, -2);
  ASSERT_TRUE(ParseEnumEntryLine(u"3^-7^\"m\"", e));
  EXPECT_EQ(e.value, -7);
  ASSERT_TRUE(ParseEnumEntryLine(u"3^zz^\"m\"", e));
  EXPECT_EQ(e.value, -1);
  ASSERT_TRUE(ParseEnumEntryLine(u"3^010^\"m\"", e));
  EXPECT_EQ(e.value, 8);
  ASSERT_TRUE(ParseEnumEntryLine(u"3^0x1FFFFFFFF^\"m\"", e));  // beyond 32 bits
  EXPECT_EQ(e.value, -1);
}

TEST(DbCategoryLine, QuotedDescriptionAndParent) {
  CategoryRecord c;
  ASSERT_TRUE(ParseCategoryLine(u"4^\"Power\"^\"old text\"^-1", c));
  EXPECT_EQ(c.description_id, -1);
  ASSERT_TRUE(ParseCategoryLine(u"4^\"Power\"^17^2", c));
  EXPECT_EQ(c.description_id, 17);
  EXPECT_EQ(c.parent_id, 2);
  EXPECT_FALSE(ParseCategoryLine(u"4^\"Power\"^17^-2", c));
  EXPECT_EQ(RoundTrip<CategoryRecord>(u"4^\"Power\"^17^2", ParseCategoryLine, FormatCategoryLine),
            u"4^\"Power\"^17^2");
}

TEST(DbItemLines, DiagAndSubsystemTables) {
  ItemEntry r;
  ASSERT_TRUE(ParseItemLine(DbItemTable::kDiagRequest, u"300^\"X\"^\"1,1,2\"", r));
  EXPECT_EQ(r.first, 44u);  // only the low eight bits
  EXPECT_EQ(r.categories, (std::vector<std::int32_t>{1, 2}));
  ItemEntry s;
  ASSERT_TRUE(ParseItemLine(DbItemTable::kSubsysRequest, u"18^42^\"Cmd\"", s));
  EXPECT_EQ(s.first, 18u);
  EXPECT_EQ(s.second, 42u);
  EXPECT_TRUE(s.categories.empty());
  ItemEntry t;
  EXPECT_FALSE(ParseItemLine(DbItemTable::kDiagResponse, u"1^\"X\"", t));
  EXPECT_FALSE(ParseItemLine(DbItemTable::kDiagResponse, u"1^\"\"^\"\"", t));
  std::u16string out;
  ASSERT_TRUE(FormatItemLine(DbItemTable::kSubsysRequest, s, out));
  EXPECT_EQ(out, u"18^42^\"Cmd\"^\"\"");
}

TEST(DbItemLines, EventLogOtaAndMessageTables) {
  ItemEntry e;
  ASSERT_TRUE(ParseItemLine(DbItemTable::kEvent, u"276^\"EVENT_X\"^\"3\"^\"text\"", e));
  EXPECT_EQ(e.description_id, -1);
  ASSERT_TRUE(ParseItemLine(DbItemTable::kEvent, u"276^\"EVENT_X\"^\"3\"^9", e));
  EXPECT_EQ(e.description_id, 9);
  ItemEntry l;
  ASSERT_TRUE(ParseItemLine(DbItemTable::kLog, u"0x713a^\"GSM\"^\"\"^1", l));
  EXPECT_EQ(l.first, 0x713Au);
  EXPECT_TRUE(l.flag);
  std::u16string out;
  ASSERT_TRUE(FormatItemLine(DbItemTable::kLog, l, out));
  EXPECT_EQ(out, u"0x713A^\"GSM\"^\"\"^1");
  ItemEntry small;
  ASSERT_TRUE(ParseItemLine(DbItemTable::kLog, u"16^\"Small\"^\"\"^0", small));
  out.clear();
  ASSERT_TRUE(FormatItemLine(DbItemTable::kLog, small, out));
  EXPECT_EQ(out, u"0x0010^\"Small\"^\"\"^0");
  ItemEntry o;
  ASSERT_TRUE(ParseItemLine(DbItemTable::kOta, u"0x412F^5^\"RRC\"^\"\"", o));
  EXPECT_EQ(o.ota_codes, std::vector<std::uint32_t>{5});
  // The code list is a set, like the category lists: duplicates collapse.
  ASSERT_TRUE(ParseItemLine(DbItemTable::kOta, u"0x412F^\"2,1,2\"^\"RRC\"^\"1\"", o));
  EXPECT_EQ(o.ota_codes, (std::vector<std::uint32_t>{1, 2}));
  out.clear();
  ASSERT_TRUE(FormatItemLine(DbItemTable::kOta, o, out));
  EXPECT_EQ(out, u"0x412F^\"1,2\"^\"RRC\"^\"1\"");
  ItemEntry m;
  ASSERT_TRUE(ParseItemLine(DbItemTable::kMessage, u"5000^2^\"High\"^\"\"", m));
  EXPECT_EQ(m.first, 5000u);
  EXPECT_EQ(m.second, 2u);
}

TEST(DbItemLines, OnlyEventsBoundTheDescriptionId) {
  // Event descriptions must be at least -1; the NV Item, Display and Enum
  // columns take any number (the description check resets them later).
  ItemEntry e;
  EXPECT_FALSE(ParseItemLine(DbItemTable::kEvent, u"1^\"EV\"^\"\"^-2", e));
  ItemEntry n;
  ASSERT_TRUE(ParseItemLine(DbItemTable::kNv, u"1^\"NV\"^\"\"^-2", n));
  EXPECT_EQ(n.description_id, -2);
  ItemEntry d;
  ASSERT_TRUE(ParseItemLine(DbItemTable::kDisplay, u"1^\"D\"^\"\"^-2", d));
  std::u16string out;
  ASSERT_TRUE(FormatItemLine(DbItemTable::kDisplay, d, out));
  EXPECT_EQ(out, u"1^\"D\"^\"\"^-2");
  EnumRecord en;
  ASSERT_TRUE(ParseEnumLine(u"4^\"E\"^-2^0", en));
  EXPECT_EQ(en.description_id, -2);
}

TEST(DbUserColorLine, ComponentsBelow256) {
  UserItemColorRecord r;
  ASSERT_TRUE(ParseUserItemColorLine(u"\"5,4660\"^255^0x10^1", r));
  EXPECT_EQ(r.items, (std::vector<std::uint32_t>{5, 4660}));
  EXPECT_EQ(r.color, 255u + 16u * 256 + 65536u);
  UserItemColorRecord s;
  EXPECT_FALSE(ParseUserItemColorLine(u"\"5\"^256^0^0", s));
  UserItemColorRecord u;
  EXPECT_FALSE(ParseUserItemColorLine(u"\"5\"^0^0^-1", u));
  UserItemColorRecord v;
  EXPECT_FALSE(ParseUserItemColorLine(u"\"\"^1^2^3", v));  // names no item
}

TEST(DbOtherLines, EnumFormatSpecifierDescription) {
  EnumRecord e;
  ASSERT_TRUE(ParseEnumLine(u"10009^\"String types\"^\"x\"^1", e));
  EXPECT_EQ(e.description_id, -1);
  EXPECT_TRUE(e.flag);
  FormatSpecifierRecord f;
  ASSERT_TRUE(ParseFormatSpecifierLine(u"1^\"len=%u\"^\"len\"", f));
  EXPECT_FALSE(ParseFormatSpecifierLine(u"1^\"\"^\"len\"", f));
  ASSERT_TRUE(ParseFormatSpecifierLine(u"1^\"fixed\"^\"\"", f));
  DescriptionRecord d;
  ASSERT_TRUE(ParseDescriptionLine(u"4^\"\"", d));
  EXPECT_TRUE(d.text.empty());
}

}  // namespace
}  // namespace quillon::db
