// ItemStoreFiles: handles, failure values and the store operations.
#include <gtest/gtest.h>

#include "automation/auto_color_item.h"
#include "automation/auto_item_store_files.h"
#include "platform/dynamic_library.h"
#include "platform/text_codec.h"
#include "tests/automation/automation_test_support.h"

namespace quillon::testing {
namespace {

// The text of a STRING item added by a client: its payload after the
// 32-bit header word, UTF-16 up to its terminating zero.
std::u16string TextOf(const CAutoColorItem& item) {
  const AutoVariant buffer = item.GetItemBuffer(true);
  const std::vector<std::uint8_t>& bytes = buffer.AsArray()->bytes;
  std::u16string text;
  for (std::size_t i = 4; i + 1 < bytes.size() && (bytes[i] | bytes[i + 1]) != 0; i += 2) {
    text.push_back(static_cast<char16_t>(bytes[i] | bytes[i + 1] << 8));
  }
  return text;
}

class ItemStoreFilesTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { UseRepositoryDatabase(); }
  // A new store of `lines` (each a STRING item); its handle.
  std::uint32_t StoreWith(const TempFile& temp, std::u16string_view lines) {
    const std::uint32_t h = files.CreateItemStore(temp.u16());
    if (!lines.empty()) files.AddStringItem(h, 0, lines);
    return h;
  }
  CAutoItemStoreFiles files;
  TempFile a{u"auto_a"}, b{u"auto_b"};
};

TEST_F(ItemStoreFilesTest, HandlesCountFromZeroAndSkipNoNumberOnFailure) {
  EXPECT_EQ(files.CreateItemStore(a.u16()), 0u);
  EXPECT_EQ(files.LoadItemStore(u"/nonexistent/dir/x.isf"), kAutoFailure);
  EXPECT_EQ(files.CreateItemStore(u""), kAutoFailure);
  EXPECT_EQ(files.LoadItemStore(SamplePath()), 1u);
  // Handles are never reused, and each object counts its own.
  EXPECT_TRUE(files.CloseItemStore(1));
  EXPECT_EQ(files.CreateItemStore(b.u16()), 2u);
  CAutoItemStoreFiles other;
  EXPECT_EQ(other.LoadItemStore(SamplePath()), 0u);
}

TEST_F(ItemStoreFilesTest, UnknownAndClosedHandlesGiveFailureValues) {
  const std::uint32_t h = StoreWith(a, u"one");
  ASSERT_TRUE(files.CloseItemStore(h));
  for (const std::uint32_t handle : {h, 7u, kAutoFailure}) {
    SCOPED_TRACE(handle);
    EXPECT_FALSE(files.CloseItemStore(handle));
    EXPECT_EQ(files.AddStringItem(handle, 0, u"x"), kAutoFailure);
    EXPECT_EQ(files.CopyItem(handle, handle, 0, true), kAutoFailure);
    EXPECT_EQ(files.GetItemCount(handle), kAutoFailure);
    EXPECT_EQ(files.GetItem(handle, 0), nullptr);
  }
}

TEST_F(ItemStoreFilesTest, AddStringItemAddsOneItemPerLine) {
  const std::uint32_t h = StoreWith(a, u"first");
  EXPECT_EQ(files.AddStringItem(h, 4, u"one\r\ntwo\n\nthree"), 1u);
  EXPECT_EQ(files.GetItemCount(h), 4u);
  EXPECT_EQ(TextOf(*files.GetItem(h, 3)), u"three");
  struct Case {
    std::uint32_t type;
    std::u16string_view text;
  };
  for (const Case& c : {Case{5, u"text"}, Case{0, u""}}) {
    EXPECT_EQ(files.AddStringItem(h, c.type, c.text), kAutoFailure);
  }
  EXPECT_EQ(files.GetItemCount(h), 4u);
  const std::uint32_t sample = files.LoadItemStore(SamplePath());
  EXPECT_EQ(files.AddStringItem(sample, 0, u"read-only"), kAutoFailure);
}

TEST_F(ItemStoreFilesTest, CopyItemKeepsOrRenewsTheTimestamp) {
  const std::uint32_t sample = files.LoadItemStore(SamplePath());
  const std::uint32_t h = StoreWith(a, u"");
  EXPECT_EQ(files.CopyItem(sample, h, kSampleLog, true), 0u);
  EXPECT_EQ(files.CopyItem(sample, h, kSampleLog, false), 1u);
  const auto original = files.GetItem(sample, kSampleLog);
  const auto kept = files.GetItem(h, 0);
  const auto renewed = files.GetItem(h, 1);
  EXPECT_DOUBLE_EQ(kept->GetItemTimestamp(), original->GetItemTimestamp());
  EXPECT_GT(renewed->GetItemTimestamp(), original->GetItemTimestamp());
  EXPECT_EQ(renewed->GetItemKeyText(), original->GetItemKeyText());
  // The same handle as source and destination appends to that store.
  EXPECT_EQ(files.CopyItem(h, h, 0, true), 2u);
  EXPECT_EQ(files.GetItemCount(h), 3u);
  EXPECT_EQ(files.CopyItem(sample, h, files.GetItemCount(sample), true), kAutoFailure);
  EXPECT_EQ(files.CopyItem(h, sample, 0, true), kAutoFailure);  // read-only destination
}

TEST_F(ItemStoreFilesTest, GetItemServesIndependentObjectsUpToTheCount) {
  const std::uint32_t sample = files.LoadItemStore(SamplePath());
  const std::uint32_t count = files.GetItemCount(sample);
  ASSERT_EQ(count, 324u);
  EXPECT_EQ(files.GetItem(sample, count), nullptr);
  auto first = files.GetItem(sample, kSampleString);
  auto second = files.GetItem(sample, kSampleString);
  ASSERT_NE(first, nullptr);
  EXPECT_NE(first.get(), second.get());
  first.reset();
  EXPECT_EQ(second->GetItemType(), 7u);
}

TEST_F(ItemStoreFilesTest, ClosingWritesTheFileAndReleasesItsItems) {
  const std::uint32_t h = StoreWith(a, u"alpha\nbeta");
  auto item = files.GetItem(h, 1);
  ASSERT_TRUE(files.CloseItemStore(h));
  EXPECT_FALSE(item->HasItem());
  const std::uint32_t again = files.LoadItemStore(a.u16());
  EXPECT_EQ(files.GetItemCount(again), 2u);
  EXPECT_EQ(TextOf(*files.GetItem(again, 1)), u"beta");
}

TEST_F(ItemStoreFilesTest, RenderingSettingsNeedAnOpenHandle) {
  const std::uint32_t h = files.LoadItemStore(SamplePath());
  const std::uint32_t closed = files.CreateItemStore(a.u16());
  files.CloseItemStore(closed);
  for (const std::uint32_t rev : {0u, 11u, 12u, kAutoFailure}) {
    EXPECT_TRUE(files.SetCDMAProtocolRevision(h, rev));
    EXPECT_TRUE(files.SetWCDMAProtocolRevision(h, rev));
  }
  EXPECT_FALSE(files.LoadParser(h, u"/nonexistent/parser.so"));
  EXPECT_FALSE(files.LoadParser(h, u""));
  EXPECT_TRUE(files.UnloadParsers(h));
  EXPECT_FALSE(files.SetCDMAProtocolRevision(closed, 1));
  EXPECT_FALSE(files.SetWCDMAProtocolRevision(closed, 1));
  EXPECT_FALSE(files.LoadParser(closed, u"/nonexistent/parser.so"));
  EXPECT_FALSE(files.UnloadParsers(closed));
}

// Parser libraries belong to the store they were loaded into.
TEST_F(ItemStoreFilesTest, ParsedTextComesFromTheStoresOwnLibraries) {
  {
    // A file of one DIAG TX item of command 75, a key the test library takes.
    ItemStore core;
    auto file = std::make_unique<ItemStoreFile>();
    file->Create(b.u16());
    ASSERT_TRUE(core.AttachFile(std::move(file), 0, u""));
    const std::uint8_t request[] = {75, 1, 2};
    core.AddFromBuffer(2, ItemBufferRef::Make(request, sizeof request), 0xFFFFFFFF);
  }
  const std::uint32_t with = files.LoadItemStore(b.u16());
  const std::uint32_t without = files.LoadItemStore(b.u16());
  const std::u16string library = platform::Utf8ToUtf16(std::string(QUILLON_TEST_PLUGINS) + "/") +
                                 platform::SharedLibraryFileName(u"good_a");
  ASSERT_TRUE(files.LoadParser(with, library));
  EXPECT_EQ(files.GetItem(with, 0)->GetItemParsedText().substr(0, 7), u"good_a ");
  EXPECT_EQ(files.GetItem(without, 0)->GetItemParsedText(), u"");
  EXPECT_TRUE(files.UnloadParsers(with));
  EXPECT_EQ(files.GetItem(with, 0)->GetItemParsedText(), u"");
}

}  // namespace
}  // namespace quillon::testing
