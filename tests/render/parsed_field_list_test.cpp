// Lookups, summaries and entity resolution of ParsedFieldList.
#include "render/parsed_field_list.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "render_test_db.h"

namespace quillon {
namespace {

using rendertest::EventParse;
using rendertest::TestDb;

constexpr std::uint32_t kTop = 100;

// Entries a, b, a, c with field IDs 1, 2, 1, 3.
TestDb Repeating() {
  TestDb t;
  t.Entity({4, 1}, u"Ent", kTop);
  t.Field(1, u"a", 8, kFieldU8).Field(2, u"b", 8, kFieldU8).Field(3, u"c", 8, kFieldU8);
  t.Member(kTop, 1).Member(kTop, 2).Member(kTop, 1).Member(kTop, 3);
  return t;
}

TEST(ParsedFieldListFind, ByNameWithWrapReturnsSuccessiveHitsThenStartsOver) {
  TestDb t = Repeating();
  EventParse p(t.db(), 1, {1, 2, 3, 4});
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(p.list.FindByName(u"a", true, true), 0u);
  EXPECT_EQ(p.list.FindByName(u"a", true, true), 2u);
  EXPECT_EQ(p.list.FindByName(u"a", true, true), 0u);
  EXPECT_EQ(p.list.FindByName(u"zz", true, true), kNoIndex);
  EXPECT_EQ(p.list.FindByName(u"A", true, true), kNoIndex);  // case matters
}

TEST(ParsedFieldListFind, ByNameWithoutWrapEndsWithAMissThenRestarts) {
  TestDb t = Repeating();
  EventParse p(t.db(), 1, {1, 2, 3, 4});
  EXPECT_EQ(p.list.FindByName(u"a", true, false), 0u);
  EXPECT_EQ(p.list.FindByName(u"a", true, false), 2u);
  EXPECT_EQ(p.list.FindByName(u"a", true, false), kNoIndex);
  EXPECT_EQ(p.list.FindByName(u"a", true, false), 0u);
  // A hit on the last entry sets the cursor back to 0.
  EXPECT_EQ(p.list.FindByName(u"c", true, false), 3u);
  EXPECT_EQ(p.list.FindByName(u"a", true, false), 0u);
}

TEST(ParsedFieldListFind, FromFormsSetTheCursorFirst) {
  TestDb t = Repeating();
  EventParse p(t.db(), 1, {1, 2, 3, 4});
  EXPECT_EQ(p.list.FindByNameFrom(u"a", 1, true, false), 2u);
  EXPECT_EQ(p.list.FindByNameFrom(u"a", 3, true, false), kNoIndex);
  EXPECT_EQ(p.list.FindByNameFrom(u"a", 3, true, true), 0u);
  // A start at or past the count: a miss without wrap, from 0 with wrap.
  EXPECT_EQ(p.list.FindByNameFrom(u"a", 4, true, false), kNoIndex);
  EXPECT_EQ(p.list.FindByNameFrom(u"b", 9, true, true), 1u);
  EXPECT_EQ(p.list.FindByIdFrom(1, 1, false), 2u);
  EXPECT_EQ(p.list.FindByIdFrom(3, 7, false), kNoIndex);
}

TEST(ParsedFieldListFind, FullNamesCarryTheEntityName) {
  TestDb t = Repeating();
  EventParse p(t.db(), 1, {1, 2, 3, 4});
  EXPECT_EQ(p.list.FindByName(u"Ent.b", false, true), 1u);
  EXPECT_EQ(p.list.FindByName(u"b", false, true), kNoIndex);
  EXPECT_EQ(p.list.Name(3, false), u"Ent.c");
  EXPECT_EQ(p.list.Name(3, true), u"c");
  EXPECT_EQ(p.list.Name(4, true), u"");
}

TEST(ParsedFieldListFind, ByIdNeverWrapsUnlessAsked) {
  TestDb t = Repeating();
  EventParse p(t.db(), 1, {1, 2, 3, 4});
  EXPECT_EQ(p.list.FindById(1, false), 0u);
  EXPECT_EQ(p.list.FindById(1, false), 2u);
  EXPECT_EQ(p.list.FindById(1, false), kNoIndex);
  EXPECT_EQ(p.list.FindById(3, true), 3u);
  EXPECT_EQ(p.list.FindById(3, true), 3u);  // wraps round to itself
  EXPECT_EQ(p.list.FindById(99, true), kNoIndex);
}

TEST(ParsedFieldListQueries, IndexesPastTheEndGiveDefaults) {
  TestDb t = Repeating();
  EventParse p(t.db(), 1, {1, 2, 3, 4});
  ASSERT_EQ(p.list.Count(), 4u);
  EXPECT_EQ(p.list.BitOffset(3), 24u);
  EXPECT_EQ(p.list.BitSize(3), 8u);
  EXPECT_EQ(p.list.BitOffset(4), kNoIndex);
  EXPECT_EQ(p.list.BitSize(4), kNoIndex);
  EXPECT_TRUE(p.list.Value(4).IsEmpty());
  EXPECT_EQ(p.list.Value(3), Variant::UI1(4));
  EXPECT_EQ(p.list.ValueText(4), u"");
  EXPECT_EQ(p.list.RawText(1), u"2");
}

TEST(ParsedFieldListEntity, EmptyPayloadParsesToNoEntries) {
  TestDb t = Repeating();
  EventParse p(t.db(), 1, {});
  EXPECT_TRUE(p.ok);
  EXPECT_EQ(p.list.Count(), 0u);
  EXPECT_EQ(p.list.EntityName(), u"Ent");
}

TEST(ParsedFieldListEntity, UnknownEntitiesAndBrokenEntitiesFail) {
  TestDb t = Repeating();
  EXPECT_FALSE(EventParse(t.db(), 2, {1}).ok);
  TestDb no_struct;
  no_struct.Entity({4, 1}, u"NoStruct", kDbNone);
  EXPECT_FALSE(EventParse(no_struct.db(), 1, {1}).ok);
  EXPECT_TRUE(EventParse(no_struct.db(), 1, {}).ok);
  TestDb one_key;
  one_key.Entity({4}, u"Short", kTop);
  ParsedFieldList l(one_key.db(), nullptr);
  EXPECT_FALSE(l.Parse(false, true, true));
}

TEST(ParsedFieldListEntity, NamedEntitiesAreChosenAmongEqualKeys) {
  TestDb t;
  t.Entity({4, 1}, u"First", kTop).Entity({4, 1}, u"Second", 200);
  t.Field(1, u"a", 8, kFieldU8).Field(2, u"b", 8, kFieldU8);
  t.Member(kTop, 1).Member(200, 2);
  const std::uint8_t bytes[] = {7};
  ParsedFieldList first(t.db(), 1, bytes, 1);
  ASSERT_TRUE(first.Parse(false, true, true));
  EXPECT_EQ(first.Name(0, false), u"First.a");
  // The event constructor has no name; an item list can ask for one.
  EXPECT_EQ(t.db().FindDiagEntity({4, 1}, u"second")->name, u"Second");
}

TEST(ParsedFieldListEntity, SummaryOnlyWithoutSummarySkipsTheWalk) {
  TestDb t = Repeating();
  const std::uint8_t bytes[] = {1};  // too short for the structure
  ParsedFieldList l(t.db(), 1, bytes, 1);
  EXPECT_TRUE(l.Parse(true, false, false));
  EXPECT_EQ(l.Count(), 0u);
}

TEST(ParsedFieldListEntity, EventPayloadsOutsideTheValidLengthsAreEmpty) {
  TestDb t = Repeating();
  std::vector<std::uint8_t> big(8209, 1);
  ParsedFieldList too_big(t.db(), 1, big.data(), 8209);
  EXPECT_EQ(too_big.Reader().Length(), 0u);
  ParsedFieldList negative(t.db(), 1, big.data(), -5);
  EXPECT_EQ(negative.Reader().Length(), 0u);
  ParsedFieldList largest(t.db(), 1, big.data(), 8208);
  EXPECT_EQ(largest.Reader().Length(), 8208u * 8);
}

TEST(ParsedFieldListEntity, ASecondParseDoesNotRepeatASuccessfulWalk) {
  TestDb t = Repeating();
  const std::uint8_t bytes[] = {1, 2, 3, 4};
  ParsedFieldList l(t.db(), 1, bytes, 4);
  ASSERT_TRUE(l.Parse(false, true, true));
  ASSERT_TRUE(l.Parse(false, true, true));
  EXPECT_EQ(l.Count(), 4u);
}

TEST(ParsedFieldListEntity, ASecondParseRepeatsAFailedWalkFromTheStart) {
  // Three fields, the last one reaching past the payload.
  TestDb t;
  t.Entity({4, 1}, u"Ent", kTop);
  t.Field(1, u"a", 8, kFieldU8).Field(2, u"b", 8, kFieldU8).Field(3, u"c", 32, kFieldU32);
  t.Member(kTop, 1).Member(kTop, 2).Member(kTop, 3);
  const std::uint8_t bytes[] = {1, 2, 3};
  ParsedFieldList l(t.db(), 1, bytes, 3);
  ASSERT_FALSE(l.Parse(false, true, true));
  ASSERT_EQ(l.Count(), 2u);
  EXPECT_EQ(l.FindByName(u"a", true, false), 0u);
  EXPECT_FALSE(l.Parse(false, true, true));
  ASSERT_EQ(l.Count(), 2u);
  EXPECT_EQ(l.Name(1, true), u"b");
  EXPECT_EQ(l.BitOffset(1), 8u);
  EXPECT_EQ(l.ValueText(1), u"2");
  // The cursors start over with the new entries.
  EXPECT_EQ(l.FindByName(u"a", true, false), 0u);
}

// ---- Summaries

TestDb Summarised(std::u16string format, std::u16string names) {
  TestDb t;
  t.Entity({4, 1}, u"Ent", kTop, 50);
  t.Summary(50, std::move(format), std::move(names));
  t.Field(1, u"u", 8, kFieldU8).Field(2, u"s", 8, kFieldI8).Field(3, u"w", 16, kFieldI16);
  t.Field(4, u"big", 64, kFieldU64).Field(5, u"d", 64, kFieldDouble);
  t.Field(6, u"txt", 24, kFieldString8).EnumField(7, u"e", 8, false, 3);
  t.EnumEntry(3, 2, u"Two");
  for (std::uint32_t id = 1; id <= 7; ++id) t.Member(kTop, id);
  return t;
}

std::vector<std::uint8_t> SummaryPayload() {
  std::vector<std::uint8_t> b = {200, 0xFE, 0xFF, 0xFF};
  for (int i = 0; i < 8; ++i) b.push_back(i == 4 ? 1 : 0);  // 2^32
  double d = 2.5;
  std::uint8_t raw[8];
  std::memcpy(raw, &d, 8);
  b.insert(b.end(), raw, raw + 8);
  b.insert(b.end(), {'h', 'e', 'y', 2});
  return b;
}

TEST(ParsedFieldListSummary, ArgumentsArePassedByFieldType) {
  TestDb t = Summarised(u"u=%u s=%d w=%hd big=%I64u d=%.2f txt=%s e=%s", u"u, s,w ,big,d,txt,e");
  EventParse p(t.db(), 1, SummaryPayload());
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(p.list.Summary(), u"u=200 s=-2 w=-1 big=4294967296 d=2.50 txt=hey e=Two");
}

TEST(ParsedFieldListSummary, WithoutNamesTheFormatIsTheSummary) {
  TestDb t = Summarised(u"fixed %d text", u"");
  EventParse p(t.db(), 1, SummaryPayload());
  EXPECT_EQ(p.list.Summary(), u"fixed %d text");
}

TEST(ParsedFieldListSummary, AMissingNameLeavesTheSummaryEmpty) {
  TestDb t = Summarised(u"%u %u", u"u,nothere");
  EventParse p(t.db(), 1, SummaryPayload());
  EXPECT_TRUE(p.ok);
  EXPECT_EQ(p.list.Summary(), u"");
  // Names are matched against partial names, so they must be built.
  TestDb plain = Summarised(u"%u", u"u");
  EventParse unnamed(plain.db(), 1, SummaryPayload(), true, false);
  EXPECT_EQ(unnamed.list.Summary(), u"");
  EventParse named(plain.db(), 1, SummaryPayload(), false, true);
  EXPECT_EQ(named.list.Summary(), u"200");
}

TEST(ParsedFieldListSummary, AFormatThatDoesNotFitItsArgumentsGivesNoSummary) {
  TestDb t = Summarised(u"%s %s", u"u");
  EventParse p(t.db(), 1, SummaryPayload());
  EXPECT_EQ(p.list.Summary(), u"");
  TestDb missing_spec = Summarised(u"x", u"");
  missing_spec.Entity({4, 2}, u"Other", kTop, 51);
  EXPECT_EQ(EventParse(missing_spec.db(), 2, SummaryPayload()).list.Summary(), u"");
}

TEST(ParsedFieldListSummary, SummaryOnlyStillReadsTheNamedFields) {
  TestDb t = Summarised(u"u=%u", u"u");
  const auto bytes = SummaryPayload();
  ParsedFieldList l(t.db(), 1, bytes.data(), static_cast<std::int32_t>(bytes.size()));
  EXPECT_TRUE(l.Parse(true, false, true));
  EXPECT_EQ(l.Summary(), u"u=200");
}

// The argument array is made of 32-bit words, and each conversion takes
// the words it asks for, as a 32-bit C runtime reads its arguments.
TestDb Words(std::u16string format, std::u16string names) {
  TestDb t;
  t.Entity({4, 1}, u"Ent", kTop, 50);
  t.Summary(50, std::move(format), std::move(names));
  t.Field(1, u"big", 64, kFieldI64).Field(2, u"lo", 32, kFieldU32).Field(3, u"hi", 32, kFieldU32);
  t.Field(4, u"flt", 32, kFieldFloat).Field(5, u"dbl", 64, kFieldDouble);
  t.Field(6, u"zero", 8, kFieldU8).EnumField(7, u"e", 8, false, 3);
  t.EnumEntry(3, 2, u"Two");
  for (std::uint32_t id = 1; id <= 7; ++id) t.Member(kTop, id);
  return t;
}

std::vector<std::uint8_t> WordsPayload() {
  std::vector<std::uint8_t> b = {3, 0, 0, 0, 5, 0, 0, 0};  // big: 5 * 2^32 + 3
  b.insert(b.end(), {1, 0, 0, 0, 1, 0, 0, 0});             // lo 1, hi 1
  b.insert(b.end(), {0, 0, 0, 0});                         // flt: raw word 0
  double d = 2.5;                                          // bits 0x4004000000000000
  std::uint8_t raw[8];
  std::memcpy(raw, &d, 8);
  b.insert(b.end(), raw, raw + 8);
  b.insert(b.end(), {0, 2});  // zero, e
  return b;
}

std::u16string WordsSummary(std::u16string format, std::u16string names) {
  TestDb t = Words(std::move(format), std::move(names));
  EventParse p(t.db(), 1, WordsPayload());
  EXPECT_TRUE(p.ok);
  return p.list.Summary();
}

TEST(ParsedFieldListSummary, SixtyFourBitValuesAreTwoWordsLowFirst) {
  EXPECT_EQ(WordsSummary(u"%d %d", u"big"), u"3 5");
  EXPECT_EQ(WordsSummary(u"%I64d", u"big"), u"21474836483");
  EXPECT_EQ(WordsSummary(u"%u|%u|%u", u"big,lo"), u"3|5|1");
  // Two 32-bit fields make one 64-bit argument.
  EXPECT_EQ(WordsSummary(u"%I64u", u"lo,hi"), u"4294967297");
  EXPECT_EQ(WordsSummary(u"%llx", u"lo,hi"), u"100000001");
  // A double's words read as integers.
  EXPECT_EQ(WordsSummary(u"%08X %08X", u"dbl"), u"00000000 40040000");
}

TEST(ParsedFieldListSummary, AFloatIsItsRawWordAndPairsWithTheNextWordAsADouble) {
  EXPECT_EQ(WordsSummary(u"%08X", u"flt"), u"00000000");
  // "%f" takes two words: the float's raw word 0 and the low word of the
  // double that follows, which leaves the double's high word to "%08X".
  EXPECT_EQ(WordsSummary(u"%f %08X", u"flt,dbl"), u"0.000000 40040000");
  EXPECT_EQ(WordsSummary(u"%.1f", u"dbl"), u"2.5");
  EXPECT_EQ(WordsSummary(u"%u %.1f", u"flt,dbl"), u"0 2.5");
}

TEST(ParsedFieldListSummary, TextConversionsTakeTheAddressOfTheValueText) {
  EXPECT_EQ(WordsSummary(u"[%s]", u"e"), u"[Two]");
  EXPECT_EQ(WordsSummary(u"[%5.2s]", u"e"), u"[   Tw]");
  // A narrow "%hs" reads the wide text as bytes: "T", 0, ...
  EXPECT_EQ(WordsSummary(u"[%hs]", u"e"), u"[T]");
  // The word 0 is the null pointer.
  EXPECT_EQ(WordsSummary(u"[%s]", u"zero"), u"[(null)]");
}

TEST(ParsedFieldListSummary, ConversionsThatWouldReadForeignMemoryGiveNoSummary) {
  EXPECT_EQ(WordsSummary(u"%s", u"lo"), u"");         // the number 1 as an address
  EXPECT_EQ(WordsSummary(u"%u", u"e"), u"");          // a text's address as a number
  EXPECT_EQ(WordsSummary(u"%*u", u"e,lo"), u"");      // ... or as a width
  EXPECT_EQ(WordsSummary(u"%I64u", u"e,lo"), u"");    // ... or half a 64-bit number
  EXPECT_EQ(WordsSummary(u"%d %d", u"lo"), u"");      // more words than given
  EXPECT_EQ(WordsSummary(u"%f", u"lo"), u"");         // half a double
  EXPECT_EQ(WordsSummary(u"%*d|", u"lo,hi"), u"1|");  // '*' takes a word
}

// Summaries read their words as the Windows runtime does, beyond what the
// safe formatter spells the same way.
TEST(ParsedFieldListSummary, WindowsOnlyConversionsPrintAsTheRuntimePrintsThem) {
  EXPECT_EQ(WordsSummary(u"%p", u"lo"), u"00000001");  // a 32-bit pointer
  EXPECT_EQ(WordsSummary(u"%zu|%Id|%td", u"lo,hi,big"), u"1|1|3");
  EXPECT_EQ(WordsSummary(u"%jd", u"big"), u"21474836483");  // intmax_t: two words
  EXPECT_EQ(WordsSummary(u"[%S]", u"e"), u"[T]");           // a narrow text in a wide printf
  EXPECT_EQ(WordsSummary(u"[%C]", u"lo"), u"[\u0001]");
  EXPECT_EQ(WordsSummary(u"%p", u"e"), u"");  // a text's address is no number
}

TEST(ParsedFieldListSummary, APrintedNulCharacterEndsTheSummary) {
  EXPECT_EQ(WordsSummary(u"a%cb %u", u"zero,lo"), u"a");
}

TEST(ParsedFieldListSummary, NamesAreTrimmedOfEveryBlankCharacter) {
  EXPECT_EQ(WordsSummary(u"%u %u", u"\vlo\f,\t hi \r\n"), u"1 1");
}

TEST(ParsedFieldListSummary, HandoffEventsUseTheirFixedFieldAndFormat) {
  for (const auto& [event, field, text] :
       {std::tuple{276u, u"idle_handoff", u"idle_handoff=5"},
        std::tuple{277u, u"ms_access_handoff", u"ms_access_handoff=5"},
        std::tuple{278u, u"ms_access_probe_handoff", u"ms_access_probe_handoff=5"},
        std::tuple{639u, u"ms_access_handoff", u"ms_access_handoff=5"}}) {
    TestDb t;
    t.Entity({4, event}, u"Handoff", kTop, 60).Summary(60, u"db summary %u", u"other");
    t.Field(1, field, 16, kFieldU16).Field(2, u"other", 8, kFieldU8);
    t.Member(kTop, 1);
    EventParse p(t.db(), event, {5, 0});
    ASSERT_TRUE(p.ok);
    EXPECT_EQ(p.list.Summary(), text);
  }
}

TEST(ParsedFieldListSummary, HandoffRuleNeedsExactlySixteenBits) {
  TestDb t;
  t.Entity({4, 276}, u"Handoff", kTop, 60).Summary(60, u"db %u", u"other");
  t.Field(1, u"idle_handoff", 16, kFieldU16).Field(2, u"other", 8, kFieldU8);
  t.Member(kTop, 1).Member(kTop, 2);
  EventParse p(t.db(), 276, {5, 0, 9});
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(p.list.Summary(), u"db 9");
  // Another event keeps its database summary even with 16 bits.
  TestDb other;
  other.Entity({4, 300}, u"Other", kTop, 60).Summary(60, u"db %u", u"other");
  other.Field(2, u"other", 16, kFieldU16).Member(kTop, 2);
  EXPECT_EQ(EventParse(other.db(), 300, {7, 0}).list.Summary(), u"db 7");
}

}  // namespace
}  // namespace quillon
