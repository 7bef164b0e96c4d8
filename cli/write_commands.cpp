// The commands that write: quillon add-strings, copy and recover. Every
// other command only reads.
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "cli/cli_support.h"
#include "cli/commands.h"
#include "cli/item_selection.h"
#include "store/item_store.h"
#include "store/open_item_store_file.h"

namespace quillon::cli {

namespace {

OpenedStore OpenForWriting(const std::string& path, const StoreOpenOptions& options) {
  UseDatabase();
  try {
    return OpenStore(PathArgument(path), options);
  } catch (const cMISException& error) {
    throw ExitStatus{ReportFailure(error, "cannot open " + path)};
  }
}

struct AddStringsOptions {
  std::string path;
  std::string text = "-";
  std::uint32_t string_type = 0;
};

void RunAddStrings(const AddStringsOptions& options) {
  std::string text = options.text;
  if (text == "-") {
    text.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
  }
  const OpenedStore opened = OpenForWriting(options.path, {.mode = StoreMode::kAppend});
  const std::uint32_t before = opened.store->GetItemCount();
  try {
    AddTextItems(*opened.store, PathArgument(text), options.string_type);
  } catch (const cMISException& error) {
    if (error.Code() == mis::kBadArguments && opened.store->GetItemCount() == before) {
      Fail("nothing to add: the text has no line");
    }
    throw ExitStatus{ReportFailure(error, "cannot add strings to " + options.path)};
  }
  const std::uint32_t after = opened.store->GetItemCount();
  std::printf("added %u item%s to %s (indexes %u-%u)\n", after - before,
              after - before == 1 ? "" : "s", options.path.c_str(), before, after - 1);
}

struct CopyOptions {
  std::string source;
  std::string destination;
  SelectionArgs selection;
  bool preserve_timestamps = false;
};

bool SameFile(const std::string& a, const std::string& b) {
  std::error_code ec;
  return std::filesystem::equivalent(std::filesystem::path(PathArgument(a)),
                                     std::filesystem::path(PathArgument(b)), ec);
}

void RunCopy(const CopyOptions& options) {
  const ItemSelection selection = ToSelection(options.selection);
  if (SameFile(options.source, options.destination)) {
    Fail("the destination is the source file; copy into a new file", kExitUsage);
  }
  Progress progress("copy");
  const OpenedStore source = OpenForReading(options.source, &progress);
  const OpenedStore destination = OpenForWriting(options.destination, {.mode = StoreMode::kWrite});
  ItemCursor cursor(selection, source.store->GetItemCount());
  UnreadableItems unreadable;
  std::uint32_t copied = 0;
  std::vector<ItemRead> batch;
  while (true) {
    batch.clear();
    if (cursor.ReadBatch(*source.store, batch, 512) == 0) break;
    for (const ItemRead& read : batch) {
      if (read.error) {
        unreadable.Report(read.index, *read.error);
        continue;
      }
      try {
        CopyStoreItem(*source.store, *destination.store, read.index, options.preserve_timestamps);
        ++copied;
      } catch (const cMISException& error) {
        throw ExitStatus{ReportFailure(error, "cannot copy item " + std::to_string(read.index) +
                                                  " to " + options.destination)};
      }
    }
    progress.Update(cursor.Position(), cursor.End());
  }
  std::printf("copied %u item%s to %s\n", copied, copied == 1 ? "" : "s",
              options.destination.c_str());
  throw ExitStatus{unreadable.ExitStatusAtEnd()};
}

void RunRecover(const std::string& path) {
  platform::File look;
  IsfLayout layout = IsfLayout::kUnknown;
  if (look.Open(PathArgument(path), platform::FileAccess::kRead,
                platform::FileDisposition::kOpenExisting) == 0) {
    try {
      layout = DetectIsfLayout(look);
    } catch (const cMISException&) {
    }
    look.Close();
  }
  if (layout == IsfLayout::kTerminated) {
    std::printf("%s was closed properly; nothing to recover\n", path.c_str());
    return;
  }
  if (layout != IsfLayout::kUnterminated) {
    // Opening it to read says why it is not a capture to recover (and an
    // append would create a missing file).
    OpenForReading(path);
  }
  Progress progress("recover");
  OpenedStore opened =
      OpenForWriting(path, {.mode = StoreMode::kAppend, .recover = true, .progress = &progress});
  const std::uint32_t count = opened.store->GetItemCount();
  opened.store.reset();  // closing writes the trailer
  std::printf("recovered %u item%s; %s now has its trailer\n", count, count == 1 ? "" : "s",
              path.c_str());
}

}  // namespace

void AddWriteCommands(CLI::App& app) {
  auto add = std::make_shared<AddStringsOptions>();
  CLI::App* add_strings = app.add_subcommand(
      "add-strings", "Add one STRING item per non-empty line (creates FILE when missing)");
  add_strings->add_option("FILE", add->path, "Item store file (.isf)")->required();
  add_strings->add_option("TEXT", add->text, "The text, or - (the default) to read stdin");
  add_strings->add_option("--string-type", add->string_type, "String type 0-4 (default 0)")
      ->check(CLI::Range(0, 4));
  add_strings->callback([add] { RunAddStrings(*add); });

  auto copy = std::make_shared<CopyOptions>();
  CLI::App* copy_command =
      app.add_subcommand("copy", "Copy the selected items of SRC into a new file DST");
  copy_command->add_option("SRC", copy->source, "Item store file to copy from")->required();
  copy_command->add_option("DST", copy->destination, "New item store file (replaced)")->required();
  AddSelectionOptions(*copy_command, copy->selection);
  copy_command->add_flag("--preserve-timestamps", copy->preserve_timestamps,
                         "Keep each item's timestamp (otherwise copies are stamped now)");
  copy_command->callback([copy] { RunCopy(*copy); });

  auto path = std::make_shared<std::string>();
  CLI::App* recover = app.add_subcommand(
      "recover", "Give a capture that was never closed its trailer (writes to FILE)");
  recover->add_option("FILE", *path, "Item store file (.isf)")->required();
  recover->callback([path] { RunRecover(*path); });
}

}  // namespace quillon::cli
