#include "common/item_buffer.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

namespace quillon {
namespace {

TEST(ItemBuffer, OneTo8208BytesAreValidAndInvalidBuffersHoldNothing) {
  std::vector<std::uint8_t> bytes(kMaxItemPayload + 1, 0xAB);
  EXPECT_TRUE(ItemBuffer(bytes.data(), 1).IsValid());
  const ItemBuffer largest(bytes.data(), 8208);
  EXPECT_EQ(largest.Length(), 8208u);
  EXPECT_EQ(largest.Bytes().back(), 0xAB);
  for (const auto& [data, length] :
       {std::pair{bytes.data(), 8209}, {bytes.data(), 0}, {nullptr, 10}}) {
    const ItemBuffer b(data, length);
    EXPECT_FALSE(b.IsValid());
    EXPECT_EQ(b.Data(), nullptr);
    EXPECT_EQ(b.Length(), 0u);
  }
}

TEST(ItemBufferRef, CopiesTheBytesAndInvalidGivesEmptyHolder) {
  std::uint8_t bytes[] = {1, 2, 3};
  const ItemBufferRef ref = ItemBufferRef::Make(bytes, sizeof(bytes));
  bytes[0] = 9;
  ASSERT_EQ(ref.Length(), 3u);
  EXPECT_EQ(ref.Data()[0], 1);
  const ItemBufferRef empty = ItemBufferRef::Make(bytes, 0);
  EXPECT_FALSE(empty.IsValid());
  EXPECT_EQ(empty.Data(), nullptr);
  EXPECT_EQ(empty.Length(), 0u);
  EXPECT_EQ(empty.RefCount(), 0u);
  EXPECT_FALSE(ItemBufferRef::Adopt(nullptr).IsValid());
  // Adopting an invalid buffer discards it (ASan reports a leak otherwise).
  EXPECT_FALSE(ItemBufferRef::Adopt(new ItemBuffer(nullptr, 5)).IsValid());
}

TEST(ItemBufferRef, CountsFollowCopiesMovesAndAssignments) {
  const std::uint8_t bytes[] = {1, 2};
  ItemBufferRef a = ItemBufferRef::Make(bytes, 1);
  {
    ItemBufferRef b(a);
    EXPECT_EQ(b.Get(), a.Get());
    ItemBufferRef c;
    c = b;
    ItemBufferRef d(std::move(c));  // a move takes the reference over
    EXPECT_FALSE(c.IsValid());      // NOLINT(bugprone-use-after-move)
    d = d;                          // self-assignment keeps the count
    d = b;                          // same buffer: no change
    EXPECT_EQ(a.RefCount(), 3u);
  }
  EXPECT_EQ(a.RefCount(), 1u);
  ItemBufferRef a2 = a;
  ItemBufferRef b = ItemBufferRef::Make(bytes + 1, 1);
  a2 = b;  // releases the old buffer
  EXPECT_EQ(a.RefCount(), 1u);
  EXPECT_EQ(b.RefCount(), 2u);
  a2 = std::move(a);
  EXPECT_EQ(b.RefCount(), 1u);
  EXPECT_EQ(a2.RefCount(), 1u);
  EXPECT_EQ(a2.Data()[0], 1);
}

TEST(ItemBufferRef, CountsStayExactAcrossThreads) {
  const std::uint8_t bytes[] = {7};
  const ItemBufferRef shared = ItemBufferRef::Make(bytes, 1);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&shared] {
      for (int i = 0; i < 2000; ++i) {
        ItemBufferRef copy(shared);
        ItemBufferRef moved(std::move(copy));
      }
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_EQ(shared.RefCount(), 1u);
}

}  // namespace
}  // namespace quillon
