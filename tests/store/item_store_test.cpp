// The item store: item access by index, the recent-items queue, adding
// items and text lines, and its error codes and categories.
#include "store/item_store.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>

#include "isf_test_support.h"
#include "store/item_store_file.h"
#include "store/item_store_index.h"

namespace quillon {
namespace {

using namespace testing;

struct Failure {
  std::uint32_t category = 0xFFFF;
  std::uint32_t code = 0;
  bool operator==(const Failure&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Failure& f) {
  return out << "category " << f.category << " code " << f.code;
}

template <typename F>
Failure FailureOf(F&& f) {
  try {
    f();
  } catch (const cMISException& e) {
    return {e.Category(), e.Code()};
  }
  return {};
}

std::unique_ptr<ItemStoreFile> CreatedFile(const TempFile& temp) {
  auto file = std::make_unique<ItemStoreFile>();
  file->Create(temp.u16());
  return file;
}

std::u16string StringText(const ItemRecord& item) {
  std::u16string text;
  for (std::uint32_t i = 4; i + 1 < item.GetPayloadLength(); i += 2) {
    const char16_t c = LoadUtf16LE(item.GetPayload() + i);
    if (c == 0) break;
    text.push_back(c);
  }
  return text;
}

std::uint32_t HeaderWord(const ItemRecord& item) { return LoadLE32(item.GetPayload()); }

// A store over a newly created file.
class ItemStoreTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(store.AttachFile(CreatedFile(temp), 0, u"")); }
  TempFile temp;
  ItemStore store;
};

TEST_F(ItemStoreTest, IndexErrorsCarryTheirCategories) {
  ItemStore no_file;
  EXPECT_TRUE(no_file.IsReady());
  EXPECT_EQ(no_file.GetItemCount(), 0u);
  EXPECT_EQ(FailureOf([&] { no_file.GetItem(0); }), (Failure{0, 1003}));
  EXPECT_EQ(FailureOf([&] { no_file.AddItem(DiagTx(TimeAtMs(kSomeMs))); }), (Failure{0, 1003}));
  EXPECT_FALSE(no_file.AttachFile(std::make_unique<ItemStoreFile>(), 0, u"name"));  // not open

  EXPECT_EQ(FailureOf([&] { store.GetItem(0); }), (Failure{0, 1003}));
  EXPECT_EQ(FailureOf([&] { store.AddItem(nullptr); }), (Failure{1, 160}));
  store.AddItem(DiagTx(TimeAtMs(kSomeMs)));
  store.AddItem(DiagTx(TimeAtMs(kSomeMs)));
  EXPECT_EQ(store.GetItemCount(), 2u);
  EXPECT_EQ(FailureOf([&] { store.GetItem(2); }), (Failure{1, 160}));
  EXPECT_EQ(FailureOf([&] { store.GetItem(0xFFFFFFFF); }), (Failure{1, 160}));
  EXPECT_EQ(FailureOf([&] { store.GetItem(1); }), Failure{});
}

TEST_F(ItemStoreTest, OldItemsComeFromTheFileWithMillisecondPrecision) {
  std::vector<ItemTimestamp> times;
  for (std::uint32_t i = 0; i < 2001; ++i) {
    // A fraction of a tick that the file cannot keep.
    const ItemTimestamp t(TimeAtMs(kSomeMs + 3 * i).Raw() + 0x7000);
    times.push_back(t);
    EXPECT_EQ(store.AddItem(DiagTx(t, static_cast<std::uint8_t>(i))), i);
  }
  const ItemPtr oldest = store.GetItem(0);
  EXPECT_EQ(oldest->Timestamp(), ItemTimestamp::FromMilliseconds(times[0].ToMilliseconds()));
  EXPECT_NE(oldest->Timestamp(), times[0]);
  EXPECT_EQ(oldest->GetPayload()[1], 0);
  for (const std::uint32_t n : {1u, 1000u, 2000u}) {
    const ItemPtr item = store.GetItem(n);
    EXPECT_EQ(item->Timestamp(), times[n]) << n;
    EXPECT_EQ(item->GetPayload()[1], static_cast<std::uint8_t>(n)) << n;
  }
  // Items handed out are the caller's own copies sharing the payload.
  const ItemPtr a = store.GetItem(2000);
  const ItemPtr b = store.GetItem(2000);
  EXPECT_NE(a.get(), b.get());
  EXPECT_EQ(a->GetPayload(), b->GetPayload());
}

// A copy keeps its timestamp and is cloned without validation, so an item
// that is not valid stays what it is and the file refuses it; a buffer gets
// the current time and is validated, an invalid one kept as MALFORMED.
TEST_F(ItemStoreTest, CopiesAndBuffers) {
  const ItemPtr original = DiagTx(ItemTimestamp(0x123456789ABCULL), 5);
  EXPECT_EQ(store.AddCopy(*original), 0u);
  EXPECT_EQ(store.GetItem(0)->Timestamp(), original->Timestamp());
  EXPECT_EQ(store.GetItem(0)->TypeCode(), kItemDiagTx);

  const std::uint8_t bytes[] = {0x0C, 9};
  const ItemTimestamp before = ItemTimestamp::Now();
  EXPECT_EQ(store.AddFromBuffer(kItemDiagRx, ItemBufferRef::Make(bytes, 2), 0x1234), 1u);
  EXPECT_EQ(store.GetItem(1)->TypeCode(), kItemDiagRx);
  EXPECT_GE(store.GetItem(1)->Timestamp(), before);
  EXPECT_EQ(FailureOf([&] { store.AddFromBuffer(11, ItemBufferRef::Make(bytes, 2), 0); }),
            (Failure{2, 8}));
  EXPECT_EQ(FailureOf([&] { store.AddFromBuffer(kItemDiagRx, ItemBufferRef(), 0); }),
            (Failure{2, 8}));

  const std::vector<std::uint8_t> short_log{0x10, 0x00, 0x14, 0x00, 0x14, 0x00, 0xEB, 0x11};
  const ItemPtr invalid = CreateItem({kItemLog, TimeAtMs(kSomeMs)},
                                     ItemBufferRef::Make(short_log.data(), short_log.size()), false,
                                     NullItemDatabaseView::Instance());
  ASSERT_FALSE(invalid->IsValid());
  EXPECT_EQ(FailureOf([&] { store.AddCopy(*invalid); }), (Failure{0, 160}));
  EXPECT_EQ(store.GetItemCount(), 2u);
  EXPECT_EQ(store.AddFromBuffer(kItemLog, invalid->Buffer(), 0xFFFFFFFF), 2u);
  EXPECT_EQ(store.GetItem(2)->TypeCode(), kItemMalformed);
}

TEST_F(ItemStoreTest, StringItemsOnePerNonEmptyLine) {
  // Errors add nothing: no text, an unknown string type, a line too long for
  // one payload (checked before anything is added).
  EXPECT_EQ(FailureOf([&] { store.AddStringItem(std::u16string_view(), 0, 0); }),
            (Failure{1, 160}));
  EXPECT_EQ(FailureOf([&] { store.AddStringItem(u"", 0, 0); }), (Failure{1, 160}));
  EXPECT_EQ(FailureOf([&] { store.AddStringItem(u"x", 5, 0); }), (Failure{1, 160}));
  const std::u16string text = u"short\n" + std::u16string(5000, u'x');
  EXPECT_EQ(FailureOf([&] { store.AddStringItem(text, 0, 0); }), (Failure{2, 8}));
  store.AddStringItem(u"\n\r\n", 0, 0);  // only empty lines: no error
  EXPECT_EQ(store.GetItemCount(), 0u);

  // A line of only "\r" is empty once its carriage return goes; only one
  // carriage return is removed.
  store.AddStringItem(u"first\r\n\nsecond line\n\r\nthird\n\r\r", 3, 0x123456);
  ASSERT_EQ(store.GetItemCount(), 4u);
  const std::u16string expected[] = {u"first", u"second line", u"third", u"\r"};
  for (std::uint32_t n = 0; n < 4; ++n) {
    const ItemPtr item = store.GetItem(n);
    EXPECT_EQ(item->TypeCode(), kItemString);
    EXPECT_EQ(HeaderWord(*item), 0xC0000000u | (0x123456u << 6) | 3u);
    EXPECT_EQ(item->GetPayloadLength(), 4 + 2 * expected[n].size() + 2);
    EXPECT_EQ(StringText(*item), expected[n]) << n;
  }
  EXPECT_EQ(ItemStore::StringHeaderWord(0, 0x0000FF), 0xC0000000u | (0xFFu << 6));
  EXPECT_EQ(ItemStore::StringHeaderWord(4, 0xFF0000), 0xC0000000u | (0xFFu << 22) | 4u);
  EXPECT_EQ(ItemStore::StringHeaderWord(1, 0xFF123456), 0xC0000000u | (0x123456u << 6) | 1u);
}

// A named store over a temporary file starts with its name; over an ordinary
// file it adds nothing. Destroying the store closes the file.
TEST(ItemStoreAttach, NamedStores) {
  auto file = std::make_unique<ItemStoreFile>();
  file->SetTemporaryDirectory(std::filesystem::temp_directory_path().u16string());
  file->CreateTemporary();
  const std::filesystem::path path(file->GetFileInfo().path);
  {
    ItemStore store;
    ASSERT_TRUE(store.AttachFile(std::move(file), 0, u"Drive test 7"));
    EXPECT_TRUE(store.FileInfo().temporary);
    ASSERT_EQ(store.GetItemCount(), 1u);
    const ItemPtr item = store.GetItem(0);
    EXPECT_EQ(item->TypeCode(), kItemString);
    EXPECT_EQ(HeaderWord(*item), 0xC0000000u | (0xFFFFFFu << 6));
    EXPECT_EQ(StringText(*item), u"Drive test 7");
  }
  EXPECT_FALSE(std::filesystem::exists(path));

  TempFile temp;
  {
    ItemStore store;
    ASSERT_TRUE(store.AttachFile(CreatedFile(temp), 0, u"name"));
    EXPECT_EQ(store.GetItemCount(), 0u);
    EXPECT_EQ(store.Name(), u"name");
    store.AddItem(DiagTx(TimeAtMs(kSomeMs)));
  }
  ItemStoreFile file_after;
  file_after.Open(temp.u16(), true, nullptr);  // closed with its trailer
  EXPECT_EQ(file_after.GetItemCount(), 1u);
}

class ColourDatabase final : public ItemDatabaseView {
 public:
  bool IsOtaLogCode(std::uint32_t) const override { return false; }
  std::optional<std::uint32_t> FindUserItemColor(const ItemKey& key) const override {
    if (key.size() >= 2 && key[0] == kItemDiagTx && key[1] == 0x0C) return 0x010203;
    return std::nullopt;
  }
};

TEST(ItemStoreAccess, UserColoursReplaceDefaultColours) {
  const ColourDatabase database;
  TempFile temp;
  ItemStore store(database);
  auto file = std::make_unique<ItemStoreFile>(database);
  file->Create(temp.u16());
  ASSERT_TRUE(store.AttachFile(std::move(file), 0, u""));
  store.AddItem(DiagTx(TimeAtMs(kSomeMs)));
  store.AddItem(MakeItem(kItemDiagRx, TimeAtMs(kSomeMs), {0x0C, 0}));
  EXPECT_EQ(store.GetItem(0)->Color(), 0x010203u);
  const std::uint32_t rx_default = MakeItem(kItemDiagRx, TimeAtMs(kSomeMs), {0x0C, 0})->Color();
  EXPECT_EQ(store.GetItem(1)->Color(), rx_default);
  store.SetUserColors(false);
  EXPECT_EQ(store.GetItem(0)->Color(), DiagTx(TimeAtMs(kSomeMs))->Color());
}

TEST(ItemIndexQueue, CapacityIsClampedAndTheOldestLeavesFirst) {
  EXPECT_EQ(ItemIndex(nullptr, 0).Capacity(), 2000u);
  EXPECT_EQ(ItemIndex(nullptr, 1999).Capacity(), 2000u);
  EXPECT_EQ(ItemIndex(nullptr, 5000).Capacity(), 5000u);
  EXPECT_EQ(ItemIndex(nullptr, 2000000).Capacity(), 1000000u);

  ItemIndex index(nullptr, 0);
  EXPECT_FALSE(index.IsFileOpen());
  for (std::uint32_t i = 0; i < 2002; ++i) {
    index.PushRecent(DiagTx(TimeAtMs(kSomeMs + i), static_cast<std::uint8_t>(i)));
  }
  EXPECT_EQ(index.RecentCount(), 2000u);
  EXPECT_EQ(index.Recent(0)->Timestamp(), TimeAtMs(kSomeMs + 2));
  EXPECT_EQ(index.Recent(1999)->Timestamp(), TimeAtMs(kSomeMs + 2001));
  EXPECT_EQ(index.Recent(2000), nullptr);
}

}  // namespace
}  // namespace quillon
