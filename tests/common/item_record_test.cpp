// The base behaviour that every item class inherits.
#include "common/item_record.h"

#include <gtest/gtest.h>

#include "common/item_database_view.h"
#include "common/mis_exception.h"

namespace quillon {
namespace {

class TestItem final : public ItemRecord {
 public:
  TestItem(std::uint32_t type_code, ItemKey key, const ItemBufferRef& buffer = Payload())
      : ItemRecord(type_code, buffer) {
    key_ = std::move(key);
  }
  static ItemBufferRef Payload() {
    const std::uint8_t bytes[] = {0x4B, 0x12, 0x34};
    return ItemBufferRef::Make(bytes, sizeof(bytes));
  }
  std::uint32_t GetHeaderLength() const override { return 0; }
  bool SetDefaultColor() override { return true; }
};

TEST(ItemRecord, ConstructionTakesAReferenceAndStampsNow) {
  const ItemBufferRef buffer = TestItem::Payload();
  const auto before = ItemTimestamp::Now();
  {
    const TestItem item(kItemLog, {kItemLog, 0x1234}, buffer);
    EXPECT_EQ(buffer.RefCount(), 2u);
    EXPECT_EQ(item.TypeCode(), kItemLog);
    EXPECT_EQ(item.AuxValue(), 0xFFFFFFFFu);
    EXPECT_EQ(item.Color(), 0u);
    EXPECT_GE(item.Timestamp(), before);
    EXPECT_EQ(item.GetPayloadLength(), 3u);
    EXPECT_EQ(item.GetPayload()[0], 0x4B);
    EXPECT_EQ(item.GetSpecificTimestamp(), item.Timestamp());
  }
  EXPECT_EQ(buffer.RefCount(), 1u);
}

TEST(ItemRecord, ValidityNeedsTypeBufferAndMatchingKey) {
  EXPECT_TRUE(TestItem(kItemLog, {kItemLog, 1}).IsValid());
  EXPECT_TRUE(TestItem(kItemMalformed, {kItemMalformed}).IsValid());
  EXPECT_FALSE(TestItem(kItemLog, {kItemLog, 70000}).IsValid());  // bad key
  EXPECT_FALSE(TestItem(kItemLog, {kItemEvent, 1}).IsValid());    // other type
  EXPECT_FALSE(TestItem(11, {11}).IsValid());
  EXPECT_FALSE(TestItem(kItemLog, {kItemLog, 1}, ItemBufferRef()).IsValid());
  const TestItem no_payload(kItemGps, {kItemGps}, ItemBufferRef());
  EXPECT_EQ(no_payload.GetPayload(), nullptr);
  EXPECT_EQ(no_payload.GetPayloadLength(), 0u);
}

TEST(ItemRecord, BaseSlotsAndStrictTimestampComparisons) {
  TestItem early(kItemDiagRx, {kItemDiagRx, 0x4B});
  std::uint8_t out[16] = {};
  EXPECT_EQ(early.GetDLFBuffer(out, sizeof(out)), 0u);
  std::u16string text = u"untouched";
  EXPECT_FALSE(early.GetParsedText(text, nullptr));
  TestItem late(kItemGps, {kItemGps});
  early.SetTimestamp(ItemTimestamp(100));
  late.SetTimestamp(ItemTimestamp(200));
  EXPECT_TRUE(late.IsLaterThan(early) && early.IsEarlierThan(late));
  EXPECT_FALSE(early.IsLaterThan(late));
  late.SetTimestamp(ItemTimestamp(100));
  EXPECT_FALSE(late.IsLaterThan(early) || late.IsEarlierThan(early));
}

TEST(ItemRecord, TextsFilledByTheBase) {
  TestItem item(kItemSubsysTx, {kItemSubsysTx, 18, 42});
  item.SetTimestamp(ItemTimestamp(0x10000));
  ItemTextRequest request{{ItemTextKind::kTypeText, u"old"},
                          {ItemTextKind::kTimestampText, u"old"},
                          {ItemTextKind::kSummary, u""}};
  item.GetTexts(request, ItemRenderOptions{}, nullptr);
  // Default options; nothing that was not asked for.
  EXPECT_EQ(request, (ItemTextRequest{{ItemTextKind::kTypeText, u"SUBSYS TX"},
                                      {ItemTextKind::kTimestampText, u"00:00:00.001"},
                                      {ItemTextKind::kSummary, u""}}));
  ItemTextRequest dated{{ItemTextKind::kTimestampText, u""}};
  item.GetTexts(dated, ItemRenderOptions{.want_date = true, .want_milliseconds = false}, nullptr);
  EXPECT_EQ(dated[ItemTextKind::kTimestampText], u"01/06/1980 00:00:00");
  ItemTextRequest type{{ItemTextKind::kTypeText, u""}};
  TestItem(kItemDiagRx, {kItemDiagRx, 256}).GetTexts(type, ItemRenderOptions{}, nullptr);
  EXPECT_EQ(type[ItemTextKind::kTypeText], u"Unknown");
}

TEST(NullItemDatabaseView, KnowsNothing) {
  const ItemDatabaseView& view = NullItemDatabaseView::Instance();
  EXPECT_FALSE(view.IsOtaLogCode(0x713A));
  EXPECT_FALSE(view.FindUserItemColor(ItemKey{kItemLog, 1}).has_value());
}

TEST(cMISException, ExplainsItselfWithOperationAndReason) {
  const cMISException read_only(kMisCategorySystem, mis::kNotSupported, u"",
                                u"the file was opened read-only");
  const std::pair<cMISException, const char*> cases[] = {
      {cMISException(kMisCategoryCaller, mis::kBadArguments),
       "an argument or an item index is not correct (error 160)"},
      {cMISException(0xFFFFFFFF, 0xFFFFFFFF), "an unknown error (error 4294967295)"},
      {cMISException(kMisCategorySystem, 2, u"cannot open x.isf"),
       "cannot open x.isf: the file was not found (error 2)"},
      {read_only, "the file was opened read-only (error 50)"},
      // A context added later keeps the reason; a second one does not replace the first.
      {cMISException(read_only, u"cannot append item 7 to x.isf"),
       "cannot append item 7 to x.isf: the file was opened read-only (error 50)"},
      {cMISException(cMISException(kMisCategorySystem, 13, u"inner"), u"outer"),
       "outer: the data is invalid or corrupt (error 13)"},
  };
  for (const auto& [error, what] : cases) EXPECT_STREQ(error.what(), what);
  EXPECT_EQ(cases[4].first.Category(), kMisCategorySystem);
  EXPECT_EQ(cases[4].first.Reason(), u"the file was opened read-only");
  EXPECT_EQ(cases[0].first.Reason(), u"an argument or an item index is not correct");
  try {
    try {
      throw cMISException(kMisCategorySystem, 13, u"inner");
    } catch (const cMISException& e) {
      RethrowWithContext(e, u"outer");
    }
  } catch (const cMISException& e) {
    EXPECT_EQ(e.Context(), u"inner");  // the innermost operation names itself
  }
}

}  // namespace
}  // namespace quillon
