// Little-endian loads and stores over raw bytes: the one place where the
// byte order of files, payloads and UTF-16LE text is spelled out. Every
// layer from common/ up reads and writes multi-byte integers through these.
// (platform/ sits below common/ and keeps the one unit read of its UTF-16
// test to itself.)
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>

namespace quillon {

// Requires: p points at 2 readable bytes.
inline std::uint16_t LoadLE16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}
// Requires: p points at 4 readable bytes.
inline std::uint32_t LoadLE32(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
         (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}
// Requires: p points at 8 readable bytes.
inline std::uint64_t LoadLE64(const std::uint8_t* p) {
  return static_cast<std::uint64_t>(LoadLE32(p)) |
         (static_cast<std::uint64_t>(LoadLE32(p + 4)) << 32);
}
// The first `count` bytes as an unsigned number. Requires: count <= 8 and
// p points at `count` readable bytes.
inline std::uint64_t LoadLE(const std::uint8_t* p, std::size_t count) {
  assert(count <= 8);
  std::uint64_t v = 0;
  for (std::size_t i = count; i-- > 0;) v = (v << 8) | p[i];
  return v;
}

// Requires: p points at 2 writable bytes.
inline void StoreLE16(std::uint8_t* p, std::uint16_t v) {
  p[0] = static_cast<std::uint8_t>(v);
  p[1] = static_cast<std::uint8_t>(v >> 8);
}
// Requires: p points at `count` writable bytes and count <= 8; writes the
// low `count` bytes of v.
inline void StoreLE(std::uint8_t* p, std::uint64_t v, std::size_t count) {
  assert(count <= 8);
  for (std::size_t i = 0; i < count; ++i) p[i] = static_cast<std::uint8_t>(v >> (8 * i));
}
// Requires: p points at 4 writable bytes.
inline void StoreLE32(std::uint8_t* p, std::uint32_t v) { StoreLE(p, v, 4); }
// Requires: p points at 8 writable bytes.
inline void StoreLE64(std::uint8_t* p, std::uint64_t v) { StoreLE(p, v, 8); }

// One UTF-16LE code unit. Requires: p points at 2 readable bytes.
inline char16_t LoadUtf16LE(const std::uint8_t* p) { return static_cast<char16_t>(LoadLE16(p)); }
// Requires: p points at 2 writable bytes.
inline void StoreUtf16LE(std::uint8_t* p, char16_t unit) {
  StoreLE16(p, static_cast<std::uint16_t>(unit));
}

}  // namespace quillon
