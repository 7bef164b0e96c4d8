// Helpers shared by the quillon subcommands: text conversion at the
// terminal edge, the process-wide database, opening captures for reading,
// reporting failures and unreadable items, the progress bar and the output
// encodings (ISO times, CSV, JSON, hex).
#pragma once

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "automation/store_access.h"
#include "common/item_timestamp.h"
#include "common/mis_exception.h"

namespace quillon::cli {

// The exit statuses of the tool (its --help lists them).
enum ExitCode : int {
  kExitOk = 0,
  kExitFailure = 1,     // nothing or not everything could be done
  kExitUsage = 2,       // a bad command, option or argument
  kExitUnreadable = 3,  // done, but some items could not be read
};

// Thrown by a subcommand callback to end the program with `status`.
struct ExitStatus {
  int status = kExitOk;
};

// Options every command takes.
struct GlobalOptions {
  std::string database;  // --db DIR; empty: found from the tool's location
};
GlobalOptions& Globals();

// Loads the process-wide database (from --db when given) before a command
// uses it; a --db directory that does not exist ends the program, one
// without tables gives a warning (names are then "Unknown" and summaries
// lengths).
void UseDatabase();

// Command-line arguments are UTF-8; the core takes UTF-16.
std::u16string PathArgument(std::string_view utf8);
std::string ToUtf8(std::u16string_view text);

// Prints "quillon: " and the error's own text to stderr; an error that names
// no operation is given `operation` ("cannot open x.isf"). Returns
// kExitFailure.
int ReportFailure(const cMISException& error, std::string_view operation);
// Prints "quillon: <message>" to stderr and throws ExitStatus{status}.
[[noreturn]] void Fail(std::string_view message, int status = kExitFailure);

// Opens a capture for a reading command: never written; a capture that was
// never closed is recovered in memory, with a one-line note on stderr.
// Failures end the program with a message.
OpenedStore OpenForReading(const std::string& path, ProgressSink* progress = nullptr);

// Counts the unreadable items a command met and reports each on stderr.
class UnreadableItems {
 public:
  void Report(std::uint32_t index, const cMISException& error);
  // kExitUnreadable (with a closing line) when any item was unreadable.
  int ExitStatusAtEnd() const;

 private:
  std::uint32_t count_ = 0;
};

// Whether the file descriptor (1 standard output, 2 standard error) is a
// terminal.
bool IsTerminal(int fd);

// A progress bar on stderr, drawn only when stderr is a terminal and the
// work has taken more than a second; cleared when done. A command that
// prints as it goes (`streams_output`) shows none while stdout is a
// terminal too, where the bar would break its lines.
class Progress final : public ProgressSink {
 public:
  explicit Progress(std::string what, bool streams_output = false);
  ~Progress() override;
  void Update(std::uint64_t done, std::uint64_t total);
  void OnBlocksWalked(std::uint32_t blocks, std::uint64_t position,
                      std::uint64_t file_size) override;

 private:
  std::string what_;
  bool terminal_;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point start_;
  std::chrono::steady_clock::time_point last_;
};

// "2024-03-01T09:30:00.009Z": the time rounded to the nearest millisecond
// (stored times are whole milliseconds); "" when it has no calendar date.
std::string IsoTime(ItemTimestamp timestamp);
// Parses "YYYY-MM-DD[THH:MM[:SS[.fff]]][Z]" (UTC); false when malformed.
bool ParseIsoTime(std::string_view text, ItemTimestamp& out);

// One line of a terminal table: CR, LF and tab as "\r", "\n", "\t", other
// control characters as "\xNN".
std::u16string OneLine(std::u16string_view text);

// Appends `text` as a JSON string (quoted, escaped).
void AppendJson(std::string& out, std::string_view text);
// Appends `text` as a CSV field (quoted when it needs to be).
void AppendCsv(std::string& out, std::string_view text);
// Lower-case hex of `bytes`.
std::string Hex(const std::uint8_t* bytes, std::size_t length);

}  // namespace quillon::cli
