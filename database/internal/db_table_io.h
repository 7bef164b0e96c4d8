// The load loop and the write loop that every table shares. A table
// supplies its line handler (parse a line and insert the record) or its
// line formatter; these loops read or write the file and report.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "database/db_message_sink.h"
#include "database/internal/db_message.h"
#include "database/internal/db_text_reader.h"
#include "platform/file.h"

namespace quillon::db {

enum class LineOutcome {
  kInserted,   // new key (or a kept row of the Diag multimap)
  kDuplicate,  // key already present: the new record replaced the old one
  kFailed,     // parse or record check failed
};

// The line loop of LoadTableFile over an open reader.
template <class Handler>
bool LoadTableLines(TextReader& reader, std::u16string_view display, DbMessageSink& sink,
                    Handler&& handle) {
  display = DisplayOrUnknown(display);
  bool ok = true;
  std::uint32_t number = 0;
  std::u16string_view line;
  for (; reader.ReadLine(line); ++number) {
    if (line.empty()) continue;
    switch (handle(line)) {
      case LineOutcome::kInserted:
        break;
      case LineOutcome::kDuplicate:
        Report(sink, DbSeverity::kWarning, u"DB [%s] Duplicate key, line %u (%s)",
               {display, number, line});
        break;
      case LineOutcome::kFailed:
        Report(sink, DbSeverity::kError, u"DB [%s] Parsing error, line %u (%s)",
               {display, number, line});
        ok = false;
        break;
    }
  }
  reader.Close();
  return ok;
}

// Loads one table file. `handle(line)` parses one non-empty line and stores
// its record, returning the outcome. Returns false for an empty file name,
// an unreadable file or any line that failed to parse.
template <class Handler>
bool LoadTableFile(std::u16string_view path, std::u16string_view display, DbMessageSink& sink,
                   Handler&& handle) {
  display = DisplayOrUnknown(display);
  if (path.empty()) {
    Report(sink, DbSeverity::kError, u"DB [%s] Invalid file name", {display});
    return false;
  }
  TextReader reader;
  if (reader.Open(path) != 0) return false;
  return LoadTableLines(reader, display, sink, handle);
}

// Writes the lines of a table as UTF-16LE with a byte-order mark, "\r\n"
// between lines and no break after the last.
class TableWriter {
 public:
  // Creates or truncates `path`; false when it cannot be created.
  bool Create(std::u16string_view path);
  void AddLine(std::u16string_view line);
  // Writes the byte-order mark and the collected lines into the file.
  bool Finish();

 private:
  platform::File file_;
  std::u16string text_;
  bool first_ = true;
};

// Writes every record of `map` in map order with `format(record, line)`.
// A record that fails its check is reported and left out.
template <class Map, class Formatter>
bool WriteTableFile(std::u16string_view path, std::u16string_view display, DbMessageSink& sink,
                    const Map& map, Formatter&& format) {
  display = DisplayOrUnknown(display);
  if (path.empty()) {
    Report(sink, DbSeverity::kError, u"DB [%s] Invalid file name", {display});
    return false;
  }
  // The file is created before any record is formatted: a file that cannot
  // be created fails the write without a message.
  TableWriter writer;
  if (!writer.Create(path)) return false;
  bool ok = true;
  std::uint32_t position = 0;
  std::u16string line;
  for (const auto& entry : map) {
    line.clear();
    if (format(entry.second, line)) {
      writer.AddLine(line);
    } else {
      Report(sink, DbSeverity::kError, u"DB [%s] Conversion error, line %u", {display, position});
      ok = false;
    }
    ++position;
  }
  return writer.Finish() && ok;
}

}  // namespace quillon::db
