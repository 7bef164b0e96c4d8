// quillon db check|save|stats: load a database directory (with its user
// databases), show what the loader reports, write the tables back, count
// records.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <string>

#include "cli/cli_support.h"
#include "cli/commands.h"
#include "database/database.h"
#include "database/db_location.h"
#include "database/db_schema.h"

namespace quillon::cli {

namespace {

const char* SeverityName(DbSeverity severity) {
  switch (severity) {
    case kDbInformation:
      return "information";
    case kDbWarning:
      return "warning";
    default:
      return "error";
  }
}

// Prints each message as it arrives: "<severity>: <text>".
class PrintingSink final : public DbMessageSink {
 public:
  explicit PrintingSink(std::ostream& out) : out_(out) {}
  void Report(std::u16string_view text, DbSeverity severity) override {
    std::string line = ToUtf8(text);
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
    out_ << SeverityName(severity) << ": " << line << '\n';
    errors_ += severity >= kDbError ? 1 : 0;
    ++count_;
  }
  std::size_t errors() const { return errors_; }
  std::size_t count() const { return count_; }

 private:
  std::ostream& out_;
  std::size_t errors_ = 0;
  std::size_t count_ = 0;
};

struct DbOptions {
  std::string directory;
  std::string output;
  bool no_descriptions = false;
};

// Table files that the load expects but the directory lacks: a missing file
// makes the load fail without a message of its own.
void NoteMissingTables(const std::string& directory, bool descriptions, std::ostream& out) {
  namespace fs = std::filesystem;
  const fs::path dir = fs::path(PathArgument(directory));
  auto check = [&](std::u16string_view file) {
    std::error_code ec;
    if (!fs::exists(dir / fs::path(std::u16string(file)), ec)) {
      out << "note: table file missing: " << ToUtf8(file) << '\n';
    }
  };
  for (std::size_t i = 0; i < kDbItemTableCount; ++i) {
    check(db::ItemTableName(static_cast<DbItemTable>(i)).file);
    check(db::CategoryTableName(static_cast<DbItemTable>(i)).file);
  }
  for (const auto* t : {&db::kEnumTable, &db::kEnumEntryTable, &db::kFieldTable, &db::kStructTable,
                        &db::kDiagTable, &db::kFormatSpecifierTable}) {
    check(t->file);
  }
  if (descriptions) check(db::kDescriptionTable.file);
}

// DIR, else --db, else the directory found from the tool's location.
std::string DirectoryOf(const DbOptions& o) {
  if (!o.directory.empty()) return o.directory;
  if (!Globals().database.empty()) return Globals().database;
  return ToUtf8(db::DatabaseDirectoryForThisModule());
}

void RunCheck(const DbOptions& options) {
  DbOptions o = options;
  o.directory = DirectoryOf(options);
  PrintingSink sink(std::cout);
  Database db(&sink);
  const bool descriptions = !o.no_descriptions;
  const bool ok = db.Load(PathArgument(o.directory), descriptions);
  if (!ok) NoteMissingTables(o.directory, descriptions, std::cout);
  std::cout << sink.count() << " message(s), " << sink.errors() << " error(s); load "
            << (ok ? "succeeded" : "failed") << '\n';
  if (!ok || sink.errors() != 0) throw ExitStatus{1};
}

void RunSave(const DbOptions& options) {
  DbOptions o = options;
  o.directory = DirectoryOf(options);
  PrintingSink sink(std::cerr);
  Database db(&sink);
  db.Load(PathArgument(o.directory), !o.no_descriptions);
  std::error_code ec;
  std::filesystem::create_directories(std::filesystem::path(PathArgument(o.output)), ec);
  if (!db.Save(PathArgument(o.output))) {
    std::cerr << "quillon: db save " << o.output << ": not every table could be written\n";
    throw ExitStatus{1};
  }
  // The repaired tables are written, but a load with errors is no success.
  if (sink.errors() != 0) {
    std::cerr << "quillon: db save " << o.output << ": written, but loading " << o.directory
              << " reported " << sink.errors() << " error(s)\n";
    throw ExitStatus{1};
  }
}

void RunStats(const DbOptions& options) {
  DbOptions o = options;
  o.directory = DirectoryOf(options);
  Database db;
  db.Load(PathArgument(o.directory), !o.no_descriptions);
  const DbTables& t = db.Tables();
  auto row = [](std::u16string_view name, std::size_t count) {
    std::printf("%-28s %zu\n", ToUtf8(name).c_str(), count);
  };
  for (std::size_t i = 0; i < kDbItemTableCount; ++i) {
    const auto table = static_cast<DbItemTable>(i);
    row(db::ItemTableName(table).display, t.Items(table).size());
    row(db::CategoryTableName(table).display, t.Categories(table).size());
  }
  row(db::kEnumTable.display, t.enums.size());
  row(db::kEnumEntryTable.display, t.enum_entries.size());
  row(db::kFieldTable.display, t.fields.size());
  row(db::kStructTable.display, t.structs.size());
  row(db::kDiagTable.display, t.diag.size());
  row(db::kFormatSpecifierTable.display, t.formats.size());
  row(db::kDescriptionTable.display, t.descriptions.size());
}

}  // namespace

void AddDbCommands(CLI::App& app) {
  auto* db = app.add_subcommand("db", "Check, save or count a database directory");
  db->require_subcommand(1);
  auto options = std::make_shared<DbOptions>();

  auto* check = db->add_subcommand(
      "check", "Load DIR and its user databases and print every message (exit 1 on errors)");
  check->add_option("DIR", options->directory,
                    "Database directory (default: --db, else the tool's)");
  check->add_flag("--no-descriptions", options->no_descriptions,
                  "Do not load Description.txt (as the library does at start-up)");
  check->callback([options] { RunCheck(*options); });

  auto* save = db->add_subcommand(
      "save",
      "Load DIR and write every writable table into OUT (exit 1 when loading reported errors)");
  save->add_option("DIR", options->directory, "Database directory")->required();
  save->add_option("OUT", options->output, "Output directory (created when missing)")->required();
  save->add_flag("--no-descriptions", options->no_descriptions, "Do not load Description.txt");
  save->callback([options] { RunSave(*options); });

  auto* stats = db->add_subcommand("stats", "Count the records of every table of DIR");
  stats->add_option("DIR", options->directory,
                    "Database directory (default: --db, else the tool's)");
  stats->add_flag("--no-descriptions", options->no_descriptions, "Do not load Description.txt");
  stats->callback([options] { RunStats(*options); });
}

}  // namespace quillon::cli
