#include "platform/file.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <vector>

#include "temp_path.h"

namespace quillon::platform {
namespace {

using testing::TempPath;

std::vector<std::uint8_t> Pattern(std::size_t size, std::uint8_t seed) {
  std::vector<std::uint8_t> bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(seed + i * 7);
  return bytes;
}

TEST(File, WritesAndReadsAtOffsets) {
  TempPath temp(u"rw");
  File file;
  ASSERT_EQ(file.Open(temp.u16(), FileAccess::kReadWrite, FileDisposition::kCreateAlways), 0u);
  ASSERT_TRUE(file.IsOpen());

  const auto head = Pattern(100, 1);
  const auto tail = Pattern(50, 9);
  ASSERT_EQ(file.WriteAt(0, head.data(), head.size()), 0u);
  // Writing past the end grows the file; the gap reads as zeros.
  ASSERT_EQ(file.WriteAt(200, tail.data(), tail.size()), 0u);
  std::uint64_t size = 0;
  ASSERT_EQ(file.Size(size), 0u);
  EXPECT_EQ(size, 250u);

  std::vector<std::uint8_t> got(50);
  std::size_t read = 0;
  ASSERT_EQ(file.ReadAt(200, got.data(), got.size(), &read), 0u);
  EXPECT_EQ(read, 50u);
  EXPECT_EQ(got, tail);
  ASSERT_EQ(file.ReadAt(100, got.data(), got.size()), 0u);
  EXPECT_EQ(got, std::vector<std::uint8_t>(50, 0));
  ASSERT_EQ(file.ReadAt(10, got.data(), got.size()), 0u);
  EXPECT_EQ(got, std::vector<std::uint8_t>(head.begin() + 10, head.begin() + 60));

  // Overwrite in the middle, then reopen read-only and check the bytes.
  const std::array<std::uint8_t, 3> patch{0xAA, 0xBB, 0xCC};
  ASSERT_EQ(file.WriteAt(99, patch.data(), patch.size()), 0u);
  file.Close();
  EXPECT_FALSE(file.IsOpen());
  ASSERT_EQ(file.Open(temp.u16(), FileAccess::kRead, FileDisposition::kOpenExisting), 0u);
  std::array<std::uint8_t, 5> around{};
  ASSERT_EQ(file.ReadAt(98, around.data(), around.size()), 0u);
  EXPECT_EQ(around, (std::array<std::uint8_t, 5>{head[98], 0xAA, 0xBB, 0xCC, 0}));
}

TEST(File, ShortReadReportsEndOfFile) {
  TempPath temp(u"eof");
  File file;
  ASSERT_EQ(file.Open(temp.u16(), FileAccess::kReadWrite, FileDisposition::kCreateAlways), 0u);
  const auto data = Pattern(10, 3);
  ASSERT_EQ(file.WriteAt(0, data.data(), data.size()), 0u);

  std::vector<std::uint8_t> got(8, 0xEE);
  std::size_t read = 99;
  EXPECT_EQ(file.ReadAt(6, got.data(), got.size(), &read), error::kHandleEof);
  EXPECT_EQ(read, 4u);
  EXPECT_EQ(std::vector<std::uint8_t>(got.begin(), got.begin() + 4),
            std::vector<std::uint8_t>(data.begin() + 6, data.end()));

  read = 99;
  EXPECT_EQ(file.ReadAt(10, got.data(), got.size(), &read), error::kHandleEof);
  EXPECT_EQ(read, 0u);
  EXPECT_EQ(file.ReadAt(1000, got.data(), got.size(), &read), error::kHandleEof);
  EXPECT_EQ(read, 0u);
  EXPECT_EQ(file.ReadAt(3, got.data(), 0, &read), 0u);
}

TEST(File, TruncateShrinksAndGrowsWithZeros) {
  TempPath temp(u"trunc");
  File file;
  ASSERT_EQ(file.Open(temp.u16(), FileAccess::kReadWrite, FileDisposition::kCreateAlways), 0u);
  const auto data = Pattern(64, 5);
  ASSERT_EQ(file.WriteAt(0, data.data(), data.size()), 0u);

  ASSERT_EQ(file.Truncate(16), 0u);
  std::uint64_t size = 0;
  ASSERT_EQ(file.Size(size), 0u);
  EXPECT_EQ(size, 16u);

  ASSERT_EQ(file.Truncate(40), 0u);
  ASSERT_EQ(file.Size(size), 0u);
  EXPECT_EQ(size, 40u);
  std::vector<std::uint8_t> got(40);
  ASSERT_EQ(file.ReadAt(0, got.data(), got.size()), 0u);
  EXPECT_EQ(std::vector<std::uint8_t>(got.begin(), got.begin() + 16),
            std::vector<std::uint8_t>(data.begin(), data.begin() + 16));
  EXPECT_EQ(std::vector<std::uint8_t>(got.begin() + 16, got.end()),
            std::vector<std::uint8_t>(24, 0));
}

TEST(File, LastWriteTimeRoundTrips) {
  TempPath temp(u"time");
  File file;
  ASSERT_EQ(file.Open(temp.u16(), FileAccess::kReadWrite, FileDisposition::kCreateAlways), 0u);
  const std::uint8_t byte = 1;
  ASSERT_EQ(file.WriteAt(0, &byte, 1), 0u);

  // 2011-03-04 05:06:07.1234567 UTC. NTFS keeps all 100 ns digits; POSIX
  // file systems keep nanoseconds or at worst microseconds (see
  // docs/platform.md), so the comparison is at microsecond granularity.
  const FileTime wanted = 129435891671234567ULL;
  ASSERT_EQ(file.SetLastWriteTime(wanted), 0u);
  FileTime got = 0;
  ASSERT_EQ(file.GetLastWriteTime(got), 0u);
  EXPECT_EQ(got / 10, wanted / 10);

  // The time survives closing and reopening read-only.
  file.Close();
  ASSERT_EQ(file.Open(temp.u16(), FileAccess::kRead, FileDisposition::kOpenExisting), 0u);
  ASSERT_EQ(file.GetLastWriteTime(got), 0u);
  EXPECT_EQ(got / 10, wanted / 10);
}

TEST(File, LastWriteTimeSpecialValues) {
  TempPath temp(u"time0");
  File file;
  ASSERT_EQ(file.Open(temp.u16(), FileAccess::kReadWrite, FileDisposition::kCreateAlways), 0u);
  const FileTime wanted = 130000000000000000ULL;  // 2012-12-13
  ASSERT_EQ(file.SetLastWriteTime(wanted), 0u);
  // Zero means "leave unchanged", as with SetFileTime.
  EXPECT_EQ(file.SetLastWriteTime(0), 0u);
  FileTime got = 0;
  ASSERT_EQ(file.GetLastWriteTime(got), 0u);
  EXPECT_EQ(got / 10, wanted / 10);
  EXPECT_EQ(file.SetLastWriteTime(0x8000000000000000ULL), error::kInvalidParameter);
}

TEST(File, OpenDispositions) {
  TempPath temp(u"disp");
  File file;
  EXPECT_EQ(file.Open(temp.u16(), FileAccess::kRead, FileDisposition::kOpenExisting),
            error::kFileNotFound);
  EXPECT_FALSE(file.IsOpen());

  // Open-always creates an empty file and keeps an existing one.
  ASSERT_EQ(file.Open(temp.u16(), FileAccess::kReadWrite, FileDisposition::kOpenAlways), 0u);
  const auto data = Pattern(12, 2);
  ASSERT_EQ(file.WriteAt(0, data.data(), data.size()), 0u);
  file.Close();
  ASSERT_EQ(file.Open(temp.u16(), FileAccess::kReadWrite, FileDisposition::kOpenAlways), 0u);
  std::uint64_t size = 0;
  ASSERT_EQ(file.Size(size), 0u);
  EXPECT_EQ(size, 12u);
  file.Close();

  // Create-always truncates.
  ASSERT_EQ(file.Open(temp.u16(), FileAccess::kReadWrite, FileDisposition::kCreateAlways), 0u);
  ASSERT_EQ(file.Size(size), 0u);
  EXPECT_EQ(size, 0u);
}

TEST(File, OpenFailures) {
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
}

TEST(File, ClosedFileRefusesOperations) {
  File file;
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

TEST(File, MoveTransfersTheHandle) {
  TempPath temp(u"move");
  File first;
  ASSERT_EQ(first.Open(temp.u16(), FileAccess::kReadWrite, FileDisposition::kCreateAlways), 0u);
  File second(std::move(first));
  EXPECT_FALSE(first.IsOpen());  // NOLINT(bugprone-use-after-move): moved-from state is defined
  ASSERT_TRUE(second.IsOpen());
  const std::uint8_t byte = 42;
  EXPECT_EQ(second.WriteAt(0, &byte, 1), 0u);

  File third;
  third = std::move(second);
  EXPECT_FALSE(second.IsOpen());  // NOLINT(bugprone-use-after-move)
  std::uint8_t got = 0;
  EXPECT_EQ(third.ReadAt(0, &got, 1), 0u);
  EXPECT_EQ(got, 42);
}

TEST(File, OtherReadersAllowedWhileOpen) {
  TempPath temp(u"share");
  File writer;
  ASSERT_EQ(writer.Open(temp.u16(), FileAccess::kReadWrite, FileDisposition::kCreateAlways), 0u);
  const auto data = Pattern(8, 4);
  ASSERT_EQ(writer.WriteAt(0, data.data(), data.size()), 0u);

  // A reader that tolerates writers (as the C runtime opens files) gets in.
  std::ifstream reader(temp.path(), std::ios::binary);
  ASSERT_TRUE(reader.good());
  std::vector<char> got(8);
  reader.read(got.data(), static_cast<std::streamsize>(got.size()));
  EXPECT_EQ(std::vector<std::uint8_t>(got.begin(), got.end()), data);

  // A second File refuses to share with a writer on Windows; POSIX has no
  // share modes and lets it open.
  File second;
#if defined(_WIN32)
  EXPECT_EQ(second.Open(temp.u16(), FileAccess::kRead, FileDisposition::kOpenExisting),
            error::kSharingViolation);
#else
  EXPECT_EQ(second.Open(temp.u16(), FileAccess::kRead, FileDisposition::kOpenExisting), 0u);
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
