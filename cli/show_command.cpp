// quillon show FILE INDEX [--format text|json]
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
#include "common/item_type_text.h"
#include "common/text.h"
#include "store/item_store.h"

namespace quillon::cli {

namespace {

// Labels are left-aligned in this many columns; the lines of a multi-line
// value after the first are indented by as much.
constexpr int kLabelWidth = 20;

enum class ShowFormat { kText, kJson };

struct ShowOptions {
  std::string path;
  std::uint32_t index = 0;
  ShowFormat format = ShowFormat::kText;
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

// The same texts as one JSON object.
void PrintJson(const CAutoColorItem& item, const ItemStore& store, std::uint32_t index) {
  const TimestampTextOptions full{.want_date = true, .want_milliseconds = true};
  std::string out =
      "{\"index\":" + std::to_string(index) + ",\"type\":" + std::to_string(item.GetItemType());
  const auto text = [&out](std::string_view key, std::u16string_view value) {
    out += ",\"" + std::string(key) + "\":";
    AppendJson(out, ToUtf8(value));
  };
  const auto number = [&out](std::string_view key, std::uint32_t value) {
    out += ",\"" + std::string(key) + "\":";
    out += value == kAutoFailure ? std::string("null") : std::to_string(value);
  };
  text("type_text", item.GetItemTypeText());
  ItemTextRequest combined{{ItemTextKind::kTypeText, {}}, {ItemTextKind::kSummary, {}}};
  const ItemRenderServices services = store.RenderServices();
  item.Item()->GetTexts(combined, {.combined_texts = true}, &services);
  text("short_type_text", combined[ItemTextKind::kTypeText]);
  text("key_text", item.GetItemKeyText());
  text("name", item.GetItemName());
  out += ",\"timestamp\":";
  AppendJson(out, IsoTime(item.Item()->Timestamp()));
  text("timestamp_text", item.GetItemTimestampText(full));
  text("specific_timestamp_text", item.GetItemSpecificTimestampText(full));
  number("color", item.GetItemColor());
  number("size", item.GetItemSize(false));
  number("size_with_header", item.GetItemSize(true));
  text("summary", item.GetItemSummary());
  text("combined_summary", combined[ItemTextKind::kSummary]);
  text("buffer", item.GetItemBufferText(false));
  text("buffer_with_header", item.GetItemBufferText(true));
  text("parsed_text", item.GetItemParsedText());
  out += ",\"fields\":[";
  const std::unique_ptr<CAutoItemFields> fields = item.GetItemFields();
  const std::uint32_t count = fields ? fields->GetFieldCount() : 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    out += i == 0 ? "{\"name\":" : ",{\"name\":";
    AppendJson(out, ToUtf8(fields->GetFieldName(i, /*own_name=*/false)));
    out += ",\"text\":";
    AppendJson(out, ToUtf8(fields->GetFieldValueText(i)));
    out += ",\"offset\":" + std::to_string(fields->GetFieldOffset(i)) +
           ",\"size\":" + std::to_string(fields->GetFieldSize(i)) + "}";
  }
  out += "]";
  text("xml", fields ? fields->GetXML() : std::u16string());
  out += "}\n";
  std::fwrite(out.data(), 1, out.size(), stdout);
}

void RunShow(const ShowOptions& options) {
  const OpenedStore opened = OpenForReading(options.path);
  const std::shared_ptr<ItemStore>& store = opened.store;
  const std::uint32_t total = store->GetItemCount();
  if (options.index >= total) {
    Fail("item index " + std::to_string(options.index) + " is out of range: " + options.path +
         " has " + std::to_string(total) + " items");
  }
  ItemPtr record;
  try {
    record = store->GetItem(options.index);
  } catch (const cMISException& error) {
    throw ExitStatus{ReportFailure(error, "cannot read item " + std::to_string(options.index))};
  }
  const CAutoColorItem item(store, std::move(record));
  if (options.format == ShowFormat::kJson) {
    PrintJson(item, *store, options.index);
    return;
  }
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
  show->add_option("FILE", options->path, "Item store file (.isf)")->required();
  show->add_option("INDEX", options->index, "Index of the item")->required();
  show->add_option("--format", options->format, "text (default) or json")
      ->transform(
          CLI::CheckedTransformer(std::map<std::string, ShowFormat>{{"text", ShowFormat::kText},
                                                                    {"json", ShowFormat::kJson}},
                                  CLI::ignore_case));
  show->callback([options] { RunShow(*options); });
}

}  // namespace quillon::cli
