#include <gtest/gtest.h>

#include <tuple>

#include "database/db_columns.h"
#include "database/db_schema.h"
#include "database/db_specifier.h"
#include "database/internal/db_message.h"
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

TEST(DbColumns, SeparatorRunsCollapseAndEdgesMakeNoColumns) {
  const Columns a(u"5^^\"Name\"");
  ASSERT_EQ(a.size(), 2u);
  EXPECT_EQ(a[0], u"5");
  EXPECT_EQ(a[1], u"\"Name\"");
  EXPECT_EQ(Columns(u"^^1^2^^").size(), 2u);
  EXPECT_EQ(Columns(u"^^^").size(), 0u);
  EXPECT_EQ(Columns(u"").size(), 0u);
  // A quoted caret still separates: nothing is escaped.
  const Columns q(u"1^\"a^b\"");
  ASSERT_EQ(q.size(), 3u);
  EXPECT_EQ(q[1], u"\"a");
  // Columns beyond the twelve kept ones are still counted.
  const Columns c(u"1^2^3^4^5^6^7^8^9^10^11^12^13^14");
  EXPECT_EQ(c.size(), 14u);
  EXPECT_EQ(c[11], u"12");
  EXPECT_TRUE(c[12].empty());
}

TEST(DbColumns, ConversionsFollowWcstoulAndWcstol) {
  // {text, base, value, end, overflow}: base 10 ignores "0x"; base 0 octal stops
  // at 9; of "0x" only the 0 converts.
  // clang-format off
  const std::tuple<std::u16string_view, int, std::uint32_t, std::size_t, bool> u32[] = {
      {u"  \t42", 10, 42, 5, false}, {u"-1", 10, 0xFFFFFFFFu, 2, false}, {u"+7", 10, 7, 2, false},
      {u"0x10", 10, 0, 1, false}, {u"0x10", 0, 16, 4, false}, {u"0X1f", 0, 31, 4, false},
      {u"010", 0, 8, 3, false}, {u"09", 0, 0, 1, false}, {u"12abc", 10, 12, 2, false},
      {u"abc", 10, 0, 0, false}, {u"0x", 0, 0, 1, false},
      {u"4294967296", 10, 0xFFFFFFFFu, 10, true}, {u"4294967295", 10, 0xFFFFFFFFu, 10, false},
  };
  // clang-format on
  for (const auto& [text, base, value, end, overflow] : u32) {
    std::size_t e = 99;
    bool o = !overflow;
    EXPECT_EQ(ToU32(text, base, &e, &o), value) << Narrow(text);
    EXPECT_EQ(e, end) << Narrow(text);
    EXPECT_EQ(o, overflow) << Narrow(text);
  }
  // clang-format off
  const std::tuple<std::u16string_view, std::int32_t, bool> i32[] = {
      {u"-5", -5, false}, {u"\"3\"", 0, false}, {u"2147483648", INT32_MAX, true},
      {u"-2147483648", INT32_MIN, false}, {u"-2147483649", INT32_MIN, true},
  };
  // clang-format on
  for (const auto& [text, value, overflow] : i32) {
    bool o = !overflow;
    EXPECT_EQ(ToI32(text, 10, nullptr, &o), value) << Narrow(text);
    EXPECT_EQ(o, overflow) << Narrow(text);
  }
}

TEST(DbColumns, QuotedColumns) {
  std::u16string out;
  EXPECT_TRUE(ParseQuoted(u"\"x\"  ", out));
  EXPECT_EQ(out, u"x");
  EXPECT_TRUE(ParseQuoted(u"\"a\"b\"", out));  // no escapes: inner quote kept
  EXPECT_EQ(out, u"a\"b");
  EXPECT_TRUE(ParseQuoted(u"\"\"", out));
  EXPECT_TRUE(out.empty());
  // Leading blanks are not cut, and only blanks (32) are cut at the end.
  for (const std::u16string_view bad : {u" \"x\"", u"\"", u"x", u"\"x\"\t"}) {
    EXPECT_FALSE(ParseQuoted(bad, out)) << Narrow(bad);
  }
}

TEST(DbColumns, ListsAndIdSets) {
  // Unquoted lists and blank pieces are allowed. Only a lower-case "0x" makes a
  // piece unsigned hexadecimal; "0X" is signed, so above 0x7FFFFFFF it is dropped.
  // clang-format off
  const std::pair<std::u16string_view, std::vector<std::uint32_t>> rows[] = {
      {u"\"1,,0x1F, -1 ,abc,3x,4294967295,0xFFFFFFFF,010\"", {1, 31, 0xFFFFFFFFu, 0xFFFFFFFFu, 8}},
      {u"7", {7}}, {u"\"\"", {}}, {u"\" ,  ,\"", {}},
      {u"\"0XFFFFFFFF,0X1f,0x80000000,-0x10\"", {31, 0x80000000u, 0xFFFFFFF0u}},
  };
  // clang-format on
  for (const auto& [text, values] : rows) {
    std::vector<std::uint32_t> v;
    ParseList(text, v);
    EXPECT_EQ(v, values) << Narrow(text);
  }
  std::vector<std::uint32_t> u;
  ParseIdSet(u"\"3,1,3,-1\"", u);
  EXPECT_EQ(u, (std::vector<std::uint32_t>{0xFFFFFFFFu, 1, 3}));
  std::vector<std::int32_t> s;
  ParseIdSet(u"\"3,1,3,-1\"", s);
  EXPECT_EQ(s, (std::vector<std::int32_t>{-1, 1, 3}));
}

TEST(DbColumns, NumberWriters) {
  std::u16string s;
  AppendSigned(s, INT32_MIN);
  s += u' ';
  AppendUnsigned(s, 4294967295u);
  s += u' ';
  AppendHex(s, 0x1A, 4);
  s += u' ';
  AppendHex(s, 0x12345, 4);
  s += u' ';
  AppendQuotedList(s, std::vector<std::uint32_t>{1, 0xFFFFFFFFu});
  EXPECT_EQ(s, u"-2147483648 4294967295 001A 12345 \"1,-1\"");
}

TEST(DbMessageFormat, SubstitutesTypedArguments) {
  EXPECT_EQ(FormatMessage(u"DB [%s] Duplicate key, line %u (%s)",
                          {u"Field", std::uint32_t{3}, u"1^\"a\""}),
            u"DB [Field] Duplicate key, line 3 (1^\"a\")");
  EXPECT_EQ(FormatMessage(u"%d %u %%", {std::int32_t{-1}, std::uint32_t{0xFFFFFFFFu}}),
            u"-1 4294967295 %");
  // A missing argument leaves the conversion as written.
  EXPECT_EQ(FormatMessage(u"a %s b", {}), u"a %s b");
}

TEST(DbSpecifier, ParsingAndFormatting) {
  // clang-format off
  const std::tuple<std::int32_t, std::u16string_view, RowSpecifier> rows[] = {
      {kRepeatOptional, u"3 <= 10", {true, 0, 3, 0, kCondLessEqual, 10, u"<=", u"10"}},
      {kRepeatOptional, u"  12   !%   0x10 ", {true, 0, 12, 0, kCondNotDivisible, 16, u"!%", u"0x10"}},
      {kRepeatComputed, u"4 * -2", {true, 0, 4, 0, kCountMultiply, -2, u"*", u"-2"}},
      {kRepeatComputed, u"4 / 0xFFFFFFFFFFFFFFFF",
       {true, 0, 4, 0, kCountDivide, -1, u"/", u"0xFFFFFFFFFFFFFFFF"}},
      {kRepeatRange, u"5  0x7", {true, 0, 5, 7, 0, 0, u"", u""}}, {kRepeatCountField, u"0x20", {true, 0, 32, 0, 0, 0, u"", u""}},
      {kRepeatFixed, u"12", {true, 12, 0, 0, 0, 0, u"", u""}}};
  // clang-format on
  for (const auto& [kind, text, parsed] : rows) {
    EXPECT_EQ(ParseRowSpecifier(kind, text), parsed) << Narrow(text);
  }
  RowSpecifier s = ParseRowSpecifier(kRepeatOptional, u"3  >= 0x10");
  s.field_id = 99;
  EXPECT_EQ(FormatRowSpecifier(kRepeatOptional, s), u"99 >= 0x10");

  // A condition takes no count operator and a decimal field ID; a constant
  // must fit 64 bits; a range is exactly two numbers.
  // clang-format off
  const std::pair<std::int32_t, std::u16string_view> invalid[] = {
      {kRepeatOptional, u"3 =< 10"}, {kRepeatOptional, u"3 <=10"}, {kRepeatOptional, u"3 + 10"},
      {kRepeatOptional, u"0x3 < 1"}, {kRepeatComputed, u"4 / 0x1FFFFFFFFFFFFFFFF"},
      {kRepeatComputed, u"4 < 1"}, {kRepeatRange, u"5"}, {kRepeatRange, u"5 6 7"},
      {kRepeatRange, u"5 x"},
  };
  // clang-format on
  for (const auto& [kind, text] : invalid) {
    EXPECT_FALSE(ParseRowSpecifier(kind, text).valid) << kind << " " << Narrow(text);
  }
}

TEST(DbSpecifier, Evaluation) {
  // Nothing is a multiple of 0; INT64_MIN by -1 must not trap; 8 is no operator.
  // clang-format off
  const std::tuple<std::uint32_t, std::int64_t, std::int64_t, bool> conditions[] = {
      {kCondLess, -1, 0, true}, {kCondLess, 0, 0, false}, {kCondLessEqual, 0, 0, true},
      {kCondEqual, 5, 5, true}, {kCondNotEqual, 5, 6, true}, {kCondGreaterEqual, 6, 6, true},
      {kCondGreater, 7, 6, true}, {kCondDivisible, 12, 4, true}, {kCondDivisible, 13, 4, false},
      {kCondNotDivisible, 13, 4, true}, {kCondDivisible, 0, 0, false},
      {kCondNotDivisible, 0, 0, true}, {kCondDivisible, INT64_MIN, -1, true}, {8, 1, 1, false},
  };
  // clang-format on
  for (const auto& [op, a, b, result] : conditions) {
    EXPECT_EQ(EvaluateCondition(op, a, b), result) << op << " " << a << " " << b;
  }
  // Division by zero gives 0; INT64_MIN / -1 and overflowing sums wrap.
  // clang-format off
  const std::tuple<std::uint32_t, std::int64_t, std::int64_t, std::int64_t> counts[] = {
      {kCountAdd, 3, 4, 7}, {kCountSubtract, 3, 4, -1}, {kCountMultiply, 3, 4, 12},
      {kCountDivide, 13, 4, 3}, {kCountRemainder, 13, 4, 1}, {kCountDivide, 13, 0, 0},
      {kCountRemainder, 13, 0, 0}, {kCountDivide, INT64_MIN, -1, INT64_MIN},
      {kCountRemainder, INT64_MIN, -1, 0}, {kCountAdd, INT64_MAX, 1, INT64_MIN},
  };
  // clang-format on
  for (const auto& [op, a, b, result] : counts) {
    EXPECT_EQ(EvaluateCount(op, a, b), std::optional<std::int64_t>(result)) << op << " " << a;
  }
  EXPECT_FALSE(EvaluateCount(5, 1, 1).has_value());
}

}  // namespace
}  // namespace quillon::db
