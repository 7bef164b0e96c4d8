// quillon export FILES... --format FORMAT [--output FILE] [selection]
// Writes the selected items of one or more item store files, in order, as
// one export: to FILE, or to standard output without --output. Each format
// is one entry of kFormats, of one of two kinds:
//   - tables (csv, jsonl): the columns of the Python module's data frames
//     (automation/item_table.h) with the capture's path first, read on up
//     to --jobs threads (one item store file each) and written in file
//     order, then index order;
//   - captures (pcap, gsmtap): every file's OTA messages as one capture for
//     Wireshark, with the summary of what was written and skipped on
//     standard error.
// Unreadable items are reported and skipped (exit status 3), as in the
// other reading commands; a table goes on past a file that cannot be
// opened (exit status 1).
#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

#include "automation/item_table.h"
#include "automation/store_access.h"
#include "cli/cli_support.h"
#include "cli/commands.h"
#include "cli/item_selection.h"
#include "ota/ota_capture.h"
#include "platform/clock.h"
#include "platform/file.h"
#include "store/item_store.h"

namespace quillon::cli {

namespace {

// Items read into columns at a time, so that a large capture streams.
constexpr std::uint32_t kRowsPerChunk = 65536;

// A table column: the capture's path, or an item column.
struct Column {
  std::optional<ItemColumn> item;  // empty: the path
  std::string Name() const { return item ? std::string(ItemColumnName(*item)) : "path"; }
};

// A table format: how a row opens and closes, what comes before each cell,
// and how texts (already UTF-8) and missing values are written.
struct TableFormat {
  const char* name;
  std::string (*header)(const std::vector<Column>& columns);
  std::string (*cell_prefix)(std::size_t position, const Column& column);
  void (*append_text)(std::string& out, std::string_view text);
  std::string_view null_value;
  std::string_view row_open;
  std::string_view row_close;
};

const TableFormat kCsv = {
    .name = "csv",
    .header =
        [](const std::vector<Column>& columns) {
          std::string line;
          for (const Column& c : columns) line += (line.empty() ? "" : ",") + c.Name();
          return line + "\n";
        },
    .cell_prefix = [](std::size_t position,
                      const Column&) { return std::string(position ? "," : ""); },
    .append_text = AppendCsv,
    .null_value = "",
    .row_open = "",
    .row_close = "\n"};

const TableFormat kJsonl = {.name = "jsonl",
                            .header = [](const std::vector<Column>&) { return std::string(); },
                            .cell_prefix =
                                [](std::size_t position, const Column& column) {
                                  std::string prefix = position ? "," : "";
                                  AppendJson(prefix, column.Name());
                                  return prefix + ":";
                                },
                            .append_text = AppendJson,
                            .null_value = "null",
                            .row_open = "{",
                            .row_close = "}\n"};

// "2024-03-01T09:30:00.009Z" (to the millisecond, as stored); empty for
// kNoTime.
std::string IsoTimeOf(std::int64_t unix_nanoseconds) {
  constexpr std::int64_t kFileTimeOfUnixEpoch = 116444736000000000;  // 100 ns units
  if (unix_nanoseconds == kNoTime) return {};
  const std::int64_t milliseconds = (unix_nanoseconds + 500000) / 1000000;
  platform::SystemTime t;
  const auto file_time = static_cast<std::uint64_t>(milliseconds * 10000 + kFileTimeOfUnixEpoch);
  if (!platform::FileTimeToSystemTime(file_time, t)) return {};
  char text[64];
  std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02u.%03uZ", t.year, t.month, t.day,
                t.hour, t.minute, t.second, t.milliseconds);
  return text;
}

// Writes the rows of one chunk: each distinct text is converted and escaped
// once, and a row is then a run of appends.
class ChunkWriter {
 public:
  ChunkWriter(const TableFormat& format, const std::vector<Column>& columns,
              const std::string& path)
      : format_(format), columns_(columns) {
    for (std::size_t c = 0; c < columns.size(); ++c) {
      prefixes_.push_back(format.cell_prefix(c, columns[c]));
    }
    format.append_text(path_, path);
  }

  std::string Write(const ItemTable& table) {
    std::vector<std::vector<std::string>> encoded(columns_.size());
    for (std::size_t c = 0; c < columns_.size(); ++c) {
      if (const TextColumn* texts = TextsOf(table, columns_[c])) {
        for (const std::u16string& text : texts->Texts()) {
          format_.append_text(encoded[c].emplace_back(), ToUtf8(text));
        }
      }
    }
    std::string out;
    for (std::size_t r = 0; r < table.rows; ++r) {
      out += format_.row_open;
      for (std::size_t c = 0; c < columns_.size(); ++c) {
        out += prefixes_[c];
        AppendCell(out, table, r, columns_[c], encoded[c]);
      }
      out += format_.row_close;
    }
    return out;
  }

 private:
  static const TextColumn* TextsOf(const ItemTable& table, const Column& column) {
    if (!column.item) return nullptr;
    switch (*column.item) {
      case ItemColumn::kTypeText:
        return &table.type_text;
      case ItemColumn::kKeyText:
        return &table.key_text;
      case ItemColumn::kName:
        return &table.name;
      case ItemColumn::kSummary:
        return &table.summary;
      default:
        return nullptr;
    }
  }

  void AppendCell(std::string& out, const ItemTable& table, std::size_t r, const Column& column,
                  const std::vector<std::string>& encoded) const {
    const auto number = [&out](std::uint64_t n) { out += std::to_string(n); };
    if (!column.item) {
      out += path_;
      return;
    }
    switch (*column.item) {
      case ItemColumn::kIndex:
        return number(table.index[r]);
      case ItemColumn::kType:
        return number(table.type[r]);
      case ItemColumn::kLength:
        return number(table.length[r]);
      case ItemColumn::kColor:
        return number(table.color[r]);
      case ItemColumn::kTimestamp: {
        const std::string time = IsoTimeOf(table.timestamp[r]);
        if (time.empty()) {
          out += format_.null_value;
        } else {
          format_.append_text(out, time);
        }
        return;
      }
      case ItemColumn::kPayload: {
        const std::size_t begin = r == 0 ? 0 : table.payload_ends[r - 1];
        format_.append_text(out,
                            Hex(table.payload_bytes.data() + begin, table.payload_ends[r] - begin));
        return;
      }
      default:
        out += encoded[TextsOf(table, column)->Codes()[r]];
        return;
    }
  }

  const TableFormat& format_;
  const std::vector<Column>& columns_;
  std::vector<std::string> prefixes_;
  std::string path_;  // the path, encoded
};

// Where the table goes: standard output, or the file of --output.
class Sink {
 public:
  explicit Sink(const std::string& path) : path_(path) {
    if (path.empty()) return;
    if (file_.Open(PathArgument(path), platform::FileAccess::kReadWrite,
                   platform::FileDisposition::kCreateAlways) != 0) {
      Fail("cannot create " + path);
    }
  }
  void Write(std::string_view text) {
    if (path_.empty()) {
      std::fwrite(text.data(), 1, text.size(), stdout);
      return;
    }
    if (!failed_ && file_.WriteAt(offset_, text.data(), text.size()) != 0) failed_ = true;
    offset_ += text.size();
  }
  // Ends the program when a write to the file failed.
  void Check() const {
    if (failed_) Fail("cannot write " + path_);
  }
  // Before a message on stderr, so that the two streams interleave in order.
  void Flush() {
    if (path_.empty()) std::fflush(stdout);
  }

 private:
  std::string path_;
  platform::File file_;
  std::uint64_t offset_ = 0;
  bool failed_ = false;
};

struct ExportOptions {
  std::vector<std::string> files;
  std::string format;
  std::vector<std::string> columns;
  unsigned jobs = 0;  // 0: one per core
  std::string output;
  SelectionArgs selection;
};

// What one capture gave: text chunks in order, and the lines for stderr.
struct FileExport {
  std::deque<std::string> chunks;
  std::vector<std::string> messages;
  bool finished = false;
  bool failed = false;      // could not be opened or read
  bool unreadable = false;  // some items could not be read
};

// The files of one table export, read on worker threads and written in order.
class TableExport {
 public:
  TableExport(const ExportOptions& options, const TableFormat& format, std::vector<Column> columns)
      : options_(options),
        format_(format),
        columns_(std::move(columns)),
        selection_(ToSelection(options.selection)),
        files_(options.files.size()) {
    for (const Column& c : columns_) {
      if (c.item) item_columns_.Add(*c.item);
    }
  }

  // Writes every capture's rows to `out` and returns the exit status.
  int Run(Sink& out) {
    out.Write(format_.header(columns_));
    unsigned jobs = options_.jobs != 0 ? options_.jobs : std::thread::hardware_concurrency();
    jobs = std::clamp<unsigned>(jobs, 1, static_cast<unsigned>(files_.size()));
    std::vector<std::thread> workers;
    for (unsigned j = 0; j < jobs; ++j) workers.emplace_back([this, jobs] { Work(jobs); });
    bool failed = false, unreadable = false;
    for (std::size_t f = 0; f < files_.size(); ++f) {
      WriteFile(f, out);
      failed = failed || files_[f].failed;
      unreadable = unreadable || files_[f].unreadable;
    }
    for (std::thread& worker : workers) worker.join();
    out.Flush();
    out.Check();
    // A capture that failed outranks items that could not be read.
    return failed ? kExitFailure : unreadable ? kExitUnreadable : kExitOk;
  }

 private:
  // Takes captures in order, at most `window` ahead of the one being written.
  void Work(unsigned window) {
    while (true) {
      std::size_t f = 0;
      {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return next_ >= files_.size() || next_ < written_ + window; });
        if (next_ >= files_.size()) return;
        f = next_++;
      }
      ReadFile(f);
    }
  }

  void Add(std::size_t f, std::string chunk, std::optional<std::string> message = {}) {
    std::lock_guard lock(mutex_);
    if (!chunk.empty()) files_[f].chunks.push_back(std::move(chunk));
    if (message) files_[f].messages.push_back(std::move(*message));
    changed_.notify_all();
  }

  void ReadFile(std::size_t f) {
    const std::string& path = options_.files[f];
    try {
      const OpenedStore opened = OpenStore(
          PathArgument(path), {.mode = StoreMode::kRead, .recover = true, .progress = nullptr});
      if (opened.recovered) {
        Add(f, {}, "note: " + path + " was never closed; its items were recovered in memory");
      }
      ItemTableRequest request{.selection = selection_, .columns = item_columns_};
      ChunkWriter writer(format_, columns_, path);
      const std::uint32_t count = opened.store->GetItemCount();
      const std::uint32_t end = std::min(selection_.end, count);
      for (std::uint32_t first = selection_.first; first < end;) {
        const std::uint32_t stop = end - first > kRowsPerChunk ? first + kRowsPerChunk : end;
        request.selection.first = first;
        request.selection.end = stop;
        const ItemTable table = ReadItemTable(opened.store, request);
        for (const ItemRead& read : table.unreadable) {
          const cMISException error(*read.error, u"cannot read item " +
                                                     PathArgument(std::to_string(read.index)) +
                                                     u" of " + PathArgument(path));
          Add(f, {}, error.what());
          std::lock_guard lock(mutex_);
          files_[f].unreadable = true;
        }
        Add(f, writer.Write(table));
        first = stop;
      }
    } catch (const cMISException& error) {
      const cMISException named = error.Context().empty()
                                      ? cMISException(error, u"cannot read " + PathArgument(path))
                                      : error;
      Add(f, {}, named.what());
      std::lock_guard lock(mutex_);
      files_[f].failed = true;
    }
    std::lock_guard lock(mutex_);
    files_[f].finished = true;
    changed_.notify_all();
  }

  // Writes capture `f`'s chunks and messages as they come.
  void WriteFile(std::size_t f, Sink& out) {
    FileExport& file = files_[f];
    std::size_t told = 0;
    while (true) {
      std::deque<std::string> chunks;
      std::vector<std::string> messages;
      bool finished = false;
      {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] {
          return file.finished || !file.chunks.empty() || file.messages.size() > told;
        });
        chunks.swap(file.chunks);
        messages.assign(file.messages.begin() + static_cast<std::ptrdiff_t>(told),
                        file.messages.end());
        told = file.messages.size();
        finished = file.finished;
      }
      for (const std::string& chunk : chunks) out.Write(chunk);
      if (!messages.empty()) out.Flush();
      for (const std::string& m : messages) std::fprintf(stderr, "quillon: %s\n", m.c_str());
      if (finished) break;
    }
    {
      std::lock_guard lock(mutex_);
      ++written_;
      changed_.notify_all();
    }
  }

  const ExportOptions& options_;
  const TableFormat& format_;
  const std::vector<Column> columns_;
  const ItemSelection selection_;
  ItemColumnSet item_columns_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<FileExport> files_;  // guarded by mutex_
  std::size_t next_ = 0;           // the next file to read
  std::size_t written_ = 0;        // files written out
};

using ByteSink = std::function<void(std::span<const std::uint8_t>)>;

// A capture of the OTA messages of every file.
class CaptureExporter {
 public:
  CaptureExporter(CaptureFormat format, ByteSink sink) : writer_(format, std::move(sink)) {}
  void Add(const ItemRecord& item) { writer_.Add(item); }
  // Writes what is left and returns the summary line ("12 records ...").
  std::string Finish() {
    writer_.Finish();
    const OtaCaptureCounts& c = writer_.Counts();
    return std::to_string(c.records) +
           " OTA records written; OTA items skipped: " + std::to_string(c.no_layout) +
           " without a public layout (CDMA, HDR), " + std::to_string(c.no_message) +
           " without a message, " + std::to_string(c.malformed) + " malformed";
  }

 private:
  OtaCaptureWriter writer_;
};

// One format of `quillon export`: a table or a capture.
struct ExportFormat {
  const char* name;
  const TableFormat* table;  // null for a capture
  CaptureFormat capture;     // for a capture
};

const ExportFormat kFormats[] = {
    {"csv", &kCsv, {}},
    {"jsonl", &kJsonl, {}},
    {"pcap", nullptr, CaptureFormat::kExportedPdu},
    {"gsmtap", nullptr, CaptureFormat::kGsmtap},
};

// Standard output in binary mode, or the file of --output.
ByteSink OpenOutput(const std::string& path, std::unique_ptr<CaptureFile>& file) {
  if (path.empty()) {
    if (IsTerminal(1)) {
      Fail("a capture is binary and standard output is a terminal: use --output FILE or a pipe",
           kExitUsage);
    }
#if defined(_WIN32)
    _setmode(_fileno(stdout), _O_BINARY);
#endif
    return [](std::span<const std::uint8_t> bytes) {
      if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size()) {
        Fail("cannot write to standard output");
      }
    };
  }
  try {
    file = std::make_unique<CaptureFile>(PathArgument(path));
  } catch (const cMISException& error) {
    throw ExitStatus{ReportFailure(error, "cannot create " + path)};
  }
  return [&file](std::span<const std::uint8_t> bytes) { file->Write(bytes); };
}

void RunCaptureExport(const ExportOptions& options, CaptureFormat format) {
  UseDatabase();  // OTA log codes the database lists make OTA LOG items
  std::unique_ptr<CaptureFile> file;
  CaptureExporter exporter(format, OpenOutput(options.output, file));
  const ItemSelection selection = ToSelection(options.selection);
  UnreadableItems unreadable;
  std::vector<ItemRead> batch;
  try {
    for (const std::string& path : options.files) {
      Progress progress("export " + path);
      const OpenedStore opened = OpenForReading(path, &progress);
      ItemCursor cursor(selection, opened.store->GetItemCount());
      while (true) {
        batch.clear();
        if (cursor.ReadBatch(*opened.store, batch, 512) == 0) break;
        for (const ItemRead& read : batch) {
          if (read.error) {
            unreadable.Report(read.index, *read.error);
          } else {
            exporter.Add(*read.item);
          }
        }
        progress.Update(cursor.Position(), cursor.End());
      }
    }
    const std::string summary = exporter.Finish();
    std::fflush(stdout);
    std::fprintf(stderr, "quillon: %s\n", summary.c_str());
  } catch (const cMISException& error) {
    throw ExitStatus{ReportFailure(error, "cannot write " + options.output)};
  }
  throw ExitStatus{unreadable.ExitStatusAtEnd()};
}

std::vector<Column> ColumnsOf(const std::vector<std::string>& names) {
  std::vector<Column> columns;
  if (names.empty()) {
    columns.push_back({});
    for (std::size_t i = 0; i < kItemColumnCount; ++i) {
      const auto c = static_cast<ItemColumn>(i);
      if (ItemColumnSet::Default().Has(c)) columns.push_back({c});
    }
    return columns;
  }
  for (const std::string& name : names) {
    if (name == "path") {
      columns.push_back({});
      continue;
    }
    const std::optional<ItemColumn> column = FindItemColumn(name);
    if (!column) {
      std::string known = "path";
      for (std::size_t i = 0; i < kItemColumnCount; ++i) {
        known += ", " + std::string(ItemColumnName(static_cast<ItemColumn>(i)));
      }
      Fail("unknown column '" + name + "' (columns: " + known + ")", kExitUsage);
    }
    columns.push_back({column});
  }
  return columns;
}

void RunTableExport(const ExportOptions& options, const TableFormat& format) {
  std::vector<Column> columns = ColumnsOf(options.columns);
  UseDatabase();  // loaded once, before the workers share it
  Sink out(options.output);
  TableExport exporter(options, format, std::move(columns));
  throw ExitStatus{exporter.Run(out)};
}

void RunExport(const ExportOptions& options) {
  const ExportFormat* format = nullptr;
  for (const ExportFormat& candidate : kFormats) {
    if (options.format == candidate.name) format = &candidate;
  }
  if (format->table != nullptr) RunTableExport(options, *format->table);
  if (!options.columns.empty() || options.jobs != 0) {
    Fail("--columns and --jobs apply to the table formats (csv, jsonl)", kExitUsage);
  }
  RunCaptureExport(options, format->capture);
}

}  // namespace

void AddExportCommand(CLI::App& app) {
  auto options = std::make_shared<ExportOptions>();
  CLI::App* command = app.add_subcommand(
      "export", "Write the items of item store files as one table or one Wireshark capture");
  command->add_option("FILES", options->files, "Item store files (.isf), exported in order")
      ->required();
  std::vector<std::string> names;
  for (const ExportFormat& format : kFormats) names.emplace_back(format.name);
  command
      ->add_option("--format", options->format,
                   "csv or jsonl: a table of the items; pcap: Wireshark exported PDUs (link "
                   "type 252), one record per OTA message; gsmtap: GSMTAP v2 over UDP port "
                   "4729 (link type 228)")
      ->required()
      ->check(CLI::IsMember(names));
  command
      ->add_option("--columns", options->columns,
                   "Table columns, comma separated: path, index, type, type_text, key_text, "
                   "name, timestamp, summary, length, color, payload (default: all but payload)")
      ->delimiter(',');
  command
      ->add_option("--jobs", options->jobs,
                   "Files a table reads at once (default: one per core); the output is the same")
      ->check(CLI::PositiveNumber);
  command->add_option("--output,-o", options->output,
                      "File to write (replaced when it exists); standard output without it");
  AddSelectionOptions(*command, options->selection);
  command->callback([options] { RunExport(*options); });
}

}  // namespace quillon::cli
