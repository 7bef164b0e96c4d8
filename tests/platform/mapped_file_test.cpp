#include "platform/mapped_file.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "tests/support/temp_path.h"

namespace quillon::platform {
namespace {

using testsupport::TempPath;

std::uint8_t ByteAt(std::uint64_t offset) {
  return static_cast<std::uint8_t>((offset * 31) ^ (offset >> 9));
}

// A mapping of three allocation granules plus a tail, each byte a function
// of its offset.
class MappedFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_GE(granularity_, 4096u);
    ASSERT_EQ(granularity_ & (granularity_ - 1), 0u);  // a power of two
    std::vector<std::uint8_t> bytes(size_);
    for (std::size_t i = 0; i < size_; ++i) bytes[i] = ByteAt(i);
    ASSERT_EQ(file_.Open(temp_.u16(), FileAccess::kReadWrite, FileDisposition::kCreateAlways), 0u);
    ASSERT_EQ(file_.WriteAt(0, bytes.data(), bytes.size()), 0u);
    ASSERT_EQ(mapping_.Create(file_), 0u);
    ASSERT_TRUE(mapping_.IsOpen());
  }

  void ExpectContents(const MappedView& view) {
    ASSERT_TRUE(view.IsMapped());
    for (std::size_t i = 0; i < view.size(); ++i) {
      ASSERT_EQ(view.data()[i], ByteAt(view.offset() + i)) << i;
    }
  }

  TempPath temp_{u"map"};
  File file_;
  FileMapping mapping_;
  const std::uint64_t granularity_ = AllocationGranularity();
  const std::size_t size_ = 3 * static_cast<std::size_t>(granularity_) + 123;
};

TEST_F(MappedFileTest, ViewsAtGranuleOffsetsSeeTheFile) {
  MappedView first;
  MappedView last;
  MappedView rest;
  ASSERT_EQ(mapping_.Map(0, 100, first), 0u);
  ASSERT_EQ(mapping_.Map(2 * granularity_, size_ - 2 * granularity_, last), 0u);
  ASSERT_EQ(mapping_.Map(granularity_, 0, rest), 0u);  // zero length: to the end
  EXPECT_EQ(first.size(), 100u);
  EXPECT_EQ(last.offset(), 2 * granularity_);
  EXPECT_EQ(last.size(), size_ - 2 * granularity_);
  EXPECT_EQ(rest.size(), size_ - granularity_);
  ExpectContents(first);
  ExpectContents(last);
  ExpectContents(rest);
  first.Unmap();
  EXPECT_FALSE(first.IsMapped());
  EXPECT_EQ(first.data(), nullptr);
}

TEST_F(MappedFileTest, RefusesBadOffsetsAndRanges) {
  MappedView view;
  EXPECT_EQ(mapping_.Map(1, 10, view), error::kInvalidParameter);
  EXPECT_EQ(mapping_.Map(granularity_ / 2, 10, view), error::kInvalidParameter);
  // Inside the file only.
  EXPECT_EQ(mapping_.Map(0, size_ + 1, view), error::kInvalidParameter);
  EXPECT_EQ(mapping_.Map(4 * granularity_, 1, view), error::kInvalidParameter);
  EXPECT_FALSE(view.IsMapped());
  EXPECT_EQ(mapping_.Map(0, size_, view), 0u);
}

TEST_F(MappedFileTest, ViewsOutliveTheMappingObjectAndMove) {
  MappedView view;
  ASSERT_EQ(mapping_.Map(granularity_, 50, view), 0u);
  {
    FileMapping moved(std::move(mapping_));
    EXPECT_FALSE(mapping_.IsOpen());  // NOLINT(bugprone-use-after-move)
    EXPECT_TRUE(moved.IsOpen());
  }
  MappedView other(std::move(view));
  EXPECT_FALSE(view.IsMapped());  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(other.offset(), granularity_);
  ExpectContents(other);
}

TEST(FileMapping, RefusesEmptyAndClosedFiles) {
  TempPath temp(u"empty");
  File file;
  FileMapping mapping;
  EXPECT_EQ(mapping.Create(file), error::kInvalidHandle);
  ASSERT_EQ(file.Open(temp.u16(), FileAccess::kReadWrite, FileDisposition::kCreateAlways), 0u);
  EXPECT_EQ(mapping.Create(file), 1006u);
  EXPECT_FALSE(mapping.IsOpen());
  MappedView view;
  EXPECT_EQ(mapping.Map(0, 1, view), error::kInvalidHandle);
}

}  // namespace
}  // namespace quillon::platform
