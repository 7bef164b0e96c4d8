// quillon show FILE INDEX [--db DIR]
// Every text of one item, as automation clients see them (ColorItem and
// ColorItemFields), plus the combined forms that the tool's item lists
// show: type texts, key text, name, both timestamps, colour, sizes, the
// payload dumps, summary, parsed text, parsed fields and their XML.
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "automation/auto_color_item.h"
#include "automation/auto_item_fields.h"
#include "automation/auto_item_store_files.h"
#include "cli/cli_support.h"
#include "cli/commands.h"
#include "cli/item_texts_access.h"
#include "common/item_type_text.h"
#include "common/text.h"
#include "store/item_store.h"

namespace quillon::cli {

namespace {

// Labels are left-aligned in this many columns; the lines of a multi-line
// value after the first are indented by as much.
constexpr int kLabelWidth = 20;

struct ShowOptions {
  TextStoreOptions store;
  std::uint32_t index = 0;
};

// Prints `label` and `text`, one terminal line per line of the text (lines
// end in CR LF, LF or CR); an empty text prints `empty`.
void Print(std::string_view label, std::u16string_view text, std::string_view empty = "") {
  std::printf("%-*.*s", kLabelWidth, static_cast<int>(label.size()), label.data());
  if (text.empty()) {
    std::printf("%.*s\n", static_cast<int>(empty.size()), empty.data());
    return;
  }
  bool first = true;
  while (!text.empty()) {
    const std::size_t end = text.find_first_of(u"\r\n");
    const std::string line = ToUtf8(text.substr(0, end));
    std::printf("%*s%s\n", first ? 0 : kLabelWidth, "", line.c_str());
    first = false;
    if (end == std::u16string_view::npos) break;
    text.remove_prefix(end + (text.substr(end, 2) == u"\r\n" ? 2 : 1));
  }
}

void PrintNumber(std::string_view label, std::uint32_t value, std::string_view failure) {
  if (value == kAutoFailure) {
    Print(label, u"", failure);
  } else {
    Print(label, FromUtf8(std::to_string(value)));
  }
}

// The texts that automation does not ask for: the forms with combined texts.
void PrintCombinedTexts(const ItemRecord& item, const ItemStore& store) {
  ItemTextRequest request{{ItemTextKind::kTypeText, {}}, {ItemTextKind::kSummary, {}}};
  const ItemRenderServices services = store.RenderServices();
  item.GetTexts(request, {.combined_texts = true}, &services);
  Print("short type text:", request[ItemTextKind::kTypeText]);
  Print("combined summary:", request[ItemTextKind::kSummary]);
}

void PrintFields(const CAutoColorItem& item) {
  const std::unique_ptr<CAutoItemFields> fields = item.GetItemFields();
  if (!fields) {
    Print("fields:", u"", "none");
    return;
  }
  const std::uint32_t count = fields->GetFieldCount();
  Print("fields:", FromUtf8(std::to_string(count)));
  for (std::uint32_t i = 0; i < count; ++i) {
    std::printf("%*s%s = %s  (bit %u, %u bits)\n", kLabelWidth, "",
                ToUtf8(fields->GetFieldName(i, /*own_name=*/true)).c_str(),
                ToUtf8(fields->GetFieldValueText(i)).c_str(), fields->GetFieldOffset(i),
                fields->GetFieldSize(i));
  }
  Print("xml:", fields->GetXML());
}

void RunShow(const ShowOptions& options) {
  const std::shared_ptr<ItemStore> store = OpenTextStore(options.store);
  const std::uint32_t total = store->GetItemCount();
  if (options.index >= total) {
    std::fprintf(stderr, "quillon: no item %u in %s: it holds %u items\n", options.index,
                 options.store.path.c_str(), total);
    throw ExitStatus{1};
  }
  ItemPtr record;
  try {
    record = store->GetItem(options.index);
  } catch (const cMISException& error) {
    throw ExitStatus{ReportFailure(
        error, "cannot read item " + std::to_string(options.index) + " of " + options.store.path)};
  }
  const CAutoColorItem item(store, std::move(record));
  const std::uint32_t type = item.GetItemType();
  const TimestampTextOptions full{.want_date = true, .want_milliseconds = true};

  std::printf("%-*s%u of %u\n", kLabelWidth, "item:", options.index, total);
  std::printf("%-*s%u (%s)\n", kLabelWidth, "type:", type, ToUtf8(ItemTypeText(type)).c_str());
  Print("type text:", item.GetItemTypeText());
  PrintCombinedTexts(*item.Item(), *store);
  Print("key text:", item.GetItemKeyText());
  Print("name:", item.GetItemName());
  Print("timestamp:", item.GetItemTimestampText(full));
  Print("specific timestamp:", item.GetItemSpecificTimestampText(full));
  std::printf("%-*s0x%06X\n", kLabelWidth, "colour:", item.GetItemColor());
  PrintNumber("size:", item.GetItemSize(false), "none");
  PrintNumber("size with header:", item.GetItemSize(true), "none");
  Print("summary:", item.GetItemSummary());
  Print("buffer:", item.GetItemBufferText(false));
  Print("buffer with header:", item.GetItemBufferText(true));
  Print("parsed text:", item.GetItemParsedText(), "none");
  PrintFields(item);
}

}  // namespace

void AddShowCommand(CLI::App& app) {
  auto options = std::make_shared<ShowOptions>();
  CLI::App* show = app.add_subcommand("show", "Show every text of one item of an item store file");
  show->add_option("FILE", options->store.path, "Item store file (.isf)")->required();
  show->add_option("INDEX", options->index, "Index of the item")->required();
  AddDatabaseOption(*show, options->store);
  show->callback([options] { RunShow(*options); });
}

}  // namespace quillon::cli
