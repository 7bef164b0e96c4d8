#include "store/item_factory.h"

#include <gtest/gtest.h>

#include "item_test_payloads.h"
#include "store/item_classes.h"

namespace quillon {
namespace {

using testing_items::Bytes;
using testing_items::kHeaderTime;
using testing_items::Make;

TEST(CreateItem, PayloadLengthLimits) {
  std::vector<std::uint8_t> max(kMaxItemPayload, 0x4B);
  ItemPtr ok = Make(kItemDiagTx, max);
  ASSERT_NE(ok, nullptr);
  EXPECT_EQ(ok->GetPayloadLength(), 8208u);

  std::vector<std::uint8_t> over(kMaxItemPayload + 1, 0x4B);
  EXPECT_EQ(Make(kItemDiagTx, over), nullptr);
  EXPECT_EQ(Make(kItemDiagTx, over, false), nullptr);
  EXPECT_EQ(Make(kItemMalformed, {}), nullptr);
  EXPECT_EQ(Make(kItemDiagTx, {}, false), nullptr);
}

TEST(CreateItem, RefusesUnknownTypeCodes) {
  EXPECT_EQ(Make(11, {1, 2, 3}), nullptr);
  EXPECT_EQ(Make(0xFFFFFFFF, {1, 2, 3}, false), nullptr);
}

TEST(CreateItem, MakesTheClassOfEachTypeCode) {
  EXPECT_NE(dynamic_cast<MalformedItem*>(Make(0, {5}).get()), nullptr);
  EXPECT_NE(dynamic_cast<DiagResponseItem*>(Make(1, {0}).get()), nullptr);
  EXPECT_NE(dynamic_cast<DiagRequestItem*>(Make(2, {0}).get()), nullptr);
  EXPECT_NE(dynamic_cast<GpsItem*>(Make(3, testing_items::GpsPayload(1.0)).get()), nullptr);
  EXPECT_NE(dynamic_cast<EventItem*>(Make(4, testing_items::EventPayload(1, 0, {})).get()),
            nullptr);
  EXPECT_NE(dynamic_cast<LogItem*>(Make(5, testing_items::LogPayload(0x1234, 0)).get()), nullptr);
  EXPECT_NE(dynamic_cast<MessageItem*>(
                Make(6, testing_items::ExtendedMessage(1, 1, 0, {}, "x", "f.c")).get()),
            nullptr);
  EXPECT_NE(dynamic_cast<StringItem*>(Make(7, Bytes().U32(0xC0000001).U16(0)).get()), nullptr);
  EXPECT_NE(dynamic_cast<OtaLogItem*>(Make(8, testing_items::LogPayload(0x1234, 0)).get()),
            nullptr);
  EXPECT_NE(dynamic_cast<SubsysResponseItem*>(Make(9, {0x4B, 1, 2, 0}).get()), nullptr);
  EXPECT_NE(dynamic_cast<SubsysRequestItem*>(Make(10, {0x4B, 1, 2, 0}).get()), nullptr);
}

TEST(CreateItem, HeaderTimestampReplacesCreationTimeAndAuxStartsUnset) {
  ItemPtr item = Make(kItemDiagRx, {0x1C, 1, 2});
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(item->Timestamp(), ItemTimestamp(kHeaderTime));
  EXPECT_EQ(item->AuxValue(), 0xFFFFFFFFu);
  EXPECT_TRUE(item->IsValid());
}

TEST(CreateItem, FixedOtaLogCodesPromoteLogs) {
  for (std::uint32_t code : {0x1076u, 0x1077u, 0x1078u, 0x1079u, 0x107Cu, 0x1085u, 0x1086u, 0x412Fu,
                             0x512Fu, 0x5226u, 0x5230u, 0x713Au}) {
    ItemPtr item = Make(kItemLog, testing_items::LogPayload(code, 5));
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->TypeCode(), kItemOtaLog) << code;
    EXPECT_EQ(item->Key(), (ItemKey{kItemOtaLog, code}));
    EXPECT_EQ(item->GetHeaderLength(), 16u);
    EXPECT_EQ(item->Color(), OtaLogColor(code));
    EXPECT_NE(item->Color(), kColorUnknown);
    EXPECT_TRUE(IsOtaLogCode(code, NullItemDatabaseView::Instance()));
  }
}

TEST(CreateItem, OtherLogCodesStayLogs) {
  for (std::uint32_t code : {0x1004u, 0x1090u, 0x10D6u, 0x1075u, 0x713Bu, 0u}) {
    ItemPtr item = Make(kItemLog, testing_items::LogPayload(code, 5));
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->TypeCode(), kItemLog) << code;
    EXPECT_FALSE(IsOtaLogCode(code, NullItemDatabaseView::Instance()));
  }
}

TEST(CreateItem, DatabaseListedOtaLogCodePromotes) {
  testing_items::OtaCodeDatabase db({0x1004, 0xB0C0});
  ItemPtr listed = Make(kItemLog, testing_items::LogPayload(0x1004, 5), true, db);
  ASSERT_NE(listed, nullptr);
  EXPECT_EQ(listed->TypeCode(), kItemOtaLog);
  EXPECT_EQ(listed->Color(), 0xF8F2E8u);  // in the colour table
  ItemPtr untabled = Make(kItemLog, testing_items::LogPayload(0xB0C0, 5), true, db);
  ASSERT_NE(untabled, nullptr);
  EXPECT_EQ(untabled->TypeCode(), kItemOtaLog);
  EXPECT_EQ(untabled->Color(), kColorUnknown);
  EXPECT_TRUE(IsOtaLogCode(0xB0C0, db));
  EXPECT_FALSE(IsOtaLogCode(0xB0C1, db));
}

// A log code needs bytes 6 and 7; a shorter LOG cannot be promoted.
TEST(CreateItem, ShortLogIsNotPromoted) {
  ItemPtr item = Make(kItemLog, {0x10, 0, 0, 0, 0, 0, 0x3A}, false);
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(item->TypeCode(), kItemLog);
  EXPECT_EQ(item->Key(), (ItemKey{kItemLog}));
}

TEST(CreateItem, InvalidItemsBecomeMalformed) {
  const std::vector<std::pair<std::uint32_t, std::vector<std::uint8_t>>> cases = {
      {kItemEvent, {0x60, 5, 0, 0x01}},                 // no room for the ID word
      {kItemEvent, {0x60, 5, 0, 0x01, 0x00, 1, 2}},     // time cut short
      {kItemLog, {0x10, 0, 12, 0, 12, 0, 0x34, 0x12}},  // header cut short
      {kItemOtaLog, {0x10, 0, 12, 0, 12, 0, 0x3A, 0x71, 1}},
      {kItemMsg, {0x79, 0, 0, 0}},    // not even the fixed fields
      {kItemMsg, {0x42, 1, 2, 3}},    // not a message command
      {kItemSubsysRx, {0x4B, 1, 2}},  // envelope cut short
      {kItemSubsysTx, {0x4B}},
  };
  for (const auto& [type, payload] : cases) {
    ItemPtr item = Make(type, payload);
    ASSERT_NE(item, nullptr) << type;
    EXPECT_EQ(item->TypeCode(), kItemMalformed) << type;
    EXPECT_EQ(item->Key(), (ItemKey{kItemMalformed, payload[0]}));
    EXPECT_EQ(item->Color(), kColorRed);
    EXPECT_EQ(item->AuxValue(), 0xFFFFFFFFu);
    EXPECT_EQ(item->Timestamp(), ItemTimestamp(kHeaderTime));
    EXPECT_EQ(item->GetHeaderLength(), 1u);
    EXPECT_TRUE(item->IsValid());
  }
}

TEST(CreateItem, WithoutValidationInvalidItemsKeepTheirType) {
  ItemPtr event = Make(kItemEvent, {0x60, 5, 0, 0x01}, false);
  ASSERT_NE(event, nullptr);
  EXPECT_EQ(event->TypeCode(), kItemEvent);
  EXPECT_FALSE(event->IsValid());
  EXPECT_EQ(event->GetHeaderLength(), 0u);
  EXPECT_EQ(event->GetSpecificTimestamp(), event->Timestamp());
}

TEST(CreateItem, InvalidGpsAndStringAreDropped) {
  std::vector<std::uint8_t> short_gps = testing_items::GpsPayload(1.0);
  short_gps.resize(55);
  EXPECT_EQ(Make(kItemGps, short_gps), nullptr);
  EXPECT_NE(Make(kItemGps, short_gps, false), nullptr);

  EXPECT_EQ(Make(kItemString, {0x01, 0x00, 0x00}), nullptr);              // no header word
  EXPECT_EQ(Make(kItemString, Bytes().U32(0xC0000005).U16(0)), nullptr);  // type 5
  EXPECT_NE(Make(kItemString, Bytes().U32(0xC0000004).U16(0)), nullptr);
}

TEST(CloneItem, SharesTheBufferAndKeepsTheTimestamp) {
  ItemPtr item = Make(kItemEvent, testing_items::EventPayload(276, 99, {5, 0}));
  ASSERT_NE(item, nullptr);
  item->SetTimestamp(ItemTimestamp(0x777));
  item->SetColor(0x123456);
  const std::uint32_t refs = item->Buffer().RefCount();

  ItemPtr clone = CloneItem(*item, true, NullItemDatabaseView::Instance());
  ASSERT_NE(clone, nullptr);
  EXPECT_EQ(clone->Buffer().Get(), item->Buffer().Get());
  EXPECT_EQ(item->Buffer().RefCount(), refs + 1);
  EXPECT_EQ(clone->TypeCode(), kItemEvent);
  EXPECT_EQ(clone->Key(), item->Key());
  EXPECT_EQ(clone->Timestamp(), ItemTimestamp(0x777));
  EXPECT_EQ(clone->Color(), 0xFFFFFFu);  // the default colour, not the source's

  clone.reset();
  EXPECT_EQ(item->Buffer().RefCount(), refs);
}

TEST(CloneItem, ClonesOtaLogsAndMalformedItemsAsTheyAre) {
  ItemPtr ota = Make(kItemLog, testing_items::LogPayload(0x713A, 1));
  ASSERT_NE(ota, nullptr);
  ItemPtr ota_clone = CloneItem(*ota, true, NullItemDatabaseView::Instance());
  ASSERT_NE(ota_clone, nullptr);
  EXPECT_EQ(ota_clone->TypeCode(), kItemOtaLog);

  ItemPtr bad = Make(kItemEvent, {0x60, 1});
  ASSERT_NE(bad, nullptr);
  ASSERT_EQ(bad->TypeCode(), kItemMalformed);
  ItemPtr bad_clone = CloneItem(*bad, true, NullItemDatabaseView::Instance());
  ASSERT_NE(bad_clone, nullptr);
  EXPECT_EQ(bad_clone->TypeCode(), kItemMalformed);
  EXPECT_EQ(bad_clone->Key(), (ItemKey{0, 0x60}));
}

}  // namespace
}  // namespace quillon
