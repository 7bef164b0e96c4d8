#include "platform/mapped_file.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "temp_path.h"

namespace quillon::platform {
namespace {

using testing::TempPath;

// A file of three allocation granules plus a tail, each byte a function of
// its offset.
class MappedFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    granularity_ = AllocationGranularity();
    ASSERT_GT(granularity_, 0u);
    size_ = 3 * std::size_t{granularity_} + 123;
    std::vector<std::uint8_t> bytes(size_);
    for (std::size_t i = 0; i < size_; ++i) bytes[i] = ByteAt(i);
    ASSERT_EQ(file_.Open(temp_.u16(), FileAccess::kReadWrite, FileDisposition::kCreateAlways), 0u);
    ASSERT_EQ(file_.WriteAt(0, bytes.data(), bytes.size()), 0u);
  }

  static std::uint8_t ByteAt(std::uint64_t offset) {
    return static_cast<std::uint8_t>((offset * 31) ^ (offset >> 9));
  }

  TempPath temp_{u"map"};
  File file_;
  std::uint32_t granularity_ = 0;
  std::size_t size_ = 0;
};

TEST_F(MappedFileTest, GranularityIsAPowerOfTwo) {
  EXPECT_EQ(granularity_ & (granularity_ - 1), 0u);
  EXPECT_GE(granularity_, 4096u);
}

TEST_F(MappedFileTest, ViewsAtGranuleOffsetsSeeTheFile) {
  FileMapping mapping;
  ASSERT_EQ(mapping.Create(file_), 0u);
  ASSERT_TRUE(mapping.IsOpen());

  MappedView first;
  MappedView second;
  ASSERT_EQ(mapping.Map(0, 100, first), 0u);
  const std::uint64_t offset = 2 * std::uint64_t{granularity_};
  ASSERT_EQ(mapping.Map(offset, size_ - offset, second), 0u);
  ASSERT_TRUE(first.IsMapped());
  EXPECT_EQ(first.size(), 100u);
  EXPECT_EQ(second.offset(), offset);
  EXPECT_EQ(second.size(), size_ - offset);
  for (std::size_t i = 0; i < first.size(); ++i) ASSERT_EQ(first.data()[i], ByteAt(i)) << i;
  for (std::size_t i = 0; i < second.size(); ++i) {
    ASSERT_EQ(second.data()[i], ByteAt(offset + i)) << i;
  }

  // Zero length maps to the end of the file.
  MappedView rest;
  ASSERT_EQ(mapping.Map(std::uint64_t{granularity_}, 0, rest), 0u);
  EXPECT_EQ(rest.size(), size_ - granularity_);
  EXPECT_EQ(rest.data()[rest.size() - 1], ByteAt(size_ - 1));

  first.Unmap();
  EXPECT_FALSE(first.IsMapped());
  EXPECT_EQ(first.data(), nullptr);
}

TEST_F(MappedFileTest, RefusesBadOffsetsAndRanges) {
  FileMapping mapping;
  ASSERT_EQ(mapping.Create(file_), 0u);
  MappedView view;
  EXPECT_EQ(mapping.Map(1, 10, view), error::kInvalidParameter);
  EXPECT_EQ(mapping.Map(granularity_ / 2, 10, view), error::kInvalidParameter);
  EXPECT_FALSE(view.IsMapped());
  // Inside the file only.
  EXPECT_EQ(mapping.Map(0, size_ + 1, view), error::kInvalidParameter);
  EXPECT_EQ(mapping.Map(4 * std::uint64_t{granularity_}, 1, view), error::kInvalidParameter);
  EXPECT_EQ(mapping.Map(0, size_, view), 0u);
}

TEST_F(MappedFileTest, ViewsOutliveTheMappingObjectAndMove) {
  MappedView view;
  {
    FileMapping mapping;
    ASSERT_EQ(mapping.Create(file_), 0u);
    ASSERT_EQ(mapping.Map(std::uint64_t{granularity_}, 50, view), 0u);
    FileMapping moved(std::move(mapping));
    EXPECT_FALSE(mapping.IsOpen());  // NOLINT(bugprone-use-after-move)
    EXPECT_TRUE(moved.IsOpen());
  }
  MappedView other(std::move(view));
  EXPECT_FALSE(view.IsMapped());  // NOLINT(bugprone-use-after-move)
  ASSERT_TRUE(other.IsMapped());
  EXPECT_EQ(other.data()[0], ByteAt(granularity_));
  EXPECT_EQ(other.offset(), granularity_);
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
