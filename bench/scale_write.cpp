// The scale measurements of bench/run.
//   scale_write N PATH   writes a capture of N mixed items (requests,
//                        responses, log packets, strings, subsystem commands
//                        of 2 to 260 bytes), closes it and prints the seconds
//                        that took.
//   scale_write count PATH  opens the closed capture read-only (mapped),
//                        counts its items and prints the count and the
//                        microseconds that took (the best of 20 opens).
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/bench_items.h"
#include "common/item_database_view.h"
#include "platform/text_codec.h"
#include "store/item_factory.h"
#include "store/item_store_file.h"
#include "store/mapped_item_store_file.h"

namespace quillon {
namespace {

using bench::kStartMs;
using bench::MakeTemplates;

int Run(std::uint32_t count, const std::string& path) {
  const std::vector<ItemPtr> templates = MakeTemplates();
  const auto start = std::chrono::steady_clock::now();
  ItemStoreFile file;
  file.Create(platform::Utf8ToUtf16(path));
  for (std::uint32_t i = 0; i < count; ++i) {
    ItemRecord& item = *templates[i % templates.size()];
    item.SetTimestamp(ItemTimestamp::FromMilliseconds(kStartMs + i / 4));
    file.AppendItem(&item);
  }
  file.Close();
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  std::printf("%.3f\n", took.count());
  return 0;
}

int Count(const std::string& path) {
  double best = 1e30;
  std::uint32_t count = 0;
  for (int round = 0; round < 20; ++round) {
    const auto start = std::chrono::steady_clock::now();
    MappedItemStoreFile file;
    file.Open(platform::Utf8ToUtf16(path), true, nullptr);
    count = file.GetItemCount();
    file.Close();
    const std::chrono::duration<double, std::micro> took = std::chrono::steady_clock::now() - start;
    if (took.count() < best) best = took.count();
  }
  std::printf("%u %.1f\n", count, best);
  return 0;
}

}  // namespace
}  // namespace quillon

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: scale_write N PATH\n");
    return 2;
  }
  try {
    if (std::string(argv[1]) == "count") return quillon::Count(argv[2]);
    return quillon::Run(static_cast<std::uint32_t>(std::strtoul(argv[1], nullptr, 10)), argv[2]);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "scale_write: %s\n", e.what());
    return 1;
  }
}
