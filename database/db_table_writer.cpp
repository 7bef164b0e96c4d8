#include <vector>

#include "database/db_table_io.h"

namespace quillon::db {

void TableWriter::AddLine(std::u16string_view line) {
  if (!first_) text_ += u"\r\n";
  first_ = false;
  text_ += line;
}

bool TableWriter::Create(std::u16string_view path) {
  return file_.Open(path, platform::FileAccess::kReadWrite,
                    platform::FileDisposition::kCreateAlways) == 0;
}

bool TableWriter::Finish() {
  if (!file_.IsOpen()) return false;
  std::vector<std::uint8_t> bytes;
  bytes.reserve(2 + text_.size() * 2);
  bytes.push_back(0xFF);
  bytes.push_back(0xFE);
  for (const char16_t c : text_) {
    bytes.push_back(static_cast<std::uint8_t>(c & 0xFF));
    bytes.push_back(static_cast<std::uint8_t>(c >> 8));
  }
  const bool written = file_.WriteAt(0, bytes.data(), bytes.size()) == 0;
  file_.Close();
  return written;
}

}  // namespace quillon::db
