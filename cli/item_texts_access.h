// What `dump` and `show` read items through: the process-wide database of
// the automation layer (names, summaries, fields) and a read-only store
// over the file that renders with it.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

namespace quillon {
class ItemStore;
}

namespace quillon::cli {

struct TextStoreOptions {
  std::string path;
  std::string database;  // empty: the directory the library's location rule gives
  bool recover = false;  // recover a file that was never closed (writes its trailer)
};

// Registers --db on `command`.
void AddDatabaseOption(CLI::App& command, TextStoreOptions& options);

// Loads the database (warning on stderr when it has no tables: names are
// then "Unknown" and summaries lengths) and opens the file; reports a
// failure on stderr and throws ExitStatus.
std::shared_ptr<ItemStore> OpenTextStore(const TextStoreOptions& options);

// One line of a terminal table: CR, LF and tab as "\r", "\n", "\t", other
// control characters as "\xNN".
std::u16string OneLine(std::u16string_view text);

}  // namespace quillon::cli
