// quillon dump FILE [selection] [--format table|csv|jsonl] [--payload]
// One line per item: index, time, type, key, name, summary, length.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "automation/auto_color_item.h"
#include "cli/cli_support.h"
#include "cli/commands.h"
#include "cli/item_selection.h"
#include "store/item_store.h"

namespace quillon::cli {

namespace {

enum class DumpFormat { kTable, kCsv, kJsonl };

struct DumpOptions {
  std::string path;
  SelectionArgs selection;
  DumpFormat format = DumpFormat::kTable;
  bool payload = false;
};

// The texts of one item, as the automation classes render them.
struct Row {
  std::uint32_t index = 0;
  std::string time;  // the system's timestamp text, with date and milliseconds
  std::uint32_t type = 0;
  std::string type_text;
  std::string key_text;
  std::string name;
  std::string summary;
  std::uint32_t length = 0;
  std::uint32_t color = 0;
  ItemTimestamp timestamp;
  std::string payload_hex;
};

Row MakeRow(const CAutoColorItem& item, std::uint32_t index, bool payload) {
  const ItemRecord& record = *item.Item();
  Row row{.index = index,
          .time = ToUtf8(item.GetItemTimestampText({.want_date = true, .want_milliseconds = true})),
          .type = item.GetItemType(),
          .type_text = ToUtf8(item.GetItemTypeText()),
          .key_text = ToUtf8(item.GetItemKeyText()),
          .name = ToUtf8(item.GetItemName()),
          .summary = ToUtf8(item.GetItemSummary()),
          .length = record.GetPayloadLength(),
          .color = item.GetItemColor(),
          .timestamp = record.Timestamp(),
          .payload_hex = {}};
  if (payload) row.payload_hex = Hex(record.GetPayload(), record.GetPayloadLength());
  return row;
}

void AppendTable(std::string& out, const Row& r) {
  char head[128];
  std::snprintf(head, sizeof head, "%8u  %s  %-9s  %-14s  %5u  ", r.index, r.time.c_str(),
                r.type_text.c_str(), r.key_text.c_str(), r.length);
  out += head;
  const std::u16string name = OneLine(PathArgument(r.name));
  out += ToUtf8(name);
  if (name.size() < 40) out.append(40 - name.size(), ' ');
  out += "  ";
  out += ToUtf8(OneLine(PathArgument(r.summary)));
  if (!r.payload_hex.empty()) out += "  " + r.payload_hex;
  while (!out.empty() && out.back() == ' ') out.pop_back();
  out.push_back('\n');
}

void AppendCsvRow(std::string& out, const Row& r, bool payload) {
  out += std::to_string(r.index);
  for (const std::string* field : {&r.time, &r.type_text, &r.key_text, &r.name, &r.summary}) {
    out.push_back(',');
    AppendCsv(out, *field);
  }
  out += ',' + std::to_string(r.length);
  if (payload) out += ',' + r.payload_hex;
  out.push_back('\n');
}

void AppendJsonLine(std::string& out, const Row& r, bool payload) {
  out += "{\"index\":" + std::to_string(r.index) + ",\"type\":" + std::to_string(r.type) +
         ",\"type_text\":";
  AppendJson(out, r.type_text);
  out += ",\"key_text\":";
  AppendJson(out, r.key_text);
  out += ",\"name\":";
  AppendJson(out, r.name);
  out += ",\"timestamp\":";
  AppendJson(out, IsoTime(r.timestamp));
  out += ",\"timestamp_text\":";
  AppendJson(out, r.time);
  out += ",\"summary\":";
  AppendJson(out, r.summary);
  out += ",\"length\":" + std::to_string(r.length) + ",\"color\":" + std::to_string(r.color);
  if (payload) {
    out += ",\"payload_hex\":";
    AppendJson(out, r.payload_hex);
  }
  out += "}\n";
}

void RunDump(const DumpOptions& options) {
  const ItemSelection selection = ToSelection(options.selection);
  Progress progress("dump", /*streams_output=*/true);
  const OpenedStore opened = OpenForReading(options.path, &progress);
  ItemCursor cursor(selection, opened.store->GetItemCount());
  UnreadableItems unreadable;
  std::string out;
  if (options.format == DumpFormat::kCsv) {
    out = options.payload ? "index,time,type,key,name,summary,length,payload_hex\n"
                          : "index,time,type,key,name,summary,length\n";
  }
  std::vector<ItemRead> batch;
  const std::uint32_t first = cursor.Position();
  const std::uint32_t total = cursor.End() - first;
  while (true) {
    batch.clear();
    if (cursor.ReadBatch(*opened.store, batch, 512) == 0) break;
    for (ItemRead& read : batch) {
      if (read.error) {
        std::fwrite(out.data(), 1, out.size(), stdout);
        out.clear();
        unreadable.Report(read.index, *read.error);
        continue;
      }
      const CAutoColorItem item(opened.store, std::move(read.item));
      const Row row = MakeRow(item, read.index, options.payload);
      switch (options.format) {
        case DumpFormat::kTable:
          AppendTable(out, row);
          break;
        case DumpFormat::kCsv:
          AppendCsvRow(out, row, options.payload);
          break;
        case DumpFormat::kJsonl:
          AppendJsonLine(out, row, options.payload);
          break;
      }
    }
    std::fwrite(out.data(), 1, out.size(), stdout);
    out.clear();
    progress.Update(cursor.Position() - first, total);
  }
  std::fwrite(out.data(), 1, out.size(), stdout);
  std::fflush(stdout);
  throw ExitStatus{unreadable.ExitStatusAtEnd()};
}

}  // namespace

void AddDumpCommand(CLI::App& app) {
  auto options = std::make_shared<DumpOptions>();
  CLI::App* dump = app.add_subcommand(
      "dump",
      "List items: index, time, type, key, name, summary, length (table, CSV or JSON "
      "lines)");
  dump->add_option("FILE", options->path, "Item store file (.isf)")->required();
  AddSelectionOptions(*dump, options->selection);
  dump->add_option("--format", options->format, "table (default), csv or jsonl")
      ->transform(
          CLI::CheckedTransformer(std::map<std::string, DumpFormat>{{"table", DumpFormat::kTable},
                                                                    {"csv", DumpFormat::kCsv},
                                                                    {"jsonl", DumpFormat::kJsonl}},
                                  CLI::ignore_case));
  dump->add_flag("--payload", options->payload, "Add the payload bytes in hex");
  dump->callback([options] { RunDump(*options); });
}

}  // namespace quillon::cli
