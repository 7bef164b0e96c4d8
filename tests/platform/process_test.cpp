#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <thread>

#include "platform/file.h"
#include "platform/text_codec.h"

namespace quillon::platform {
namespace {

TEST(ModulePath, NamesAnExistingAbsoluteFile) {
  const std::u16string path = ModulePath();
  ASSERT_FALSE(path.empty());
  const std::filesystem::path fs_path(path);
  EXPECT_TRUE(fs_path.is_absolute()) << Utf16ToUtf8(path);
  EXPECT_TRUE(std::filesystem::is_regular_file(fs_path)) << Utf16ToUtf8(path);
  EXPECT_TRUE(PathExists(path));
  // The platform code is linked statically into this test program.
  EXPECT_NE(Utf16ToUtf8(path).find("test_platform"), std::string::npos) << Utf16ToUtf8(path);
}

TEST(CurrentThreadId, DiffersBetweenThreadsAndIsStable) {
  const std::uint32_t mine = CurrentThreadId();
  EXPECT_NE(mine, 0u);
  EXPECT_EQ(CurrentThreadId(), mine);
  std::uint32_t other = 0;
  std::thread([&other] { other = CurrentThreadId(); }).join();
  EXPECT_NE(other, 0u);
  EXPECT_NE(other, mine);
}

TEST(PathSeparator, MatchesThePlatform) {
  EXPECT_EQ(PathSeparator(), static_cast<char16_t>(std::filesystem::path::preferred_separator));
}

#if defined(_WIN32)
TEST(IsFixedDriveRoot, DriveLettersDecide) {
  EXPECT_FALSE(IsLocalFixedPath(u"C:\\"));
  EXPECT_FALSE(IsFixedDriveRoot(u"\\\\server\\share\\"));
  // The system drive is a fixed drive.
  const std::u16string temp = std::filesystem::temp_directory_path().u16string();
  ASSERT_GE(temp.size(), 3u);
  EXPECT_TRUE(IsFixedDriveRoot(temp.substr(0, 2) + u"\\"));
}
#else
TEST(IsLocalFixedPath, LocalFoldersAndMissingFiles) {
  EXPECT_FALSE(IsFixedDriveRoot(u"C:\\"));
  const std::u16string temp = std::filesystem::temp_directory_path().u16string();
  // The temporary folder of a build machine is on a local file system;
  // /proc certainly is, and a file not created yet inherits its folder's.
  EXPECT_TRUE(IsLocalFixedPath(u"/proc"));
  EXPECT_EQ(IsLocalFixedPath(temp + u"/no_such_dir/no_such_file.isf"), IsLocalFixedPath(temp));
  EXPECT_FALSE(IsLocalFixedPath(u"relative/path.isf"));
  EXPECT_FALSE(IsLocalFixedPath(u""));
}
#endif

}  // namespace
}  // namespace quillon::platform
