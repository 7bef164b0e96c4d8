// The base behaviour that every item class inherits.
#include "common/item_record.h"

#include <gtest/gtest.h>

#include "common/item_database_view.h"
#include "common/mis_exception.h"

namespace quillon {
namespace {

class TestItem final : public ItemRecord {
 public:
  TestItem(std::uint32_t type_code, const ItemBufferRef& buffer, ItemKey key)
      : ItemRecord(type_code, buffer) {
    key_ = std::move(key);
  }
  std::uint32_t GetHeaderLength() const override { return 0; }
  bool SetDefaultColor() override { return true; }
};

ItemBufferRef Payload() {
  const std::uint8_t bytes[] = {0x4B, 0x12, 0x34};
  return ItemBufferRef::Make(bytes, sizeof(bytes));
}

TEST(ItemRecord, ConstructionTakesAReferenceAndStampsNow) {
  const ItemBufferRef buffer = Payload();
  const auto before = ItemTimestamp::Now();
  {
    const TestItem item(kItemLog, buffer, {kItemLog, 0x1234});
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
  const ItemBufferRef buffer = Payload();
  EXPECT_TRUE(TestItem(kItemLog, buffer, {kItemLog, 1}).IsValid());
  EXPECT_TRUE(TestItem(kItemMalformed, buffer, {kItemMalformed}).IsValid());
  EXPECT_FALSE(TestItem(kItemLog, buffer, {kItemLog, 70000}).IsValid());  // bad key
  EXPECT_FALSE(TestItem(kItemLog, buffer, {kItemEvent, 1}).IsValid());    // other type
  EXPECT_FALSE(TestItem(11, buffer, {11}).IsValid());
  EXPECT_FALSE(TestItem(kItemLog, ItemBufferRef(), {kItemLog, 1}).IsValid());
  const TestItem no_payload(kItemGps, ItemBufferRef(), {kItemGps});
  EXPECT_EQ(no_payload.GetPayload(), nullptr);
  EXPECT_EQ(no_payload.GetPayloadLength(), 0u);
}

TEST(ItemRecord, BaseSlotsAndTimestampComparisons) {
  TestItem early(kItemDiagRx, Payload(), {kItemDiagRx, 0x4B});
  std::uint8_t out[16] = {};
  EXPECT_EQ(early.GetDLFBuffer(out, sizeof(out)), 0u);
  std::u16string text = u"untouched";
  EXPECT_FALSE(early.GetParsedText(text, nullptr));

  TestItem late(kItemGps, Payload(), {kItemGps});
  early.SetTimestamp(ItemTimestamp(100));
  late.SetTimestamp(ItemTimestamp(200));
  EXPECT_TRUE(late.IsLaterThan(early));
  EXPECT_FALSE(early.IsLaterThan(late));
  EXPECT_TRUE(early.IsEarlierThan(late));
  late.SetTimestamp(ItemTimestamp(100));
  EXPECT_FALSE(late.IsLaterThan(early));  // strict
  EXPECT_FALSE(late.IsEarlierThan(early));
}

TEST(ItemRecord, TextsFilledByTheBase) {
  TestItem item(kItemSubsysTx, Payload(), {kItemSubsysTx, 18, 42});
  item.SetTimestamp(ItemTimestamp(0x10000));
  ItemTextRequest request{{ItemTextKind::kTypeText, u"old"},
                          {ItemTextKind::kTimestampText, u"old"},
                          {ItemTextKind::kSummary, u""}};
  item.GetTexts(request, ItemRenderOptions{}, nullptr);
  EXPECT_EQ(request[ItemTextKind::kTypeText], u"SUBSYS TX");
  EXPECT_EQ(request[ItemTextKind::kTimestampText], u"00:00:00.001");  // default options
  EXPECT_EQ(request[ItemTextKind::kSummary], u"");
  EXPECT_EQ(request.size(), 3u);  // nothing that was not asked for

  ItemTextRequest dated{{ItemTextKind::kTimestampText, u""}};
  item.GetTexts(dated, ItemRenderOptions{.want_date = true, .want_milliseconds = false}, nullptr);
  EXPECT_EQ(dated[ItemTextKind::kTimestampText], u"01/06/1980 00:00:00");

  const TestItem bad_key(kItemDiagRx, Payload(), {kItemDiagRx, 256});
  ItemTextRequest type{{ItemTextKind::kTypeText, u""}};
  bad_key.GetTexts(type, ItemRenderOptions{}, nullptr);
  EXPECT_EQ(type[ItemTextKind::kTypeText], u"Unknown");
}

TEST(NullItemDatabaseView, KnowsNothing) {
  const ItemDatabaseView& view = NullItemDatabaseView::Instance();
  EXPECT_FALSE(view.IsOtaLogCode(0x713A));
  EXPECT_FALSE(view.FindUserItemColor(ItemKey{kItemLog, 1}).has_value());
}

TEST(cMISException, ExplainsItselfWithOperationAndReason) {
  struct Case {
    cMISException error;
    const char* what;
  };
  const cMISException read_only(kMisCategorySystem, mis::kNotSupported, u"",
                                u"the file was opened read-only");
  const Case cases[] = {
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
  for (const Case& c : cases) EXPECT_STREQ(c.error.what(), c.what);
  EXPECT_EQ(cases[4].error.Category(), kMisCategorySystem);
  EXPECT_EQ(cases[4].error.Reason(), u"the file was opened read-only");
  EXPECT_EQ(cases[0].error.Reason(), u"an argument or an item index is not correct");
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
