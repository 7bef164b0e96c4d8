// EVENT (type 4): one event from the device's event report.
//
// An EVENT item holds one event record inside the envelope of the event
// report packet (command 96 = 0x60):
//   offset 0  u8   command code (0x60)
//          1  u16  length of the rest of the packet
//          3  u16  event ID word:
//                    bits 0-11   event ID
//                    bit  12     reserved
//                    bits 13-14  payload length code: 0 none, 1 one byte,
//                                2 two bytes, 3 a length byte follows the time
//                    bit  15     truncated time: the time is 2 bytes, not 8
//          5  u64  time (ItemTimestamp), or u16 truncated time
//  13 (or 7)  u8   payload length, only with length code 3
//   then           the event payload
// Neither the command byte nor the length word is checked; bytes after the
// event payload are ignored.
//
// Key: (4, event ID); (4) alone when the ID word is missing.
// Header: the offset of the event payload (13 or 14 with a full time,
// 7 or 8 with a truncated one); 0 when the event record does not fit
// the payload. Such an item is not valid.
// Specific timestamp: the full time; a truncated time is only the low part
// of a running counter and gives no absolute time, so the generic timestamp
// stands in for it, as it does when the record does not parse.
// DLF form: packet code 0x1FFB, the specific timestamp, and the payload
// without its command byte.
// Texts: "EVT(-)" with combined texts; the generic summary, with combined
// texts after the event's name in a 32-column field.
#pragma once

#include <cstdint>

#include "common/item_record.h"
#include "items/event_record.h"

namespace quillon {

class EventItem final : public ItemRecord {
 public:
  explicit EventItem(ItemBufferRef buffer, ItemTimestamp received = ItemTimestamp::Now());

  std::uint32_t GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const override;
  std::uint32_t GetHeaderLength() const override;
  ItemTimestamp GetSpecificTimestamp() const override;
  bool IsValid() const override;
  void GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                const ItemRenderServices* services) const override;
  bool SetDefaultColor() override;

  const EventRecord& Record() const { return record_; }

 private:
  EventRecord record_;
};

}  // namespace quillon
