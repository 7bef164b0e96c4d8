// Making and cloning items by type code, and every item class on short,
// random, maximal and missing payloads: no operation may read outside the
// payload (the sanitizer build checks the reads).
#include "store/item_factory.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "item_test_payloads.h"
#include "store/item_classes.h"

namespace quillon {
namespace {

using namespace testing_items;
using V = std::vector<std::uint8_t>;

TEST(CreateItem, RefusesBadLengthsAndTypeCodes) {
  EXPECT_EQ(Make(kItemDiagTx, V(kMaxItemPayload, 0x4B))->GetPayloadLength(), 8208u);
  EXPECT_EQ(Make(kItemDiagTx, V(kMaxItemPayload + 1, 0x4B)), nullptr);
  EXPECT_EQ(Make(kItemDiagTx, V(kMaxItemPayload + 1, 0x4B), false), nullptr);
  EXPECT_EQ(Make(kItemMalformed, {}), nullptr);
  EXPECT_EQ(Make(kItemDiagTx, {}, false), nullptr);
  EXPECT_EQ(Make(11, {1, 2, 3}), nullptr);
  EXPECT_EQ(Make(0xFFFFFFFF, {1, 2, 3}, false), nullptr);
}

TEST(CreateItem, OtaLogCodesPromoteLogs) {
  for (std::uint32_t code : {0x1076u, 0x1077u, 0x1078u, 0x1079u, 0x107Cu, 0x1085u, 0x1086u, 0x412Fu,
                             0x512Fu, 0x5226u, 0x5230u, 0x713Au}) {
    ItemPtr item = Make(kItemLog, LogPayload(code, 5, 0));
    EXPECT_EQ(item->Key(), (ItemKey{kItemOtaLog, code}));
    EXPECT_EQ(item->GetHeaderLength(), 16u);
    EXPECT_TRUE(IsOtaLogCode(code, NullItemDatabaseView::Instance()));
  }
  for (std::uint32_t code : {0x1004u, 0x1090u, 0x10D6u, 0x1075u, 0x713Bu, 0u}) {
    EXPECT_EQ(Make(kItemLog, LogPayload(code, 5))->TypeCode(), kItemLog) << code;
    EXPECT_FALSE(IsOtaLogCode(code, NullItemDatabaseView::Instance()));
  }
  // Codes listed by the database, with and without a table colour.
  OtaCodeDatabase db({0x1004, 0xB0C0});
  ItemPtr listed = Make(kItemLog, LogPayload(0x1004, 5), true, db);
  EXPECT_EQ(listed->TypeCode(), kItemOtaLog);
  EXPECT_EQ(listed->Color(), 0xF8F2E8u);
  ItemPtr untabled = Make(kItemLog, LogPayload(0xB0C0, 5), true, db);
  EXPECT_EQ(untabled->TypeCode(), kItemOtaLog);
  EXPECT_EQ(untabled->Color(), kColorUnknown);
  EXPECT_FALSE(IsOtaLogCode(0xB0C1, db));
  // A log code needs bytes 6 and 7; a shorter LOG cannot be promoted.
  ItemPtr short_log = Make(kItemLog, {0x10, 0, 0, 0, 0, 0, 0x3A}, false);
  EXPECT_EQ(short_log->TypeCode(), kItemLog);
  EXPECT_EQ(short_log->Key(), (ItemKey{kItemLog}));
}

TEST(CreateItem, InvalidItemsBecomeMalformedOrAreDropped) {
  const std::pair<std::uint32_t, V> cases[] = {
      {kItemEvent, {0x60, 5, 0, 0x01}},                 // no room for the ID word
      {kItemEvent, {0x60, 5, 0, 0x01, 0x00, 1, 2}},     // time cut short
      {kItemLog, {0x10, 0, 12, 0, 12, 0, 0x34, 0x12}},  // header cut short
      {kItemOtaLog, {0x10, 0, 12, 0, 12, 0, 0x3A, 0x71, 1}},
      {kItemMsg, {0x79, 0, 0, 0}},  // not even the fixed fields
      {kItemMsg, {0x42, 1, 2, 3}},  // not a message command
      {kItemSubsysRx, {0x4B, 1, 2}},
      {kItemSubsysTx, {0x4B}},
  };
  for (const auto& [type, payload] : cases) {
    ItemPtr item = Make(type, payload);
    ASSERT_NE(item, nullptr) << type;
    EXPECT_EQ(item->Key(), (ItemKey{kItemMalformed, payload[0]})) << type;
    EXPECT_EQ(item->Color(), kColorRed);
    EXPECT_EQ(item->AuxValue(), 0xFFFFFFFFu);
    EXPECT_EQ(item->Timestamp(), ItemTimestamp(kHeaderTime));
    EXPECT_EQ(item->GetHeaderLength(), 1u);
    EXPECT_TRUE(item->IsValid());
  }
  // Without validation an invalid item keeps its type.
  ItemPtr event = Make(kItemEvent, {0x60, 5, 0, 0x01}, false);
  EXPECT_EQ(event->TypeCode(), kItemEvent);
  EXPECT_FALSE(event->IsValid());
  EXPECT_EQ(event->GetHeaderLength(), 0u);
  EXPECT_EQ(event->GetSpecificTimestamp(), event->Timestamp());
  // Invalid GPS and STRING items are dropped.
  V short_gps = GpsPayload(1.0);
  short_gps.resize(55);
  EXPECT_EQ(Make(kItemGps, short_gps), nullptr);
  EXPECT_NE(Make(kItemGps, short_gps, false), nullptr);
  EXPECT_EQ(Make(kItemString, {0x01, 0x00, 0x00}), nullptr);              // no header word
  EXPECT_EQ(Make(kItemString, Bytes().U32(0xC0000005).U16(0)), nullptr);  // type 5
  EXPECT_NE(Make(kItemString, Bytes().U32(0xC0000004).U16(0)), nullptr);
}

TEST(CloneItem, SharesTheBufferAndKeepsTypeAndTimestamp) {
  ItemPtr item = Make(kItemEvent, EventPayload(276, 99, {5, 0}));
  item->SetTimestamp(ItemTimestamp(0x777));
  item->SetColor(0x123456);
  const std::uint32_t refs = item->Buffer().RefCount();
  ItemPtr clone = CloneItem(*item, true, NullItemDatabaseView::Instance());
  EXPECT_EQ(clone->Buffer().Get(), item->Buffer().Get());
  EXPECT_EQ(item->Buffer().RefCount(), refs + 1);
  EXPECT_EQ(clone->Key(), item->Key());
  EXPECT_EQ(clone->Timestamp(), ItemTimestamp(0x777));
  EXPECT_EQ(clone->Color(), 0xFFFFFFu);  // the default colour, not the source's
  clone.reset();
  EXPECT_EQ(item->Buffer().RefCount(), refs);

  ItemPtr ota = Make(kItemLog, LogPayload(0x713A, 1));
  EXPECT_EQ(CloneItem(*ota, true, NullItemDatabaseView::Instance())->TypeCode(), kItemOtaLog);
  ItemPtr bad = Make(kItemEvent, {0x60, 1});
  ASSERT_EQ(bad->TypeCode(), kItemMalformed);
  EXPECT_EQ(CloneItem(*bad, true, NullItemDatabaseView::Instance())->Key(), (ItemKey{0, 0x60}));
}

void Exercise(const ItemRecord& item) {
  const std::uint32_t length = item.GetPayloadLength();
  std::vector<std::uint8_t> out(kMaxItemPayload + 16);
  const std::uint32_t written = item.GetDLFBuffer(out.data(), kMaxItemPayload + 12);
  if (!item.IsValid()) {
    EXPECT_EQ(written, 0u);
  }
  if (written != 0) {
    EXPECT_LE(written, length + 12);
    EXPECT_GE(written + 4, length);
  }
  const std::uint32_t header = item.GetHeaderLength();
  if (item.TypeCode() == kItemEvent) {
    EXPECT_LE(header, length);
  }
  (void)item.GetSpecificTimestamp();
  (void)item.IsLaterThan(item);
  if (item.IsValid()) {
    EXPECT_EQ(item.Key()[0], item.TypeCode());
  }
}

TEST(ItemBounds, ShortRandomAndLargestPayloadsOfEveryType) {
  // Command bytes that steer the parsers into their different branches.
  constexpr std::uint8_t kCommands[] = {0x00, 0x10, 0x1D, 0x1F, 0x4B, 0x60, 0x79, 0x80, 0xFF};
  std::mt19937 rng(7);
  std::uniform_int_distribution<int> byte(0, 255);
  int made = 0;
  for (std::uint32_t type = 0; type < kItemTypeCount; ++type) {
    for (std::size_t length = 1; length <= 121; ++length) {
      for (std::uint8_t command : kCommands) {
        V payload(length == 121 ? kMaxItemPayload : length);
        for (auto& b : payload) b = static_cast<std::uint8_t>(byte(rng));
        payload[0] = command;
        for (bool validate : {false, true}) {
          ItemPtr item = Make(type, payload, validate);
          if (!item) {
            // Only GPS and STRING are ever dropped.
            EXPECT_TRUE(validate && (type == kItemGps || type == kItemString));
            continue;
          }
          if (validate) {
            EXPECT_TRUE(item->IsValid());
          }
          Exercise(*item);
          ++made;
        }
      }
    }
  }
  EXPECT_GT(made, 10000);
}

// An item made straight from a class with no payload (the factory never
// makes one): every operation gives the empty value of its kind, so a caller
// that skips the header bytes never skips past the payload.
TEST(ItemBounds, WithoutAPayloadEveryOperationGivesItsEmptyValue) {
  const ItemBufferRef none;
  std::unique_ptr<ItemRecord> items[] = {
      std::make_unique<MalformedItem>(none),    std::make_unique<DiagResponseItem>(none),
      std::make_unique<DiagRequestItem>(none),  std::make_unique<GpsItem>(none),
      std::make_unique<EventItem>(none),        std::make_unique<LogItem>(none),
      std::make_unique<MessageItem>(none),      std::make_unique<StringItem>(none),
      std::make_unique<OtaLogItem>(none),       std::make_unique<SubsysResponseItem>(none),
      std::make_unique<SubsysRequestItem>(none)};
  std::uint8_t out[64] = {};
  for (std::uint32_t type = 0; type < kItemTypeCount; ++type) {
    ItemRecord& item = *items[type];
    item.SetTimestamp(ItemTimestamp(0x1234));
    EXPECT_EQ(item.TypeCode(), type);
    EXPECT_EQ(item.GetPayload(), nullptr) << type;
    EXPECT_EQ(item.GetPayloadLength(), 0u) << type;
    EXPECT_EQ(item.GetHeaderLength(), 0u) << type;
    EXPECT_EQ(item.GetDLFBuffer(out, sizeof(out)), 0u) << type;
    EXPECT_EQ(item.GetSpecificTimestamp(), ItemTimestamp(0x1234)) << type;
    EXPECT_FALSE(item.IsValid()) << type;
  }
}

}  // namespace
}  // namespace quillon
