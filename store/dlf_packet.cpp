#include "store/internal/dlf_packet.h"

#include <cstring>

#include "common/little_endian.h"

namespace quillon {

std::uint32_t WriteDlfPacket(std::uint8_t* out, std::uint32_t capacity, std::uint16_t code,
                             std::uint64_t timestamp, std::span<const std::uint8_t> data) {
  const std::uint64_t total = kDlfHeaderSize + static_cast<std::uint64_t>(data.size());
  // The length field is 16 bits; every item payload (8208 at most) fits.
  if (out == nullptr || total > capacity || total > 0xFFFF) return 0;
  StoreLE16(out, static_cast<std::uint16_t>(total));
  StoreLE16(out + 2, code);
  StoreLE64(out + 4, timestamp);
  if (!data.empty()) std::memcpy(out + kDlfHeaderSize, data.data(), data.size());
  return static_cast<std::uint32_t>(total);
}

std::uint32_t WriteDlfRaw(std::uint8_t* out, std::uint32_t capacity,
                          std::span<const std::uint8_t> data) {
  if (out == nullptr || data.empty() || data.size() > capacity) return 0;
  std::memcpy(out, data.data(), data.size());
  return static_cast<std::uint32_t>(data.size());
}

}  // namespace quillon
