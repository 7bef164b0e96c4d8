#include <gtest/gtest.h>

#include <cstdint>

#include "platform/clock.h"

namespace quillon::platform {
namespace {

SystemTime Make(int y, int mo, int d, int h = 0, int mi = 0, int s = 0, int ms = 0) {
  SystemTime t;
  t.year = static_cast<std::uint16_t>(y);
  t.month = static_cast<std::uint16_t>(mo);
  t.day = static_cast<std::uint16_t>(d);
  t.hour = static_cast<std::uint16_t>(h);
  t.minute = static_cast<std::uint16_t>(mi);
  t.second = static_cast<std::uint16_t>(s);
  t.milliseconds = static_cast<std::uint16_t>(ms);
  return t;
}

constexpr FileTime kTicksPerDay = 864'000'000'000ULL;

void ExpectFields(const SystemTime& t, int y, int mo, int d, int dow, int h, int mi, int s,
                  int ms) {
  EXPECT_EQ(t.year, y);
  EXPECT_EQ(t.month, mo);
  EXPECT_EQ(t.day, d);
  EXPECT_EQ(t.day_of_week, dow);
  EXPECT_EQ(t.hour, h);
  EXPECT_EQ(t.minute, mi);
  EXPECT_EQ(t.second, s);
  EXPECT_EQ(t.milliseconds, ms);
}

TEST(FileTimeToSystemTime, KnownDates) {
  SystemTime t;
  ASSERT_TRUE(FileTimeToSystemTime(0, t));
  ExpectFields(t, 1601, 1, 1, 1, 0, 0, 0, 0);  // a Monday

  // The start of GPS time, 1980-01-06, a Sunday.
  ASSERT_TRUE(FileTimeToSystemTime(119604384000000000ULL, t));
  ExpectFields(t, 1980, 1, 6, 0, 0, 0, 0, 0);

  // The Unix epoch plus a time of day; sub-millisecond ticks are cut.
  ASSERT_TRUE(FileTimeToSystemTime(116444736000000000ULL + 45'296'789'9999ULL, t));
  ExpectFields(t, 1970, 1, 1, 4, 12, 34, 56, 789);

  ASSERT_TRUE(FileTimeToSystemTime(0x7FFFFFFFFFFFFFFFULL, t));
  ExpectFields(t, 30828, 9, 14, 4, 2, 48, 5, 477);
}

TEST(FileTimeToSystemTime, TopBitFails) {
  SystemTime t = Make(2000, 1, 1);
  EXPECT_FALSE(FileTimeToSystemTime(0x8000000000000000ULL, t));
  EXPECT_FALSE(FileTimeToSystemTime(0xFFFFFFFFFFFFFFFFULL, t));
  EXPECT_EQ(t.year, 2000);  // untouched
}

TEST(FileTimeToSystemTime, LeapYears) {
  SystemTime t;
  FileTime ft = 0;
  ASSERT_TRUE(SystemTimeToFileTime(Make(2000, 2, 28), ft));
  ASSERT_TRUE(FileTimeToSystemTime(ft + kTicksPerDay, t));
  ExpectFields(t, 2000, 2, 29, 2, 0, 0, 0, 0);  // 2000 is a leap year (divisible by 400)

  ASSERT_TRUE(SystemTimeToFileTime(Make(2100, 2, 28), ft));
  ASSERT_TRUE(FileTimeToSystemTime(ft + kTicksPerDay, t));
  ExpectFields(t, 2100, 3, 1, 1, 0, 0, 0, 0);  // 2100 is not

  ASSERT_TRUE(SystemTimeToFileTime(Make(1900, 2, 28), ft));
  ASSERT_TRUE(FileTimeToSystemTime(ft + kTicksPerDay, t));
  EXPECT_EQ(t.month, 3);
}

TEST(SystemTimeToFileTime, KnownDates) {
  FileTime ft = 1;
  ASSERT_TRUE(SystemTimeToFileTime(Make(1601, 1, 1), ft));
  EXPECT_EQ(ft, 0u);
  ASSERT_TRUE(SystemTimeToFileTime(Make(1980, 1, 6), ft));
  EXPECT_EQ(ft, 119604384000000000ULL);
  ASSERT_TRUE(SystemTimeToFileTime(Make(1970, 1, 1, 12, 34, 56, 789), ft));
  EXPECT_EQ(ft, 116444736000000000ULL + 45'296'789'0000ULL);
  ASSERT_TRUE(SystemTimeToFileTime(Make(9999, 12, 31, 23, 59, 59, 999), ft));
  EXPECT_EQ(ft, 2650467743999990000ULL);
  ASSERT_TRUE(SystemTimeToFileTime(Make(30827, 12, 31, 23, 59, 59, 999), ft));
}

TEST(SystemTimeToFileTime, IgnoresDayOfWeek) {
  SystemTime t = Make(2024, 5, 17, 8);
  FileTime a = 0;
  FileTime b = 0;
  ASSERT_TRUE(SystemTimeToFileTime(t, a));
  t.day_of_week = 6;
  ASSERT_TRUE(SystemTimeToFileTime(t, b));
  EXPECT_EQ(a, b);
}

TEST(SystemTimeToFileTime, RejectsFieldsOutOfRange) {
  FileTime ft = 0;
  EXPECT_FALSE(SystemTimeToFileTime(Make(1600, 12, 31), ft));
  EXPECT_FALSE(SystemTimeToFileTime(Make(30828, 1, 1), ft));
  EXPECT_FALSE(SystemTimeToFileTime(Make(2000, 0, 1), ft));
  EXPECT_FALSE(SystemTimeToFileTime(Make(2000, 13, 1), ft));
  EXPECT_FALSE(SystemTimeToFileTime(Make(2000, 1, 0), ft));
  EXPECT_FALSE(SystemTimeToFileTime(Make(2000, 4, 31), ft));
  EXPECT_FALSE(SystemTimeToFileTime(Make(2001, 2, 29), ft));
  EXPECT_FALSE(SystemTimeToFileTime(Make(2100, 2, 29), ft));
  EXPECT_TRUE(SystemTimeToFileTime(Make(2000, 2, 29), ft));
  EXPECT_FALSE(SystemTimeToFileTime(Make(2000, 1, 1, 24), ft));
  EXPECT_FALSE(SystemTimeToFileTime(Make(2000, 1, 1, 0, 60), ft));
  EXPECT_FALSE(SystemTimeToFileTime(Make(2000, 1, 1, 0, 0, 60), ft));
  EXPECT_FALSE(SystemTimeToFileTime(Make(2000, 1, 1, 0, 0, 0, 1000), ft));
}

TEST(SystemTimeToFileTime, RoundTripsEveryDayOfFourCenturies) {
  // One sample per day, with a moving time of day: every month length and
  // leap rule of the 400-year cycle passes through both conversions.
  const FileTime start = 0;
  const FileTime step = kTicksPerDay + 37'000'000'0ULL + 10'000;  // 1 day, 370 s, 1 ms
  for (FileTime ft = start; ft < 400 * 366 * kTicksPerDay; ft += step) {
    SystemTime t;
    ASSERT_TRUE(FileTimeToSystemTime(ft, t));
    FileTime back = 0;
    ASSERT_TRUE(SystemTimeToFileTime(t, back)) << ft;
    ASSERT_EQ(back, ft - ft % 10'000) << ft;
  }
}

TEST(SystemTimeToVariantTime, KnownDates) {
  double d = -99;
  ASSERT_TRUE(SystemTimeToVariantTime(Make(1899, 12, 30), d));
  EXPECT_EQ(d, 0.0);
  ASSERT_TRUE(SystemTimeToVariantTime(Make(1980, 1, 6), d));
  EXPECT_EQ(d, 29226.0);
  ASSERT_TRUE(SystemTimeToVariantTime(Make(1900, 1, 1), d));
  EXPECT_EQ(d, 2.0);
  ASSERT_TRUE(SystemTimeToVariantTime(Make(9999, 12, 31), d));
  EXPECT_EQ(d, 2958465.0);
  ASSERT_TRUE(SystemTimeToVariantTime(Make(100, 1, 1), d));
  EXPECT_EQ(d, -657434.0);
  ASSERT_TRUE(SystemTimeToVariantTime(Make(1980, 1, 6, 6), d));
  EXPECT_EQ(d, 29226.25);
  ASSERT_TRUE(SystemTimeToVariantTime(Make(1980, 1, 6, 18), d));
  EXPECT_EQ(d, 29226.75);
}

TEST(SystemTimeToVariantTime, TimeOfDayBeforeTheEpochIsNegative) {
  // Before 1899-12-30 the fraction counts away from zero like the day.
  double d = 0;
  ASSERT_TRUE(SystemTimeToVariantTime(Make(1899, 12, 29, 6), d));
  EXPECT_EQ(d, -1.25);
  ASSERT_TRUE(SystemTimeToVariantTime(Make(1899, 12, 29, 18), d));
  EXPECT_EQ(d, -1.75);
  ASSERT_TRUE(SystemTimeToVariantTime(Make(1899, 12, 28), d));
  EXPECT_EQ(d, -2.0);
  // The day of the epoch itself is day 0 and counts forward.
  ASSERT_TRUE(SystemTimeToVariantTime(Make(1899, 12, 30, 12), d));
  EXPECT_EQ(d, 0.5);
}

TEST(SystemTimeToVariantTime, DropsMillisecondsAndKeepsSeconds) {
  double with_ms = 0;
  double without_ms = 0;
  ASSERT_TRUE(SystemTimeToVariantTime(Make(2020, 6, 15, 13, 14, 15, 999), with_ms));
  ASSERT_TRUE(SystemTimeToVariantTime(Make(2020, 6, 15, 13, 14, 15, 0), without_ms));
  EXPECT_EQ(with_ms, without_ms);
  const double whole_days = 43997.0;  // 2020-06-15
  EXPECT_NEAR(with_ms - whole_days, (13 * 3600 + 14 * 60 + 15) / 86400.0, 1e-10);
}

TEST(SystemTimeToVariantTime, RejectsOutOfRange) {
  double d = 7;
  EXPECT_FALSE(SystemTimeToVariantTime(Make(99, 12, 31), d));
  EXPECT_FALSE(SystemTimeToVariantTime(Make(10000, 1, 1), d));
  EXPECT_FALSE(SystemTimeToVariantTime(Make(2000, 13, 1), d));
  EXPECT_FALSE(SystemTimeToVariantTime(Make(2001, 2, 29), d));
  EXPECT_FALSE(SystemTimeToVariantTime(Make(2000, 1, 1, 24), d));
  EXPECT_EQ(d, 7.0);
}

TEST(CurrentFileTime, IsAPlausibleUtcTime) {
  FileTime y2020 = 0;
  FileTime y2200 = 0;
  ASSERT_TRUE(SystemTimeToFileTime(Make(2020, 1, 1), y2020));
  ASSERT_TRUE(SystemTimeToFileTime(Make(2200, 1, 1), y2200));
  const FileTime now = CurrentFileTime();
  EXPECT_GT(now, y2020);
  EXPECT_LT(now, y2200);
}

}  // namespace
}  // namespace quillon::platform
