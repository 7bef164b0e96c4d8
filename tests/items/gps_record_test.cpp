#include "items/gps_record.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <vector>

namespace quillon {
namespace {

platform::SystemTime At(std::uint16_t h, std::uint16_t m, std::uint16_t s, std::uint16_t ms) {
  return {2024, 3, 0, 1, h, m, s, ms};
}

ItemTimestamp Stamp(platform::SystemTime t) {
  platform::FileTime ft = 0;
  EXPECT_TRUE(platform::SystemTimeToFileTime(t, ft));
  return ItemTimestamp::FromFileTime(ft);
}

TEST(GpsRecord, ReadsFieldsAndMissingFieldsAsZero) {
  std::vector<std::uint8_t> b(kGpsRecordSize);
  const double d[6] = {-33.5, 151.25, 12.5, 270.0, 3.5, 93015.25};
  const std::int32_t n[2] = {7, 2};
  std::memcpy(b.data(), d, sizeof d);
  std::memcpy(b.data() + 48, n, sizeof n);
  GpsRecord g = ReadGpsRecord(b);
  EXPECT_EQ(g.latitude, -33.5);
  EXPECT_EQ(g.longitude, 151.25);
  EXPECT_EQ(g.altitude, 12.5);
  EXPECT_EQ(g.course, 270.0);
  EXPECT_EQ(g.speed, 3.5);
  EXPECT_EQ(g.utc_time, 93015.25);
  EXPECT_EQ(g.satellites, 7);
  EXPECT_EQ(g.quality, 2);
  b.resize(20);
  g = ReadGpsRecord(b);
  EXPECT_EQ(g.latitude, -33.5);
  EXPECT_EQ(g.altitude, 0.0);
  EXPECT_EQ(g.quality, 0);
}

TEST(GpsTime, TimeOfDayOnTheGivenDate) {
  const platform::SystemTime day = At(0, 0, 0, 0);
  EXPECT_EQ(GpsTimeOnDate(93015.25, day), Stamp(At(9, 30, 15, 250)));
  // 5.9996 prints as "000006.000" with three decimals.
  EXPECT_EQ(GpsTimeOnDate(5.9996, day), Stamp(At(0, 0, 6, 0)));
  EXPECT_EQ(GpsTimeOnDate(235959.999, day), Stamp(At(23, 59, 59, 999)));
  for (double bad :
       {-5.0, 250000.0 /* hour 25 */, 96000.0 /* minute 60 */, 1234567.0,
        std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    EXPECT_FALSE(GpsTimeOnDate(bad, day).has_value()) << bad;
  }
}

TEST(GpsTime, TodayUsesTheCurrentDate) {
  platform::SystemTime before, after, got;
  ASSERT_TRUE(platform::FileTimeToSystemTime(platform::CurrentFileTime(), before));
  const auto t = GpsTimeToday(120000.0);
  ASSERT_TRUE(platform::FileTimeToSystemTime(platform::CurrentFileTime(), after));
  ASSERT_TRUE(t.has_value());
  ASSERT_TRUE(platform::FileTimeToSystemTime(t->ToFileTime(), got));
  EXPECT_EQ(got.hour, 12);
  EXPECT_EQ(got.minute, 0);
  // Around midnight the date may move on between the calls.
  auto same_day = [&got](const platform::SystemTime& d) {
    return got.year == d.year && got.month == d.month && got.day == d.day;
  };
  EXPECT_TRUE(same_day(before) || same_day(after));
}

}  // namespace
}  // namespace quillon
