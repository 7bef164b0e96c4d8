#include "items/payload_reader.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace quillon {
namespace {

TEST(PayloadReader, ReadsLittleEndian) {
  const std::vector<std::uint8_t> b = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09};
  PayloadReader r(b);
  EXPECT_EQ(r.U8(0), 0x01);
  EXPECT_EQ(r.U16(1), 0x0302);
  EXPECT_EQ(r.U32(1), 0x05040302u);
  EXPECT_EQ(r.U64(1), 0x0908070605040302ull);
  EXPECT_EQ(r.I32(0), 0x04030201);
}

TEST(PayloadReader, RefusesEveryReadThatLeavesThePayload) {
  const std::vector<std::uint8_t> b(8, 0xFF);
  PayloadReader r(b);
  EXPECT_TRUE(r.U64(0) && r.U32(4) && r.U16(6) && r.U8(7));
  EXPECT_FALSE(r.U64(1) || r.U32(5) || r.U16(7) || r.U8(8));
  // Offsets near the top of size_t must not wrap around.
  const std::size_t huge = std::numeric_limits<std::size_t>::max();
  EXPECT_FALSE(r.U8(huge).has_value());
  EXPECT_FALSE(r.U64(huge - 3).has_value());
  EXPECT_FALSE(r.Has(1, huge));
  EXPECT_FALSE(r.Sub(4, 5).has_value());
  EXPECT_EQ(r.Sub(4, 4)->size(), 4u);
  EXPECT_FALSE(PayloadReader(nullptr, 10).U8(0).has_value());
  EXPECT_EQ(PayloadReader(nullptr, 10).size(), 0u);
}

TEST(PayloadReader, FindZero) {
  const std::vector<std::uint8_t> b = {'a', 0, 'b', 'c', 0};
  PayloadReader r(b);
  EXPECT_EQ(r.FindZero(0), 1u);
  EXPECT_EQ(r.FindZero(2), 4u);
  EXPECT_EQ(r.FindZero(5), std::nullopt);
  EXPECT_EQ(PayloadReader(b.data(), 4).FindZero(2), std::nullopt);
}

}  // namespace
}  // namespace quillon
