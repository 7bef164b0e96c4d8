// Names and summaries of every item of a 1,000,000-item file (the items of
// the bundled sample, round robin) rendered with the bundled database,
// next to a plain read of the same items through the same store: the
// ratio of the two rates is the cost of the texts. A third benchmark
// renders the sample's items held in memory, 1,000,000 times round robin:
// the rate of the texts alone.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>
#include <vector>

#include "database/database.h"
#include "platform/clock.h"
#include "store/item_store.h"
#include "store/item_store_file.h"
#include "store/open_item_store_file.h"

namespace quillon {
namespace {

constexpr std::uint32_t kItems = 1000000;

std::filesystem::path Repo() { return std::filesystem::path(QUILLON_SOURCE_DIR); }

const Database& BundledDatabase() {
  static const Database* database = [] {
    auto* db = new Database();
    db->Load((Repo() / "Database").u16string(), false);
    return db;
  }();
  return *database;
}

std::unique_ptr<ItemStore> OpenStore(const std::filesystem::path& path) {
  auto store = std::make_unique<ItemStore>(BundledDatabase());
  store->AttachFile(OpenItemStoreFile(path.u16string(), {.read_only = true}), 0, {});
  return store;
}

// The items of the bundled sample.
const std::vector<ItemPtr>& SampleItems() {
  static const std::vector<ItemPtr> items = [] {
    const std::unique_ptr<ItemStore> sample = OpenStore(Repo() / "samples" / "demo.isf");
    std::vector<ItemPtr> all;
    for (std::uint32_t i = 0; i < sample->GetItemCount(); ++i) all.push_back(sample->GetItem(i));
    return all;
  }();
  return items;
}

// The file every benchmark reads, written once.
const std::filesystem::path& Fixture() {
  static const std::filesystem::path path = [] {
    const std::filesystem::path p =
        std::filesystem::temp_directory_path() /
        ("quillon_texts_bench_" + std::to_string(platform::CurrentThreadId()) + ".isf");
    const std::vector<ItemPtr>& items = SampleItems();
    ItemStoreFile file;
    file.Create(p.u16string());
    for (std::uint32_t i = 0; i < kItems; ++i) file.AppendItem(items[i % items.size()].get());
    file.Close();
    return p;
  }();
  return path;
}

void BM_ReadItems(benchmark::State& state) {
  const std::unique_ptr<ItemStore> store = OpenStore(Fixture());
  std::uint64_t sum = 0;
  for (auto _ : state) {
    for (std::uint32_t i = 0; i < kItems; ++i) sum += store->GetItem(i)->GetPayloadLength();
  }
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kItems);
}
BENCHMARK(BM_ReadItems)->Unit(benchmark::kMillisecond)->Iterations(2);

// One request of two kinds per item, as a table view or an export asks.
void BM_NamesAndSummaries(benchmark::State& state) {
  const std::unique_ptr<ItemStore> store = OpenStore(Fixture());
  const ItemRenderServices services = store->RenderServices();
  std::uint64_t sum = 0;
  // Each call replaces the texts of the kinds present.
  ItemTextRequest request{{ItemTextKind::kName, {}}, {ItemTextKind::kSummary, {}}};
  for (auto _ : state) {
    for (std::uint32_t i = 0; i < kItems; ++i) {
      store->GetItem(i)->GetTexts(request, {}, &services);
      sum += request[ItemTextKind::kName].size() + request[ItemTextKind::kSummary].size();
    }
  }
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kItems);
}
BENCHMARK(BM_NamesAndSummaries)->Unit(benchmark::kMillisecond)->Iterations(2);

void BM_NamesAndSummariesOnly(benchmark::State& state) {
  const std::vector<ItemPtr>& items = SampleItems();
  const std::unique_ptr<ItemStore> store = OpenStore(Fixture());
  const ItemRenderServices services = store->RenderServices();
  ItemTextRequest request{{ItemTextKind::kName, {}}, {ItemTextKind::kSummary, {}}};
  std::uint64_t sum = 0;
  for (auto _ : state) {
    for (std::uint32_t i = 0; i < kItems; ++i) {
      items[i % items.size()]->GetTexts(request, {}, &services);
      sum += request[ItemTextKind::kName].size() + request[ItemTextKind::kSummary].size();
    }
  }
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kItems);
}
BENCHMARK(BM_NamesAndSummariesOnly)->Unit(benchmark::kMillisecond)->Iterations(2);

}  // namespace
}  // namespace quillon

BENCHMARK_MAIN();
