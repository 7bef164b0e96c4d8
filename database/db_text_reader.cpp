#include "database/internal/db_text_reader.h"

#include <algorithm>
#include <new>
#include <string>
#include <vector>

#include "common/little_endian.h"
#include "platform/file.h"
#include "platform/text_codec.h"

namespace quillon::db {

std::u16string TextReader::Decode(const std::uint8_t* data, std::size_t size) {
  if (size % 2 == 0 && size > 0 &&
      platform::LooksLikeUtf16(data, std::min<std::size_t>(size, 128))) {
    std::size_t start = 0;
    // A byte-order mark (either order) is dropped; the rest is UTF-16LE.
    if ((data[0] == 0xFF && data[1] == 0xFE) || (data[0] == 0xFE && data[1] == 0xFF)) start = 2;
    std::u16string text((size - start) / 2, u'\0');
    for (std::size_t i = 0; i < text.size(); ++i) {
      text[i] = LoadUtf16LE(&data[start + 2 * i]);
    }
    return text;
  }
  // ASCII is the same in every ANSI code page: widen it directly, which is
  // the common case and the hot path of a load.
  std::u16string text(size, u'\0');
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] >= 0x80) {
      return platform::AnsiToUtf16(std::string_view(reinterpret_cast<const char*>(data), size));
    }
    text[i] = data[i];
  }
  return text;
}

std::uint32_t TextReader::Open(std::u16string_view path) {
  Close();
  path_.assign(path.substr(0, std::min(path.size(), kMaxReaderPath)));
  if (path.empty()) return error_ = 2;
  platform::File file;
  std::uint32_t rc =
      file.Open(path, platform::FileAccess::kRead, platform::FileDisposition::kOpenExisting,
                platform::FileCaching::kSequentialScan);
  if (rc != 0) return error_ = rc;
  std::uint64_t size = 0;
  rc = file.Size(size);
  if (rc != 0) return error_ = rc;
  if (size > kMaxTableFileSize) return error_ = 31;
  std::vector<std::uint8_t> bytes;
  try {
    bytes.resize(static_cast<std::size_t>(size));
  } catch (const std::bad_alloc&) {
    return error_ = 8;
  }
  std::size_t read = 0;
  rc = bytes.empty() ? 0 : file.ReadAt(0, bytes.data(), bytes.size(), &read);
  if (rc != 0) return error_ = rc;
  try {
    text_ = Decode(bytes.data(), bytes.size());
    // The text is a zero-terminated string: a NUL character ends it.
    const std::size_t nul = text_.find(u'\0');
    if (nul != std::u16string::npos) text_.resize(nul);
  } catch (const std::bad_alloc&) {
    return error_ = 8;
  }
  position_ = 0;
  return error_ = 0;
}

void TextReader::OpenText(std::u16string text) {
  text_ = std::move(text);
  position_ = 0;
  error_ = 0;
}

void TextReader::Close() {
  text_.clear();
  text_.shrink_to_fit();
  position_ = 0;
  error_ = 2;
}

bool TextReader::ReadLine(std::u16string_view& line) {
  if (error_ != 0 || position_ >= text_.size()) return false;
  const std::size_t feed = text_.find(u'\n', position_);
  const std::size_t end = feed == std::u16string::npos ? text_.size() : feed;
  line = std::u16string_view(text_).substr(position_, end - position_);
  if (!line.empty() && line.back() == u'\r') line.remove_suffix(1);
  position_ = feed == std::u16string::npos ? text_.size() : feed + 1;
  return true;
}

}  // namespace quillon::db
