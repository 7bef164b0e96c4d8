#include "cli/item_texts_access.h"

#include <cstdio>

#include "automation/module.h"
#include "cli/cli_support.h"
#include "common/number_text.h"
#include "database/database.h"
#include "store/item_store.h"
#include "store/open_item_store_file.h"

namespace quillon::cli {

void AddDatabaseOption(CLI::App& command, TextStoreOptions& options) {
  command.add_option("--db", options.database,
                     "Database directory (default: the one the library finds from its own "
                     "location)");
}

std::shared_ptr<ItemStore> OpenTextStore(const TextStoreOptions& options) {
  if (!options.database.empty()) automation::LoadProcessDatabase(PathArgument(options.database));
  const Database& database = automation::ProcessDatabase();
  if (database.Tables() == DbTables()) {
    std::fprintf(stderr,
                 "quillon: warning: no database tables in %s: names are Unknown and summaries "
                 "show lengths (use --db DIR)\n",
                 ToUtf8(automation::ProcessDatabaseDirectory()).c_str());
  }
  auto store = std::make_shared<ItemStore>(database);
  const std::u16string path = PathArgument(options.path);
  try {
    // Without recovery a file that was never closed is refused: recovery
    // opens it for writing and gives it a trailer when it is closed.
    if (!store->AttachFile(OpenItemStoreFile(path, {.read_only = !options.recover,
                                                    .allow_recover = options.recover}),
                           0, {})) {
      std::fprintf(stderr, "quillon: cannot open %s\n", options.path.c_str());
      throw ExitStatus{1};
    }
  } catch (const cMISException& error) {
    throw ExitStatus{ReportFailure(error, "cannot open " + options.path)};
  }
  return store;
}

std::u16string OneLine(std::u16string_view text) {
  std::u16string line;
  line.reserve(text.size());
  for (const char16_t c : text) {
    if (c >= 0x20 && c != 0x7F) {
      line += c;
    } else if (c == u'\r') {
      line += u"\\r";
    } else if (c == u'\n') {
      line += u"\\n";
    } else if (c == u'\t') {
      line += u"\\t";
    } else {
      line += u"\\x";
      AppendHexDigits(line, c, 2);
    }
  }
  return line;
}

}  // namespace quillon::cli
