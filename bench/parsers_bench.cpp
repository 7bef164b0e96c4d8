// Cost of a parser library call: the contained call alone, the choice of a
// library, and text and summary parses through the SDK example library
// (built next to this executable).
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "parsers/parser_service.h"
#include "platform/guarded_call.h"
#include "platform/text_codec.h"
#include "store/item_factory.h"

namespace quillon {
namespace {

ItemPtr DiagRequest(std::uint8_t command) {
  const std::uint8_t payload[] = {command, 1, 2, 3};
  return CreateItem({kItemDiagTx, ItemTimestamp(0)}, ItemBufferRef::Make(payload, sizeof payload),
                    true, NullItemDatabaseView::Instance());
}

struct Loaded {
  Loaded() {
    std::vector<ParserErrorRecord> errors;
    loaded = service.Load(platform::Utf8ToUtf16(QUILLON_BENCH_EXAMPLE), errors);
  }
  ParserService service{nullptr};
  bool loaded = false;
};

Loaded& Example() {
  static Loaded example;
  return example;
}

void BM_GuardedCallEmpty(benchmark::State& state) {
  int calls = 0;
  for (auto _ : state) {
    platform::CallGuarded([](void* p) { ++*static_cast<int*>(p); }, &calls);
  }
  benchmark::DoNotOptimize(calls);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_GuardedCallEmpty);

void BM_ParseNoLibraryTakesIt(benchmark::State& state) {
  if (!Example().loaded) return state.SkipWithError("example library not loaded");
  const ItemPtr item = DiagRequest(76);
  std::u16string text;
  for (auto _ : state) benchmark::DoNotOptimize(Example().service.ParseToText(*item, text));
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ParseNoLibraryTakesIt);

void BM_ParseToText(benchmark::State& state) {
  if (!Example().loaded) return state.SkipWithError("example library not loaded");
  const ItemPtr item = DiagRequest(75);
  std::u16string text;
  for (auto _ : state) benchmark::DoNotOptimize(Example().service.ParseToText(*item, text));
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ParseToText);

void BM_ParseToSummary(benchmark::State& state) {
  if (!Example().loaded) return state.SkipWithError("example library not loaded");
  const ItemPtr item = DiagRequest(75);
  std::u16string text;
  for (auto _ : state) benchmark::DoNotOptimize(Example().service.ParseToSummary(*item, text));
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ParseToSummary);

}  // namespace
}  // namespace quillon

BENCHMARK_MAIN();
