#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "platform/clock.h"

namespace quillon::platform {
namespace {

// "y-mo-d h:mi:s.ms" <-> SystemTime; the day of the week is checked apart.
SystemTime Make(const char* text) {
  unsigned f[7] = {};
  EXPECT_EQ(
      std::sscanf(text, "%u-%u-%u %u:%u:%u.%u", &f[0], &f[1], &f[2], &f[3], &f[4], &f[5], &f[6]), 7)
      << text;
  SystemTime t;
  t.year = static_cast<std::uint16_t>(f[0]);
  t.month = static_cast<std::uint16_t>(f[1]);
  t.day = static_cast<std::uint16_t>(f[2]);
  t.hour = static_cast<std::uint16_t>(f[3]);
  t.minute = static_cast<std::uint16_t>(f[4]);
  t.second = static_cast<std::uint16_t>(f[5]);
  t.milliseconds = static_cast<std::uint16_t>(f[6]);
  return t;
}

std::string Show(const SystemTime& t) {
  char text[64];
  std::snprintf(text, sizeof(text), "%u-%u-%u %u:%u:%u.%u", t.year, t.month, t.day, t.hour,
                t.minute, t.second, t.milliseconds);
  return text;
}

constexpr FileTime kTicksPerDay = 864'000'000'000ULL;

TEST(Calendar, KnownDatesBothWays) {
  const struct {
    FileTime ft;
    const char* text;
    int day_of_week;
  } cases[] = {
      {0, "1601-1-1 0:0:0.0", 1},
      {119604384000000000ULL, "1980-1-6 0:0:0.0", 0},  // the start of GPS time
      // Sub-millisecond ticks are cut.
      {116444736000000000ULL + 45'296'789'9999ULL, "1970-1-1 12:34:56.789", 4},
      {125962560000000000ULL, "2000-2-29 0:0:0.0", 2},  // divisible by 400: leap
      {157520160000000000ULL, "2100-3-1 0:0:0.0", 1},   // divisible by 100: not
      {94405824000000000ULL, "1900-3-1 0:0:0.0", 4},
      {2650467743999990000ULL, "9999-12-31 23:59:59.999", 5},
  };
  for (const auto& c : cases) {
    SystemTime t;
    ASSERT_TRUE(FileTimeToSystemTime(c.ft, t)) << c.text;
    EXPECT_EQ(Show(t), c.text);
    EXPECT_EQ(t.day_of_week, c.day_of_week) << c.text;
    FileTime ft = 1;
    SystemTime back = Make(c.text);
    back.day_of_week = 6;  // ignored
    ASSERT_TRUE(SystemTimeToFileTime(back, ft)) << c.text;
    EXPECT_EQ(ft, c.ft - c.ft % 10'000) << c.text;
  }
  SystemTime t;
  ASSERT_TRUE(FileTimeToSystemTime(0x7FFFFFFFFFFFFFFFULL, t));
  EXPECT_EQ(Show(t), "30828-9-14 2:48:5.477");
  EXPECT_EQ(t.day_of_week, 4);
  // The top bit fails and leaves the output untouched.
  EXPECT_FALSE(FileTimeToSystemTime(0x8000000000000000ULL, t));
  EXPECT_FALSE(FileTimeToSystemTime(0xFFFFFFFFFFFFFFFFULL, t));
  EXPECT_EQ(t.year, 30828);
}

TEST(SystemTimeToFileTime, RangeOfFields) {
  FileTime ft = 0;
  EXPECT_TRUE(SystemTimeToFileTime(Make("30827-12-31 23:59:59.999"), ft));
  EXPECT_TRUE(SystemTimeToFileTime(Make("2000-2-29 0:0:0.0"), ft));
  for (const char* bad :
       {"1600-12-31 0:0:0.0", "30828-1-1 0:0:0.0", "2000-0-1 0:0:0.0", "2000-13-1 0:0:0.0",
        "2000-1-0 0:0:0.0", "2000-4-31 0:0:0.0", "2001-2-29 0:0:0.0", "2100-2-29 0:0:0.0",
        "2000-1-1 24:0:0.0", "2000-1-1 0:60:0.0", "2000-1-1 0:0:60.0", "2000-1-1 0:0:0.1000"}) {
    EXPECT_FALSE(SystemTimeToFileTime(Make(bad), ft)) << bad;
  }
}

TEST(SystemTimeToFileTime, RoundTripsEveryDayOfFourCenturies) {
  // One sample per day, with a moving time of day: every month length and
  // leap rule of the 400-year cycle passes through both conversions.
  const FileTime step = kTicksPerDay + 37'000'000'0ULL + 10'000;  // 1 day, 370 s, 1 ms
  for (FileTime ft = 0; ft < 400 * 366 * kTicksPerDay; ft += step) {
    SystemTime t;
    ASSERT_TRUE(FileTimeToSystemTime(ft, t));
    FileTime back = 0;
    ASSERT_TRUE(SystemTimeToFileTime(t, back)) << ft;
    ASSERT_EQ(back, ft - ft % 10'000) << ft;
  }
}

TEST(SystemTimeToVariantTime, KnownDatesAndRange) {
  const struct {
    const char* text;
    double expected;
  } cases[] = {
      {"1899-12-30 0:0:0.0", 0.0},
      {"1980-1-6 0:0:0.0", 29226.0},
      {"1900-1-1 0:0:0.0", 2.0},
      {"9999-12-31 0:0:0.0", 2958465.0},
      {"100-1-1 0:0:0.0", -657434.0},
      {"1980-1-6 6:0:0.0", 29226.25},
      {"1980-1-6 18:0:0.0", 29226.75},
      // Before 1899-12-30 the fraction counts away from zero like the day.
      {"1899-12-29 6:0:0.0", -1.25},
      {"1899-12-29 18:0:0.0", -1.75},
      {"1899-12-28 0:0:0.0", -2.0},
      {"1899-12-30 12:0:0.0", 0.5},       // the epoch's own day counts forward
      {"2020-6-15 12:0:0.999", 43997.5},  // milliseconds are dropped
  };
  for (const auto& c : cases) {
    double d = -99;
    ASSERT_TRUE(SystemTimeToVariantTime(Make(c.text), d)) << c.text;
    EXPECT_EQ(d, c.expected) << c.text;
  }
  double d = 0;
  ASSERT_TRUE(SystemTimeToVariantTime(Make("2020-6-15 13:14:15.999"), d));
  EXPECT_NEAR(d - 43997.0, (13 * 3600 + 14 * 60 + 15) / 86400.0, 1e-10);
  for (const char* bad : {"99-12-31 0:0:0.0", "10000-1-1 0:0:0.0", "2000-13-1 0:0:0.0",
                          "2001-2-29 0:0:0.0", "2000-1-1 24:0:0.0"}) {
    d = 7;
    EXPECT_FALSE(SystemTimeToVariantTime(Make(bad), d)) << bad;
    EXPECT_EQ(d, 7.0);
  }
}

TEST(CurrentFileTime, IsAPlausibleUtcTime) {
  const FileTime now = CurrentFileTime();
  EXPECT_GT(now, 132223104000000000ULL);  // 2020-01-01
  EXPECT_LT(now, 189025920000000000ULL);  // 2200-01-01
}

}  // namespace
}  // namespace quillon::platform
