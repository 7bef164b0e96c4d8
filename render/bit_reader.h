// The read cursor over a payload: reads of 1 to 64 bits in either bit
// order.
//
// Least-significant-bit first (order 1, the initial order): bits come from
// byte p / 8 starting at bit p % 8 counted from the least significant bit,
// then from the next byte's bit 0; the first bit read becomes bit 0 of the
// result. Most-significant-bit first (order 0): bits come from bit
// 7 - p % 8 downwards, then from the next byte's bit 7; the first bit read
// becomes the most significant of the n result bits.
//
// Every read returns a result code and moves the position only on success:
//   0  done, position advanced by n;
//   87 n is 0 or wider than the result;
//   8  not enough bits left.
// The reader does not own the bytes; it never reads outside `length` bits.
#pragma once

#include <cstdint>

#include "common/little_endian.h"

namespace quillon {

inline constexpr std::uint32_t kBitReadOk = 0;
inline constexpr std::uint32_t kBitReadBadWidth = 87;  // ERROR_INVALID_PARAMETER
inline constexpr std::uint32_t kBitReadNoData = 8;     // ERROR_NOT_ENOUGH_MEMORY

inline constexpr std::uint8_t kMsbFirst = 0;
inline constexpr std::uint8_t kLsbFirst = 1;

class BitReader {
 public:
  BitReader() = default;
  // Covers `byte_length` bytes; a null pointer covers nothing. Lengths whose
  // bit count does not fit 32 bits are cut to the largest whole byte count
  // that does (payloads are at most 8208 bytes, so this never matters).
  BitReader(const std::uint8_t* data, std::uint32_t byte_length);

  const std::uint8_t* Data() const { return data_; }
  std::uint32_t Position() const { return position_; }
  std::uint32_t Length() const { return length_; }
  std::uint8_t BitOrder() const { return order_; }
  void SetBitOrder(std::uint8_t order) { order_ = order; }
  // Clamped to the length.
  void SetPosition(std::uint64_t position) {
    position_ = position < length_ ? static_cast<std::uint32_t>(position) : length_;
  }
  std::uint32_t Remaining() const { return length_ - position_; }

  std::uint32_t Read(std::uint32_t n, std::uint8_t& out) { return ReadNarrow(n, 8, out); }
  std::uint32_t Read(std::uint32_t n, std::uint16_t& out) { return ReadNarrow(n, 16, out); }
  std::uint32_t Read(std::uint32_t n, std::uint32_t& out) { return ReadNarrow(n, 32, out); }
  std::uint32_t Read(std::uint32_t n, std::uint64_t& out) { return ReadBits(n, 64, out); }
  // Signed forms: bit n - 1 of the result is the sign, copied into every
  // higher bit of the result type.
  std::uint32_t Read(std::uint32_t n, std::int8_t& out) { return ReadSigned(n, 8, out); }
  std::uint32_t Read(std::uint32_t n, std::int16_t& out) { return ReadSigned(n, 16, out); }
  std::uint32_t Read(std::uint32_t n, std::int32_t& out) { return ReadSigned(n, 32, out); }
  std::uint32_t Read(std::uint32_t n, std::int64_t& out) { return ReadSigned(n, 64, out); }

  // The core read: n bits (1..width) into the low bits of `out`.
  std::uint32_t ReadBits(std::uint32_t n, std::uint32_t width, std::uint64_t& out) {
    if (n == 0 || n > width) return kBitReadBadWidth;
    if (position_ >= length_ || length_ - position_ < n) return kBitReadNoData;
    const std::uint32_t bit = position_ & 7u;
    const std::uint8_t* byte = data_ + (position_ >> 3);
    if (order_ != kMsbFirst) {
      // The shortcuts: a read inside one byte, and reads that one 64-bit
      // little-endian load covers (as the general path would assemble them).
      if (bit + n <= 8) {
        out = (static_cast<std::uint64_t>(*byte) >> bit) & Mask(n);
        position_ += n;
        return kBitReadOk;
      }
      // Anything else that one 64-bit little-endian word covers, when eight
      // whole bytes are left from the current byte.
      if (bit + n <= 64 && (length_ >> 3) - (position_ >> 3) >= 8) {
        out = (LoadLE64(byte) >> bit) & Mask(n);
        position_ += n;
        return kBitReadOk;
      }
    }
    out = ReadGeneral(n);
    return kBitReadOk;
  }

 private:
  static constexpr std::uint64_t Mask(std::uint32_t n) {
    return n >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << n) - 1;
  }
  template <typename T>
  std::uint32_t ReadNarrow(std::uint32_t n, std::uint32_t width, T& out) {
    std::uint64_t v = 0;
    const std::uint32_t rc = ReadBits(n, width, v);
    if (rc == kBitReadOk) out = static_cast<T>(v);
    return rc;
  }
  template <typename T>
  std::uint32_t ReadSigned(std::uint32_t n, std::uint32_t width, T& out) {
    std::uint64_t v = 0;
    const std::uint32_t rc = ReadBits(n, width, v);
    if (rc != kBitReadOk) return rc;
    if (n < 64 && (v >> (n - 1) & 1u) != 0) v |= ~Mask(n);
    out = static_cast<T>(static_cast<std::int64_t>(v));
    return rc;
  }
  // Byte-wise assembly in the current order; the length is checked.
  std::uint64_t ReadGeneral(std::uint32_t n);

  const std::uint8_t* data_ = nullptr;
  std::uint32_t position_ = 0;
  std::uint32_t length_ = 0;
  std::uint8_t order_ = kLsbFirst;
};

}  // namespace quillon
