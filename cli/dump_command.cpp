// quillon dump FILE [--first N] [--count N] [--recover] [--db DIR]
// One line per item: index, timestamp, type text, key text, payload length,
// name and summary.
#include <cstdio>
#include <memory>
#include <string>

#include "cli/cli_support.h"
#include "cli/commands.h"
#include "cli/item_texts_access.h"
#include "store/item_store.h"

namespace quillon::cli {

namespace {

struct DumpOptions {
  TextStoreOptions store;
  std::uint32_t first = 0;
  std::uint32_t count = 0xFFFFFFFF;
};

// One request for every line: the item renders the five texts in one call.
void PrintItem(std::uint32_t index, const ItemRecord& item, const ItemRenderServices& services) {
  ItemTextRequest request{{ItemTextKind::kTypeText, {}},
                          {ItemTextKind::kName, {}},
                          {ItemTextKind::kTimestampText, {}},
                          {ItemTextKind::kSummary, {}},
                          {ItemTextKind::kKeyText, {}}};
  item.GetTexts(request, {.want_date = true, .want_milliseconds = true}, &services);
  std::printf("%8u  %s  %-9s  %-14s  %5u  %-40s  %s\n", index,
              ToUtf8(request[ItemTextKind::kTimestampText]).c_str(),
              ToUtf8(request[ItemTextKind::kTypeText]).c_str(),
              ToUtf8(request[ItemTextKind::kKeyText]).c_str(), item.GetPayloadLength(),
              ToUtf8(OneLine(request[ItemTextKind::kName])).c_str(),
              ToUtf8(OneLine(request[ItemTextKind::kSummary])).c_str());
}

void RunDump(const DumpOptions& options) {
  const std::shared_ptr<ItemStore> store = OpenTextStore(options.store);
  const ItemRenderServices services = store->RenderServices();
  const std::uint32_t total = store->GetItemCount();
  std::uint32_t index = options.first;
  try {
    for (std::uint32_t shown = 0; index < total && shown < options.count; ++index, ++shown) {
      PrintItem(index, *store->GetItem(index), services);
    }
  } catch (const cMISException& error) {
    std::fflush(stdout);
    throw ExitStatus{ReportFailure(
        error, "cannot read item " + std::to_string(index) + " of " + options.store.path)};
  }
}

}  // namespace

void AddDumpCommand(CLI::App& app) {
  auto options = std::make_shared<DumpOptions>();
  CLI::App* dump = app.add_subcommand("dump", "List the items of an item store file");
  dump->add_option("FILE", options->store.path, "Item store file (.isf)")->required();
  dump->add_option("--first", options->first, "Index of the first item to list");
  dump->add_option("--count", options->count, "Number of items to list");
  dump->add_flag("--recover", options->store.recover,
                 "Recover a file that was never closed (writes its trailer)");
  AddDatabaseOption(*dump, options->store);
  dump->callback([options] { RunDump(*options); });
}

}  // namespace quillon::cli
