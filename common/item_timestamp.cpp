#include "common/item_timestamp.h"

#include "common/safe_format.h"
#include "platform/clock.h"

namespace quillon {

namespace {

// Milliseconds as a fraction of a day (one day is 86,400,000 ms).
constexpr double kDaysPerMillisecond = 1.1574074074074074e-8;

}  // namespace

std::uint64_t ItemTimestamp::ToFileTime() const {
  // Whole ticks and the fraction are converted separately, so the fraction
  // alone is truncated: 49151/49152 of a tick gives 12499, never 12500.
  const std::uint64_t whole = (Ticks() + kEpochTicks) * kFileTimePerTick;
  const std::uint64_t part =
      static_cast<std::uint64_t>(Fraction()) * kFileTimePerTick / kFractionsPerTick;
  return whole + part;
}

ItemTimestamp ItemTimestamp::FromFileTime(std::uint64_t file_time) {
  if (file_time < kEpochFileTime) return ItemTimestamp(0);
  const std::uint64_t since = file_time - kEpochFileTime;
  const std::uint64_t ticks = since / kFileTimePerTick;
  const std::uint64_t rest = since % kFileTimePerTick;
  return ItemTimestamp((ticks << 16) + rest * kFractionsPerTick / kFileTimePerTick);
}

double ItemTimestamp::ToAutomationDate() const {
  platform::SystemTime calendar;
  if (!platform::FileTimeToSystemTime(ToFileTime(), calendar)) return 0.0;
  double date = 0.0;
  // The calendar-to-date step keeps whole seconds only; the milliseconds
  // are added back afterwards.
  if (!platform::SystemTimeToVariantTime(calendar, date)) return 0.0;
  return date + calendar.milliseconds * kDaysPerMillisecond;
}

ItemTimestamp ItemTimestamp::Now() { return FromFileTime(platform::CurrentFileTime()); }

void ItemTimestamp::AppendText(std::u16string& out, TextOptions options) const {
  const bool want_date = options.want_date;
  const bool want_milliseconds = options.want_milliseconds;
  const std::uint64_t file_time = ToFileTime();
  platform::SystemTime t;
  if (file_time == 0 || !platform::FileTimeToSystemTime(file_time, t)) {
    if (want_date) out += u"00/00/00 ";
    out += u"00:00:00";
    if (want_milliseconds) out += u".000";
    return;
  }
  // These formats cannot fail on 16-bit calendar fields.
  if (want_date) {
    const FormatArgument date[] = {int{t.month}, int{t.day}, int{t.year}};
    FormatArgumentList args(date);
    FormatAppend(out, u"%02d/%02d/%02d ", args);
  }
  const FormatArgument time[] = {int{t.hour}, int{t.minute}, int{t.second}};
  FormatArgumentList time_args(time);
  FormatAppend(out, u"%02d:%02d:%02d", time_args);
  if (want_milliseconds) {
    const FormatArgument ms[] = {int{t.milliseconds}};
    FormatArgumentList ms_args(ms);
    FormatAppend(out, u".%03d", ms_args);
  }
}

}  // namespace quillon
