// The files the automation and surface benchmarks read: items copied round
// robin from the bundled sample through the portable automation layer
// (100,000 unless asked otherwise).
#pragma once

#include <cstdint>
#include <string>

#include "automation/auto_item_store_files.h"

namespace quillon::bench {

inline constexpr std::uint32_t kBenchItems = 100000;

// Writes `items` items to the file at `path` (replacing it); false when the
// sample cannot be read or the file cannot be written.
inline bool WriteBenchStore(const std::u16string& sample, const std::u16string& path,
                            std::uint32_t items = kBenchItems) {
  CAutoItemStoreFiles files;
  const std::uint32_t source = files.LoadItemStore(sample);
  const std::uint32_t target = files.CreateItemStore(path);
  const std::uint32_t count = files.GetItemCount(source);
  if (source == kAutoFailure || target == kAutoFailure || count == 0 || count == kAutoFailure) {
    return false;
  }
  for (std::uint32_t i = 0; i < items; ++i) {
    if (files.CopyItem(source, target, i % count, true) == kAutoFailure) return false;
  }
  return files.CloseItemStore(target);
}

}  // namespace quillon::bench
