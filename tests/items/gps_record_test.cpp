#include "items/gps_record.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <tuple>
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
  const auto fields = [](const GpsRecord& g) {
    return std::tuple(g.latitude, g.longitude, g.altitude, g.course, g.speed, g.utc_time,
                      g.satellites, g.quality);
  };
  EXPECT_EQ(fields(ReadGpsRecord(b)), std::tuple(-33.5, 151.25, 12.5, 270.0, 3.5, 93015.25, 7, 2));
  // A record cut inside the altitude keeps the two fields before it.
  b.resize(20);
  EXPECT_EQ(fields(ReadGpsRecord(b)), std::tuple(-33.5, 151.25, 0.0, 0.0, 0.0, 0.0, 0, 0));
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

}  // namespace
}  // namespace quillon
