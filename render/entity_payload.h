// Which entity describes an item's payload, and which part of the payload
// it describes: the entity key list (family number first) and the parsed
// bytes, by item type.
//
//   DIAG RX/TX (1, 2)      {1 / 0, command code}; the bytes after the command
//   DIAG RX/TX, command    {6, NV item ID}; the 128-byte data part at offset
//     38 or 39 (NV read/write)   3; a response only when its 16-bit status at
//                                byte 131 is 0
//   EVENT (4)              {4, event ID}; the event's own payload
//   LOG (5)                {5, log code}; the bytes after the 16-byte header
//   MSG (6)                {8, 0}; the whole buffer
//   SUBSYS RX (9)          {3 for command 75, 11 for a follow-up delayed
//                          response, else 10; subsystem ID, command}
//   SUBSYS TX (10)         {2 for command 75, else 9; subsystem ID, command}
//                          both: the bytes after the subsystem header
// Any other item, or one whose envelope is incomplete, has no keys.
#pragma once

#include <cstdint>
#include <vector>

#include "common/item_record.h"

namespace quillon {

struct EntityPayload {
  std::vector<std::uint32_t> keys;  // empty: the item has no entity
  const std::uint8_t* data = nullptr;
  std::uint32_t length = 0;
};

EntityPayload EntityPayloadOf(const ItemRecord& item);

}  // namespace quillon
