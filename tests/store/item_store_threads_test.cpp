// One store used from several threads at once: two add items, two fetch
// items and render every text of them, one watches the count. Run under
// ThreadSanitizer by scripts/test.sh; the counts must add up either way.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "isf_test_support.h"
#include "store/item_store.h"
#include "store/item_store_file.h"

namespace quillon {
namespace {

using namespace testing;

constexpr std::uint32_t kAdders = 2;
// More than the store keeps in memory, so that fetches read the file too.
constexpr std::uint32_t kAddsEach = 1200;

TEST(ItemStoreThreads, AddFetchCountAndRenderAtOnce) {
  TempFile temp(u"threads");
  ItemStore store(NullItemDatabaseView::Instance());
  auto file = std::make_unique<ItemStoreFile>();
  file->Create(temp.u16());
  ASSERT_TRUE(store.AttachFile(std::move(file), 0, u""));

  std::atomic<bool> go{false};  // every thread starts at once
  std::atomic<std::uint32_t> adders_left{kAdders};
  std::atomic<std::uint32_t> failures{0};
  std::atomic<std::uint64_t> rendered{0};
  std::vector<std::thread> threads;
  for (std::uint32_t a = 0; a < kAdders; ++a) {
    threads.emplace_back([&, a] {
      while (!go.load()) {
      }
      for (std::uint32_t i = 0; i < kAddsEach; ++i) {
        if (i % 2 == 0) {
          store.AddStringItem(u"line " + std::u16string(1, static_cast<char16_t>(u'a' + a)), a,
                              0x102030);
        } else {
          store.AddCopy(*DiagTx(TimeAtMs(kSomeMs + i), static_cast<std::uint8_t>(a)));
        }
      }
      --adders_left;
    });
  }
  const ItemRenderServices services = store.RenderServices();
  for (std::uint32_t r = 0; r < 2; ++r) {
    threads.emplace_back([&, r] {
      std::mt19937 rng(r);
      while (!go.load()) {
      }
      // Until the adders are done, and at least a few hundred items each.
      for (std::uint32_t mine = 0; adders_left.load() > 0 || mine < 300;) {
        const std::uint32_t count = store.GetItemCount();
        if (count == 0) continue;
        const ItemPtr item = store.GetItem(static_cast<std::uint32_t>(rng() % count));
        ItemTextRequest request{{ItemTextKind::kTypeText, {}},      {ItemTextKind::kName, {}},
                                {ItemTextKind::kTimestampText, {}}, {ItemTextKind::kSummary, {}},
                                {ItemTextKind::kBufferText, {}},    {ItemTextKind::kKeyText, {}}};
        item->GetTexts(request, {}, &services);
        if (!item->IsValid() || request[ItemTextKind::kTypeText].empty() ||
            request[ItemTextKind::kKeyText].empty()) {
          ++failures;
        }
        ++rendered;
        ++mine;
      }
    });
  }
  threads.emplace_back([&] {
    while (!go.load()) {
    }
    std::uint32_t last = 0;
    while (adders_left.load() > 0) {
      const std::uint32_t now = store.GetItemCount();
      if (now < last) ++failures;
      last = now;
    }
  });
  go.store(true);
  for (std::thread& t : threads) t.join();

  EXPECT_EQ(failures.load(), 0u);
  EXPECT_GE(rendered.load(), 600u);
  ASSERT_EQ(store.GetItemCount(), kAdders * kAddsEach);
  // Every add landed once: each adder's string and request items are all
  // there, whatever the interleaving.
  std::uint32_t strings[kAdders] = {};
  std::uint32_t requests[kAdders] = {};
  for (std::uint32_t i = 0; i < kAdders * kAddsEach; ++i) {
    const ItemPtr item = store.GetItem(i);
    if (item->TypeCode() == kItemString) ++strings[item->Key()[1]];
    if (item->TypeCode() == kItemDiagTx) ++requests[item->GetPayload()[1]];
  }
  for (std::uint32_t a = 0; a < kAdders; ++a) {
    EXPECT_EQ(strings[a], kAddsEach / 2);
    EXPECT_EQ(requests[a], kAddsEach / 2);
  }
}

}  // namespace
}  // namespace quillon
