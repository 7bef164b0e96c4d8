#include "items/gps_record.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace quillon {
namespace {

platform::SystemTime Day(std::uint16_t year, std::uint16_t month, std::uint16_t day) {
  platform::SystemTime t;
  t.year = year;
  t.month = month;
  t.day = day;
  return t;
}

std::uint64_t FileTimeOf(platform::SystemTime t) {
  platform::FileTime ft = 0;
  EXPECT_TRUE(platform::SystemTimeToFileTime(t, ft));
  return ft;
}

TEST(GpsRecord, ReadsFields) {
  std::vector<std::uint8_t> b(kGpsRecordSize);
  const double d[6] = {-33.5, 151.25, 12.5, 270.0, 3.5, 93015.25};
  std::memcpy(b.data(), d, sizeof d);
  const std::int32_t n[2] = {7, 2};
  std::memcpy(b.data() + 48, n, sizeof n);
  const GpsRecord g = ReadGpsRecord(b);
  EXPECT_EQ(g.latitude, -33.5);
  EXPECT_EQ(g.longitude, 151.25);
  EXPECT_EQ(g.altitude, 12.5);
  EXPECT_EQ(g.course, 270.0);
  EXPECT_EQ(g.speed, 3.5);
  EXPECT_EQ(g.utc_time, 93015.25);
  EXPECT_EQ(g.satellites, 7);
  EXPECT_EQ(g.quality, 2);
}

TEST(GpsRecord, ShortRecordReadsMissingFieldsAsZero) {
  std::vector<std::uint8_t> b(20, 0);
  const double lat = 10.0;
  std::memcpy(b.data(), &lat, 8);
  const GpsRecord g = ReadGpsRecord(b);
  EXPECT_EQ(g.latitude, 10.0);
  EXPECT_EQ(g.altitude, 0.0);
  EXPECT_EQ(g.quality, 0);
}

TEST(GpsTime, TimeOfDayOnTheGivenDate) {
  platform::SystemTime want = Day(2024, 3, 1);
  want.hour = 9;
  want.minute = 30;
  want.second = 15;
  want.milliseconds = 250;
  auto t = GpsTimeOnDate(93015.25, Day(2024, 3, 1));
  ASSERT_TRUE(t.has_value());
  EXPECT_EQ(*t, ItemTimestamp::FromFileTime(FileTimeOf(want)));
}

TEST(GpsTime, RoundsToMillisecondsAsPrinted) {
  platform::SystemTime want = Day(2024, 3, 1);
  want.second = 6;
  // 5.9996 prints as "000006.000" with three decimals.
  auto t = GpsTimeOnDate(5.9996, Day(2024, 3, 1));
  ASSERT_TRUE(t.has_value());
  EXPECT_EQ(*t, ItemTimestamp::FromFileTime(FileTimeOf(want)));
}

TEST(GpsTime, RefusesValuesThatAreNoTimeOfDay) {
  const auto day = Day(2024, 3, 1);
  EXPECT_FALSE(GpsTimeOnDate(-5.0, day).has_value());
  EXPECT_FALSE(GpsTimeOnDate(250000.0, day).has_value());   // hour 25
  EXPECT_FALSE(GpsTimeOnDate(96000.0, day).has_value());    // minute 60
  EXPECT_FALSE(GpsTimeOnDate(1234567.0, day).has_value());  // too long
  EXPECT_FALSE(GpsTimeOnDate(std::numeric_limits<double>::quiet_NaN(), day).has_value());
  EXPECT_FALSE(GpsTimeOnDate(std::numeric_limits<double>::infinity(), day).has_value());
  EXPECT_TRUE(GpsTimeOnDate(235959.999, day).has_value());
}

TEST(GpsTime, TodayUsesTheCurrentDate) {
  platform::SystemTime before;
  ASSERT_TRUE(platform::FileTimeToSystemTime(platform::CurrentFileTime(), before));
  auto t = GpsTimeToday(120000.0);
  platform::SystemTime after;
  ASSERT_TRUE(platform::FileTimeToSystemTime(platform::CurrentFileTime(), after));
  ASSERT_TRUE(t.has_value());
  platform::SystemTime got;
  ASSERT_TRUE(platform::FileTimeToSystemTime(t->ToFileTime(), got));
  EXPECT_EQ(got.hour, 12);
  EXPECT_EQ(got.minute, 0);
  // Around midnight the date may move on between the calls.
  const bool same_day =
      (got.year == before.year && got.month == before.month && got.day == before.day) ||
      (got.year == after.year && got.month == after.month && got.day == after.day);
  EXPECT_TRUE(same_day);
}

}  // namespace
}  // namespace quillon
