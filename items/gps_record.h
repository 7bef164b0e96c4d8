// The GPS position record carried by GPS items (56 bytes, little-endian):
//
//   offset  type    field
//        0  double  latitude, degrees (negative = south)
//        8  double  longitude, degrees (negative = west)
//       16  double  altitude, meters
//       24  double  course, degrees
//       32  double  speed, knots
//       40  double  UTC time of day as the decimal number hhmmss.sss
//       48  i32     number of satellites
//       52  i32     fix quality (1 GPS fix, 2 differential fix)
//
// The record carries a time of day but no date: its item timestamp is
// the time of day on the computer's current UTC date.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "common/item_timestamp.h"
#include "platform/clock.h"

namespace quillon {

inline constexpr std::size_t kGpsRecordSize = 56;

struct GpsRecord {
  double latitude = 0;
  double longitude = 0;
  double altitude = 0;
  double course = 0;
  double speed = 0;
  double utc_time = 0;
  std::int32_t satellites = 0;
  std::int32_t quality = 0;
};

// Reads the record as it lies; fields beyond the end of a short payload
// read as zero.
GpsRecord ReadGpsRecord(std::span<const std::uint8_t> payload);

// The time of day `utc_time` (hhmmss.sss, as printed with "%010.03f") on
// the date of `today`. Nothing when the printed time is not ten characters
// of the form DDDDDD.DDD or its fields are not a valid time of day
// (negative, hour 24 or more, not a number ...).
std::optional<ItemTimestamp> GpsTimeOnDate(double utc_time, const platform::SystemTime& today);

// GpsTimeOnDate on the computer's current UTC date.
std::optional<ItemTimestamp> GpsTimeToday(double utc_time);

}  // namespace quillon
