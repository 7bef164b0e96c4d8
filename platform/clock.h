// Clock and calendar conversions with the Windows semantics of
// GetSystemTimeAsFileTime, FileTimeToSystemTime, SystemTimeToFileTime and
// OLE's SystemTimeToVariantTime, implemented portably (no time zones: all
// values are UTC).
#pragma once

#include <cstdint>

#include "platform/file.h"

namespace quillon::platform {

// Fields as in the Windows SYSTEMTIME structure.
struct SystemTime {
  std::uint16_t year = 0;
  std::uint16_t month = 0;        // 1..12
  std::uint16_t day_of_week = 0;  // 0 = Sunday
  std::uint16_t day = 0;          // 1..31
  std::uint16_t hour = 0;
  std::uint16_t minute = 0;
  std::uint16_t second = 0;
  std::uint16_t milliseconds = 0;
};

// The current UTC time as a file time.
FileTime CurrentFileTime();

// FileTimeToSystemTime: fails (false) for file times at or above
// 0x8000000000000000, as Windows does.
bool FileTimeToSystemTime(FileTime time, SystemTime& out);
// SystemTimeToFileTime: fails for fields out of range (month 1..12, day valid
// for the month, hour < 24, minute < 60, second < 60, ms < 1000, year
// 1601..30827). day_of_week is ignored.
bool SystemTimeToFileTime(const SystemTime& time, FileTime& out);
// SystemTimeToVariantTime: days since 1899-12-30 as a double, whole-second
// precision (milliseconds are dropped). Fails for years outside 100..9999
// or invalid fields.
bool SystemTimeToVariantTime(const SystemTime& time, double& out);

}  // namespace quillon::platform
