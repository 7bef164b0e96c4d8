#include "common/item_timestamp.h"

#include <gtest/gtest.h>

#include "platform/clock.h"

namespace quillon {
namespace {

constexpr std::uint64_t kEpoch = ItemTimestamp::kEpochFileTime;
constexpr std::uint64_t kTick = 0x10000;  // one 1.25 ms tick in the raw form

TEST(ItemTimestamp, FileTimesTruncateTheFractionOnItsOwn) {
  EXPECT_EQ(kEpoch, 0x01A8EB8DB5E64000ULL);  // 1980-01-06
  EXPECT_EQ(ItemTimestamp::kEpochTicks * ItemTimestamp::kFileTimePerTick, kEpoch);
  // {raw, file time}: a fraction never reaches a whole tick; 0xC000 is not rejected.
  // clang-format off
  const std::pair<std::uint64_t, std::uint64_t> to[] = {
      {0, kEpoch}, {kTick, kEpoch + 12500}, {49151, kEpoch + 12499}, {1, kEpoch}, {4, kEpoch + 1},
      {kTick + 49151, kEpoch + 12500 + 12499}, {0xC000, kEpoch + 12500}, {0xFFFF, kEpoch + 16666}};
  const std::pair<std::uint64_t, std::uint64_t> from[] = {  // {file time, raw}
      {0, 0}, {kEpoch - 1, 0}, {kEpoch, 0}, {kEpoch + 12500, kTick}, {kEpoch + 1, 3},
      {kEpoch + 12499, 49148}, {kEpoch + 3 * 12500 + 6250, 3 * kTick + 24576}};
  // clang-format on
  for (const auto& [raw, ft] : to) EXPECT_EQ(ItemTimestamp(raw).ToFileTime(), ft) << raw;
  for (const auto& [ft, raw] : from) EXPECT_EQ(ItemTimestamp::FromFileTime(ft).Raw(), raw) << ft;
  // Whole ticks survive both ways; a file time comes back the same or one unit lower.
  for (std::uint64_t ticks : {1ULL, 69120000ULL, 0xFFFFFFFFULL, (1ULL << 40) + 7}) {
    EXPECT_EQ(ItemTimestamp::FromFileTime(ItemTimestamp(ticks << 16).ToFileTime()).Raw(),
              ticks << 16);
  }
  for (std::uint64_t offset : {2ULL, 2500ULL, 6250ULL, 987654321ULL}) {
    const std::uint64_t back = ItemTimestamp::FromFileTime(kEpoch + offset).ToFileTime();
    EXPECT_TRUE(back == kEpoch + offset || back + 1 == kEpoch + offset) << offset;
  }
}

TEST(ItemTimestamp, Milliseconds) {
  const std::uint64_t epoch_ms = kEpoch / 10000;
  EXPECT_EQ(ItemTimestamp(0).ToMilliseconds(), epoch_ms);
  EXPECT_EQ(ItemTimestamp(kTick).ToMilliseconds(), epoch_ms + 1);  // 1.25 ms
  EXPECT_EQ(ItemTimestamp(4 * kTick).ToMilliseconds(), epoch_ms + 5);
  // Multiples of 5 ms are whole ticks; others lose one unit and read back 1 ms early.
  EXPECT_EQ(ItemTimestamp::FromMilliseconds(epoch_ms + 5).Raw(), 4 * kTick);
  EXPECT_EQ(ItemTimestamp::FromMilliseconds(epoch_ms + 1).ToMilliseconds(), epoch_ms);
  EXPECT_EQ(ItemTimestamp::FromMilliseconds(epoch_ms - 1).Raw(), 0u);
}

TEST(ItemTimestamp, AutomationDateKeepsMilliseconds) {
  constexpr double kMs = 1.1574074074074074e-8;  // of a day
  EXPECT_EQ(ItemTimestamp(0).ToAutomationDate(), 29226.0);
  EXPECT_EQ(ItemTimestamp(69120000ULL << 16).ToAutomationDate(), 29227.0);  // one day later
  EXPECT_EQ(ItemTimestamp(kTick).ToAutomationDate(), 29226.0 + kMs);
  EXPECT_EQ(ItemTimestamp(400 * kTick).ToAutomationDate(), 29226.0 + 500 * kMs);
  EXPECT_EQ(ItemTimestamp(~0ULL).ToAutomationDate(), 0.0);  // beyond year 9999
}

TEST(ItemTimestamp, Text) {
  const auto text = [](std::uint64_t raw, bool date, bool ms) {
    return ItemTimestamp(raw).Text({.want_date = date, .want_milliseconds = ms});
  };
  EXPECT_EQ(text(0, true, true), u"01/06/1980 00:00:00.000");
  EXPECT_EQ(text(0, true, false), u"01/06/1980 00:00:00");
  EXPECT_EQ(text(kTick, false, true), u"00:00:00.001");  // 1.25 ms truncates
  const std::uint64_t leap_day = ItemTimestamp::FromFileTime(133536836967500000ULL).Raw();
  EXPECT_EQ(text(leap_day, true, true), u"02/29/2024 12:34:56.750");
  std::u16string out = u"at ";
  ItemTimestamp(0).AppendText(out, {.want_date = false, .want_milliseconds = false});
  EXPECT_EQ(out, u"at 00:00:00");
}

TEST(ItemTimestamp, NowLiesBetweenTwoClockReadings) {
  const auto before = ItemTimestamp::FromFileTime(platform::CurrentFileTime());
  const auto now = ItemTimestamp::Now();
  EXPECT_LE(before, now);
  EXPECT_LE(now, ItemTimestamp::FromFileTime(platform::CurrentFileTime()));
}

}  // namespace
}  // namespace quillon
