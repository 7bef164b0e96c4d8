#include "store/dlf_packet.h"

#include <cstring>

namespace quillon {

std::uint32_t WriteDlfPacket(std::uint8_t* out, std::uint32_t capacity, std::uint16_t code,
                             std::uint64_t timestamp, std::span<const std::uint8_t> data) {
  const std::uint64_t total = kDlfHeaderSize + static_cast<std::uint64_t>(data.size());
  // The length field is 16 bits; every item payload (8208 at most) fits.
  if (out == nullptr || total > capacity || total > 0xFFFF) return 0;
  out[0] = static_cast<std::uint8_t>(total);
  out[1] = static_cast<std::uint8_t>(total >> 8);
  out[2] = static_cast<std::uint8_t>(code);
  out[3] = static_cast<std::uint8_t>(code >> 8);
  for (int i = 0; i < 8; ++i) out[4 + i] = static_cast<std::uint8_t>(timestamp >> (8 * i));
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
