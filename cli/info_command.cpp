// quillon info FILE: the facts of an item store file.
#include <cstdio>
#include <memory>
#include <string>

#include "cli/cli_support.h"
#include "cli/commands.h"
#include "store/mapped_item_store_file.h"
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

void RunInfo(const std::string& utf8_path) {
  const std::u16string path = PathArgument(utf8_path);
  platform::File look;
  if (const std::uint32_t error =
          look.Open(path, platform::FileAccess::kRead, platform::FileDisposition::kOpenExisting)) {
    throw ExitStatus{
        ReportFailure(cMISException(kMisCategorySystem, error), "cannot open " + utf8_path)};
  }
  std::uint64_t size = 0;
  IsfLayout layout = IsfLayout::kUnknown;
  try {
    if (const std::uint32_t error = look.Size(size)) throw cMISException(0, error);
    layout = DetectIsfLayout(look);
  } catch (const cMISException& error) {
    throw ExitStatus{ReportFailure(error, "cannot read " + utf8_path)};
  }
  look.Close();
  std::printf("file:    %s\nsize:    %llu bytes\nlayout:  %s\n", utf8_path.c_str(),
              static_cast<unsigned long long>(size), LayoutText(layout));
  if (layout != IsfLayout::kTerminated) {
    if (layout != IsfLayout::kUnterminated) throw ExitStatus{1};
    return;  // reading it would need recovery, which writes to the file
  }
  try {
    const std::unique_ptr<ItemStoreFile> file = OpenItemStoreFile(path, {.read_only = true});
    const bool mapped = dynamic_cast<const MappedItemStoreFile*>(file.get()) != nullptr;
    std::printf("class:   %s\nitems:   %u\nblocks:  %u\ntrailer: yes\n",
                mapped ? "MappedItemStoreFile" : "ItemStoreFile", file->GetItemCount(),
                file->GetBlockCount());
  } catch (const cMISException& error) {
    throw ExitStatus{ReportFailure(error, "cannot open " + utf8_path)};
  }
}

}  // namespace

void AddInfoCommand(CLI::App& app) {
  auto path = std::make_shared<std::string>();
  CLI::App* info = app.add_subcommand("info", "Show the facts of an item store file");
  info->add_option("FILE", *path, "Item store file (.isf)")->required();
  info->callback([path] { RunInfo(*path); });
}

}  // namespace quillon::cli
