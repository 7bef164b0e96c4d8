// The Linux surfaces' reference rate: every item of a 1,000,000-item file
// read in order with its name and summary, in C++ through the same
// ItemCursor and CAutoColorItem that the Python iterator and `quillon dump`
// use. bench/surfaces_run.sh runs it beside the Python iteration and the
// tool's JSON lines output over the same file.
//
// Usage: bench_surfaces FILE [benchmark flags]; FILE is written first when
// it does not exist (items copied round robin from the bundled sample).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

#include "automation/auto_color_item.h"
#include "automation/module.h"
#include "automation/store_access.h"
#include "bench/automation_bench_store.h"
#include "platform/file.h"
#include "platform/text_codec.h"
#include "store/item_store.h"

namespace {

using namespace quillon;

constexpr std::uint32_t kItems = 1000000;

void IterateNamesAndSummaries(benchmark::State& state, const std::u16string& path) {
  std::size_t text_bytes = 0;
  for (auto _ : state) {
    const OpenedStore opened = OpenStore(path, {});
    ItemCursor cursor({}, opened.store->GetItemCount());
    std::vector<ItemRead> batch;
    while (true) {
      batch.clear();
      if (cursor.ReadBatch(*opened.store, batch, 256) == 0) break;
      for (ItemRead& read : batch) {
        if (read.error) continue;
        const CAutoColorItem item(opened.store, std::move(read.item));
        text_bytes += item.GetItemName().size() + item.GetItemSummary().size();
      }
    }
    state.SetItemsProcessed(state.items_processed() + cursor.End());
  }
  benchmark::DoNotOptimize(text_bytes);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const std::u16string path = platform::Utf8ToUtf16(argc > 1 ? argv[1] : "surfaces_1m.isf");
  if (!platform::PathExists(path) &&
      !bench::WriteBenchStore(platform::Utf8ToUtf16(QUILLON_SOURCE_DIR "/samples/demo.isf"), path,
                              kItems)) {
    std::fprintf(stderr, "bench_surfaces: cannot write the benchmark file\n");
    return 1;
  }
  automation::ProcessDatabase();
  benchmark::RegisterBenchmark("IterateNamesAndSummaries", IterateNamesAndSummaries, path)
      ->Unit(benchmark::kMillisecond)
      ->Iterations(2);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
