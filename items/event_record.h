// The event record inside an EVENT item's payload: the envelope of the
// device's event report packet (command 0x60) holding one event. The byte
// layout is described beside the EVENT item class (store/item_event.h).
#pragma once

#include <cstdint>
#include <span>

namespace quillon {

struct EventRecord {
  bool parsed = false;       // the whole record lies inside the payload
  bool has_id_word = false;  // the event ID word lies inside the payload
  std::uint32_t event_id = 0;
  bool truncated_time = false;
  std::uint64_t time = 0;            // the full time, or the 16-bit truncated one
  std::uint32_t payload_offset = 0;  // from the start of the item payload
  std::uint32_t payload_length = 0;
};

// Parses the event record of an EVENT item's payload.
EventRecord ParseEventRecord(std::span<const std::uint8_t> payload);

}  // namespace quillon
