#include "common/item_timestamp.h"

#include <gtest/gtest.h>

#include "platform/clock.h"

namespace quillon {
namespace {

constexpr std::uint64_t kEpoch = ItemTimestamp::kEpochFileTime;
// One 1.25 ms tick in the raw form.
constexpr std::uint64_t kTick = 0x10000;

std::u16string Text(std::uint64_t raw, bool date, bool ms) {
  return ItemTimestamp(raw).Text({.want_date = date, .want_milliseconds = ms});
}

TEST(ItemTimestamp, ToFileTime) {
  EXPECT_EQ(kEpoch, 0x01A8EB8DB5E64000ULL);  // 1980-01-06
  EXPECT_EQ(ItemTimestamp::kEpochTicks * ItemTimestamp::kFileTimePerTick, kEpoch);
  EXPECT_EQ(ItemTimestamp(0).ToFileTime(), kEpoch);
  EXPECT_EQ(ItemTimestamp(kTick).ToFileTime(), kEpoch + 12500);
  // The fraction is truncated on its own: it never reaches a whole tick.
  EXPECT_EQ(ItemTimestamp(49151).ToFileTime(), kEpoch + 12499);
  EXPECT_EQ(ItemTimestamp(kTick + 49151).ToFileTime(), kEpoch + 12500 + 12499);
  EXPECT_EQ(ItemTimestamp(1).ToFileTime(), kEpoch);  // 0.25 units
  EXPECT_EQ(ItemTimestamp(4).ToFileTime(), kEpoch + 1);
  // A fraction of 49152 (0xC000) is not rejected: exactly one more tick.
  EXPECT_EQ(ItemTimestamp(0xC000).ToFileTime(), ItemTimestamp(kTick).ToFileTime());
  EXPECT_EQ(ItemTimestamp(0xFFFF).ToFileTime(), kEpoch + 16666);
}

TEST(ItemTimestamp, FromFileTime) {
  EXPECT_EQ(ItemTimestamp::FromFileTime(0).Raw(), 0u);
  EXPECT_EQ(ItemTimestamp::FromFileTime(kEpoch - 1).Raw(), 0u);
  EXPECT_EQ(ItemTimestamp::FromFileTime(kEpoch).Raw(), 0u);
  EXPECT_EQ(ItemTimestamp::FromFileTime(kEpoch + 12500).Raw(), kTick);
  EXPECT_EQ(ItemTimestamp::FromFileTime(kEpoch + 1).Raw(), 3u);  // 49152/12500 = 3.9
  EXPECT_EQ(ItemTimestamp::FromFileTime(kEpoch + 12499).Raw(), 49148u);
  EXPECT_EQ(ItemTimestamp::FromFileTime(kEpoch + 3 * 12500 + 6250).Raw(), 3 * kTick + 24576);
}

TEST(ItemTimestamp, RoundTrips) {
  // Whole ticks survive both ways.
  for (std::uint64_t ticks : {0ULL, 1ULL, 69120000ULL, 0xFFFFFFFFULL, (1ULL << 40) + 7}) {
    const ItemTimestamp t(ticks << 16);
    EXPECT_EQ(ItemTimestamp::FromFileTime(t.ToFileTime()), t);
  }
  // A file time comes back the same or one unit lower: both steps truncate.
  for (std::uint64_t offset : {0ULL, 1ULL, 2ULL, 2500ULL, 6250ULL, 12499ULL, 987654321ULL}) {
    const std::uint64_t ft = kEpoch + offset;
    const std::uint64_t back = ItemTimestamp::FromFileTime(ft).ToFileTime();
    EXPECT_LE(back, ft);
    EXPECT_GE(back + 1, ft);
  }
}

TEST(ItemTimestamp, Milliseconds) {
  const std::uint64_t epoch_ms = kEpoch / 10000;
  EXPECT_EQ(ItemTimestamp(0).ToMilliseconds(), epoch_ms);
  EXPECT_EQ(ItemTimestamp(kTick).ToMilliseconds(), epoch_ms + 1);  // 1.25 ms
  EXPECT_EQ(ItemTimestamp(4 * kTick).ToMilliseconds(), epoch_ms + 5);
  // Multiples of 5 ms are whole ticks and come back exactly.
  EXPECT_EQ(ItemTimestamp::FromMilliseconds(epoch_ms + 5).Raw(), 4 * kTick);
  EXPECT_EQ(ItemTimestamp::FromMilliseconds(epoch_ms + 5).ToMilliseconds(), epoch_ms + 5);
  // Other milliseconds lose one unit on the way and read back 1 ms early.
  EXPECT_EQ(ItemTimestamp::FromMilliseconds(epoch_ms + 1).ToMilliseconds(), epoch_ms);
  EXPECT_EQ(ItemTimestamp::FromMilliseconds(epoch_ms - 1).Raw(), 0u);
}

TEST(ItemTimestamp, AutomationDate) {
  EXPECT_EQ(ItemTimestamp(0).ToAutomationDate(), 29226.0);
  // One day after the epoch: 86,400,000 ms are 69,120,000 ticks.
  EXPECT_EQ(ItemTimestamp(69120000ULL << 16).ToAutomationDate(), 29227.0);
  // Milliseconds are kept although the calendar step drops them.
  EXPECT_EQ(ItemTimestamp(kTick).ToAutomationDate(), 29226.0 + 1.1574074074074074e-8);
  EXPECT_EQ(ItemTimestamp(400 * kTick).ToAutomationDate(), 29226.0 + 500 * 1.1574074074074074e-8);
  // Beyond year 9999 the date conversion fails.
  EXPECT_EQ(ItemTimestamp(~0ULL).ToAutomationDate(), 0.0);
}

TEST(ItemTimestamp, Text) {
  EXPECT_EQ(Text(0, true, true), u"01/06/1980 00:00:00.000");
  EXPECT_EQ(Text(0, true, false), u"01/06/1980 00:00:00");
  // 1.25 ms truncates to 1 ms.
  EXPECT_EQ(Text(kTick, false, true), u"00:00:00.001");
  const std::uint64_t leap_day = ItemTimestamp::FromFileTime(133536836967500000ULL).Raw();
  EXPECT_EQ(Text(leap_day, true, true), u"02/29/2024 12:34:56.750");
  std::u16string out = u"at ";
  ItemTimestamp(0).AppendText(out, {.want_date = false, .want_milliseconds = false});
  EXPECT_EQ(out, u"at 00:00:00");
}

TEST(ItemTimestamp, NowLiesBetweenTwoClockReadings) {
  const auto before = ItemTimestamp::FromFileTime(platform::CurrentFileTime());
  const auto now = ItemTimestamp::Now();
  const auto after = ItemTimestamp::FromFileTime(platform::CurrentFileTime());
  EXPECT_LE(before, now);
  EXPECT_LE(now, after);
  EXPECT_GT(now.Raw(), 0u);
}

}  // namespace
}  // namespace quillon
