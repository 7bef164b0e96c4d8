// A fixed, realistic mix of items of every type for samples and demos:
// requests and responses, subsystem commands (one delayed response), events
// (handoffs among them), log and OTA log packets, debug messages, GPS
// fixes, text strings and one malformed item. The same items, in the same
// order and with the same increasing timestamps, on every run and platform.
#pragma once

#include <cstdint>
#include <vector>

namespace quillon {

struct DemoRecord {
  std::uint32_t type_code;
  std::uint64_t timestamp;  // ItemTimestamp, the generic (receive) time
  std::vector<std::uint8_t> payload;
};

std::vector<DemoRecord> MakeDemoItems();

}  // namespace quillon
