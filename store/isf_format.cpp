#include "store/isf_format.h"

namespace quillon::isf {

TimeEncoding ChooseTimeEncoding(std::uint64_t ms, std::uint64_t base_ms) {
  if (ms < base_ms) return TimeEncoding::kAbsolute;
  const std::uint64_t delta = ms - base_ms;
  // The bounds are exclusive: a delta of exactly 255 needs two bytes and
  // exactly 65535 four, as files written so far have it.
  if (delta < 0xFF) return TimeEncoding::kDelta8;
  if (delta < 0xFFFF) return TimeEncoding::kDelta16;
  if (delta <= 0xFFFFFFFEULL) return TimeEncoding::kDelta32;
  return TimeEncoding::kAbsolute;
}

std::uint32_t EncodeRecordHeader(std::uint8_t flags, std::uint64_t ms, std::uint64_t base_ms,
                                 std::uint32_t aux, std::uint8_t* out) {
  const Entry entry{flags, 0, 0};
  const std::uint64_t value = entry.Encoding() == TimeEncoding::kAbsolute ? ms : ms - base_ms;
  const std::uint32_t size = TimeFieldSize(entry.Encoding());
  StoreLE(out, value, size);
  if (!entry.HasAux()) return size;
  StoreLE32(out + size, aux);
  return size + 4;
}

std::uint64_t DecodeRecordTime(std::uint8_t flags, std::uint64_t base_ms, const std::uint8_t* in) {
  const Entry entry{flags, 0, 0};
  switch (entry.Encoding()) {
    case TimeEncoding::kDelta8:
      return base_ms + in[0];
    case TimeEncoding::kDelta16:
      return base_ms + LoadLE16(in);
    case TimeEncoding::kDelta32:
      return base_ms + LoadLE32(in);
    case TimeEncoding::kAbsolute:
      break;
  }
  return LoadLE64(in);
}

void EncodeEntry(const Entry& entry, std::uint8_t* out) {
  out[kEntryFlagsOffset] = entry.flags;
  StoreLE32(out + kEntryRecordOffset, entry.offset);
  StoreLE16(out + kEntryLengthOffset, entry.length);
}

}  // namespace quillon::isf
