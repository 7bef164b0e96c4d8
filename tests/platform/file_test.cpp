#include "platform/file.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <vector>

#include "tests/support/temp_path.h"

namespace quillon::platform {
namespace {

using testsupport::TempPath;
using Bytes = std::vector<std::uint8_t>;

Bytes Pattern(std::size_t size, std::uint8_t seed) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(seed + i * 7);
  return bytes;
}

Bytes Slice(const Bytes& b, std::size_t from, std::size_t to) {
  return Bytes(b.begin() + static_cast<std::ptrdiff_t>(from),
               b.begin() + static_cast<std::ptrdiff_t>(to));
}

// A freshly created read-write file.
class FileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(file_.Open(temp_.u16(), FileAccess::kReadWrite, FileDisposition::kCreateAlways), 0u);
  }
  void Write(std::uint64_t offset, const Bytes& bytes) {
    ASSERT_EQ(file_.WriteAt(offset, bytes.data(), bytes.size()), 0u);
  }
  Bytes Read(std::uint64_t offset, std::size_t length) {
    Bytes got(length);
    EXPECT_EQ(file_.ReadAt(offset, got.data(), got.size()), 0u) << offset;
    return got;
  }
  std::uint64_t Size() {
    std::uint64_t size = 0;
    EXPECT_EQ(file_.Size(size), 0u);
    return size;
  }
  void Reopen(FileAccess access, FileDisposition disposition) {
    file_.Close();
    EXPECT_FALSE(file_.IsOpen());
    ASSERT_EQ(file_.Open(temp_.u16(), access, disposition), 0u);
  }

  TempPath temp_{u"file"};
  File file_;
};

TEST_F(FileTest, WritesAndReadsAtOffsets) {
  const Bytes head = Pattern(100, 1);
  const Bytes tail = Pattern(50, 9);
  Write(0, head);
  Write(200, tail);  // past the end: grows the file, the gap reads as zeros
  EXPECT_EQ(Size(), 250u);
  EXPECT_EQ(Read(200, 50), tail);
  EXPECT_EQ(Read(100, 50), Bytes(50, 0));
  EXPECT_EQ(Read(10, 50), Slice(head, 10, 60));

  // Overwrite in the middle, then reopen read-only and check the bytes.
  Write(99, {0xAA, 0xBB, 0xCC});
  Reopen(FileAccess::kRead, FileDisposition::kOpenExisting);
  EXPECT_EQ(Read(98, 5), (Bytes{head[98], 0xAA, 0xBB, 0xCC, 0}));
}

TEST_F(FileTest, ShortReadReportsEndOfFile) {
  const Bytes data = Pattern(10, 3);
  Write(0, data);
  Bytes got(8, 0xEE);
  std::size_t read = 99;
  EXPECT_EQ(file_.ReadAt(6, got.data(), got.size(), &read), error::kHandleEof);
  EXPECT_EQ(read, 4u);
  EXPECT_EQ(Slice(got, 0, 4), Slice(data, 6, 10));
  for (const std::uint64_t offset : {10u, 1000u}) {
    read = 99;
    EXPECT_EQ(file_.ReadAt(offset, got.data(), got.size(), &read), error::kHandleEof);
    EXPECT_EQ(read, 0u);
  }
  EXPECT_EQ(file_.ReadAt(3, got.data(), 0, &read), 0u);
}

TEST_F(FileTest, TruncateShrinksAndGrowsWithZeros) {
  const Bytes data = Pattern(64, 5);
  Write(0, data);
  ASSERT_EQ(file_.Truncate(16), 0u);
  EXPECT_EQ(Size(), 16u);
  ASSERT_EQ(file_.Truncate(40), 0u);
  EXPECT_EQ(Size(), 40u);
  EXPECT_EQ(Read(0, 16), Slice(data, 0, 16));
  EXPECT_EQ(Read(16, 24), Bytes(24, 0));
}

TEST_F(FileTest, LastWriteTime) {
  Write(0, {1});
  // 2011-03-04 05:06:07.1234567 UTC. NTFS keeps all 100 ns digits; POSIX
  // file systems keep at least microseconds (see docs/platform.md).
  const FileTime wanted = 129435891671234567ULL;
  ASSERT_EQ(file_.SetLastWriteTime(wanted), 0u);
  // Zero means "leave unchanged", as with SetFileTime.
  EXPECT_EQ(file_.SetLastWriteTime(0), 0u);
  EXPECT_EQ(file_.SetLastWriteTime(0x8000000000000000ULL), error::kInvalidParameter);
  FileTime got = 0;
  ASSERT_EQ(file_.GetLastWriteTime(got), 0u);
  EXPECT_EQ(got / 10, wanted / 10);
  // The time survives closing and reopening read-only.
  Reopen(FileAccess::kRead, FileDisposition::kOpenExisting);
  ASSERT_EQ(file_.GetLastWriteTime(got), 0u);
  EXPECT_EQ(got / 10, wanted / 10);
}

TEST_F(FileTest, OpenDispositions) {
  Write(0, Pattern(12, 2));
  // Open-always keeps an existing file, create-always truncates it.
  Reopen(FileAccess::kReadWrite, FileDisposition::kOpenAlways);
  EXPECT_EQ(Size(), 12u);
  Reopen(FileAccess::kReadWrite, FileDisposition::kCreateAlways);
  EXPECT_EQ(Size(), 0u);

  TempPath missing(u"missing");
  File other;
  EXPECT_EQ(other.Open(missing.u16(), FileAccess::kRead, FileDisposition::kOpenExisting),
            error::kFileNotFound);
  EXPECT_FALSE(other.IsOpen());
  ASSERT_EQ(other.Open(missing.u16(), FileAccess::kReadWrite, FileDisposition::kOpenAlways), 0u);
  std::uint64_t size = 1;
  ASSERT_EQ(other.Size(size), 0u);
  EXPECT_EQ(size, 0u);
}

TEST(File, OpenFailuresLeaveAClosedFile) {
  TempPath temp(u"missing");
  File file;
  const std::u16string in_missing_folder = (temp.path() / "inner" / "x.isf").u16string();
  EXPECT_EQ(file.Open(in_missing_folder, FileAccess::kReadWrite, FileDisposition::kCreateAlways),
            error::kPathNotFound);
  EXPECT_EQ(file.Open(u"", FileAccess::kRead, FileDisposition::kOpenExisting),
            error::kPathNotFound);
  EXPECT_EQ(
      file.Open(std::u16string_view(u"a\0b", 3), FileAccess::kRead, FileDisposition::kOpenExisting),
      error::kInvalidParameter);
  // A folder is not a file.
  EXPECT_EQ(file.Open(std::filesystem::temp_directory_path().u16string(), FileAccess::kRead,
                      FileDisposition::kOpenExisting),
            error::kAccessDenied);
  EXPECT_FALSE(file.IsOpen());
  // A file that failed to open refuses every operation.
  std::uint8_t byte = 0;
  std::uint64_t size = 0;
  FileTime time = 0;
  EXPECT_EQ(file.ReadAt(0, &byte, 1), error::kInvalidHandle);
  EXPECT_EQ(file.WriteAt(0, &byte, 1), error::kInvalidHandle);
  EXPECT_EQ(file.Size(size), error::kInvalidHandle);
  EXPECT_EQ(file.Truncate(0), error::kInvalidHandle);
  EXPECT_EQ(file.GetLastWriteTime(time), error::kInvalidHandle);
  EXPECT_EQ(file.SetLastWriteTime(time), error::kInvalidHandle);
}

TEST_F(FileTest, MoveTransfersTheHandle) {
  File second(std::move(file_));
  EXPECT_FALSE(file_.IsOpen());  // NOLINT(bugprone-use-after-move): moved-from state is defined
  const std::uint8_t byte = 42;
  EXPECT_EQ(second.WriteAt(0, &byte, 1), 0u);
  File third;
  third = std::move(second);
  EXPECT_FALSE(second.IsOpen());  // NOLINT(bugprone-use-after-move)
  std::uint8_t got = 0;
  EXPECT_EQ(third.ReadAt(0, &got, 1), 0u);
  EXPECT_EQ(got, 42);
}

TEST_F(FileTest, OtherReadersAllowedWhileOpen) {
  const Bytes data = Pattern(8, 4);
  Write(0, data);
  // A reader that tolerates writers (as the C runtime opens files) gets in.
  std::ifstream reader(temp_.path(), std::ios::binary);
  ASSERT_TRUE(reader.good());
  std::vector<char> got(8);
  reader.read(got.data(), static_cast<std::streamsize>(got.size()));
  EXPECT_EQ(Bytes(got.begin(), got.end()), data);
  // A second File refuses to share with a writer on Windows; POSIX has no
  // share modes and lets it open.
  File second;
#if defined(_WIN32)
  EXPECT_EQ(second.Open(temp_.u16(), FileAccess::kRead, FileDisposition::kOpenExisting),
            error::kSharingViolation);
#else
  EXPECT_EQ(second.Open(temp_.u16(), FileAccess::kRead, FileDisposition::kOpenExisting), 0u);
#endif
}

TEST(Paths, ExistsAndDelete) {
  TempPath temp(u"delete");
  EXPECT_FALSE(PathExists(temp.u16()));
  EXPECT_EQ(DeleteFilePath(temp.u16()), error::kFileNotFound);
  { std::ofstream(temp.path(), std::ios::binary) << "x"; }
  EXPECT_TRUE(PathExists(temp.u16()));
  EXPECT_TRUE(PathExists(std::filesystem::temp_directory_path().u16string()));
  EXPECT_EQ(DeleteFilePath(temp.u16()), 0u);
  EXPECT_FALSE(PathExists(temp.u16()));
  EXPECT_FALSE(PathExists(u""));
  EXPECT_EQ(DeleteFilePath((temp.path() / "inner" / "x").u16string()), error::kPathNotFound);
}

TEST(Paths, NonAsciiNamesRoundTrip) {
  TempPath temp(u"\u00E9t\u00E9_\u20AC");
  File file;
  ASSERT_EQ(file.Open(temp.u16(), FileAccess::kReadWrite, FileDisposition::kCreateAlways), 0u);
  file.Close();
  EXPECT_TRUE(std::filesystem::exists(temp.path()));
  EXPECT_TRUE(PathExists(temp.u16()));
}

}  // namespace
}  // namespace quillon::platform
