#include <vector>

#include "common/little_endian.h"
#include "database/internal/db_table_io.h"

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
  bytes.resize(2 + text_.size() * 2);
  for (std::size_t i = 0; i < text_.size(); ++i) StoreUtf16LE(&bytes[2 + 2 * i], text_[i]);
  const bool written = file_.WriteAt(0, bytes.data(), bytes.size()) == 0;
  file_.Close();
  return written;
}

}  // namespace quillon::db
