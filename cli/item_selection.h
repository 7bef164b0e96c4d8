// The item filters that dump and copy share: type, key text, index range
// and time range.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "automation/store_access.h"

namespace quillon::cli {

struct SelectionArgs {
  std::vector<std::string> types;  // type texts ("LOG", "OTA LOG" or "ota-log") or codes
  std::vector<std::string> keys;   // key texts
  std::uint32_t first = 0;
  std::optional<std::uint32_t> last;  // inclusive
  std::optional<std::uint32_t> count;
  std::string since;  // ISO 8601, UTC
  std::string until;
};

void AddSelectionOptions(CLI::App& command, SelectionArgs& args);
// The selection the arguments describe; a bad type or time ends the program
// with a usage error.
ItemSelection ToSelection(const SelectionArgs& args);

}  // namespace quillon::cli
