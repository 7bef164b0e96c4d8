// Every item class on short, random and maximal payloads: no operation may
// read outside the payload (the sanitizer build checks the reads), and the
// results keep their invariants.
#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "item_test_payloads.h"
#include "store/item_classes.h"

namespace quillon {
namespace {

using testing_items::Make;

// Command bytes that steer the parsers into their different branches.
constexpr std::uint8_t kCommands[] = {0x00, 0x10, 0x1D, 0x1F, 0x4B, 0x60, 0x79, 0x80, 0xFF};

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
    EXPECT_TRUE(item.Key().IsValid());
    EXPECT_EQ(item.Key()[0], item.TypeCode());
  }
}

TEST(ItemBounds, ShortAndRandomPayloadsOfEveryType) {
  std::mt19937 rng(7);
  std::uniform_int_distribution<int> byte(0, 255);
  int made = 0;
  for (std::uint32_t type = 0; type < kItemTypeCount; ++type) {
    for (std::size_t length = 1; length <= 120; ++length) {
      for (std::uint8_t command : kCommands) {
        std::vector<std::uint8_t> payload(length);
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

TEST(ItemBounds, LargestPayloadOfEveryType) {
  std::mt19937 rng(11);
  std::uniform_int_distribution<int> byte(0, 255);
  for (std::uint32_t type = 0; type < kItemTypeCount; ++type) {
    for (std::uint8_t command : kCommands) {
      std::vector<std::uint8_t> payload(kMaxItemPayload);
      for (auto& b : payload) b = static_cast<std::uint8_t>(byte(rng));
      payload[0] = command;
      ItemPtr item = Make(type, payload, false);
      ASSERT_NE(item, nullptr);
      Exercise(*item);
    }
  }
}

// An item made straight from a class with no payload (the factory never
// makes one): every operation gives the empty value of its kind, so a caller
// that skips the header bytes never skips past the payload.
TEST(ItemBounds, WithoutAPayloadEveryOperationGivesItsEmptyValue) {
  const ItemBufferRef none;
  std::vector<std::unique_ptr<ItemRecord>> items;
  items.push_back(std::make_unique<MalformedItem>(none));
  items.push_back(std::make_unique<DiagResponseItem>(none));
  items.push_back(std::make_unique<DiagRequestItem>(none));
  items.push_back(std::make_unique<GpsItem>(none));
  items.push_back(std::make_unique<EventItem>(none));
  items.push_back(std::make_unique<LogItem>(none));
  items.push_back(std::make_unique<MessageItem>(none));
  items.push_back(std::make_unique<StringItem>(none));
  items.push_back(std::make_unique<OtaLogItem>(none));
  items.push_back(std::make_unique<SubsysResponseItem>(none));
  items.push_back(std::make_unique<SubsysRequestItem>(none));
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

// An event whose length byte points exactly at the payload's end parses;
// one byte more does not.
TEST(ItemBounds, EventPayloadEndingExactlyAtTheEnd) {
  std::vector<std::uint8_t> payload =
      testing_items::Bytes().U8(0x60).U16(0).U16(3u << 13 | 1).U64(0).U8(3).U8(1).U8(2).U8(3);
  ItemPtr item = Make(kItemEvent, payload, false);
  EXPECT_TRUE(item->IsValid());
  EXPECT_EQ(item->GetHeaderLength(), 14u);
  payload.pop_back();
  EXPECT_FALSE(Make(kItemEvent, payload, false)->IsValid());
}

}  // namespace
}  // namespace quillon
