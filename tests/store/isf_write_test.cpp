// Writing item store files: the exact bytes, block rollover, time encodings,
// closing rules and temporary files.
#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

#include "isf_test_support.h"
#include "platform/file.h"
#include "store/item_store_file.h"

namespace quillon {
namespace {

using namespace testing;

TEST(IsfWrite, ReproducesTheCommittedFixtureByteForByte) {
  TempFile temp;
  ItemStoreFile file;
  file.Create(temp.u16());
  EXPECT_EQ(std::filesystem::file_size(temp.path()), 4u);  // only the magic
  EXPECT_EQ(file.GetBlockCount(), 0u);
  for (const FixtureItem& f : SmallFixtureItems()) {
    const ItemPtr item = MakeItem(f.type_code, f.timestamp, f.payload);
    ASSERT_EQ(item->TypeCode(), f.type_code) << "fixture item degraded";
    file.AppendItem(item.get());
    if (file.GetItemCount() == 1) {
      EXPECT_EQ(file.GetBlockCount(), 1u);
      EXPECT_EQ(std::filesystem::file_size(temp.path()), kRecords + 3);
      EXPECT_TRUE(file.IsModified());
    }
  }
  EXPECT_EQ(file.GetItemCount(), 20u);
  file.Close();
  // The fixture is written by tests/data/make_small_isf.py from the layout
  // alone: equal bytes check every field.
  const auto bytes = ReadBytes(temp.path());
  ASSERT_EQ(bytes.size(), 57599u);
  EXPECT_TRUE(bytes == ReadBytes(FixturePath("small.isf")));
  EXPECT_EQ(BaseTimeOf(bytes), 13347938400000ULL);  // (1110000000000 + 9568350720000) * 1.25
}

TEST(IsfWrite, TheItem8193StartsBlockOneLinkedFromBlockZero) {
  TempFile temp;
  ItemStoreFile file;
  file.Create(temp.u16());
  for (std::uint32_t i = 0; i < 8192; ++i) {
    const auto item = DiagTx(TimeAtMs(kSomeMs + i), static_cast<std::uint8_t>(i));
    file.AppendItem(item.get());
  }
  EXPECT_EQ(file.GetBlockCount(), 1u);
  const std::uint64_t end_of_block0 = std::filesystem::file_size(temp.path());
  const auto last = DiagTx(TimeAtMs(kSomeMs + 100000), 0x77);
  EXPECT_EQ(file.AppendItem(last.get()), 8193u);
  ASSERT_EQ(file.GetBlockCount(), 2u);
  EXPECT_EQ(file.Blocks()[1].offset, end_of_block0);
  EXPECT_EQ(file.Blocks()[1].base_ms, kSomeMs + 100000);
  file.Close();

  const auto bytes = ReadBytes(temp.path());
  EXPECT_EQ(NextLinkOf(bytes), end_of_block0);
  EXPECT_EQ(NextLinkOf(bytes, end_of_block0), 0u);
  EXPECT_EQ(BaseTimeOf(bytes, end_of_block0), kSomeMs + 100000);
  // The first entry of block 1 points at the start of its records area.
  const isf::Entry first = EntryAt(bytes, 0, end_of_block0);
  EXPECT_EQ(std::tuple(first.flags, first.offset), std::tuple(0x02, 0u));
  const std::size_t record = end_of_block0 + isf::kBlockSize;
  EXPECT_EQ(std::tuple(bytes[record], bytes[record + 2]), std::tuple(0x00, 0x77));  // delta 0
  EXPECT_EQ(TrailerCountOf(bytes), 8193u);
}

// The flags and time field of an item stored `delta` ms after (or before)
// the block's first item.
std::pair<std::uint8_t, std::vector<std::uint8_t>> StoreWithDelta(std::int64_t delta) {
  TempFile temp;
  ItemStoreFile file;
  file.Create(temp.u16());
  const auto first = DiagTx(TimeAtMs(kSomeMs));
  const auto second =
      DiagTx(TimeAtMs(static_cast<std::uint64_t>(static_cast<std::int64_t>(kSomeMs) + delta)));
  file.AppendItem(first.get());
  file.AppendItem(second.get());
  file.Close();
  const auto bytes = ReadBytes(temp.path());
  const isf::Entry second_entry = EntryAt(bytes, 1);
  const auto* time = &bytes[kRecords + second_entry.offset];
  return {second_entry.flags,
          std::vector<std::uint8_t>(time, time + isf::RecordHeaderSize(second_entry.flags))};
}

std::vector<std::uint8_t> Le64(std::uint64_t v) {
  std::vector<std::uint8_t> bytes(8);
  StoreLE64(bytes.data(), v);
  return bytes;
}

// The bounds are exclusive; an item earlier than its block's base is stored
// with its absolute time.
TEST(IsfWrite, TimeEncodingsAtTheirExactBounds) {
  using V = std::vector<std::uint8_t>;
  const std::tuple<std::int64_t, std::uint8_t, V> cases[] = {
      {0, 0x02, V{0x00}},
      {254, 0x02, V{0xFE}},
      {255, 0x22, V{0xFF, 0x00}},
      {65534, 0x22, V{0xFE, 0xFF}},
      {65535, 0x42, V{0xFF, 0xFF, 0x00, 0x00}},
      {0xFFFFFFFELL, 0x42, V{0xFE, 0xFF, 0xFF, 0xFF}},
      {0xFFFFFFFFLL, 0x62, Le64(kSomeMs + 0xFFFFFFFFULL)},
      {-1, 0x62, Le64(kSomeMs - 1)},
  };
  for (const auto& [delta, flags, time] : cases) {
    EXPECT_EQ(StoreWithDelta(delta), std::pair(flags, time)) << delta;
  }
}

TEST(IsfWrite, AppendRules) {
  ItemStoreFile file;
  const auto item = DiagTx(TimeAtMs(kSomeMs));
  EXPECT_NE(CodeOf([&] { file.AppendItem(item.get()); }), 0u);  // not open
  EXPECT_EQ(CodeOf([&] { file.Create(u""); }), 160u);
  EXPECT_TRUE(file.GetFileInfo().path.empty());
  TempFile temp;
  file.Create(temp.u16());
  EXPECT_EQ(file.GetFileInfo().path, temp.u16());
  EXPECT_EQ(CodeOf([&] { file.AppendItem(nullptr); }), 160u);
  // Fractions of a millisecond are dropped.
  const auto fine = DiagTx(ItemTimestamp(TimeAtMs(kSomeMs).Raw() + 0x9000));  // ~0.7 ms later
  file.AppendItem(fine.get());
  const auto read = file.ReadItem(0);
  EXPECT_EQ(read->Timestamp(), ItemTimestamp::FromMilliseconds(fine->Timestamp().ToMilliseconds()));
  EXPECT_NE(read->Timestamp(), fine->Timestamp());
  file.Close();
  EXPECT_TRUE(file.GetFileInfo().path.empty());

  ItemStoreFile reader;
  reader.Open(temp.u16(), true, nullptr);
  // The failure names the operation, the file and why.
  EXPECT_EQ(WhatOf([&] { reader.AppendItem(item.get()); }),
            "cannot append item 1 to " + temp.path().string() +
                ": the file was opened read-only (error 50)");
  EXPECT_EQ(CodeOf([&] { reader.StartBlock(*item); }), 50u);
}

platform::FileTime WriteTimeOf(const TempFile& temp, platform::FileTime set = 0) {
  platform::File f;
  EXPECT_EQ(f.Open(temp.u16(), set ? platform::FileAccess::kReadWrite : platform::FileAccess::kRead,
                   platform::FileDisposition::kOpenExisting),
            0u);
  if (set != 0) {
    EXPECT_EQ(f.SetLastWriteTime(set), 0u);
  }
  platform::FileTime time = 0;
  EXPECT_EQ(f.GetLastWriteTime(time), 0u);
  return time;
}

TEST(IsfWrite, ReopeningReadWriteWithoutAppendsKeepsSizeAndWriteTime) {
  const auto before = ReadBytes(FixturePath("small.isf"));
  const auto temp_file = FileOf(before);
  const TempFile& temp = *temp_file;
  const platform::FileTime old_time = WriteTimeOf(temp, 130000000000000000ULL);  // 2012
  ItemStoreFile file;
  file.Open(temp.u16(), false, nullptr);
  // The trailer is cut while the file is open for writing.
  EXPECT_EQ(std::filesystem::file_size(temp.path()), before.size() - isf::kTrailerSize);
  EXPECT_EQ(file.GetItemCount(), 20u);
  file.Close();
  EXPECT_EQ(ReadBytes(temp.path()), before);
  EXPECT_EQ(WriteTimeOf(temp), old_time);
}

TEST(IsfWrite, ReopeningAndAppendingContinuesTheRecordsArea) {
  const auto before = ReadBytes(FixturePath("small.isf"));
  const auto temp = FileOf(before);
  ItemStoreFile file;
  file.Open(temp->u16(), false, nullptr);
  const auto item = DiagTx(TimeAtMs(13347938400000ULL + 7), 0x55);
  EXPECT_EQ(file.AppendItem(item.get()), 21u);
  file.Close();
  const auto after = ReadBytes(temp->path());
  ASSERT_EQ(after.size(), before.size() + 3);
  // New entry 20 points just past the old records; its record has delta 7.
  const isf::Entry entry = EntryAt(after, 20);
  EXPECT_EQ(entry.flags, 0x02);
  EXPECT_EQ(entry.offset, before.size() - isf::kTrailerSize - kRecords);
  EXPECT_EQ(after[before.size() - isf::kTrailerSize], 7);
  EXPECT_EQ(TrailerCountOf(after), 21u);
}

TEST(IsfTemporary, DeletedOnCloseUnlessKept) {
  const auto dir = std::filesystem::temp_directory_path();
  ItemStoreFile file;
  EXPECT_EQ(file.MakeTemporaryName(), u"Items.isf");  // without a directory
  file.SetTemporaryDirectory(dir.u16string());
  file.CreateTemporary();
  const auto info = file.GetFileInfo();
  EXPECT_TRUE(info.temporary);
  EXPECT_FALSE(info.read_only);
  const std::filesystem::path path(info.path);
  EXPECT_EQ(path.parent_path(), (dir / "x").parent_path());
  EXPECT_TRUE(std::filesystem::exists(path));
  // Names in the same directory differ.
  const std::u16string next = file.MakeTemporaryName();
  EXPECT_NE(next, info.path);
  EXPECT_NE(next.find(u"Items"), std::u16string::npos);
  EXPECT_EQ(next.substr(next.size() - 4), u".isf");
  const auto item = DiagTx(TimeAtMs(kSomeMs));
  file.AppendItem(item.get());
  file.Close();
  EXPECT_FALSE(std::filesystem::exists(path));

  file.CreateTemporary();
  const std::filesystem::path kept(file.GetFileInfo().path);
  ItemStoreFile other;
  other.SetTemporaryDirectory(dir.u16string());
  other.CreateTemporary();
  EXPECT_NE(other.GetFileInfo().path, kept.u16string());
  file.SetKeep(true);
  file.AppendItem(item.get());
  file.Close();
  ASSERT_TRUE(std::filesystem::exists(kept));
  // A kept temporary file gets its trailer and opens like any other.
  ItemStoreFile reopened;
  reopened.Open(kept.u16string(), true, nullptr);
  EXPECT_EQ(reopened.GetItemCount(), 1u);
  EXPECT_FALSE(reopened.GetFileInfo().temporary);
  reopened.Close();
  std::filesystem::remove(kept);
}

}  // namespace
}  // namespace quillon

namespace quillon {
namespace {

using namespace testing;

// Reads between appends see every entry, whether entries are stored through
// the mapped index or with writes (the read-write class keeps entries it
// read in memory), and both give the same bytes.
TEST(IsfWrite, ReadsBetweenAppendsSeeNewEntriesInEveryIndexMode) {
  std::vector<std::uint8_t> bytes[2];
  for (const IndexWrites how : {IndexWrites::kMapped, IndexWrites::kWriteCalls}) {
    TempFile temp;
    ItemStoreFile file;
    file.SetIndexWrites(how);
    file.Create(temp.u16());
    for (std::uint8_t i = 0; i < 40; ++i) {
      const ItemPtr item = DiagTx(TimeAtMs(kSomeMs + i), i);
      file.AppendItem(item.get());
      EXPECT_EQ(file.ReadItem(i)->GetPayload()[1], i);
      EXPECT_EQ(file.ReadItem(i / 2)->GetPayload()[1], i / 2);
    }
    file.Close();
    bytes[how == IndexWrites::kMapped ? 0 : 1] = ReadBytes(temp.path());
  }
  EXPECT_EQ(bytes[0], bytes[1]);
}

}  // namespace
}  // namespace quillon
