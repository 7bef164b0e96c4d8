// The bounds-checked reader over an item's own payload.
#pragma once

#include "common/item_record.h"
#include "items/payload_reader.h"

namespace quillon {

// An empty reader when the item's buffer is invalid.
inline PayloadReader ReadPayload(const ItemRecord& item) {
  return PayloadReader(item.GetPayload(), item.GetPayloadLength());
}

}  // namespace quillon
