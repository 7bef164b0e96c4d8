// Helpers for database tests: temporary database directories and table
// files written in the encodings the loader accepts.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
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
    path_ =
        fs::temp_directory_path() /
        ("quillon_db_" + (info ? std::string(info->test_suite_name()) + "_" + info->name() : "") +
         "_" + std::to_string(counter++));
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

inline void WriteBytes(const fs::path& file, const std::string& bytes) {
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline void WriteAnsi(const fs::path& file, const std::string& text) { WriteBytes(file, text); }

// UTF-16LE, with or without a byte-order mark.
inline void WriteUtf16(const fs::path& file, const std::u16string& text, bool bom = true) {
  std::string bytes;
  if (bom) bytes += "\xFF\xFE";
  for (const char16_t c : text) {
    bytes.push_back(static_cast<char>(c & 0xFF));
    bytes.push_back(static_cast<char>(c >> 8));
  }
  WriteBytes(file, bytes);
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

// Every loaded table as an empty file, so that a load of the directory
// fails only for what a test writes into it.
inline void WriteEmptyTables(const fs::path& dir) {
  auto touch = [&](std::u16string_view name) {
    WriteBytes(dir / fs::path(std::u16string(name)), "");
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
}

// All messages as "severity: text" lines, for failure output.
inline std::string Dump(const DbMessageList& list) {
  std::string out;
  for (const auto& m : list.Messages())
    out += std::to_string(static_cast<std::uint32_t>(m.severity)) + ": " + Narrow(m.text) + "\n";
  return out;
}

inline bool Has(const DbMessageList& list, const std::u16string& text, DbSeverity severity) {
  for (const auto& m : list.Messages()) {
    if (m.text == text && m.severity == severity) return true;
  }
  return false;
}

// Each text reported with the severity, for failure output the whole list.
inline void ExpectMessages(const DbMessageList& list,
                           std::initializer_list<std::u16string_view> texts,
                           DbSeverity severity = DbSeverity::kError) {
  for (const auto text : texts) {
    EXPECT_TRUE(Has(list, std::u16string(text), severity)) << Narrow(text) << "\n" << Dump(list);
  }
}

inline std::size_t Count(const DbMessageList& list, const std::u16string& text) {
  std::size_t n = 0;
  for (const auto& m : list.Messages()) n += m.text == text ? 1 : 0;
  return n;
}

}  // namespace quillon::dbtest
