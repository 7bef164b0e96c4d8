#include "render/bit_reader.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

namespace quillon {
namespace {

// One bit at a time, straight from the definition of the two orders.
std::uint64_t ReferenceRead(const std::vector<std::uint8_t>& bytes, std::uint32_t pos,
                            std::uint32_t n, std::uint8_t order) {
  std::uint64_t v = 0;
  for (std::uint32_t i = 0; i < n; ++i) {
    const std::uint32_t p = pos + i;
    const std::uint8_t byte = bytes[p / 8];
    if (order == kLsbFirst) {
      v |= static_cast<std::uint64_t>((byte >> (p % 8)) & 1u) << i;
    } else {
      v = (v << 1) | ((byte >> (7 - p % 8)) & 1u);
    }
  }
  return v;
}

// The shortcuts (in-byte, aligned bytes and words) and the general path must
// agree with the bit-by-bit definition at every position and width.
TEST(BitReader, EveryPositionAndWidthMatchesTheBitwiseDefinition) {
  std::mt19937 rng(12345);
  std::vector<std::uint8_t> bytes(24);
  for (auto& b : bytes) b = static_cast<std::uint8_t>(rng());
  for (std::uint8_t order : {kLsbFirst, kMsbFirst}) {
    for (std::uint32_t pos = 0; pos < 80; ++pos) {
      for (std::uint32_t n = 1; n <= 64; ++n) {
        BitReader r(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
        r.SetBitOrder(order);
        r.SetPosition(pos);
        const std::uint64_t want = ReferenceRead(bytes, pos, n, order);
        std::uint64_t v = 0;
        ASSERT_EQ(r.Read(n, v), kBitReadOk);
        ASSERT_EQ(v, want) << "order " << int(order) << " pos " << pos << " n " << n;
        ASSERT_EQ(r.Position(), pos + n);
        // The narrower result types take the same bits.
        const auto same = [&](auto narrow) {
          r.SetPosition(pos);
          return n > 8 * sizeof narrow || (r.Read(n, narrow) == kBitReadOk && narrow == want);
        };
        ASSERT_TRUE(same(std::uint8_t{}) && same(std::uint16_t{}) && same(std::uint32_t{}));
      }
    }
  }
}

TEST(BitReader, ResultCodesLeaveThePositionUnchanged) {
  const std::uint8_t bytes[] = {0xFF, 0xFF};
  BitReader r(bytes, 2);
  r.SetPosition(3);
  std::uint8_t b = 0;
  std::uint16_t h = 0;
  std::uint32_t w = 0;
  std::uint64_t q = 0;
  EXPECT_EQ(r.Read(0, b), kBitReadBadWidth);
  EXPECT_EQ(r.Read(9, b), kBitReadBadWidth);
  EXPECT_EQ(r.Read(17, h), kBitReadBadWidth);
  EXPECT_EQ(r.Read(33, w), kBitReadBadWidth);
  EXPECT_EQ(r.Read(65, q), kBitReadBadWidth);
  EXPECT_EQ(r.Read(14, h), kBitReadNoData);  // 13 bits left
  EXPECT_EQ(r.Position(), 3u);
  EXPECT_EQ(r.Read(13, h), kBitReadOk);  // exactly the rest
  EXPECT_EQ(h, 0x1FFF);
  EXPECT_EQ(r.Read(1, b), kBitReadNoData);  // at the end
  EXPECT_EQ(r.Position(), 16u);
  r.SetPosition(1000);  // clamped to the length
  EXPECT_EQ(r.Position(), 16u);
  r.SetPosition(std::uint64_t{1} << 40);
  EXPECT_EQ(r.Position(), 16u);

  BitReader null_reader(nullptr, 10);
  EXPECT_EQ(null_reader.Length(), 0u);
  EXPECT_EQ(null_reader.Read(1, b), kBitReadNoData);
  BitReader empty;
  empty.SetPosition(100);
  EXPECT_EQ(empty.Position(), 0u);
}

TEST(BitReader, SignedReadsExtendFromTheReadWidth) {
  const std::uint8_t bytes[] = {0x10, 0xFF, 0x7F, 0x80};
  BitReader r(bytes, sizeof bytes);
  auto read = [&r](std::uint32_t pos, std::uint32_t n, auto v) {
    r.SetPosition(pos);
    EXPECT_EQ(r.Read(n, v), kBitReadOk);
    return static_cast<std::int64_t>(v);
  };
  EXPECT_EQ(read(0, 5, std::int8_t{}), -16);  // 0b10000
  EXPECT_EQ(read(0, 4, std::int8_t{}), 0);
  EXPECT_EQ(read(8, 8, std::int8_t{}), -1);
  EXPECT_EQ(read(8, 16, std::int16_t{}), 0x7FFF);
  EXPECT_EQ(read(0, 32, std::int32_t{}), static_cast<std::int32_t>(0x807FFF10u));
  EXPECT_EQ(read(8, 8, std::int64_t{}), -1);
}

}  // namespace
}  // namespace quillon
