// quillon info FILE: the facts of an item store file and what it holds:
// layout, item count, time span, items per type and per key.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "automation/auto_color_item.h"
#include "cli/cli_support.h"
#include "cli/commands.h"
#include "common/item_type_text.h"
#include "platform/file.h"
#include "store/item_store.h"
#include "store/open_item_store_file.h"

namespace quillon::cli {

namespace {

const char* LayoutText(IsfLayout layout) {
  switch (layout) {
    case IsfLayout::kTerminated:
      return "current, closed (trailer present)";
    case IsfLayout::kUnterminated:
      return "current, never closed (no trailer)";
    case IsfLayout::kOlder:
      return "older layout (not supported)";
    case IsfLayout::kUnknown:
      break;
  }
  return "not an item store file";
}

IsfLayout LayoutOf(const std::string& path) {
  platform::File look;
  if (look.Open(PathArgument(path), platform::FileAccess::kRead,
                platform::FileDisposition::kOpenExisting) != 0) {
    return IsfLayout::kUnknown;
  }
  try {
    return DetectIsfLayout(look);
  } catch (const cMISException&) {
    return IsfLayout::kUnknown;
  }
}

struct KeyCount {
  std::string type_text;
  std::string key_text;
  std::string name;  // of the first item with the key
  std::uint32_t count = 0;
};

void RunInfo(const std::string& path) {
  Progress progress("info");
  const OpenedStore opened = OpenForReading(path, &progress);
  ItemCursor cursor({}, opened.store->GetItemCount());
  UnreadableItems unreadable;
  std::vector<std::uint32_t> per_type(kItemTypeCount + 1, 0);
  std::map<std::vector<std::uint32_t>, KeyCount> per_key;
  std::optional<ItemTimestamp> first, last;
  std::vector<ItemRead> batch;
  while (true) {
    batch.clear();
    if (cursor.ReadBatch(*opened.store, batch, 512) == 0) break;
    for (ItemRead& read : batch) {
      if (read.error) {
        unreadable.Report(read.index, *read.error);
        continue;
      }
      const ItemTimestamp t = read.item->Timestamp();
      if (!first || t < *first) first = t;
      if (!last || *last < t) last = t;
      ++per_type[std::min(read.item->TypeCode(), kItemTypeCount)];
      KeyCount& key = per_key[read.item->Key().ToVector()];
      if (key.count++ == 0) {
        const CAutoColorItem item(opened.store, std::move(read.item));
        key = {ToUtf8(item.GetItemTypeText()), ToUtf8(item.GetItemKeyText()),
               ToUtf8(item.GetItemName()), 1};
      }
    }
    progress.Update(cursor.Position(), cursor.End());
  }

  std::error_code ec;
  const auto size = std::filesystem::file_size(std::filesystem::path(PathArgument(path)), ec);
  std::printf("file:    %s\nsize:    %llu bytes\nlayout:  %s\nitems:   %u\n", path.c_str(),
              static_cast<unsigned long long>(ec ? 0 : size), LayoutText(LayoutOf(path)),
              opened.store->GetItemCount());
  if (first) {
    const double seconds =
        static_cast<double>(last->ToFileTime() - first->ToFileTime()) / 10'000'000.0;
    std::printf("first:   %s\nlast:    %s\nspan:    %.3f s\n", IsoTime(*first).c_str(),
                IsoTime(*last).c_str(), seconds);
  }
  std::printf("per type:\n");
  for (std::uint32_t code = 0; code <= kItemTypeCount; ++code) {
    if (per_type[code] == 0) continue;
    std::printf("  %-10s %8u\n", ToUtf8(ItemTypeText(code)).c_str(), per_type[code]);
  }
  std::printf("per key:\n");
  for (const auto& [elements, key] : per_key) {
    std::string line = "  " + key.type_text;
    line.resize(std::max<std::size_t>(line.size() + 1, 12), ' ');
    line += key.key_text;
    line.resize(std::max<std::size_t>(line.size() + 1, 28), ' ');
    char count[16];
    std::snprintf(count, sizeof count, "%8u", key.count);
    line += count;
    if (!key.name.empty()) line += "  " + key.name;
    std::printf("%s\n", line.c_str());
  }
  std::fflush(stdout);
  throw ExitStatus{unreadable.ExitStatusAtEnd()};
}

}  // namespace

void AddInfoCommand(CLI::App& app) {
  auto path = std::make_shared<std::string>();
  CLI::App* info = app.add_subcommand(
      "info", "Show a file's layout, item count, time span, and items per type and per key");
  info->add_option("FILE", *path, "Item store file (.isf)")->required();
  info->callback([path] { RunInfo(*path); });
}

}  // namespace quillon::cli
