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

TEST(BitReader, ReadsAcrossByteBoundaryInBothOrders) {
  const std::uint8_t bytes[] = {0xC0, 0x01};
  BitReader lsb(bytes, 2);
  lsb.SetPosition(6);
  std::uint8_t v = 0xFF;
  ASSERT_EQ(lsb.Read(3, v), kBitReadOk);
  EXPECT_EQ(v, 7);
  EXPECT_EQ(lsb.Position(), 9u);

  BitReader msb(bytes, 2);
  msb.SetBitOrder(kMsbFirst);
  msb.SetPosition(6);
  v = 0xFF;
  ASSERT_EQ(msb.Read(3, v), kBitReadOk);
  EXPECT_EQ(v, 0);
}

TEST(BitReader, ByteAlignedWordsAreLittleEndianLsbFirstAndBigEndianMsbFirst) {
  const std::uint8_t bytes[] = {0x78, 0x56, 0x34, 0x12, 0xEF, 0xCD, 0xAB, 0x90};
  BitReader r(bytes, sizeof bytes);
  std::uint32_t w = 0;
  ASSERT_EQ(r.Read(32, w), kBitReadOk);
  EXPECT_EQ(w, 0x12345678u);
  r.SetPosition(0);
  std::uint64_t q = 0;
  ASSERT_EQ(r.Read(64, q), kBitReadOk);
  EXPECT_EQ(q, 0x90ABCDEF12345678ull);

  BitReader m(bytes, sizeof bytes);
  m.SetBitOrder(kMsbFirst);
  std::uint16_t h = 0;
  ASSERT_EQ(m.Read(16, h), kBitReadOk);
  EXPECT_EQ(h, 0x7856);
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
}

TEST(BitReader, EmptyAndNullReadersHaveNothing) {
  BitReader null_reader(nullptr, 10);
  EXPECT_EQ(null_reader.Length(), 0u);
  std::uint8_t b = 0;
  EXPECT_EQ(null_reader.Read(1, b), kBitReadNoData);
  BitReader r;
  r.SetPosition(100);
  EXPECT_EQ(r.Position(), 0u);
}

TEST(BitReader, PositionIsClampedToTheLength) {
  const std::uint8_t bytes[] = {1, 2, 3};
  BitReader r(bytes, 3);
  r.SetPosition(1000);
  EXPECT_EQ(r.Position(), 24u);
  r.SetPosition(std::uint64_t{1} << 40);
  EXPECT_EQ(r.Position(), 24u);
}

TEST(BitReader, SignedReadsExtendFromTheReadWidth) {
  const std::uint8_t bytes[] = {0x10, 0xFF, 0x7F, 0x80};
  BitReader r(bytes, sizeof bytes);
  std::int8_t s8 = 0;
  ASSERT_EQ(r.Read(5, s8), kBitReadOk);  // 0b10000
  EXPECT_EQ(s8, -16);
  r.SetPosition(0);
  ASSERT_EQ(r.Read(4, s8), kBitReadOk);  // 0b0000
  EXPECT_EQ(s8, 0);
  r.SetPosition(8);
  std::int16_t s16 = 0;
  ASSERT_EQ(r.Read(16, s16), kBitReadOk);  // 0x7FFF: full width, positive
  EXPECT_EQ(s16, 0x7FFF);
  r.SetPosition(0);
  std::int32_t s32 = 0;
  ASSERT_EQ(r.Read(32, s32), kBitReadOk);
  EXPECT_EQ(s32, static_cast<std::int32_t>(0x807FFF10u));
  r.SetPosition(8);
  std::int64_t s64 = 0;
  ASSERT_EQ(r.Read(8, s64), kBitReadOk);
  EXPECT_EQ(s64, -1);
  r.SetPosition(8);
  std::int8_t full = 0;
  ASSERT_EQ(r.Read(8, full), kBitReadOk);
  EXPECT_EQ(full, -1);
}

// The shortcuts (in-byte, aligned bytes and words) and the general path must
// agree with the bit-by-bit definition at every position and width.
TEST(BitReader, EveryPositionAndWidthMatchesTheBitwiseDefinition) {
  std::mt19937 rng(12345);
  std::vector<std::uint8_t> bytes(24);
  for (auto& b : bytes) b = static_cast<std::uint8_t>(rng());
  const auto total = static_cast<std::uint32_t>(bytes.size() * 8);
  for (std::uint8_t order : {kLsbFirst, kMsbFirst}) {
    for (std::uint32_t pos = 0; pos < 80; ++pos) {
      for (std::uint32_t n = 1; n <= 64; ++n) {
        BitReader r(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
        r.SetBitOrder(order);
        r.SetPosition(pos);
        std::uint64_t v = 0;
        ASSERT_EQ(r.Read(n, v), kBitReadOk);
        ASSERT_EQ(v, ReferenceRead(bytes, pos, n, order))
            << "order " << int(order) << " pos " << pos << " n " << n;
        ASSERT_EQ(r.Position(), pos + n);
        ASSERT_LE(r.Position(), total);
        if (n <= 8) {
          std::uint8_t b = 0;
          r.SetPosition(pos);
          ASSERT_EQ(r.Read(n, b), kBitReadOk);
          ASSERT_EQ(b, ReferenceRead(bytes, pos, n, order));
        }
        if (n <= 32) {
          std::uint32_t w = 0;
          r.SetPosition(pos);
          ASSERT_EQ(r.Read(n, w), kBitReadOk);
          ASSERT_EQ(w, ReferenceRead(bytes, pos, n, order));
        }
      }
    }
  }
}

}  // namespace
}  // namespace quillon
