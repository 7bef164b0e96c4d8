// Item store file throughput: appending 1,000,000 mixed items, reading them
// all back through each file class, and a plain sequential read of the same
// file in 1 MiB chunks as the yardstick for the reads.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "bench/bench_items.h"
#include "common/item_database_view.h"
#include "platform/file.h"
#include "store/item_factory.h"
#include "store/item_store_file.h"
#include "store/mapped_item_store_file.h"

namespace quillon {
namespace {

using bench::kStartMs;
using bench::MakeTemplates;

constexpr std::uint32_t kItems = 1000000;

std::filesystem::path BenchPath() {
  return std::filesystem::temp_directory_path() /
         ("quillon_bench_" + std::to_string(platform::CurrentThreadId()) + ".isf");
}

std::uint64_t WriteFile(const std::filesystem::path& path, std::uint64_t* payload_bytes) {
  static const std::vector<ItemPtr> templates = MakeTemplates();
  ItemStoreFile file;
  file.Create(path.u16string());
  std::uint64_t bytes = 0;
  for (std::uint32_t i = 0; i < kItems; ++i) {
    ItemRecord& item = *templates[i % templates.size()];
    item.SetTimestamp(ItemTimestamp::FromMilliseconds(kStartMs + i / 4));
    file.AppendItem(&item);
    bytes += item.GetPayloadLength();
  }
  file.Close();
  if (payload_bytes != nullptr) *payload_bytes = bytes;
  return std::filesystem::file_size(path);
}

// The file read by the read benchmarks, written once.
const std::filesystem::path& ReadFixture() {
  static const std::filesystem::path path = [] {
    const std::filesystem::path p = BenchPath();
    WriteFile(p, nullptr);
    return p;
  }();
  return path;
}

void BM_AppendItems(benchmark::State& state) {
  const std::filesystem::path path =
      std::filesystem::temp_directory_path() / "quillon_bench_append.isf";
  std::uint64_t size = 0;
  for (auto _ : state) size = WriteFile(path, nullptr);
  state.SetItemsProcessed(state.iterations() * kItems);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
  std::filesystem::remove(path);
}

template <typename FileClass>
void BM_ReadAllItems(benchmark::State& state) {
  const std::filesystem::path& path = ReadFixture();
  const std::uint64_t size = std::filesystem::file_size(path);
  for (auto _ : state) {
    FileClass file;
    file.Open(path.u16string(), true, nullptr);
    const std::uint32_t count = file.GetItemCount();
    std::uint64_t sum = 0;
    for (std::uint32_t n = 0; n < count; ++n) sum += file.ReadItem(n)->GetPayloadLength();
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kItems);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
}

void BM_SequentialRead(benchmark::State& state) {
  const std::filesystem::path& path = ReadFixture();
  std::vector<std::uint8_t> chunk(1 << 20);
  std::uint64_t size = 0;
  for (auto _ : state) {
    platform::File file;
    file.Open(path.u16string(), platform::FileAccess::kRead,
              platform::FileDisposition::kOpenExisting, platform::FileCaching::kSequentialScan);
    file.Size(size);
    std::uint64_t checksum = 0;
    for (std::uint64_t at = 0; at < size; at += chunk.size()) {
      const std::size_t n =
          static_cast<std::size_t>(std::min<std::uint64_t>(chunk.size(), size - at));
      file.ReadAt(at, chunk.data(), n);
      checksum += chunk[0];
    }
    benchmark::DoNotOptimize(checksum);
  }
  state.SetItemsProcessed(state.iterations() * kItems);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
}

BENCHMARK(BM_AppendItems)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK_TEMPLATE(BM_ReadAllItems, ItemStoreFile)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_TEMPLATE(BM_ReadAllItems, MappedItemStoreFile)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);
BENCHMARK(BM_SequentialRead)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace
}  // namespace quillon

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::error_code ignored;
  std::filesystem::remove(quillon::BenchPath(), ignored);
  return 0;
}
