// Reads one table file whole into wide text and hands it out line by line.
// UTF-16LE files (with or without a byte-order mark) are taken as they
// stand; anything else, and every file of odd length, is ANSI text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace quillon::db {

// Files above this size are refused (error 31).
inline constexpr std::uint64_t kMaxTableFileSize = 0x800000;
// Only this many characters of the path are kept.
inline constexpr std::size_t kMaxReaderPath = 520;

class TextReader {
 public:
  // Opens and reads the whole file. Returns the error code: 0 when
  // readable, 2 for an empty path, the system's code when the file cannot
  // be opened or read, 31 when it is too large, 8 when memory runs out.
  std::uint32_t Open(std::u16string_view path);
  // Uses `text` as the file's decoded content (tests, fuzzing).
  void OpenText(std::u16string text);
  void Close();

  bool IsOpen() const { return error_ == 0; }
  std::uint32_t Error() const { return error_; }
  const std::u16string& Path() const { return path_; }

  // The next line without its line feed and without one carriage return
  // before it; false at the end of the text or when not open.
  bool ReadLine(std::u16string_view& line);

  // Decodes raw file bytes the way Open does.
  static std::u16string Decode(const std::uint8_t* data, std::size_t size);

 private:
  std::u16string path_;
  std::u16string text_;
  std::size_t position_ = 0;
  std::uint32_t error_ = 2;
};

}  // namespace quillon::db
