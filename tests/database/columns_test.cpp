#include <gtest/gtest.h>

#include <tuple>

#include "database/db_columns.h"
#include "database/db_specifier.h"
#include "database/internal/db_message.h"
#include "db_test_util.h"

namespace quillon::db {
namespace {

using dbtest::Narrow;

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
