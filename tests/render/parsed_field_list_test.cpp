// Lookups, summaries and entity resolution of ParsedFieldList.
#include "render/parsed_field_list.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "render/field_xml.h"
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

// One search call: by name ('N'), by name from an index ('n'), by ID ('I')
// or by ID from an index ('i'); `full` searches the full names.
struct Find {
  char how;
  std::u16string_view name;
  std::uint32_t id, from;
  bool wrap;
  std::uint32_t want;
  bool full = false;
};

TEST(ParsedFieldList, FindWithAndWithoutWrapping) {
  TestDb t = Repeating();
  EventParse p(t.db(), 1, {1, 2, 3, 4});
  ParsedFieldList& l = p.list;
  ASSERT_TRUE(p.ok);
  constexpr auto kNo = kNoIndex;
  // With wrap: successive hits, then round again; names are case-sensitive.
  // Without: a miss after the last hit, then from the start again; a hit on
  // the last entry resets. The From forms set the cursor first; a start
  // past the end misses or wraps. Full names carry the entity name.
  // clang-format off
  const Find calls[] = {
      {'N', u"a", 0, 0, true, 0}, {'N', u"a", 0, 0, true, 2}, {'N', u"a", 0, 0, true, 0},
      {'N', u"zz", 0, 0, true, kNo}, {'N', u"A", 0, 0, true, kNo},
      {'N', u"a", 0, 0, false, 0}, {'N', u"a", 0, 0, false, 2}, {'N', u"a", 0, 0, false, kNo},
      {'N', u"a", 0, 0, false, 0}, {'N', u"c", 0, 0, false, 3}, {'N', u"a", 0, 0, false, 0},
      {'n', u"a", 0, 1, false, 2}, {'n', u"a", 0, 3, false, kNo}, {'n', u"a", 0, 3, true, 0},
      {'n', u"a", 0, 4, false, kNo}, {'n', u"b", 0, 9, true, 1},
      {'i', {}, 1, 1, false, 2}, {'i', {}, 3, 7, false, kNo},
      {'I', {}, 1, 0, false, 0}, {'I', {}, 1, 0, false, 2}, {'I', {}, 1, 0, false, kNo},
      {'I', {}, 3, 0, true, 3}, {'I', {}, 3, 0, true, 3},  // wraps round to itself
      {'I', {}, 99, 0, true, kNo},
      {'N', u"Ent.b", 0, 0, true, 1, true}, {'N', u"b", 0, 0, true, kNo, true}};
  // clang-format on
  for (std::size_t k = 0; k < std::size(calls); ++k) {
    const Find& c = calls[k];
    const ParsedFieldList::FindOptions options{.partial = !c.full, .wrap = c.wrap};
    const std::uint32_t got = c.how == 'N'   ? l.FindByName(c.name, options)
                              : c.how == 'n' ? l.FindByNameFrom(c.name, c.from, options)
                              : c.how == 'I' ? l.FindById(c.id, c.wrap)
                                             : l.FindByIdFrom(c.id, c.from, c.wrap);
    EXPECT_EQ(got, c.want) << "call " << k;
  }
  EXPECT_EQ(l.Name(3, false), u"Ent.c");
  EXPECT_EQ(l.Name(3, true), u"c");
  // Indexes past the end give defaults.
  EXPECT_EQ(std::tuple(l.BitOffset(3), l.BitSize(3), l.Value(3), l.RawText(1)),
            std::tuple(24u, 8u, Variant::UI1(4), u"2"));
  EXPECT_EQ(std::tuple(l.BitOffset(4), l.BitSize(4), l.ValueText(4), l.Name(4, true)),
            std::tuple(kNo, kNo, u"", u""));
  EXPECT_TRUE(l.Value(4).IsEmpty());
}

TEST(ParsedFieldList, EntityResolution) {
  TestDb t = Repeating();
  EventParse empty(t.db(), 1, {});
  EXPECT_TRUE(empty.ok);
  EXPECT_EQ(empty.list.Count(), 0u);
  EXPECT_EQ(empty.list.EntityName(), u"Ent");
  EXPECT_FALSE(EventParse(t.db(), 2, {1}).ok);  // unknown entity

  TestDb no_struct;
  no_struct.Entity({4, 1}, u"NoStruct", kDbNone);
  EXPECT_FALSE(EventParse(no_struct.db(), 1, {1}).ok);
  EXPECT_TRUE(EventParse(no_struct.db(), 1, {}).ok);
  TestDb one_key;
  one_key.Entity({4}, u"Short", kTop);
  EXPECT_FALSE(ParsedFieldList(one_key.db(), nullptr).Parse({}));

  // Of equal keys the event constructor takes the first; names choose.
  t.Entity({4, 1}, u"Second", 200);
  EXPECT_EQ(EventParse(t.db(), 1, {1, 2, 3, 4}).list.Name(0, false), u"Ent.a");
  EXPECT_EQ(t.db().FindDiagEntity({4, 1}, u"second")->name, u"Second");

  // Event payloads outside 0..8208 bytes are empty.
  std::vector<std::uint8_t> big(8209, 1);
  EXPECT_EQ(ParsedFieldList(t.db(), 1, big.data(), 8209).Reader().Length(), 0u);
  EXPECT_EQ(ParsedFieldList(t.db(), 1, big.data(), -5).Reader().Length(), 0u);
  EXPECT_EQ(ParsedFieldList(t.db(), 1, big.data(), 8208).Reader().Length(), 8208u * 8);

  // Summary only, without a summary: no walk.
  ParsedFieldList l(t.db(), 1, big.data(), 1);
  EXPECT_TRUE(l.Parse({.summary_only = true, .field_strings = false, .field_names = false}));
  EXPECT_EQ(l.Count(), 0u);
}

TEST(ParsedFieldList, ASecondParseRepeatsOnlyAFailedWalkFromTheStart) {
  TestDb t = Repeating();
  EventParse ok(t.db(), 1, {1, 2, 3, 4});
  ASSERT_TRUE(ok.list.Parse({}));
  EXPECT_EQ(ok.list.Count(), 4u);

  EventParse p(t.db(), 1, {1, 2, 3});
  ASSERT_FALSE(p.ok);
  EXPECT_EQ(p.list.FindByName(u"a", {}), 0u);
  EXPECT_FALSE(p.list.Parse({}));
  EXPECT_EQ(p.Dump(), u"a=1@0 b=2@8 a=3@16 FAIL");
  EXPECT_EQ(p.list.FindByName(u"a", {}),
            0u);  // the cursors start over
}

// Summaries: the argument array is made of 32-bit words, and each
// conversion takes the words it asks for, as a 32-bit C runtime does.
TestDb Summarised(std::u16string format, std::u16string names) {
  TestDb t;
  t.Entity({4, 1}, u"Ent", kTop, 50).Summary(50, std::move(format), std::move(names));
  t.Field(1, u"u", 8, kFieldU8).Field(2, u"s", 8, kFieldI8).Field(3, u"w", 16, kFieldI16);
  t.Field(4, u"big", 64, kFieldU64).Field(5, u"lo", 32, kFieldU32).Field(6, u"hi", 32, kFieldU32);
  t.Field(7, u"flt", 32, kFieldFloat).Field(8, u"dbl", 64, kFieldDouble);
  t.Field(9, u"txt", 24, kFieldString8).Field(10, u"zero", 8, kFieldU8);
  t.EnumField(11, u"e", 8, false, 3).EnumEntry(3, 2, u"Two");
  for (std::uint32_t id = 1; id <= 11; ++id) t.Member(kTop, id);
  return t;
}

std::vector<std::uint8_t> SummaryPayload() {
  // One list: GCC 12 warns (wrongly) about inserts into a four-byte vector.
  return {200, 0xFE, 0xFF, 0xFF,                    // u, s, w
          3,   0,    0,    0,    5, 0, 0,    0,     // big: 5 * 2^32 + 3
          1,   0,    0,    0,    1, 0, 0,    0,     // lo 1, hi 1
          0,   0,    0,    0,                       // flt raw 0
          0,   0,    0,    0,    0, 0, 0x04, 0x40,  // dbl 2.5
          'h', 'e',  'y',  0,    2};                // txt, zero, e
}

std::u16string SummaryOf(std::u16string format, std::u16string names, bool strings = true,
                         bool field_names = true) {
  TestDb t = Summarised(std::move(format), std::move(names));
  EventParse p(t.db(), 1, SummaryPayload(), strings, field_names);
  EXPECT_TRUE(p.ok);
  return p.list.Summary();
}

TEST(ParsedFieldList, SummaryWordPacking) {
  // clang-format off
  const std::u16string cases[][3] = {  // format, field names, summary
      {u"u=%u s=%d w=%hd big=%I64u d=%.2f txt=%s e=%s", u"u, s,w ,big,dbl,txt,e",
       u"u=200 s=-2 w=-1 big=21474836483 d=2.50 txt=hey e=Two"},
      {u"fixed %d text", u"", u"fixed %d text"},  // no names: the format itself
      {u"%u %u", u"u,nothere", u""}, {u"%s %s", u"u", u""},  // a missing name, a misfit
      // 64-bit values are two words, low first; two 32-bit fields make one.
      {u"%d %d", u"big", u"3 5"}, {u"%I64d", u"big", u"21474836483"},
      {u"%u|%u|%u", u"big,lo", u"3|5|1"}, {u"%I64u", u"lo,hi", u"4294967297"},
      {u"%llx", u"lo,hi", u"100000001"}, {u"%08X %08X", u"dbl", u"00000000 40040000"},
      // A float is its raw word; "%f" pairs it with the next word.
      {u"%08X", u"flt", u"00000000"}, {u"%f %08X", u"flt,dbl", u"0.000000 40040000"},
      {u"%.1f", u"dbl", u"2.5"}, {u"%u %.1f", u"flt,dbl", u"0 2.5"},
      // Text conversions take the address of the value text; 0 is null;
      // "%hs" reads the wide text as bytes.
      {u"[%s]", u"e", u"[Two]"}, {u"[%5.2s]", u"e", u"[   Tw]"}, {u"[%hs]", u"e", u"[T]"},
      {u"[%s]", u"zero", u"[(null)]"},
      // Conversions that would read foreign memory.
      {u"%s", u"lo", u""}, {u"%u", u"e", u""}, {u"%*u", u"e,lo", u""}, {u"%I64u", u"e,lo", u""},
      {u"%d %d", u"lo", u""}, {u"%f", u"lo", u""}, {u"%*d|", u"lo,hi", u"1|"},
      {u"%p", u"e", u""},
      {u"a%cb %u", u"zero,lo", u"a"},  // a printed NUL ends the summary
      {u"%u %u", u"\vlo\f,\t hi \r\n", u"1 1"},
  };
  // clang-format on
  for (const auto& [format, names, want] : cases) {
    EXPECT_EQ(SummaryOf(format, names), want) << std::string(format.begin(), format.end());
  }
}

TEST(ParsedFieldList, SummaryNeedsNamesAndItsFormat) {
  // Names are matched against partial names, so they must be built.
  EXPECT_EQ(SummaryOf(u"%u", u"u", true, false), u"");
  EXPECT_EQ(SummaryOf(u"%u", u"u", false, true), u"200");
  TestDb t = Summarised(u"x", u"");
  t.Entity({4, 2}, u"Other", kTop, 51);  // format 51 does not exist
  EXPECT_EQ(EventParse(t.db(), 2, SummaryPayload()).list.Summary(), u"");
  // Summary only still reads the named fields.
  TestDb only = Summarised(u"u=%u", u"u");
  const auto bytes = SummaryPayload();
  ParsedFieldList l(only.db(), 1, bytes.data(), static_cast<std::int32_t>(bytes.size()));
  EXPECT_TRUE(l.Parse({.summary_only = true, .field_strings = false}));
  EXPECT_EQ(l.Summary(), u"u=200");
}

TEST(ParsedFieldList, HandoffEventsUseTheirFixedFieldAndFormat) {
  for (const auto& [event, field, text] :
       {std::tuple{276u, u"idle_handoff", u"idle_handoff=5"},
        std::tuple{277u, u"ms_access_handoff", u"ms_access_handoff=5"},
        std::tuple{278u, u"ms_access_probe_handoff", u"ms_access_probe_handoff=5"},
        std::tuple{639u, u"ms_access_handoff", u"ms_access_handoff=5"},
        std::tuple{300u, u"ms_access_handoff", u"db 5"}}) {  // another event
    TestDb t;
    t.Entity({4, event}, u"Handoff", kTop, 60).Summary(60, u"db %u", field);
    t.Field(1, field, 16, kFieldU16).Member(kTop, 1);
    EXPECT_EQ(EventParse(t.db(), event, {5, 0}).list.Summary(), text);
  }
  // The fixed rule needs exactly sixteen bits.
  TestDb t;
  t.Entity({4, 276}, u"Handoff", kTop, 60).Summary(60, u"db %u", u"other");
  t.Field(1, u"idle_handoff", 16, kFieldU16).Field(2, u"other", 8, kFieldU8);
  t.Member(kTop, 1).Member(kTop, 2);
  EXPECT_EQ(EventParse(t.db(), 276, {5, 0, 9}).list.Summary(), u"db 9");
}

using rendertest::EventParse;
using rendertest::TestDb;

TEST(FieldXml, EmptyLists) {
  TestDb t;
  t.Entity({4, 1}, u"Ent", 100).Field(1, u"a", 8, kFieldU8).Member(100, 1);
  EXPECT_EQ(FieldListXml(EventParse(t.db(), 1, {}).list),
            u"<Entity>\n  <Name>Ent</Name>\n</Entity>\n");
  ParsedFieldList no_entity(t.db(), nullptr);
  no_entity.Parse({});
  EXPECT_EQ(FieldListXml(no_entity), u"<Entity>\n</Entity>\n");
}

TEST(FieldXml, NamedFieldsWithSummaryAndEnumeration) {
  TestDb t;
  t.Entity({4, 1}, u"Ent", 100, 5).Summary(5, u"a=%u & more", u"a");
  t.Field(1, u"a", 8, kFieldU8).EnumField(2, u"mode", 8, false, 3, true);
  t.Field(3, u"s", 0, kFieldZString16).EnumEntry(3, 0x1F, u"Thirty-one");
  t.Member(100, 1).Member(100, 2).Member(100, 3);
  EventParse p(t.db(), 1, {7, 0x1F, 'h', 0, 'i', 0, 0, 0});
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(FieldListXml(p.list),
            u"<Entity>\n  <Name>Ent</Name>\n  <Summary>a=7 & more</Summary>\n  <Fields>\n"
            u"    <Field>\n      <NamePartial>a</NamePartial>\n"
            u"      <ValueText>7</ValueText>\n      <ValueRaw>7</ValueRaw>\n"
            u"      <BitSize>8</BitSize>\n      <BitOffset>0</BitOffset>\n    </Field>\n"
            u"    <Field>\n      <NamePartial>mode</NamePartial>\n"
            u"      <ValueText>Thirty-one</ValueText>\n      <ValueRaw>0x1F</ValueRaw>\n"
            u"      <BitSize>8</BitSize>\n      <BitOffset>8</BitOffset>\n    </Field>\n"
            u"    <Field>\n      <NamePartial>s</NamePartial>\n"
            u"      <ValueText>hi</ValueText>\n      <ValueRaw>hi</ValueRaw>\n"
            u"      <BitSize>32</BitSize>\n      <BitOffset>16</BitOffset>\n    </Field>\n"
            u"  </Fields>\n</Entity>\n");
}

TEST(FieldXml, UnnamedFieldsHaveEmptyNameElementsAndTextsAreNotEscaped) {
  TestDb t;
  t.Entity({4, 1}, u"Ent", 100).Field(1, u"s", 32, kFieldString8).Member(100, 1);
  EventParse p(t.db(), 1, {'<', '&', '>', 0}, false, false);
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(FieldListXml(p.list),
            u"<Entity>\n  <Name>Ent</Name>\n  <Fields>\n"
            u"    <Field>\n      <NamePartial></NamePartial>\n"
            u"      <ValueText><&></ValueText>\n      <ValueRaw><&></ValueRaw>\n"
            u"      <BitSize>24</BitSize>\n      <BitOffset>0</BitOffset>\n    </Field>\n"
            u"  </Fields>\n</Entity>\n");
}

TEST(FieldXml, NumbersWithoutValueTextsShowEmptyTextsButEnumerationRawValues) {
  TestDb t;
  t.Entity({4, 1}, u"Ent", 100).Field(1, u"a", 8, kFieldU8).EnumField(2, u"e", 8, true, 3);
  t.Member(100, 1).Member(100, 2);
  const std::u16string xml = FieldListXml(EventParse(t.db(), 1, {7, 0xFF}, false, true).list);
  EXPECT_NE(xml.find(u"<ValueText></ValueText>\n      <ValueRaw></ValueRaw>"),
            std::u16string::npos);
  EXPECT_NE(xml.find(u"<ValueText></ValueText>\n      <ValueRaw>-1</ValueRaw>"),
            std::u16string::npos);
}

}  // namespace
}  // namespace quillon
