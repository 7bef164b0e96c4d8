#include "store/item_event.h"

#include "items/payload_reader.h"
#include "store/dlf_packet.h"
#include "store/item_payload.h"

namespace quillon {

namespace {
constexpr std::uint32_t kColorEvent = 0xFFFFFF;
constexpr std::size_t kIdWordOffset = 3;
constexpr std::size_t kTimeOffset = 5;
}  // namespace

EventRecord ParseEventRecord(std::span<const std::uint8_t> payload) {
  const PayloadReader r(payload);
  EventRecord e;
  auto word = r.U16(kIdWordOffset);
  if (!word) return e;
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

EventItem::EventItem(const ItemBufferRef& buffer) : ItemRecord(kItemEvent, buffer) {
  const PayloadReader r = ReadPayload(*this);
  record_ = ParseEventRecord(r.Bytes());
  key_ = ItemKey{kItemEvent};
  if (r.Has(kIdWordOffset, 2)) key_.Append(record_.event_id);
}

std::uint32_t EventItem::GetHeaderLength() const {
  return record_.parsed ? record_.payload_offset : 0;
}

ItemTimestamp EventItem::GetSpecificTimestamp() const {
  if (!record_.parsed || record_.truncated_time) return timestamp_;
  return ItemTimestamp(record_.time);
}

bool EventItem::IsValid() const { return ItemRecord::IsValid() && record_.parsed; }

std::uint32_t EventItem::GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const {
  if (!IsValid()) return 0;
  return WriteDlfPacket(out, capacity, kDlfCodeEvent, GetSpecificTimestamp().Raw(),
                        ReadPayload(*this).Bytes().subspan(1));
}

bool EventItem::SetDefaultColor() {
  color_ = kColorEvent;
  return true;
}

}  // namespace quillon
