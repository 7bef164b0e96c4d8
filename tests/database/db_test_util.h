// Helpers for database tests: temporary database directories and table
// files written in the encodings the loader accepts.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "database/db_message_sink.h"
#include "database/db_schema.h"

namespace quillon::dbtest {

namespace fs = std::filesystem;

// A fresh directory under the system's temporary directory, removed again
// when the test ends.
class TempDir {
 public:
  TempDir() {
    static std::atomic<int> counter{0};
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    path_ = fs::temp_directory_path() / ("quillon_db_" + std::string(info->test_suite_name()) +
                                         "_" + info->name() + "_" + std::to_string(counter++));
    fs::remove_all(path_);
    fs::create_directories(path_);
  }
  ~TempDir() {
    std::error_code ec;
    fs::remove_all(path_, ec);
  }
  const fs::path& path() const { return path_; }
  std::u16string u16() const { return path_.u16string(); }
  fs::path Sub(const std::string& name) const {
    fs::create_directories(path_ / name);
    return path_ / name;
  }

 private:
  fs::path path_;
};

inline void WriteAnsi(const fs::path& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

// UTF-16LE, with or without a byte-order mark.
inline void WriteUtf16(const fs::path& file, const std::u16string& text, bool bom = true) {
  std::string bytes = bom ? "\xFF\xFE" : "";
  for (const char16_t c : text) bytes += {static_cast<char>(c & 0xFF), static_cast<char>(c >> 8)};
  WriteAnsi(file, bytes);
}

inline std::string ReadBytes(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline std::string Narrow(std::u16string_view text) {
  std::string out;
  for (const char16_t c : text) out.push_back(c < 128 ? static_cast<char>(c) : '?');
  return out;
}

// Every loaded table, empty unless `files` gives its text (ANSI), so that a
// load of the directory fails only for what a test writes into it.
inline void WriteTables(const fs::path& dir, const std::map<std::string, std::string>& files = {}) {
  auto touch = [&](std::u16string_view name) {
    WriteAnsi(dir / fs::path(std::u16string(name)), "");
  };
  for (std::size_t i = 0; i < kDbItemTableCount; ++i) {
    touch(db::ItemTableName(static_cast<DbItemTable>(i)).file);
    touch(db::CategoryTableName(static_cast<DbItemTable>(i)).file);
  }
  for (const auto* t :
       {&db::kFieldTable, &db::kStructTable, &db::kDiagTable, &db::kFormatSpecifierTable,
        &db::kEnumTable, &db::kEnumEntryTable, &db::kDescriptionTable}) {
    touch(t->file);
  }
  for (const auto& [name, text] : files) WriteAnsi(dir / name, text);
}

// All messages as "severity: text" lines (for failure output and whole-list
// comparisons).
inline std::string Dump(const DbMessageList& list) {
  std::string out;
  for (const auto& m : list.Messages())
    out += std::to_string(static_cast<std::uint32_t>(m.severity)) + ": " + Narrow(m.text) + "\n";
  return out;
}

inline std::size_t Count(const DbMessageList& list, std::u16string_view text,
                         std::optional<DbSeverity> severity = std::nullopt) {
  std::size_t n = 0;
  for (const auto& m : list.Messages())
    n += m.text == text && severity.value_or(m.severity) == m.severity;
  return n;
}
inline bool Has(const DbMessageList& list, std::u16string_view text, DbSeverity severity) {
  return Count(list, text, severity) > 0;
}

// Each text reported with the severity, for failure output the whole list.
inline void ExpectMessages(const DbMessageList& list,
                           std::initializer_list<std::u16string_view> texts,
                           DbSeverity severity = DbSeverity::kError) {
  for (const auto text : texts)
    EXPECT_TRUE(Has(list, text, severity)) << Narrow(text) << "\n" << Dump(list);
}

}  // namespace quillon::dbtest
