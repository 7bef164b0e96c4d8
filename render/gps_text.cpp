#include "render/gps_text.h"

#include <cmath>

#include "common/safe_format.h"

namespace quillon {

namespace {

// Where the printed time "hhmmss.sss" takes its two colons: before its
// third character, then (counting the first colon) before its sixth.
constexpr std::size_t kHourColon = 2;
constexpr std::size_t kMinuteColon = 5;

std::u16string GpsTimeText(double utc_time) {
  std::u16string text = Format(u"%010.03f", {utc_time});
  if (text.size() >= kHourColon) text.insert(kHourColon, 1, u':');
  if (text.size() >= kMinuteColon) text.insert(kMinuteColon, 1, u':');
  return text;
}

std::u16string QualityText(std::int32_t quality) {
  // The text starts as "Invalid" in the tool that defined this layout, but
  // every value replaces it: "Invalid" is never shown.
  switch (quality) {
    case 1:
      return u"GPS Fix";
    case 2:
      return u"DGPS Fix";
    default:
      return Format(u"% 4ld", {quality});
  }
}

void AppendLine(std::u16string& out, std::u16string_view format,
                std::initializer_list<FormatArgument> args) {
  out += Format(format, args);
  out += u"\r\n";
}

}  // namespace

std::u16string GpsSummary(const GpsRecord& record) {
  return Format(u"Lat:%.2f; Lon:%.2f; Alt:%.2f; Dir:%.2f; Spd:%.2f; #Sat:%02d; Qual:%02d",
                {record.latitude, record.longitude, record.altitude, record.course, record.speed,
                 record.satellites, record.quality});
}

void AppendGpsText(const GpsRecord& record, std::u16string& out) {
  // Not-a-number compares false with zero: it shows as north and east.
  const std::u16string_view ns = record.latitude < 0 ? u"S" : u"N";
  const std::u16string_view ew = record.longitude < 0 ? u"W" : u"E";
  AppendLine(out, u"GPS Time:    %s", {GpsTimeText(record.utc_time)});
  AppendLine(out, u"Quality:     %s", {QualityText(record.quality)});
  AppendLine(out, u"Latitude:     % 11.6f Degrees %s", {std::fabs(record.latitude), ns});
  AppendLine(out, u"Longitude:    % 11.6f Degrees %s", {std::fabs(record.longitude), ew});
  AppendLine(out, u"Altitude:     % 11.6f Meters", {record.altitude});
  AppendLine(out, u"Course:       % 11.6f Degrees", {record.course});
  AppendLine(out, u"Speed:        % 11.6f Knots", {record.speed});
  AppendLine(out, u"Satellites:   % 4ld", {record.satellites});
}

}  // namespace quillon
