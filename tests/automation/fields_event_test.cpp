// ColorItemFields and EventService.
#include <gtest/gtest.h>

#include "automation/auto_color_item.h"
#include "automation/auto_event_service.h"
#include "automation/auto_item_fields.h"
#include "automation/auto_item_store_files.h"
#include "database/database.h"
#include "render/field_xml.h"
#include "render/parsed_field_list.h"
#include "tests/automation/automation_test_support.h"

namespace quillon::testing {
namespace {

class FieldsTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { UseRepositoryDatabase(); }
  void SetUp() override {
    sample = files.LoadItemStore(SamplePath());
    auto item = files.GetItem(sample, kSampleMessage);
    fields = item->GetItemFields();
    ASSERT_NE(fields, nullptr);
    ASSERT_GE(fields->GetFieldCount(), 2u);
  }
  CAutoItemStoreFiles files;
  std::uint32_t sample = kAutoFailure;
  std::unique_ptr<CAutoItemFields> fields;
};

// The object made from an item outlives the item, its store and its
// ItemStoreFiles object.
TEST_F(FieldsTest, OutlivesItsItemAndStore) {
  const std::u16string xml = fields->GetXML();
  ASSERT_TRUE(files.CloseItemStore(sample));
  EXPECT_EQ(fields->GetXML(), xml);
  EXPECT_NE(fields->GetFieldValueText(0), u"");
}

TEST_F(FieldsTest, AnswersMatchTheParsedList) {
  const auto color_item = files.GetItem(sample, kSampleMessage);
  const ItemRecord* item = color_item->Item();
  ParsedFieldList list(automation::ProcessDatabase(), item);
  ASSERT_TRUE(list.Parse({.summary_only = false}));
  ASSERT_EQ(fields->GetFieldCount(), list.Count());
  EXPECT_EQ(fields->GetXML(), FieldListXml(list));
  for (std::uint32_t i = 0; i < list.Count(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(fields->GetFieldOffset(i), list.BitOffset(i));
    EXPECT_EQ(fields->GetFieldSize(i), list.BitSize(i));
    EXPECT_EQ(fields->GetFieldName(i, true), list.Name(i, true));
    EXPECT_EQ(fields->GetFieldName(i, false), list.Name(i, false));
    EXPECT_EQ(fields->GetFieldValueText(i), list.ValueText(i));
    EXPECT_EQ(fields->GetFieldValue(i).Type(), static_cast<std::uint16_t>(list.Value(i).Type()));
  }
  const std::u16string name = list.Name(1, true);
  EXPECT_EQ(fields->GetFieldIndex(name, true), 1u);
  EXPECT_EQ(fields->GetFieldIndexFrom(name, 2, {.partial = true}), kAutoFailure);
  EXPECT_EQ(fields->GetFieldIndexFrom(name, 2, {.partial = true, .loop = true}), 1u);
  const std::uint32_t id = list.Entries()[1].definition->id;
  EXPECT_EQ(fields->GetFieldIndexByID(id), 1u);
  EXPECT_EQ(fields->GetFieldIndexFromByID(id, 0, false), 1u);
}

TEST_F(FieldsTest, IndexAtTheCountAndEmptyNamesFail) {
  const std::uint32_t n = fields->GetFieldCount();
  EXPECT_EQ(fields->GetFieldOffset(n), kAutoFailure);
  EXPECT_EQ(fields->GetFieldSize(n), kAutoFailure);
  EXPECT_TRUE(fields->GetFieldValue(n).IsEmpty());
  EXPECT_EQ(fields->GetFieldName(n, true), u"");
  EXPECT_EQ(fields->GetFieldValueText(n), u"");
  EXPECT_EQ(fields->GetFieldIndex(u"", true), kAutoFailure);
  EXPECT_EQ(fields->GetFieldIndex(u"no such field", false), kAutoFailure);
}

TEST_F(FieldsTest, ConfiguredFieldsWithoutNamesOrStrings) {
  auto item = files.GetItem(sample, kSampleMessage);
  const auto bare =
      item->GetItemFields({.entity_name = {}, .field_strings = false, .field_names = false});
  ASSERT_NE(bare, nullptr);
  EXPECT_EQ(bare->GetFieldCount(), fields->GetFieldCount());
  EXPECT_EQ(bare->GetFieldName(0, true), u"");
  EXPECT_EQ(bare->GetFieldIndex(fields->GetFieldName(0, true), true), kAutoFailure);
}

TEST_F(FieldsTest, ObjectWithoutItemIsNotValid) {
  CAutoItemFields none(nullptr, {});
  EXPECT_FALSE(none.IsValid());
  EXPECT_EQ(none.GetXML(), u"");
  EXPECT_EQ(none.GetFieldCount(), 0u);
  EXPECT_EQ(none.GetFieldIndexByID(1), kAutoFailure);
  EXPECT_EQ(none.GetFieldIndexFrom(u"x", 0, {.partial = true, .loop = true}), kAutoFailure);
}

class EventServiceTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { UseRepositoryDatabase(); }
  CAutoEventService events;
};

TEST_F(EventServiceTest, NamesFromTheEventTable) {
  const ItemEntry* known = automation::ProcessDatabase().FindEvent(276);
  ASSERT_NE(known, nullptr);
  EXPECT_EQ(events.GetName(276), known->name);
  EXPECT_EQ(events.GetName(0xFFFFFF), u"");
}

TEST_F(EventServiceTest, OnlyUnsignedByteArraysAreSummarised) {
  CAutoItemStoreFiles files;
  const auto event = files.GetItem(files.LoadItemStore(SamplePath()), kSampleEvent);
  const std::uint32_t id = event->Item()->Key()[1];
  const AutoVariant payload = event->GetItemBuffer(false);
  const std::u16string summary = events.GetSummary(id, payload);
  EXPECT_NE(summary, u"");
  EXPECT_EQ(events.GetSummary(id, AutoVariant::ByRef(&payload)), summary);

  const auto bytes = std::make_shared<AutoByteArray>(*payload.AsArray());
  struct Case {
    const char* what;
    AutoVariant value;
  };
  const Case refused[] = {
      {"empty", AutoVariant()},
      {"signed bytes", AutoVariant::Array(kVtI1, bytes)},
      {"null array", AutoVariant::Array(kVtUI1, nullptr)},
      {"text", AutoVariant::Bstr(u"01 02")},
      {"number", AutoVariant::UI4(5)},
  };
  for (const Case& c : refused) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(events.GetSummary(id, c.value), u"");
  }
  EXPECT_EQ(events.GetSummary(id, AutoVariant::ByteArray(nullptr, 0)), u"");
}

}  // namespace
}  // namespace quillon::testing
