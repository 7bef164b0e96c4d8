#include "items/event_record.h"

#include "items/payload_reader.h"

namespace quillon {

namespace {
constexpr std::size_t kIdWordOffset = 3;
constexpr std::size_t kTimeOffset = 5;
}  // namespace

EventRecord ParseEventRecord(std::span<const std::uint8_t> payload) {
  const PayloadReader r(payload);
  EventRecord e;
  auto word = r.U16(kIdWordOffset);
  if (!word) return e;
  e.has_id_word = true;
  e.event_id = *word & 0x0FFFu;
  e.truncated_time = (*word & 0x8000u) != 0;
  const unsigned length_code = (*word >> 13) & 3u;

  std::size_t offset = kTimeOffset;
  if (e.truncated_time) {
    auto t = r.U16(offset);
    if (!t) return e;
    e.time = *t;
    offset += 2;
  } else {
    auto t = r.U64(offset);
    if (!t) return e;
    e.time = *t;
    offset += 8;
  }
  std::size_t length = length_code;
  if (length_code == 3) {
    auto n = r.U8(offset);
    if (!n) return e;
    length = *n;
    offset += 1;
  }
  if (!r.Has(offset, length)) return e;
  e.payload_offset = static_cast<std::uint32_t>(offset);
  e.payload_length = static_cast<std::uint32_t>(length);
  e.parsed = true;
  return e;
}

}  // namespace quillon
