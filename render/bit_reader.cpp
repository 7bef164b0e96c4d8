#include "render/bit_reader.h"

namespace quillon {

BitReader::BitReader(const std::uint8_t* data, std::uint32_t byte_length) : data_(data) {
  if (data == nullptr) return;
  const std::uint32_t max_bytes = 0xFFFFFFFFu / 8;
  length_ = (byte_length < max_bytes ? byte_length : max_bytes) * 8;
}

std::uint64_t BitReader::ReadGeneral(std::uint32_t n) {
  std::uint64_t result = 0;
  std::uint32_t got = 0;
  while (got < n) {
    const std::uint32_t bit = position_ & 7u;
    const std::uint32_t byte = data_[position_ >> 3];
    const std::uint32_t take = (8 - bit) < (n - got) ? (8 - bit) : (n - got);
    if (order_ != kMsbFirst) {
      const std::uint64_t chunk = (byte >> bit) & Mask(take);
      result |= chunk << got;
    } else {
      const std::uint64_t chunk = (byte >> (8 - bit - take)) & Mask(take);
      result = (take >= 64 ? 0 : result << take) | chunk;
    }
    got += take;
    position_ += take;
  }
  return result;
}

}  // namespace quillon
