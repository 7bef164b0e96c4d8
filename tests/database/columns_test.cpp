#include <gtest/gtest.h>

#include "database/db_columns.h"
#include "database/db_message.h"
#include "database/db_specifier.h"

namespace quillon::db {
namespace {

TEST(DbColumns, SeparatorRunsCollapseAndEdgesMakeNoColumns) {
  const Columns a(u"5^^\"Name\"");
  const Columns b(u"5^\"Name\"");
  ASSERT_EQ(a.size(), 2u);
  ASSERT_EQ(b.size(), 2u);
  EXPECT_EQ(a[0], b[0]);
  EXPECT_EQ(a[1], b[1]);
  EXPECT_EQ(Columns(u"^^1^2^^").size(), 2u);
  EXPECT_EQ(Columns(u"^^^").size(), 0u);
  EXPECT_EQ(Columns(u"").size(), 0u);
  // A quoted caret still separates: nothing is escaped.
  const Columns q(u"1^\"a^b\"");
  ASSERT_EQ(q.size(), 3u);
  EXPECT_EQ(q[1], u"\"a");
}

TEST(DbColumns, ManyColumnsAreCountedBeyondTheKeptOnes) {
  const Columns c(u"1^2^3^4^5^6^7^8^9^10^11^12^13^14");
  EXPECT_EQ(c.size(), 14u);
  EXPECT_EQ(c[11], u"12");
  EXPECT_TRUE(c[12].empty());
}

TEST(DbColumns, UnsignedConversionFollowsWcstoul) {
  std::size_t end = 0;
  EXPECT_EQ(ToU32(u"12abc", 10, &end), 12u);
  EXPECT_EQ(end, 2u);
  EXPECT_EQ(ToU32(u"abc", 10, &end), 0u);
  EXPECT_EQ(end, 0u);
  EXPECT_EQ(ToU32(u"  \t42", 10), 42u);
  EXPECT_EQ(ToU32(u"-1", 10), 0xFFFFFFFFu);
  EXPECT_EQ(ToU32(u"+7", 10), 7u);
  bool overflow = false;
  EXPECT_EQ(ToU32(u"4294967296", 10, nullptr, &overflow), 0xFFFFFFFFu);
  EXPECT_TRUE(overflow);
  EXPECT_EQ(ToU32(u"4294967295", 10, nullptr, &overflow), 0xFFFFFFFFu);
  EXPECT_FALSE(overflow);
  // Base 10 ignores a hexadecimal prefix: 0x10 is 0.
  EXPECT_EQ(ToU32(u"0x10", 10), 0u);
  EXPECT_EQ(ToU32(u"0x10", 0), 16u);
  EXPECT_EQ(ToU32(u"0X1f", 0), 31u);
  EXPECT_EQ(ToU32(u"010", 0), 8u);
  EXPECT_EQ(ToU32(u"09", 0), 0u);  // octal stops at 9
  EXPECT_EQ(ToU32(u"0x", 0, &end), 0u);
  EXPECT_EQ(end, 1u);  // the 0 converts, the x does not
}

TEST(DbColumns, SignedConversionClampsLikeWcstol) {
  bool overflow = false;
  EXPECT_EQ(ToI32(u"-5", 10), -5);
  EXPECT_EQ(ToI32(u"2147483648", 10, nullptr, &overflow), INT32_MAX);
  EXPECT_TRUE(overflow);
  EXPECT_EQ(ToI32(u"-2147483648", 10, nullptr, &overflow), INT32_MIN);
  EXPECT_FALSE(overflow);
  EXPECT_EQ(ToI32(u"-2147483649", 10, nullptr, &overflow), INT32_MIN);
  EXPECT_TRUE(overflow);
  EXPECT_EQ(ToI32(u"\"3\"", 10), 0);
}

TEST(DbColumns, QuotedColumns) {
  std::u16string out;
  EXPECT_TRUE(ParseQuoted(u"\"x\"  ", out));
  EXPECT_EQ(out, u"x");
  EXPECT_FALSE(ParseQuoted(u" \"x\"", out));  // leading blanks are not cut
  EXPECT_FALSE(ParseQuoted(u"\"", out));
  EXPECT_FALSE(ParseQuoted(u"x", out));
  EXPECT_FALSE(ParseQuoted(u"\"x\"\t", out));  // only blanks (32) are cut
  EXPECT_TRUE(ParseQuoted(u"\"\"", out));
  EXPECT_TRUE(out.empty());
  EXPECT_TRUE(ParseQuoted(u"\"a\"b\"", out));  // no escapes: inner quote kept
  EXPECT_EQ(out, u"a\"b");
}

TEST(DbColumns, ListColumns) {
  std::vector<std::uint32_t> v;
  ParseList(u"\"1,,0x1F, -1 ,abc,3x,4294967295,0xFFFFFFFF,010\"", v);
  EXPECT_EQ(v, (std::vector<std::uint32_t>{1, 31, 0xFFFFFFFFu, 0xFFFFFFFFu, 8}));
  v.clear();
  ParseList(u"7", v);  // unquoted
  EXPECT_EQ(v, std::vector<std::uint32_t>{7});
  v.clear();
  ParseList(u"\"\"", v);
  EXPECT_TRUE(v.empty());
  v.clear();
  ParseList(u"\" ,  ,\"", v);  // blank pieces hold no number
  EXPECT_TRUE(v.empty());
  // Only a lower-case "0x" makes a piece unsigned hexadecimal; "0X" is
  // read as a signed number, so above 0x7FFFFFFF it is out of range.
  v.clear();
  ParseList(u"\"0XFFFFFFFF,0X1f,0x80000000,-0x10\"", v);
  EXPECT_EQ(v, (std::vector<std::uint32_t>{31, 0x80000000u, 0xFFFFFFF0u}));
}

TEST(DbColumns, IdSetsAreSortedWithoutDuplicates) {
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

TEST(DbSpecifier, ConditionTexts) {
  RowSpecifier s = ParseRowSpecifier(kRepeatOptional, u"3 <= 10");
  ASSERT_TRUE(s.valid);
  EXPECT_EQ(s.field_id, 3u);
  EXPECT_EQ(s.op, kCondLessEqual);
  EXPECT_EQ(s.value, 10);
  EXPECT_FALSE(ParseRowSpecifier(kRepeatOptional, u"3 =< 10").valid);
  EXPECT_FALSE(ParseRowSpecifier(kRepeatOptional, u"3 <=10").valid);
  EXPECT_FALSE(ParseRowSpecifier(kRepeatOptional, u"3 + 10").valid);   // a count operator
  EXPECT_FALSE(ParseRowSpecifier(kRepeatOptional, u"0x3 < 1").valid);  // field ID is decimal
  s = ParseRowSpecifier(kRepeatOptional, u"  12   !%   0x10 ");
  ASSERT_TRUE(s.valid);
  EXPECT_EQ(s.op, kCondNotDivisible);
  EXPECT_EQ(s.value, 16);
  s = ParseRowSpecifier(kRepeatComputed, u"4 * -2");
  ASSERT_TRUE(s.valid);
  EXPECT_EQ(s.op, kCountMultiply);
  EXPECT_EQ(s.value, -2);
  s = ParseRowSpecifier(kRepeatComputed, u"4 / 0xFFFFFFFFFFFFFFFF");
  ASSERT_TRUE(s.valid);
  EXPECT_EQ(s.value, -1);
  EXPECT_FALSE(ParseRowSpecifier(kRepeatComputed, u"4 / 0x1FFFFFFFFFFFFFFFF").valid);
  EXPECT_FALSE(ParseRowSpecifier(kRepeatComputed, u"4 < 1").valid);
}

TEST(DbSpecifier, RangesCountsAndFormatting) {
  RowSpecifier s = ParseRowSpecifier(kRepeatRange, u"5  0x7");
  ASSERT_TRUE(s.valid);
  EXPECT_EQ(s.field_id, 5u);
  EXPECT_EQ(s.field_id2, 7u);
  EXPECT_FALSE(ParseRowSpecifier(kRepeatRange, u"5").valid);
  EXPECT_FALSE(ParseRowSpecifier(kRepeatRange, u"5 6 7").valid);
  EXPECT_FALSE(ParseRowSpecifier(kRepeatRange, u"5 x").valid);
  EXPECT_EQ(ParseRowSpecifier(kRepeatCountField, u"0x20").field_id, 32u);
  EXPECT_EQ(ParseRowSpecifier(kRepeatFixed, u"12").count, 12u);
  s = ParseRowSpecifier(kRepeatOptional, u"3  >= 0x10");
  s.field_id = 99;
  EXPECT_EQ(FormatRowSpecifier(kRepeatOptional, s), u"99 >= 0x10");
}

TEST(DbSpecifier, ConditionEvaluation) {
  EXPECT_TRUE(EvaluateCondition(kCondLess, -1, 0));
  EXPECT_FALSE(EvaluateCondition(kCondLess, 0, 0));
  EXPECT_TRUE(EvaluateCondition(kCondLessEqual, 0, 0));
  EXPECT_TRUE(EvaluateCondition(kCondEqual, 5, 5));
  EXPECT_TRUE(EvaluateCondition(kCondNotEqual, 5, 6));
  EXPECT_TRUE(EvaluateCondition(kCondGreaterEqual, 6, 6));
  EXPECT_TRUE(EvaluateCondition(kCondGreater, 7, 6));
  EXPECT_TRUE(EvaluateCondition(kCondDivisible, 12, 4));
  EXPECT_FALSE(EvaluateCondition(kCondDivisible, 13, 4));
  EXPECT_TRUE(EvaluateCondition(kCondNotDivisible, 13, 4));
  // Nothing is a multiple of 0; INT64_MIN by -1 must not trap.
  EXPECT_FALSE(EvaluateCondition(kCondDivisible, 0, 0));
  EXPECT_TRUE(EvaluateCondition(kCondNotDivisible, 0, 0));
  EXPECT_TRUE(EvaluateCondition(kCondDivisible, INT64_MIN, -1));
  EXPECT_FALSE(EvaluateCondition(8, 1, 1));
}

TEST(DbSpecifier, CountEvaluation) {
  EXPECT_EQ(EvaluateCount(kCountAdd, 3, 4), 7);
  EXPECT_EQ(EvaluateCount(kCountSubtract, 3, 4), -1);
  EXPECT_EQ(EvaluateCount(kCountMultiply, 3, 4), 12);
  EXPECT_EQ(EvaluateCount(kCountDivide, 13, 4), 3);
  EXPECT_EQ(EvaluateCount(kCountRemainder, 13, 4), 1);
  EXPECT_EQ(EvaluateCount(kCountDivide, 13, 0), 0);
  EXPECT_EQ(EvaluateCount(kCountRemainder, 13, 0), 0);
  EXPECT_EQ(EvaluateCount(kCountDivide, INT64_MIN, -1), INT64_MIN);
  EXPECT_EQ(EvaluateCount(kCountRemainder, INT64_MIN, -1), 0);
  EXPECT_EQ(EvaluateCount(kCountAdd, INT64_MAX, 1), INT64_MIN);  // wraps
  EXPECT_FALSE(EvaluateCount(5, 1, 1).has_value());
}

}  // namespace
}  // namespace quillon::db
