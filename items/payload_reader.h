// Bounds-checked little-endian reads over an item payload.
//
// Every read names its offset and yields nothing when any of its bytes lies
// outside the payload, so short or hostile payloads are never read past
// their end. The reader does not own the bytes.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

#include "common/little_endian.h"

namespace quillon {

class PayloadReader {
 public:
  PayloadReader() = default;
  PayloadReader(const std::uint8_t* data, std::size_t length)
      : bytes_(data != nullptr ? std::span<const std::uint8_t>(data, length)
                               : std::span<const std::uint8_t>()) {}
  explicit PayloadReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  std::size_t size() const { return bytes_.size(); }
  std::span<const std::uint8_t> Bytes() const { return bytes_; }

  // True when bytes [offset, offset + count) all lie inside the payload.
  bool Has(std::size_t offset, std::size_t count) const {
    return offset <= bytes_.size() && count <= bytes_.size() - offset;
  }

  std::optional<std::uint8_t> U8(std::size_t offset) const {
    if (!Has(offset, 1)) return std::nullopt;
    return bytes_[offset];
  }
  std::optional<std::uint16_t> U16(std::size_t offset) const {
    if (!Has(offset, 2)) return std::nullopt;
    return static_cast<std::uint16_t>(Unsigned(offset, 2));
  }
  std::optional<std::uint32_t> U32(std::size_t offset) const {
    if (!Has(offset, 4)) return std::nullopt;
    return static_cast<std::uint32_t>(Unsigned(offset, 4));
  }
  std::optional<std::uint64_t> U64(std::size_t offset) const {
    if (!Has(offset, 8)) return std::nullopt;
    return Unsigned(offset, 8);
  }
  std::optional<std::int32_t> I32(std::size_t offset) const {
    auto v = U32(offset);
    if (!v) return std::nullopt;
    return static_cast<std::int32_t>(*v);
  }
  // An IEEE 754 double stored little-endian.
  std::optional<double> F64(std::size_t offset) const {
    auto v = U64(offset);
    if (!v) return std::nullopt;
    double d;
    std::memcpy(&d, &*v, sizeof d);
    return d;
  }

  // The sub-range, or nothing when it does not lie inside the payload.
  std::optional<std::span<const std::uint8_t>> Sub(std::size_t offset, std::size_t count) const {
    if (!Has(offset, count)) return std::nullopt;
    return bytes_.subspan(offset, count);
  }

  // The offset of the first zero byte at or after `offset`, if any.
  std::optional<std::size_t> FindZero(std::size_t offset) const {
    for (std::size_t i = offset; i < bytes_.size(); ++i) {
      if (bytes_[i] == 0) return i;
    }
    return std::nullopt;
  }

 private:
  // Callers have checked Has(offset, count).
  std::uint64_t Unsigned(std::size_t offset, std::size_t count) const {
    assert(offset + count <= bytes_.size());
    return LoadLE(&bytes_[offset], count);
  }

  std::span<const std::uint8_t> bytes_;
};

}  // namespace quillon
