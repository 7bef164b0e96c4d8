// quillon export FILES... --format FORMAT [--output FILE]
// Writes the items of one or more item store files, in order, as one
// export: to FILE, or to standard output without --output. Each format is
// one entry of kFormats; the summary of what was written and skipped goes
// to standard error.
#include <cstdio>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

#include "cli/cli_support.h"
#include "cli/commands.h"
#include "ota/ota_capture.h"
#include "platform/file.h"
#include "store/item_store.h"
#include "store/open_item_store_file.h"

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

// The export's destination: a file created (or replaced) at `path`, or
// standard output in binary mode.
class Output {
 public:
  explicit Output(const std::string& path) : path_(path) {
    if (path.empty()) {
#if defined(_WIN32)
      _setmode(_fileno(stdout), _O_BINARY);
#endif
      return;
    }
    if (const std::uint32_t error = file_.Open(PathArgument(path), platform::FileAccess::kReadWrite,
                                               platform::FileDisposition::kCreateAlways)) {
      throw ExitStatus{
          ReportFailure(cMISException(kMisCategorySystem, error), "cannot create " + path)};
    }
  }

  void Write(std::span<const std::uint8_t> bytes) {
    if (!file_.IsOpen()) {
      if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size()) {
        std::fprintf(stderr, "quillon: cannot write to standard output\n");
        throw ExitStatus{1};
      }
      return;
    }
    if (const std::uint32_t error = file_.WriteAt(offset_, bytes.data(), bytes.size())) {
      throw ExitStatus{
          ReportFailure(cMISException(kMisCategorySystem, error), "cannot write " + path_)};
    }
    offset_ += bytes.size();
  }

  void Close() {
    if (!file_.IsOpen()) std::fflush(stdout);
    file_.Close();
  }

 private:
  std::string path_;
  platform::File file_;
  std::uint64_t offset_ = 0;
};

void ExportFile(const std::string& utf8_path, Exporter& exporter) {
  ItemStore store;
  std::uint32_t index = 0;
  try {
    if (!store.AttachFile(OpenItemStoreFile(PathArgument(utf8_path), {.read_only = true}), 0, {})) {
      std::fprintf(stderr, "quillon: cannot open %s\n", utf8_path.c_str());
      throw ExitStatus{1};
    }
    for (const std::uint32_t total = store.GetItemCount(); index < total; ++index) {
      exporter.Add(*store.GetItem(index));
    }
  } catch (const cMISException& error) {
    const std::string operation =
        index == 0 ? "cannot open " + utf8_path
                   : "cannot read item " + std::to_string(index) + " of " + utf8_path;
    throw ExitStatus{ReportFailure(error, operation)};
  }
}

void RunExport(const ExportOptions& options) {
  const ExportFormat* format = nullptr;
  for (const ExportFormat& candidate : kFormats) {
    if (options.format == candidate.name) format = &candidate;
  }
  Output output(options.output);
  std::unique_ptr<Exporter> exporter =
      format->make([&output](std::span<const std::uint8_t> bytes) { output.Write(bytes); });
  for (const std::string& path : options.files) ExportFile(path, *exporter);
  const std::string summary = exporter->Finish();
  output.Close();
  std::fprintf(stderr, "quillon: %s\n", summary.c_str());
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
