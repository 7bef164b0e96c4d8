// The fixed type text of each item type code.
#pragma once

#include <cstdint>
#include <string_view>

namespace quillon {

// "MALFORMED", "DIAG RX", ... "SUBSYS TX" for type codes 0..10; "Unknown"
// for any other code. The view refers to static storage.
std::u16string_view ItemTypeText(std::uint32_t type_code);

}  // namespace quillon
