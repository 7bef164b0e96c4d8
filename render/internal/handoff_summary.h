// The fixed summaries of four short handoff events. Their 16-bit payload is
// summarised by one field with a fixed name and format, whatever the
// database's own summary says.
#pragma once

#include <cstdint>
#include <string>

namespace quillon {

// For event 276, 277, 278 or 639 with a payload of exactly 16 bits,
// replaces the summary's field name list and format and returns true;
// otherwise changes nothing.
bool ApplyHandoffSummary(std::uint32_t event_id, std::uint32_t payload_bits,
                         std::u16string& field_names, std::u16string& format);

}  // namespace quillon
