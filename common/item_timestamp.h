// The system's 64-bit item time: the upper 48 bits count 1.25 ms ticks since
// 1980-01-06 00:00:00 UTC, the lower 16 bits a fraction of a tick in units
// of 1/49152. All conversions are unsigned 64-bit integer arithmetic in the
// order given by the format, so results are bit-identical everywhere.
#pragma once

#include <cstdint>
#include <string>

namespace quillon {

class ItemTimestamp {
 public:
  // 1980-01-06 00:00:00 as a file time (100 ns since 1601-01-01).
  static constexpr std::uint64_t kEpochFileTime = 119604384000000000ULL;
  // 1980-01-06 in 1.25 ms ticks since 1601-01-01.
  static constexpr std::uint64_t kEpochTicks = 9568350720000ULL;
  static constexpr std::uint64_t kFileTimePerTick = 12500;
  static constexpr std::uint64_t kFractionsPerTick = 49152;

  constexpr ItemTimestamp() = default;
  constexpr explicit ItemTimestamp(std::uint64_t raw) : raw_(raw) {}

  constexpr std::uint64_t Raw() const { return raw_; }
  constexpr std::uint64_t Ticks() const { return raw_ >> 16; }
  constexpr std::uint32_t Fraction() const { return raw_ & 0xFFFF; }

  // Upper 48 bits plus the epoch, times 12500, plus fraction*12500/49152.
  std::uint64_t ToFileTime() const;
  // File times before the epoch give 0.
  static ItemTimestamp FromFileTime(std::uint64_t file_time);
  // Milliseconds since 1601-01-01 (file time / 10000) and back.
  std::uint64_t ToMilliseconds() const { return ToFileTime() / 10000; }
  static ItemTimestamp FromMilliseconds(std::uint64_t ms) { return FromFileTime(ms * 10000); }
  // OLE automation DATE (days since 1899-12-30) keeping milliseconds;
  // 0.0 when a calendar conversion fails.
  double ToAutomationDate() const;
  // The current system time.
  static ItemTimestamp Now();

  // What a timestamp text holds besides "hh:mm:ss".
  struct TextOptions {
    bool want_date = false;         // "MM/DD/YYYY " in front
    bool want_milliseconds = true;  // ".mmm" behind
  };
  // Appends the text that `options` asks for. A zero file time or a failed
  // calendar conversion appends "00/00/00 ", "00:00:00" and ".000" instead.
  void AppendText(std::u16string& out, TextOptions options) const;
  std::u16string Text(TextOptions options) const {
    std::u16string out;
    AppendText(out, options);
    return out;
  }

  friend constexpr bool operator==(ItemTimestamp, ItemTimestamp) = default;
  friend constexpr auto operator<=>(ItemTimestamp a, ItemTimestamp b) { return a.raw_ <=> b.raw_; }

 private:
  std::uint64_t raw_ = 0;
};

}  // namespace quillon
