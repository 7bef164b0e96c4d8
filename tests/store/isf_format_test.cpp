// Item store file entries and record headers, and the path rules.
#include "store/isf_format.h"

#include <gtest/gtest.h>

#include <array>

#include "store/internal/isf_paths.h"

namespace quillon::isf {
namespace {

TEST(IsfRecordHeader, SizesFollowTheFlags) {
  // Type bits do not count.
  const std::pair<std::uint8_t, std::uint32_t> cases[] = {{0x00, 1}, {0x20, 2}, {0x40, 4},
                                                          {0x60, 8}, {0x80, 5}, {0xE7, 12}};
  for (const auto& [flags, size] : cases) EXPECT_EQ(RecordHeaderSize(flags), size) << int{flags};
}

TEST(IsfRecordHeader, EncodesDeltasLittleEndianAndDecodesThemBack) {
  const std::uint64_t base = 0x0000123456789000ULL;
  struct Case {
    std::uint8_t flags;
    std::uint64_t ms;
    std::vector<std::uint8_t> bytes;
  };
  const Case cases[] = {
      {0x00, base + 0xFE, {0xFE}},
      {0x20, base + 0x1234, {0x34, 0x12}},
      {0x40, base + 0xFFFFFFFEULL, {0xFE, 0xFF, 0xFF, 0xFF}},
      {0x60, base - 1, {0xFF, 0x8F, 0x78, 0x56, 0x34, 0x12, 0x00, 0x00}},
      {0x85, base + 3, {0x03, 0xEF, 0xBE, 0xAD, 0xDE}},
  };
  for (const Case& c : cases) {
    std::array<std::uint8_t, 12> out{};
    const std::uint32_t n = EncodeRecordHeader(c.flags, c.ms, base, 0xDEADBEEF, out.data());
    ASSERT_EQ(n, c.bytes.size()) << int{c.flags};
    EXPECT_TRUE(std::equal(c.bytes.begin(), c.bytes.end(), out.begin())) << int{c.flags};
    EXPECT_EQ(DecodeRecordTime(c.flags, base, out.data()), c.ms) << int{c.flags};
  }
}

TEST(IsfEntry, PacksSevenBytes) {
  std::array<std::uint8_t, 7> out{};
  EncodeEntry({0x47, 0x01020304, 0x2010}, out.data());
  EXPECT_EQ(out, (std::array<std::uint8_t, 7>{0x47, 0x04, 0x03, 0x02, 0x01, 0x10, 0x20}));
  const Entry back = DecodeEntry(out.data());
  EXPECT_EQ(back.TypeCode(), 7u);
  EXPECT_EQ(back.Encoding(), TimeEncoding::kDelta32);
  EXPECT_FALSE(back.HasAux());
  EXPECT_EQ(std::pair(back.offset, std::uint32_t{back.length}), std::pair(0x01020304u, 0x2010u));
}

LocalDriveRules WindowsRules(std::u16string* asked) {
  LocalDriveRules rules;
  rules.separator = u'\\';
  rules.is_fixed_drive_root = [asked](std::u16string_view root) {
    *asked = root;
    return root == u"C:\\";
  };
  rules.is_local_path = [](std::u16string_view) { return true; };
  return rules;
}

TEST(IsfLocalDrive, WindowsRulesApplyLiterally) {
  std::u16string asked;
  const LocalDriveRules rules = WindowsRules(&asked);
  EXPECT_TRUE(IsLocalFixedDrivePath(u"C:\\logs\\a.isf", rules));
  EXPECT_EQ(asked, u"C:\\");
  EXPECT_FALSE(IsLocalFixedDrivePath(u"D:\\a.isf", rules));
  EXPECT_EQ(asked, u"D:\\");
  EXPECT_TRUE(IsLocalFixedDrivePath(u"\\\\?\\C:\\a.isf", rules));
  EXPECT_FALSE(IsLocalFixedDrivePath(u"\\\\?\\UNC\\server\\share\\a.isf", rules));
  EXPECT_FALSE(IsLocalFixedDrivePath(u"\\\\server\\share\\a.isf", rules));
  EXPECT_FALSE(IsLocalFixedDrivePath(u"a.isf", rules));
  EXPECT_FALSE(IsLocalFixedDrivePath(u"", rules));
}

TEST(IsfLocalDrive, PosixRulesUseTheSeparatorAndAskAboutAbsolutePaths) {
  std::u16string asked;
  LocalDriveRules rules;
  rules.separator = u'/';
  rules.is_fixed_drive_root = [](std::u16string_view) { return true; };
  rules.is_local_path = [&asked](std::u16string_view path) {
    asked = path;
    return path.substr(0, 5) != u"/mnt/";
  };
  EXPECT_TRUE(IsLocalFixedDrivePath(u"/home/u/a.isf", rules));
  EXPECT_EQ(asked, u"/home/u/a.isf");
  EXPECT_FALSE(IsLocalFixedDrivePath(u"/mnt/nfs/a.isf", rules));
  EXPECT_TRUE(IsLocalFixedDrivePath(u"//?/home/a.isf", rules));
  EXPECT_EQ(asked, u"/home/a.isf");
  EXPECT_FALSE(IsLocalFixedDrivePath(u"//?/UNC/server/a.isf", rules));
  EXPECT_FALSE(IsLocalFixedDrivePath(u"//server/share/a.isf", rules));
  EXPECT_FALSE(IsLocalFixedDrivePath(u"relative/a.isf", rules));
  EXPECT_FALSE(IsLocalFixedDrivePath(u"C:/a.isf", rules));
}

TEST(IsfTemporaryName, FormatsDirectoryStemNumberAndExtension) {
  EXPECT_EQ(FormatTemporaryName(u"", 7, u'/'), u"Items.isf");
  EXPECT_EQ(FormatTemporaryName(u"/tmp/", 0x1a, u'/'), u"/tmp/Items0001a.isf");
  EXPECT_EQ(FormatTemporaryName(u"/tmp", 0x1a, u'/'), u"/tmp/Items0001a.isf");
  EXPECT_EQ(FormatTemporaryName(u"C:\\t\\", 0x123456, u'\\'), u"C:\\t\\Items123456.isf");
}

}  // namespace
}  // namespace quillon::isf
