// quillon sample OUT.isf: writes the deterministic demo capture.
#include <cstdio>
#include <memory>
#include <string>

#include "cli/cli_support.h"
#include "cli/commands.h"
#include "cli/demo_items.h"
#include "store/item_factory.h"
#include "store/item_store_file.h"

namespace quillon::cli {

namespace {

void RunSample(const std::string& utf8_path) {
  const std::u16string path = PathArgument(utf8_path);
  ItemStoreFile file;
  try {
    file.Create(path);
    for (const DemoRecord& record : MakeDemoItems()) {
      const ItemBufferRef buffer =
          ItemBufferRef::Make(record.payload.data(), record.payload.size());
      const ItemPtr item = CreateItem({record.type_code, ItemTimestamp(record.timestamp)}, buffer,
                                      true, NullItemDatabaseView::Instance());
      if (!item) throw cMISException(kMisCategoryInternal, mis::kOutOfMemory);
      file.AppendItem(item.get());
    }
    const std::uint32_t count = file.GetItemCount();
    file.Close();
    std::printf("wrote %u items to %s\n", count, utf8_path.c_str());
  } catch (const cMISException& error) {
    throw ExitStatus{ReportFailure(error, "cannot write " + utf8_path)};
  }
}

}  // namespace

void AddSampleCommand(CLI::App& app) {
  auto path = std::make_shared<std::string>();
  CLI::App* sample = app.add_subcommand("sample", "Write the demo item store file");
  sample->add_option("OUT", *path, "Item store file to write (replaced when it exists)")
      ->required();
  sample->callback([path] { RunSample(*path); });
}

}  // namespace quillon::cli
