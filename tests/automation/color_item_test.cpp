// ColorItem: raw properties, payload rules, texts against the core's own
// rendering, and failure values without an item.
#include <gtest/gtest.h>

#include "automation/auto_color_item.h"
#include "automation/auto_item_fields.h"
#include "automation/auto_item_store_files.h"
#include "automation/module.h"
#include "tests/automation/automation_test_support.h"

namespace quillon::testing {
namespace {

std::vector<std::uint8_t> BytesOf(const AutoVariant& v) {
  EXPECT_EQ(v.Type(), kVtArray | kVtUI1);
  EXPECT_NE(v.AsArray(), nullptr);
  if (!v.AsArray()) return {};
  EXPECT_EQ(v.AsArray()->lower_bound, 0);
  return v.AsArray()->bytes;
}

// The core's own text of `kind` for the item, with the store's services.
std::u16string CoreText(const ItemRecord& item, ItemTextKind kind,
                        const ItemRenderOptions& options) {
  ItemTextRequest request{{kind, u""}};
  const ItemRenderServices services{.database = &automation::ProcessDatabase()};
  item.GetTexts(request, options, &services);
  return request[kind];
}

class ColorItemTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { UseRepositoryDatabase(); }
  void SetUp() override { sample = files.LoadItemStore(SamplePath()); }
  std::unique_ptr<CAutoColorItem> Sample(std::uint32_t index) {
    return files.GetItem(sample, index);
  }
  CAutoItemStoreFiles files;
  std::uint32_t sample = kAutoFailure;
};

TEST_F(ColorItemTest, LogPayloadWithAndWithoutHeaderBytes) {
  const auto log = Sample(kSampleLog);
  const std::vector<std::uint8_t> whole = BytesOf(log->GetItemBuffer(true));
  const std::vector<std::uint8_t> content = BytesOf(log->GetItemBuffer(false));
  EXPECT_EQ(log->GetItemSize(true), log->GetItemSize(false) + 16);
  EXPECT_EQ(whole.size(), log->GetItemSize(true));
  EXPECT_EQ(std::vector<std::uint8_t>(whole.begin() + 16, whole.end()), content);
  EXPECT_EQ(log->GetItemType(), 5u);
  EXPECT_EQ(log->GetItemTypeText(), u"LOG");
  EXPECT_EQ(log->GetItemTimestampText({.want_date = true}), u"03/01/2024 09:30:00.427");
  EXPECT_EQ(log->GetItemTimestampText({.want_milliseconds = false}), u"09:30:00");
}

TEST_F(ColorItemTest, HeaderRulesOfBufferAndSize) {
  RawItems raw;
  struct Case {
    std::uint32_t type;
    std::vector<std::uint8_t> payload;
    std::uint32_t size_with, size_without;
    std::size_t bytes_without;
  };
  const Case cases[] = {
      {3, std::vector<std::uint8_t>(40, 1), 40, 40, 40},           // GPS: no header
      {5, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, 10, kAutoFailure, 10},  // LOG shorter than its header
      {2, {0x4B}, 1, 0, 0},                                        // DIAG TX: header only
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.type);
    const CAutoColorItem item = raw.Item(c.type, c.payload);
    EXPECT_EQ(item.GetItemSize(true), c.size_with);
    EXPECT_EQ(item.GetItemSize(false), c.size_without);
    EXPECT_EQ(BytesOf(item.GetItemBuffer(false)).size(), c.bytes_without);
  }
}

TEST_F(ColorItemTest, TimestampsAsDateAndDouble) {
  const auto event = Sample(kSampleEvent);
  const AutoClass& c = ColorItemClass();
  const AutoVariant date = event->Invoke(*c.FindMethod(403), {});
  const AutoVariant real = event->Invoke(*c.FindMethod(416), {});
  EXPECT_EQ(date.Type(), kVtDate);
  EXPECT_EQ(real.Type(), kVtR8);
  EXPECT_EQ(date.AsDouble(), real.AsDouble());
  EXPECT_NEAR(real.AsDouble(), 45352.396, 0.001);  // 1 March 2024, 09:30
}

TEST_F(ColorItemTest, TextMethodsAskTheCoreForTheirKind) {
  struct Case {
    const char* name;
    ItemTextKind kind;
    ItemRenderOptions options;
    std::u16string (*call)(const CAutoColorItem&);
  };
  const Case cases[] = {
      {"type", ItemTextKind::kTypeText, {}, [](auto& i) { return i.GetItemTypeText(); }},
      {"key", ItemTextKind::kKeyText, {}, [](auto& i) { return i.GetItemKeyText(); }},
      {"name", ItemTextKind::kName, {}, [](auto& i) { return i.GetItemName(); }},
      {"summary", ItemTextKind::kSummary, {}, [](auto& i) { return i.GetItemSummary(); }},
      {"buffer",
       ItemTextKind::kBufferText,
       {.include_header_bytes = true},
       [](auto& i) { return i.GetItemBufferText(true); }},
      {"stamp",
       ItemTextKind::kTimestampText,
       {.want_date = true, .want_milliseconds = false, .timestamp_flag = false},
       [](auto& i) {
         return i.GetItemTimestampText({.want_date = true, .want_milliseconds = false});
       }},
      {"specific",
       ItemTextKind::kTimestampText,
       {.want_date = false, .specific_timestamp = true, .timestamp_flag = false},
       [](auto& i) { return i.GetItemSpecificTimestampText({}); }},
  };
  for (const std::uint32_t index :
       {kSampleString, kSampleOtaLog, kSampleEvent, kSampleLog, kSampleMalformed}) {
    const auto item = Sample(index);
    for (const Case& c : cases) {
      SCOPED_TRACE(::testing::Message() << index << " " << c.name);
      EXPECT_EQ(c.call(*item), CoreText(*item->Item(), c.kind, c.options));
    }
  }
}

TEST_F(ColorItemTest, DlfBufferIsTheItemsOwnForm) {
  const auto log = Sample(kSampleLog);
  std::vector<std::uint8_t> expected(8208);
  expected.resize(log->Item()->GetDLFBuffer(expected.data(), 8208));
  EXPECT_FALSE(expected.empty());
  EXPECT_EQ(BytesOf(log->GetItemDLFBuffer()), expected);
}

TEST_F(ColorItemTest, AdHocFieldReads) {
  RawItems raw;
  // DIAG TX: one header byte (the command code), then the bytes read.
  const CAutoColorItem diag = raw.Item(2, {0x4B, 0x34, 0x12, 0xC0, 0x01});
  EXPECT_EQ(diag.GetItemFieldValue({.field_type = 4, .bit_count = 16}).RawBits(), 0x1234u);
  EXPECT_EQ(diag.GetItemFieldValueText({.field_type = 4, .bit_count = 16}, true), u"0x1234");
  const AutoVariant flag =
      diag.GetItemFieldValue({.field_type = 0, .bit_count = 1, .bit_offset = 16});
  EXPECT_EQ(flag.Type(), kVtBool);
  EXPECT_EQ(static_cast<std::int16_t>(flag.RawBits()), kAutoFalse);
  EXPECT_TRUE(diag.GetItemFieldValue({.field_type = 8, .bit_count = 65}).IsEmpty());
  EXPECT_TRUE(
      diag.GetItemFieldValue({.field_type = 2, .bit_count = 8, .bit_offset = 40}).IsEmpty());
  EXPECT_EQ(diag.GetItemFieldValue({.field_type = 2, .bit_count = 8, .include_header_bytes = true})
                .RawBits(),
            0x4Bu);
}

// Every method of an object without an item (its store closed) answers
// its failure value.
TEST_F(ColorItemTest, ClosedStoreGivesFailureValues) {
  RawItems raw;
  CAutoColorItem item = raw.Item(3, {1, 2, 3});
  ASSERT_TRUE(item.HasItem());
  raw.Close();
  EXPECT_FALSE(item.HasItem());
  for (const AutoMethod& m : ColorItemClass().methods) {
    SCOPED_TRACE(m.name);
    const std::vector<AutoVariant> args(m.params.size(), AutoVariant::UI4(1));
    const AutoVariant r = item.Invoke(m, args);
    switch (m.result) {
      case AutoType::kUI4:
        EXPECT_EQ(r.AsUI4(), m.name == "GetItemColor" ? 0u : kAutoFailure);
        break;
      case AutoType::kDate:
      case AutoType::kR8:
        EXPECT_EQ(r.AsDouble(), 0.0);
        break;
      case AutoType::kBstr:
        EXPECT_EQ(r.AsText(), u"");
        break;
      case AutoType::kDispatch:
        EXPECT_EQ(r.AsObject(), nullptr);
        break;
      case AutoType::kVariant:
        if (m.dispid == 419) {
          EXPECT_TRUE(r.IsEmpty());
        } else {
          EXPECT_TRUE(BytesOf(r).empty());
        }
        break;
      case AutoType::kBool:
        ADD_FAILURE() << "no ColorItem method returns a boolean";
    }
  }
}

TEST_F(ColorItemTest, FieldObjectsOfInvalidItemsAreNull) {
  RawItems raw;
  const CAutoColorItem log = raw.Item(5, {1, 2, 3});
  EXPECT_FALSE(log.Item()->IsValid());
  EXPECT_EQ(log.GetItemFields(), nullptr);
  EXPECT_TRUE(log.GetItemFieldValue({.field_type = 2, .bit_count = 8}).IsEmpty());
  EXPECT_EQ(Sample(kSampleEvent)->GetItemFields({.entity_name = u"no such entity"}), nullptr);
}

}  // namespace
}  // namespace quillon::testing
