#include "cli/item_selection.h"

#include <cctype>

#include "cli/cli_support.h"
#include "common/item_key.h"
#include "common/item_type_text.h"

namespace quillon::cli {

namespace {

// "ota-log", "OTA_LOG" and "ota log" all name OTA LOG.
std::string Canonical(std::string_view text) {
  std::string out;
  for (const char c : text) {
    out.push_back(c == '-' || c == '_'
                      ? ' '
                      : static_cast<char>(std::toupper(static_cast<unsigned char>(c))));
  }
  return out;
}

std::uint32_t TypeCodeOf(const std::string& text) {
  const std::string wanted = Canonical(text);
  for (std::uint32_t code = 0; code < kItemTypeCount; ++code) {
    if (ToUtf8(ItemTypeText(code)) == wanted || std::to_string(code) == wanted) return code;
  }
  std::string known;
  for (std::uint32_t code = 0; code < kItemTypeCount; ++code) {
    known += (code ? ", " : "") + ToUtf8(ItemTypeText(code));
  }
  Fail("unknown item type '" + text + "' (types: " + known + ", or their codes 0-10)", kExitUsage);
}

ItemTimestamp TimeOf(const std::string& text, const char* option) {
  ItemTimestamp t;
  if (!ParseIsoTime(text, t)) {
    Fail(std::string(option) + " '" + text +
             "' is not a UTC time such as 2024-03-01T09:30:00.250Z or 2024-03-01",
         kExitUsage);
  }
  return t;
}

}  // namespace

void AddSelectionOptions(CLI::App& command, SelectionArgs& args) {
  command
      .add_option("--type", args.types,
                  "Only items of this type (type text such as LOG or OTA-LOG, or code); "
                  "repeatable")
      ->group("Selection");
  command
      .add_option("--key", args.keys,
                  "Only items with this key text (such as 0x1C0B or 0x412F/*; case ignored, * "
                  "stands for any characters); repeatable")
      ->group("Selection");
  command.add_option("--first", args.first, "Index of the first item")->group("Selection");
  command.add_option("--last", args.last, "Index of the last item")->group("Selection");
  command.add_option("--count", args.count, "Number of indexes to look at from --first")
      ->group("Selection");
  command.add_option("--since", args.since, "Only items stamped at or after this UTC time")
      ->group("Selection");
  command.add_option("--until", args.until, "Only items stamped before this UTC time")
      ->group("Selection");
}

ItemSelection ToSelection(const SelectionArgs& args) {
  ItemSelection selection;
  selection.first = args.first;
  std::uint64_t end = 0xFFFFFFFF;
  if (args.last) end = std::min<std::uint64_t>(end, std::uint64_t{*args.last} + 1);
  if (args.count) end = std::min<std::uint64_t>(end, std::uint64_t{args.first} + *args.count);
  selection.end = static_cast<std::uint32_t>(end);
  for (const std::string& type : args.types) selection.type_mask |= 1u << TypeCodeOf(type);
  for (const std::string& key : args.keys) selection.key_texts.push_back(PathArgument(key));
  if (!args.since.empty()) selection.since = TimeOf(args.since, "--since");
  if (!args.until.empty()) selection.until = TimeOf(args.until, "--until");
  return selection;
}

}  // namespace quillon::cli
