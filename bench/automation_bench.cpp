// The portable automation layer's rate for the work a script does most:
// GetItem plus GetItemSummary over every item of a 100,000-item file, and
// the core's rate for the same work (the store's GetItem and the summary
// text) as the yardstick. The same work through IDispatch is measured by
// com_bench (Windows, Wine).
#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>

#include "automation/auto_color_item.h"
#include "automation/auto_item_store_files.h"
#include "automation/module.h"
#include "bench/automation_bench_store.h"
#include "store/item_store.h"
#include "store/open_item_store_file.h"

namespace quillon::bench {
namespace {

std::filesystem::path Repo() { return std::filesystem::path(QUILLON_SOURCE_DIR); }

void BM_GetItemAndSummary(benchmark::State& state) {
  automation::LoadProcessDatabase((Repo() / "Database").u16string());
  const auto path = std::filesystem::temp_directory_path() / "quillon_automation_bench.isf";
  if (!WriteBenchStore((Repo() / "samples" / "demo.isf").u16string(), path.u16string())) {
    state.SkipWithError("cannot write the benchmark file");
    return;
  }
  CAutoItemStoreFiles files;
  const std::uint32_t h = files.LoadItemStore(path.u16string());
  std::size_t total = 0;
  for (auto _ : state) {
    for (std::uint32_t i = 0; i < kBenchItems; ++i) {
      total += files.GetItem(h, i)->GetItemSummary().size();
    }
  }
  benchmark::DoNotOptimize(total);
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kBenchItems);
  files.CloseItemStore(h);
  std::filesystem::remove(path);
}
BENCHMARK(BM_GetItemAndSummary)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_CoreGetItemAndSummary(benchmark::State& state) {
  automation::LoadProcessDatabase((Repo() / "Database").u16string());
  const auto path = std::filesystem::temp_directory_path() / "quillon_automation_bench_core.isf";
  if (!WriteBenchStore((Repo() / "samples" / "demo.isf").u16string(), path.u16string())) {
    state.SkipWithError("cannot write the benchmark file");
    return;
  }
  {
    ItemStore store(automation::ProcessDatabase());
    store.AttachFile(OpenItemStoreFile(path.u16string(), {}), 0, u"");
    const ItemRenderServices services = store.RenderServices();
    std::size_t total = 0;
    for (auto _ : state) {
      for (std::uint32_t i = 0; i < kBenchItems; ++i) {
        ItemTextRequest request{{ItemTextKind::kSummary, {}}};
        store.GetItem(i)->GetTexts(request, {}, &services);
        total += request[ItemTextKind::kSummary].size();
      }
    }
    benchmark::DoNotOptimize(total);
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kBenchItems);
  }
  std::filesystem::remove(path);
}
BENCHMARK(BM_CoreGetItemAndSummary)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
}  // namespace quillon::bench

BENCHMARK_MAIN();
