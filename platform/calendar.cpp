// Proleptic Gregorian calendar arithmetic behind the Windows time
// conversions. The same code runs on every platform so that dates and
// automation DATE values agree bit for bit between builds.
#include <cstdint>

#include "platform/clock.h"

namespace quillon::platform {
namespace {

constexpr std::int64_t kTicksPerSecond = 10'000'000;  // 100 ns ticks
constexpr std::int64_t kTicksPerMillisecond = 10'000;
constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr std::uint64_t kFirstInvalidFileTime = 0x8000000000000000ULL;

// Days from 0000-03-01 based era arithmetic, counted from 1970-01-01.
constexpr std::int64_t DaysFromCivil(std::int64_t y, unsigned m, unsigned d) {
  y -= m <= 2 ? 1 : 0;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const auto yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

struct CivilDate {
  std::int64_t year;
  unsigned month;
  unsigned day;
};

constexpr CivilDate CivilFromDays(std::int64_t z) {
  z += 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const auto doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  const unsigned d = doy - (153 * mp + 2) / 5 + 1;
  const unsigned m = mp < 10 ? mp + 3 : mp - 9;
  const std::int64_t y = static_cast<std::int64_t>(yoe) + era * 400 + (m <= 2 ? 1 : 0);
  return {y, m, d};
}

constexpr std::int64_t kEpoch1601 = DaysFromCivil(1601, 1, 1);
constexpr std::int64_t kEpoch1899 = DaysFromCivil(1899, 12, 30);
static_assert(kEpoch1601 == -134774);
static_assert(kEpoch1899 == -25569);

constexpr bool IsLeapYear(unsigned year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

constexpr unsigned DaysInMonth(unsigned year, unsigned month) {
  constexpr unsigned kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

// The field checks shared by SystemTimeToFileTime and
// SystemTimeToVariantTime; the year range differs and is checked apart.
bool FieldsValid(const SystemTime& t) {
  return t.month >= 1 && t.month <= 12 && t.day >= 1 && t.day <= DaysInMonth(t.year, t.month) &&
         t.hour < 24 && t.minute < 60 && t.second < 60 && t.milliseconds < 1000;
}

std::int64_t SecondOfDay(const SystemTime& t) {
  return static_cast<std::int64_t>(t.hour) * 3600 + static_cast<std::int64_t>(t.minute) * 60 +
         t.second;
}

}  // namespace

bool FileTimeToSystemTime(FileTime time, SystemTime& out) {
  if (time >= kFirstInvalidFileTime) return false;
  const auto ticks = static_cast<std::int64_t>(time);
  const std::int64_t seconds = ticks / kTicksPerSecond;
  const std::int64_t days = seconds / kSecondsPerDay;
  const std::int64_t second_of_day = seconds % kSecondsPerDay;
  const CivilDate date = CivilFromDays(days + kEpoch1601);

  out.year = static_cast<std::uint16_t>(date.year);
  out.month = static_cast<std::uint16_t>(date.month);
  out.day = static_cast<std::uint16_t>(date.day);
  // 1601-01-01 was a Monday.
  out.day_of_week = static_cast<std::uint16_t>((days + 1) % 7);
  out.hour = static_cast<std::uint16_t>(second_of_day / 3600);
  out.minute = static_cast<std::uint16_t>(second_of_day / 60 % 60);
  out.second = static_cast<std::uint16_t>(second_of_day % 60);
  out.milliseconds = static_cast<std::uint16_t>(ticks % kTicksPerSecond / kTicksPerMillisecond);
  return true;
}

bool SystemTimeToFileTime(const SystemTime& time, FileTime& out) {
  if (time.year < 1601 || time.year > 30827 || !FieldsValid(time)) return false;
  const std::int64_t days = DaysFromCivil(time.year, time.month, time.day) - kEpoch1601;
  const std::int64_t seconds = days * kSecondsPerDay + SecondOfDay(time);
  out = static_cast<FileTime>(seconds * kTicksPerSecond + time.milliseconds * kTicksPerMillisecond);
  return true;
}

bool SystemTimeToVariantTime(const SystemTime& time, double& out) {
  if (time.year < 100 || time.year > 9999 || !FieldsValid(time)) return false;
  const std::int64_t days = DaysFromCivil(time.year, time.month, time.day) - kEpoch1899;
  // An automation DATE keeps the time of day as a positive fraction whose
  // sign follows the day number: -1.25 is 1899-12-29 06:00, not 1899-12-28
  // 18:00. Hour, minute and second are added one by one, in that order, so
  // the rounding of the double is that of the OLE conversion.
  const double sign = days < 0 ? -1.0 : 1.0;
  double value = static_cast<double>(days);
  value += time.hour / 24.0 * sign;
  value += time.minute / 1440.0 * sign;
  value += time.second / 86400.0 * sign;
  out = value;
  return true;
}

}  // namespace quillon::platform
