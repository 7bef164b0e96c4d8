#include "items/gps_record.h"

#include <string>

#include "common/safe_format.h"
#include "items/payload_reader.h"

namespace quillon {

GpsRecord ReadGpsRecord(std::span<const std::uint8_t> payload) {
  PayloadReader r(payload);
  GpsRecord g;
  g.latitude = r.F64(0).value_or(0.0);
  g.longitude = r.F64(8).value_or(0.0);
  g.altitude = r.F64(16).value_or(0.0);
  g.course = r.F64(24).value_or(0.0);
  g.speed = r.F64(32).value_or(0.0);
  g.utc_time = r.F64(40).value_or(0.0);
  g.satellites = r.I32(48).value_or(0);
  g.quality = r.I32(52).value_or(0);
  return g;
}

namespace {

// Digits [pos, pos + count) of `text` as a decimal number; nothing when one
// of them is not a digit.
std::optional<std::uint16_t> Digits(const std::u16string& text, std::size_t pos,
                                    std::size_t count) {
  unsigned value = 0;
  for (std::size_t i = pos; i < pos + count; ++i) {
    if (text[i] < u'0' || text[i] > u'9') return std::nullopt;
    value = value * 10 + static_cast<unsigned>(text[i] - u'0');
  }
  return static_cast<std::uint16_t>(value);
}

}  // namespace

std::optional<ItemTimestamp> GpsTimeOnDate(double utc_time, const platform::SystemTime& today) {
  // The time of day is taken from its printed form, so rounding to
  // milliseconds is the formatter's ("%010.03f" of 93015.2496 is 093015.250).
  const std::u16string text = Format(u"%010.03f", {utc_time});
  if (text.size() != 10 || text[6] != u'.') return std::nullopt;
  auto hour = Digits(text, 0, 2);
  auto minute = Digits(text, 2, 2);
  auto second = Digits(text, 4, 2);
  auto ms = Digits(text, 7, 3);
  if (!hour || !minute || !second || !ms) return std::nullopt;

  platform::SystemTime t = today;
  t.hour = *hour;
  t.minute = *minute;
  t.second = *second;
  t.milliseconds = *ms;
  platform::FileTime ft = 0;
  if (!platform::SystemTimeToFileTime(t, ft)) return std::nullopt;
  return ItemTimestamp::FromFileTime(ft);
}

std::optional<ItemTimestamp> GpsTimeToday(double utc_time) {
  platform::SystemTime today;
  if (!platform::FileTimeToSystemTime(platform::CurrentFileTime(), today)) return std::nullopt;
  return GpsTimeOnDate(utc_time, today);
}

}  // namespace quillon
