// Specific (device) timestamps and the comparisons built on them.
#include <gtest/gtest.h>

#include "item_test_payloads.h"
#include "store/item_classes.h"

namespace quillon {
namespace {

using testing_items::Bytes;
using testing_items::kHeaderTime;
using testing_items::Make;

constexpr std::uint64_t kDeviceTime = 0x00000ABCDEF01234ull;

TEST(SpecificTimestamp, EventFullTime) {
  ItemPtr item = Make(kItemEvent, testing_items::EventPayload(276, kDeviceTime, {1, 0}));
  EXPECT_EQ(item->GetSpecificTimestamp(), ItemTimestamp(kDeviceTime));
}

TEST(SpecificTimestamp, EventTruncatedTimeFallsBack) {
  ItemPtr item = Make(kItemEvent, Bytes().U8(0x60).U16(4).U16(9 | 0x8000).U16(0x1234));
  ASSERT_EQ(item->TypeCode(), kItemEvent);
  EXPECT_EQ(item->GetSpecificTimestamp(), ItemTimestamp(kHeaderTime));
}

TEST(SpecificTimestamp, EventThatDoesNotParseFallsBack) {
  ItemPtr item = Make(kItemEvent, {0x60, 0, 0, 1, 0, 1, 2, 3}, false);
  EXPECT_EQ(item->GetSpecificTimestamp(), ItemTimestamp(kHeaderTime));
}

TEST(SpecificTimestamp, LogAndOtaLog) {
  EXPECT_EQ(Make(kItemLog, testing_items::LogPayload(0x1234, kDeviceTime))->GetSpecificTimestamp(),
            ItemTimestamp(kDeviceTime));
  EXPECT_EQ(Make(kItemLog, testing_items::LogPayload(0x713A, kDeviceTime))->GetSpecificTimestamp(),
            ItemTimestamp(kDeviceTime));
  std::vector<std::uint8_t> cut = testing_items::LogPayload(0x1234, kDeviceTime, 0);
  cut.pop_back();
  EXPECT_EQ(Make(kItemLog, cut, false)->GetSpecificTimestamp(), ItemTimestamp(kHeaderTime));
}

TEST(SpecificTimestamp, Messages) {
  EXPECT_EQ(Make(kItemMsg, testing_items::ExtendedMessage(1, 1, kDeviceTime, {}, "m", "f.c"))
                ->GetSpecificTimestamp(),
            ItemTimestamp(kDeviceTime));
  EXPECT_EQ(Make(kItemMsg, testing_items::LegacyMessage(1, kDeviceTime))->GetSpecificTimestamp(),
            ItemTimestamp(kDeviceTime));
  std::vector<std::uint8_t> open = testing_items::ExtendedMessage(1, 1, kDeviceTime, {}, "m", "f");
  open.back() = 'x';
  EXPECT_EQ(Make(kItemMsg, open, false)->GetSpecificTimestamp(), ItemTimestamp(kHeaderTime));
}

TEST(SpecificTimestamp, TypesWithoutDeviceTimeUseTheGenericOne) {
  EXPECT_EQ(Make(kItemDiagRx, Bytes().U8(29).U64(kDeviceTime))->GetSpecificTimestamp(),
            ItemTimestamp(kHeaderTime));
  EXPECT_EQ(Make(kItemDiagTx, {0})->GetSpecificTimestamp(), ItemTimestamp(kHeaderTime));
  EXPECT_EQ(Make(kItemSubsysRx, {0x4B, 1, 2, 3})->GetSpecificTimestamp(),
            ItemTimestamp(kHeaderTime));
  EXPECT_EQ(Make(kItemString, Bytes().U32(0xC0000000).U16(0))->GetSpecificTimestamp(),
            ItemTimestamp(kHeaderTime));
  EXPECT_EQ(Make(kItemMalformed, {1})->GetSpecificTimestamp(), ItemTimestamp(kHeaderTime));
}

TEST(SpecificTimestamp, GpsTimeOfDayToday) {
  ItemPtr item = Make(kItemGps, testing_items::GpsPayload(93015.25));
  platform::SystemTime got;
  ASSERT_TRUE(platform::FileTimeToSystemTime(item->GetSpecificTimestamp().ToFileTime(), got));
  EXPECT_EQ(got.hour, 9);
  EXPECT_EQ(got.minute, 30);
  EXPECT_EQ(got.second, 15);
  EXPECT_EQ(got.milliseconds, 250);
  EXPECT_NE(got.year, 1980);
}

TEST(SpecificTimestamp, GpsWithoutTimeOfDayFallsBack) {
  EXPECT_EQ(Make(kItemGps, testing_items::GpsPayload(-1.0))->GetSpecificTimestamp(),
            ItemTimestamp(kHeaderTime));
  EXPECT_EQ(Make(kItemGps, testing_items::GpsPayload(246000.0))->GetSpecificTimestamp(),
            ItemTimestamp(kHeaderTime));
  std::vector<std::uint8_t> short_gps = testing_items::GpsPayload(93015.25);
  short_gps.resize(48);
  EXPECT_EQ(Make(kItemGps, short_gps, false)->GetSpecificTimestamp(), ItemTimestamp(kHeaderTime));
}

TEST(SpecificTimestamp, ComparisonsAreStrict) {
  ItemPtr early = Make(kItemLog, testing_items::LogPayload(1, 100));
  ItemPtr late = Make(kItemEvent, testing_items::EventPayload(1, 200, {}));
  ItemPtr same = Make(kItemLog, testing_items::LogPayload(2, 100));
  EXPECT_TRUE(late->IsLaterThan(*early));
  EXPECT_FALSE(early->IsLaterThan(*late));
  EXPECT_TRUE(early->IsEarlierThan(*late));
  EXPECT_FALSE(early->IsLaterThan(*same));
  EXPECT_FALSE(early->IsEarlierThan(*same));
  // A DIAG item compares by its generic timestamp.
  ItemPtr diag = Make(kItemDiagTx, {0});
  EXPECT_TRUE(diag->IsLaterThan(*late));
}

}  // namespace
}  // namespace quillon
