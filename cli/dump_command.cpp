// quillon dump FILE [--first N] [--count N] [--recover]
// One line per item: index, timestamp, type text, key text, payload length.
#include <cstdio>
#include <memory>
#include <string>

#include "cli/cli_support.h"
#include "cli/commands.h"
#include "common/item_type_text.h"
#include "items/key_text.h"
#include "store/item_store.h"
#include "store/open_item_store_file.h"

namespace quillon::cli {

namespace {

struct DumpOptions {
  std::string path;
  std::uint32_t first = 0;
  std::uint32_t count = 0xFFFFFFFF;
  bool recover = false;
};

void PrintItem(std::uint32_t index, const ItemRecord& item) {
  std::u16string stamp;
  item.Timestamp().AppendText(stamp, {.want_date = true, .want_milliseconds = true});
  const std::string type = ToUtf8(ItemTypeText(item.TypeCode()));
  const std::string key = ToUtf8(KeyText(item.Key()));
  std::printf("%8u  %s  %-9s  %-14s  %u\n", index, ToUtf8(stamp).c_str(), type.c_str(), key.c_str(),
              item.GetPayloadLength());
}

void RunDump(const DumpOptions& options) {
  const std::u16string path = PathArgument(options.path);
  ItemStore store;
  try {
    // Without --recover a file that was never closed is refused: recovery
    // opens it for writing and gives it a trailer when it is closed.
    if (!store.AttachFile(OpenItemStoreFile(path, {.read_only = !options.recover,
                                                   .allow_recover = options.recover}),
                          0, {})) {
      std::fprintf(stderr, "quillon: cannot open %s\n", options.path.c_str());
      throw ExitStatus{1};
    }
  } catch (const cMISException& error) {
    throw ExitStatus{ReportFailure(error, "cannot open " + options.path)};
  }
  const std::uint32_t total = store.GetItemCount();
  std::uint32_t index = options.first;
  try {
    for (std::uint32_t shown = 0; index < total && shown < options.count; ++index, ++shown) {
      PrintItem(index, *store.GetItem(index));
    }
  } catch (const cMISException& error) {
    std::fflush(stdout);
    throw ExitStatus{
        ReportFailure(error, "cannot read item " + std::to_string(index) + " of " + options.path)};
  }
}

}  // namespace

void AddDumpCommand(CLI::App& app) {
  auto options = std::make_shared<DumpOptions>();
  CLI::App* dump = app.add_subcommand("dump", "List the items of an item store file");
  dump->add_option("FILE", options->path, "Item store file (.isf)")->required();
  dump->add_option("--first", options->first, "Index of the first item to list");
  dump->add_option("--count", options->count, "Number of items to list");
  dump->add_flag("--recover", options->recover,
                 "Recover a file that was never closed (writes its trailer)");
  dump->callback([options] { RunDump(*options); });
}

}  // namespace quillon::cli
