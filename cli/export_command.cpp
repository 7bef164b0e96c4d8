// quillon export FILES... --format FORMAT [--output FILE]
// Writes the items of one or more item store files, in order, as one
// export: to FILE, or to standard output without --output. Each format is
// one entry of kFormats; the summary of what was written and skipped goes
// to standard error. Unreadable items are reported and skipped (exit
// status 3), as in the other reading commands.
#include <cstdio>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#define QUILLON_ISATTY(fd) _isatty(fd)
#else
#include <unistd.h>
#define QUILLON_ISATTY(fd) ::isatty(fd)
#endif

#include "automation/store_access.h"
#include "cli/cli_support.h"
#include "cli/commands.h"
#include "ota/ota_capture.h"
#include "store/item_store.h"

namespace quillon::cli {

namespace {

using ByteSink = std::function<void(std::span<const std::uint8_t>)>;

// One export format: takes the items of every file, then finishes.
class Exporter {
 public:
  virtual ~Exporter() = default;
  virtual void Add(const ItemRecord& item) = 0;
  // Writes what is left and returns the summary line ("12 records ...").
  virtual std::string Finish() = 0;
};

class CaptureExporter final : public Exporter {
 public:
  CaptureExporter(CaptureFormat format, ByteSink sink) : writer_(format, std::move(sink)) {}
  void Add(const ItemRecord& item) override { writer_.Add(item); }
  std::string Finish() override {
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

struct ExportFormat {
  const char* name;
  std::function<std::unique_ptr<Exporter>(ByteSink)> make;
};

const ExportFormat kFormats[] = {
    {"pcap",
     [](ByteSink sink) {
       return std::make_unique<CaptureExporter>(CaptureFormat::kExportedPdu, std::move(sink));
     }},
    {"gsmtap",
     [](ByteSink sink) {
       return std::make_unique<CaptureExporter>(CaptureFormat::kGsmtap, std::move(sink));
     }},
};

struct ExportOptions {
  std::vector<std::string> files;
  std::string format;
  std::string output;
};

// Standard output in binary mode, or the file of --output.
ByteSink OpenOutput(const std::string& path, std::unique_ptr<CaptureFile>& file) {
  if (path.empty()) {
    if (QUILLON_ISATTY(1) != 0) {
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

void RunExport(const ExportOptions& options) {
  UseDatabase();  // OTA log codes the database lists make OTA LOG items
  const ExportFormat* format = nullptr;
  for (const ExportFormat& candidate : kFormats) {
    if (options.format == candidate.name) format = &candidate;
  }
  std::unique_ptr<CaptureFile> file;
  const std::unique_ptr<Exporter> exporter = format->make(OpenOutput(options.output, file));
  UnreadableItems unreadable;
  std::vector<ItemRead> batch;
  try {
    for (const std::string& path : options.files) {
      Progress progress("export " + path);
      const OpenedStore opened = OpenForReading(path, &progress);
      ItemCursor cursor(ItemSelection{}, opened.store->GetItemCount());
      while (true) {
        batch.clear();
        if (cursor.ReadBatch(*opened.store, batch, 512) == 0) break;
        for (const ItemRead& read : batch) {
          if (read.error) {
            unreadable.Report(read.index, *read.error);
          } else {
            exporter->Add(*read.item);
          }
        }
        progress.Update(cursor.Position(), cursor.End());
      }
    }
    const std::string summary = exporter->Finish();
    std::fflush(stdout);
    std::fprintf(stderr, "quillon: %s\n", summary.c_str());
  } catch (const cMISException& error) {
    throw ExitStatus{ReportFailure(error, "cannot write " + options.output)};
  }
  throw ExitStatus{unreadable.ExitStatusAtEnd()};
}

}  // namespace

void AddExportCommand(CLI::App& app) {
  auto options = std::make_shared<ExportOptions>();
  CLI::App* command =
      app.add_subcommand("export", "Write the items of item store files in another format");
  command->add_option("FILES", options->files, "Item store files (.isf), exported in order")
      ->required();
  std::vector<std::string> names;
  for (const ExportFormat& format : kFormats) names.emplace_back(format.name);
  command
      ->add_option("--format", options->format,
                   "pcap: Wireshark exported PDUs (link type 252), one record per OTA message; "
                   "gsmtap: GSMTAP v2 over UDP port 4729 (link type 228)")
      ->required()
      ->check(CLI::IsMember(names));
  command->add_option("--output,-o", options->output,
                      "File to write (replaced when it exists); standard output without it");
  command->callback([options] { RunExport(*options); });
}

}  // namespace quillon::cli
