// Reading item store files through both file classes, choosing the class
// when opening, and refusing corrupt files with their error codes.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>

#include "isf_test_support.h"
#include "store/item_store_file.h"
#include "store/mapped_item_store_file.h"
#include "store/open_item_store_file.h"

namespace quillon {
namespace {

using namespace testing;

// The read-write class opened read-only and read-write, and the mapped class.
enum class Reader { kPlainReadOnly, kPlainReadWrite, kMapped };

std::unique_ptr<ItemStoreFile> OpenWith(Reader reader, const std::u16string& path) {
  std::unique_ptr<ItemStoreFile> file(reader == Reader::kMapped ? new MappedItemStoreFile
                                                                : new ItemStoreFile);
  file->Open(path, reader != Reader::kPlainReadWrite, nullptr);
  return file;
}

class IsfReadEachClass : public ::testing::TestWithParam<Reader> {};

TEST_P(IsfReadEachClass, ReadsTheFixtureItemsBackAndRefusesOtherIndexes) {
  const auto temp = FileOf(ReadBytes(FixturePath("small.isf")));
  const auto file = OpenWith(GetParam(), temp->u16());
  const auto expected = SmallFixtureItems();
  ASSERT_EQ(file->GetItemCount(), expected.size());
  EXPECT_EQ(file->GetBlockCount(), 1u);
  // Read out of order: the last ones first.
  for (std::uint32_t n = static_cast<std::uint32_t>(expected.size()); n-- > 0;) {
    const ItemPtr item = file->ReadItem(n);
    ASSERT_TRUE(item) << n;
    EXPECT_EQ(item->TypeCode(), expected[n].type_code) << n;
    EXPECT_EQ(item->AuxValue(), 0xFFFFFFFFu) << n;
    EXPECT_EQ(PayloadOf(*item), expected[n].payload) << n;
    EXPECT_EQ(item->Timestamp(),
              ItemTimestamp::FromMilliseconds(expected[n].timestamp.ToMilliseconds()))
        << n;
  }
  EXPECT_EQ(CodeOf([&] { file->ReadItem(20); }), 160u);
  EXPECT_EQ(CodeOf([&] { file->ReadItem(8192); }), 1003u);
  EXPECT_EQ(CodeOf([&] { file->ReadItem(0xFFFFFFFF); }), 1003u);
}

// Every corrupt entry is refused with its code while the others still read.
TEST_P(IsfReadEachClass, CorruptEntriesAreRefusedOneByOne) {
  struct Corruption {
    const char* what;
    std::function<void(FileBytes&, std::uint32_t slot)> apply;
    std::uint32_t code;
  };
  const std::uint64_t fixture_size = std::filesystem::file_size(FixturePath("small.isf"));
  const auto records_size = static_cast<std::uint32_t>(fixture_size - isf::kTrailerSize - kRecords);
  const Corruption corruptions[] = {
      {"length 0", [](FileBytes& b, std::uint32_t n) { SetEntryLength(b, n, 0); }, 13},
      {"length 8209", [](FileBytes& b, std::uint32_t n) { SetEntryLength(b, n, 8209); }, 13},
      {"offset past the end",
       [](FileBytes& b, std::uint32_t n) { SetEntryOffset(b, n, 0x7FFFFFF0); }, 13},
      {"record crossing the end",
       [records_size](FileBytes& b, std::uint32_t n) {
         SetEntryOffset(b, n, records_size - 2);
         SetEntryLength(b, n, 40);
       },
       13},
      {"type code 31", [](FileBytes& b, std::uint32_t n) { EntryBytes(b, n)[0] |= 0x1F; }, 8},
  };
  // Entry 19 is the block's last entry: the mapped class sizes its records
  // view from it, so its corruption must not make the others unreadable.
  for (const std::uint32_t victim : {3u, 19u}) {
    for (const Corruption& c : corruptions) {
      auto bytes = ReadBytes(FixturePath("small.isf"));
      c.apply(bytes, victim);
      const auto temp = FileOf(bytes);
      if (GetParam() == Reader::kPlainReadWrite && victim == 19 && c.code == 13) {
        // A read-write open cuts the trailer at the end of the last record,
        // so a corrupt last entry already fails the open.
        EXPECT_EQ(CodeOf([&] { OpenWith(GetParam(), temp->u16()); }), 13u) << c.what;
        continue;
      }
      const auto file = OpenWith(GetParam(), temp->u16());
      EXPECT_EQ(CodeOf([&] { file->ReadItem(victim); }), c.code) << c.what << " @" << victim;
      for (std::uint32_t n = 0; n < 20; ++n) {
        if (n == victim) continue;
        EXPECT_EQ(CodeOf([&] { file->ReadItem(n); }), 0u) << c.what << " @" << victim << " " << n;
      }
    }
  }
}

TEST_P(IsfReadEachClass, AuxiliaryValueIsReadButNotCarried) {
  // One DIAG TX record with flags bit 7: delta, aux value, payload.
  FileBytes bytes = EmptyBlocks(1);
  isf::EncodeEntry({0x82, 0, 2}, EntryBytes(bytes, 0));
  SetBaseTime(bytes, kSomeMs);
  bytes.insert(bytes.end(), {0x09, 0x44, 0x33, 0x22, 0x11, 0x0C, 0x7E});
  AddTrailer(bytes, 1);
  const auto temp = FileOf(bytes);
  const auto file = OpenWith(GetParam(), temp->u16());
  const ItemPtr item = file->ReadItem(0);
  EXPECT_EQ(PayloadOf(*item), (std::vector<std::uint8_t>{0x0C, 0x7E}));
  EXPECT_EQ(item->AuxValue(), 0xFFFFFFFFu);
  EXPECT_EQ(item->Timestamp(), ItemTimestamp::FromMilliseconds(kSomeMs + 9));
  EXPECT_EQ(file->GetRecordExtent(0).offset, kRecords);
  EXPECT_EQ(file->GetRecordExtent(0).size, 7u);
}

INSTANTIATE_TEST_SUITE_P(Classes, IsfReadEachClass,
                         ::testing::Values(Reader::kPlainReadOnly, Reader::kPlainReadWrite,
                                           Reader::kMapped));

TEST(IsfOpen, RefusesFilesThatAreNotClosedItemStoreFiles) {
  std::vector<std::uint8_t> bad_magic = ReadBytes(FixturePath("small.isf"));
  bad_magic.back() = 0xAC;
  const std::vector<std::uint8_t> cases[] = {
      {},  // empty
      {0x07, 0x31, 0x60, 0xAB, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x07, 0x31, 0x60, 0xAB},
      bad_magic};
  for (const auto& bytes : cases) {
    const auto temp = FileOf(bytes);
    for (Reader r : {Reader::kPlainReadOnly, Reader::kMapped}) {
      EXPECT_EQ(CodeOf([&] { OpenWith(r, temp->u16()); }), 13u) << bytes.size();
    }
  }
}

// Block 0 of the fixture, its link pointing at `next`, with room for a whole
// block after any offset up to the end of block 0; `trailer` adds the trailer
// with a count that needs two blocks.
std::vector<std::uint8_t> FixtureLinkedTo(std::uint64_t next, bool trailer) {
  auto bytes = ReadBytes(FixturePath("small.isf"));
  CutTrailer(bytes);
  bytes.resize(2 * kRecords + 1000, 0);
  SetNextLink(bytes, next);
  if (trailer) AddTrailer(bytes, 9000);
  return bytes;
}

// Opens the file and reads its last item: a read-only open walks the chain
// only as far as reads reach, so a broken chain shows on that read.
std::uint32_t CodeOfLastRead(Reader reader, const std::u16string& path) {
  return CodeOf([&] {
    auto file = OpenWith(reader, path);
    file->ReadItem(file->GetItemCount() - 1);
  });
}

TEST(IsfOpen, ChecksTheBlockChainAgainstTheFile) {
  auto bytes = ReadBytes(FixturePath("small.isf"));
  // A count needing a second block that the chain does not have.
  SetTrailerCount(bytes, 9000);
  EXPECT_EQ(CodeOfLastRead(Reader::kMapped, FileOf(bytes)->u16()), 24u);
  // A link out of the file, and a link backwards.
  SetNextLink(bytes, 1u << 30);
  EXPECT_EQ(CodeOfLastRead(Reader::kPlainReadOnly, FileOf(bytes)->u16()), 13u);
  SetNextLink(bytes, kBlock0);
  EXPECT_EQ(CodeOfLastRead(Reader::kMapped, FileOf(bytes)->u16()), 13u);
  // A read-write open needs the last block at once.
  ItemStoreFile writable;
  EXPECT_EQ(CodeOf([&] { writable.Open(FileOf(bytes)->u16(), false, nullptr); }), 13u);
  // A link must point past the block that holds it.
  const auto into = FileOf(FixtureLinkedTo(kRecords - 8, true));
  EXPECT_EQ(CodeOfLastRead(Reader::kPlainReadOnly, into->u16()), 13u);
  EXPECT_EQ(CodeOfLastRead(Reader::kMapped, into->u16()), 13u);
  const auto past = FileOf(FixtureLinkedTo(kRecords, true));
  EXPECT_EQ(OpenWith(Reader::kMapped, past->u16())->GetBlockCount(), 2u);
}

TEST(IsfOpen, MappedClassRefusesWriting) {
  TempFile temp;
  MappedItemStoreFile file;
  EXPECT_EQ(CodeOf([&] { file.Create(temp.u16()); }), 50u);
  EXPECT_EQ(CodeOf([&] { file.CreateTemporary(); }), 50u);
  EXPECT_EQ(CodeOf([&] { file.OpenUnterminated(temp.u16(), nullptr); }), 50u);
  EXPECT_EQ(CodeOf([&] { file.Open(FixturePath("small.isf").u16string(), false, nullptr); }), 50u);
  file.Open(FixturePath("small.isf").u16string(), true, nullptr);
  const ItemPtr item = file.ReadItem(0);
  EXPECT_EQ(CodeOf([&] { file.AppendItem(item.get()); }), 50u);
  EXPECT_EQ(CodeOf([&] { file.StartBlock(*item); }), 50u);
  EXPECT_TRUE(file.GetFileInfo().read_only);
}

TEST(IsfOpen, ChoosesTheFileClassByLayoutAndMode) {
  const auto fixture = ReadBytes(FixturePath("small.isf"));
  auto mapped = OpenItemStoreFile(FixturePath("small.isf").u16string(), {.read_only = true});
  EXPECT_NE(dynamic_cast<MappedItemStoreFile*>(mapped.get()), nullptr);
  EXPECT_EQ(mapped->GetItemCount(), 20u);

  const auto copy = FileOf(fixture);
  auto plain = OpenItemStoreFile(copy->u16(), {.read_only = false});
  EXPECT_EQ(dynamic_cast<MappedItemStoreFile*>(plain.get()), nullptr);
  EXPECT_FALSE(plain->GetFileInfo().read_only);
  plain.reset();

  // Without its trailer the file is only opened when recovery is allowed.
  FileBytes unterminated = fixture;
  CutTrailer(unterminated);
  const auto cut = FileOf(unterminated);
  EXPECT_EQ(CodeOf([&] { OpenItemStoreFile(cut->u16(), {.read_only = true}); }), 13u);
  auto recovered = OpenItemStoreFile(cut->u16(), {.read_only = true, .allow_recover = true});
  EXPECT_EQ(dynamic_cast<MappedItemStoreFile*>(recovered.get()), nullptr);
  EXPECT_EQ(recovered->GetItemCount(), 20u);

  // Whatever the options, an empty path, a missing file, the older layout
  // (recognised by its closed mark) and other files are refused.
  const auto refusal = [](const std::u16string& path) {
    return CodeOf([&] { OpenItemStoreFile(path, {.read_only = true, .allow_recover = true}); });
  };
  EXPECT_EQ(refusal(u""), 160u);
  TempFile missing;
  EXPECT_EQ(refusal(missing.u16()), 2u);
  EXPECT_FALSE(std::filesystem::exists(missing.path()));
  FileBytes older(229384 + isf::kOlderTrailerSize, 0);
  StoreLE32(&older[older.size() - 4], isf::kOlderTrailerMark);
  EXPECT_EQ(refusal(FileOf(older)->u16()), 50u);
  older.back() = 0x7F;
  EXPECT_EQ(refusal(FileOf(older)->u16()), 13u);
  EXPECT_EQ(refusal(FileOf({1, 2, 3})->u16()), 13u);
}

// A closed file with `items` small items.
std::vector<std::uint8_t> SmallFileBytes(std::uint32_t items) {
  TempFile temp;
  ItemStoreFile file;
  file.Create(temp.u16());
  for (std::uint32_t i = 0; i < items; ++i) {
    const auto item = MakeItem(kItemDiagRx, TimeAtMs(kSomeMs + 1000 * i),
                               {0x0C, static_cast<std::uint8_t>(i), 1, 2, 3, 4});
    file.AppendItem(item.get());
  }
  file.Close();
  return ReadBytes(temp.path());
}

TEST(IsfRecover, ACutAtEveryByteOfTheLastRecordKeepsTheItemsBeforeIt) {
  const auto bytes = SmallFileBytes(5);
  const std::size_t end = bytes.size() - isf::kTrailerSize;
  const std::size_t last_record = end - 7;  // 1-byte delta + 6 payload bytes
  for (std::size_t cut = last_record; cut <= end; ++cut) {
    const auto temp = FileOf({bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(cut)});
    ItemStoreFile file;
    file.OpenUnterminated(temp->u16(), nullptr);
    const std::uint32_t expected = cut == end ? 5 : 4;
    ASSERT_EQ(file.GetItemCount(), expected) << cut;
    for (std::uint32_t n = 0; n < expected; ++n) {
      EXPECT_EQ(file.ReadItem(n)->GetPayload()[1], n) << cut;
    }
    // The recovered file takes appends and is closed with a trailer.
    const auto item = DiagTx(TimeAtMs(kSomeMs + 9000), 0x99);
    EXPECT_EQ(file.AppendItem(item.get()), expected + 1);
    file.Close();
    ItemStoreFile reopened;
    reopened.Open(temp->u16(), true, nullptr);
    ASSERT_EQ(reopened.GetItemCount(), expected + 1) << cut;
    EXPECT_EQ(reopened.ReadItem(expected)->GetPayload()[1], 0x99) << cut;
  }
}

TEST(IsfRecover, ReadOnlyRecoveryCountsTheSameAndNeverWrites) {
  const auto bytes = SmallFileBytes(5);
  const auto temp = FileOf({bytes.begin(), bytes.end() - isf::kTrailerSize});
  const auto before = ReadBytes(temp->path());
  ItemStoreFile file;
  file.RecoverReadOnly(temp->u16(), nullptr);
  EXPECT_EQ(file.GetItemCount(), 5u);
  EXPECT_EQ(file.ReadItem(4)->GetPayload()[1], 4u);
  const auto item = DiagTx(TimeAtMs(kSomeMs + 9000), 0x99);
  EXPECT_EQ(CodeOf([&] { file.AppendItem(item.get()); }), 50u);
  file.Close();
  EXPECT_EQ(ReadBytes(temp->path()), before);
}

TEST(IsfRecover, RefusesBadFilesAndStopsAtTheFirstCorruptEntry) {
  auto bytes = SmallFileBytes(5);
  ItemStoreFile file;
  // Not a whole block; no magic; a link into the block that holds it.
  const auto part = FileOf({bytes.begin(), bytes.begin() + kRecords});
  EXPECT_EQ(CodeOf([&] { file.OpenUnterminated(part->u16(), nullptr); }), 160u);
  auto no_magic = bytes;
  no_magic[0] = 0;
  EXPECT_EQ(CodeOf([&] { file.OpenUnterminated(FileOf(no_magic)->u16(), nullptr); }), 13u);
  // A block that is not full ends the chain whatever its link says.
  for (const std::uint64_t next : {kRecords - 8, kRecords}) {
    const auto linked = FileOf(FixtureLinkedTo(next, false));
    file.OpenUnterminated(linked->u16(), nullptr);
    EXPECT_EQ(file.GetBlockCount(), 1u);
    EXPECT_EQ(file.GetItemCount(), 20u);
    file.Close();
  }

  SetEntryLength(bytes, 2, 0);
  const auto corrupt = FileOf(bytes);
  file.OpenUnterminated(corrupt->u16(), nullptr);
  EXPECT_EQ(file.GetItemCount(), 2u);
}

class CountingSink : public ProgressSink {
 public:
  void OnBlocksWalked(std::uint32_t blocks, std::uint64_t, std::uint64_t) override {
    calls.push_back(blocks);
  }
  std::vector<std::uint32_t> calls;
};

TEST(IsfOpen, ReportsProgressEvery64Blocks) {
  // 65 linked blocks; only the first item of the last block is written.
  const std::uint32_t blocks = 65;
  FileBytes bytes = EmptyBlocks(blocks);
  // That item: a one-byte payload right after the last block.
  const std::size_t last_block = bytes.size() - isf::kBlockSize;
  isf::EncodeEntry({kItemDiagTx, 0, 1}, &bytes[last_block]);
  bytes.insert(bytes.end(), {0x00, 0x0C});
  AddTrailer(bytes, (blocks - 1) * isf::kItemsPerBlock + 1);
  const auto temp = FileOf(bytes);
  // A read-write open walks every block; a read-only one only the first.
  CountingSink sink;
  ItemStoreFile file;
  file.Open(temp->u16(), false, &sink);
  EXPECT_EQ(file.GetBlockCount(), blocks);
  EXPECT_EQ(sink.calls, std::vector<std::uint32_t>{64});
  file.Close();
  CountingSink none;
  MappedItemStoreFile mapped;
  mapped.Open(temp->u16(), true, &none);
  EXPECT_TRUE(none.calls.empty());
  EXPECT_EQ(mapped.GetBlockCount(), blocks);
}

TEST(IsfMapped, KeepsSixBlocksMappedAndUnmapsTheOldestFirst) {
  TempFile temp;
  {
    ItemStoreFile file;
    file.Create(temp.u16());
    for (std::uint32_t i = 0; i < 7 * 8192 + 1; ++i) {
      const auto item =
          MakeItem(kItemDiagTx, TimeAtMs(kSomeMs + i),
                   {0x0C, static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(i >> 8),
                    static_cast<std::uint8_t>(i >> 16)});
      file.AppendItem(item.get());
    }
    file.Close();
  }
  MappedItemStoreFile file;
  file.Open(temp.u16(), true, nullptr);
  ASSERT_EQ(file.GetBlockCount(), 8u);
  const auto check = [&](std::uint32_t n) {
    const ItemPtr item = file.ReadItem(n);
    const std::uint8_t* p = item->GetPayload();
    EXPECT_EQ(p[1] | (p[2] << 8) | (p[3] << 16), static_cast<int>(n));
    EXPECT_EQ(item->Timestamp(), ItemTimestamp::FromMilliseconds(kSomeMs + n));
  };
  using Blocks = std::vector<std::uint32_t>;
  for (std::uint32_t b = 0; b < 6; ++b) check(b * 8192 + 8191);
  EXPECT_EQ(file.MappedBlocks(), (Blocks{0, 1, 2, 3, 4, 5}));
  check(3 * 8192);  // already mapped: nothing changes
  EXPECT_EQ(file.MappedBlocks(), (Blocks{0, 1, 2, 3, 4, 5}));
  check(7 * 8192);
  EXPECT_EQ(file.MappedBlocks(), (Blocks{1, 2, 3, 4, 5, 7}));
  check(6 * 8192 + 17);
  check(5);
  EXPECT_EQ(file.MappedBlocks(), (Blocks{3, 4, 5, 7, 6, 0}));
  file.Close();
  EXPECT_TRUE(file.MappedBlocks().empty());
}

}  // namespace
}  // namespace quillon
