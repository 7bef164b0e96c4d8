#include <gtest/gtest.h>

#include "render/field_xml.h"
#include "render/parsed_field_list.h"
#include "render_test_db.h"

namespace quillon {
namespace {

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
