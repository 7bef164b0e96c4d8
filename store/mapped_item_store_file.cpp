#include "store/mapped_item_store_file.h"

#include "common/mis_exception.h"

namespace quillon {

using namespace isf;

namespace {

std::uint64_t AlignDown(std::uint64_t offset) {
  const std::uint64_t granularity = platform::AllocationGranularity();
  return granularity == 0 ? offset : offset / granularity * granularity;
}

}  // namespace

MappedItemStoreFile::MappedItemStoreFile(const ItemDatabaseView& database)
    : ItemStoreFile(database) {}

MappedItemStoreFile::~MappedItemStoreFile() { Unmap(); }

void MappedItemStoreFile::Open(std::u16string_view path, bool read_only, ProgressSink* progress) {
  if (!read_only) {
    throw cMISException(kMisCategorySystem, mis::kNotSupported, OperationText(u"open", path),
                        u"a mapped file is read-only");
  }
  Unmap();
  ItemStoreFile::Open(path, true, progress);
}

void MappedItemStoreFile::CreateTemporary() { Throw(mis::kNotSupported); }
void MappedItemStoreFile::Create(std::u16string_view) { Throw(mis::kNotSupported); }
void MappedItemStoreFile::OpenUnterminated(std::u16string_view, ProgressSink*) {
  Throw(mis::kNotSupported);
}
std::uint32_t MappedItemStoreFile::AppendItem(const ItemRecord*) { ThrowReadOnlyAppend(); }
void MappedItemStoreFile::StartBlock(const ItemRecord&) { Throw(mis::kNotSupported); }

void MappedItemStoreFile::Close() {
  Unmap();
  ItemStoreFile::Close();
}

void MappedItemStoreFile::Reset() {
  Unmap();
  ItemStoreFile::Reset();
}

void MappedItemStoreFile::Unmap() {
  cache_.clear();  // views before the mapping they belong to
  mapping_.Close();
  mapped_size_ = 0;
}

std::vector<std::uint32_t> MappedItemStoreFile::MappedBlocks() const {
  std::vector<std::uint32_t> blocks;
  for (const CachedBlock& cached : cache_) blocks.push_back(cached.block);
  return blocks;
}

const MappedItemStoreFile::CachedBlock& MappedItemStoreFile::MapBlock(std::uint32_t block) {
  // Reads mostly stay in the block mapped last.
  if (!cache_.empty() && cache_.back().block == block) return cache_.back();
  for (const CachedBlock& cached : cache_) {
    if (cached.block == block) return cached;
  }
  if (!mapping_.IsOpen()) {
    std::uint64_t size = 0;
    Check(file().Size(size));
    Check(mapping_.Create(file()));
    mapped_size_ = size;
  }
  // The next block bounds this one's records: walk to it as well.
  WalkBlocks(block + 2);
  const std::uint64_t block_offset = BlockAt(block).offset;
  const std::uint64_t records = block_offset + kBlockSize;
  if (records > mapped_size_) Throw(mis::kInvalidData);

  // A full list gives up its oldest block's two views before the new block
  // is mapped, so no more than six blocks are ever mapped at once.
  if (cache_.size() >= kCachedBlocks) cache_.pop_front();

  CachedBlock cached;
  cached.block = block;
  const std::uint64_t block_start = AlignDown(block_offset);
  Check(mapping_.Map(block_start, static_cast<std::size_t>(records - block_start),
                     cached.block_view));

  // The records view ends at the last record of the block. When that entry
  // is itself corrupt, the view extends to where the block's records must
  // end (the next block, or the trailer) so that the other items stay
  // readable; each record is checked against the view anyway.
  const std::uint64_t data_end =
      mapped_size_ >= kTrailerSize ? mapped_size_ - kTrailerSize : mapped_size_;
  std::uint64_t end = block + 1 < WalkedBlocks() ? BlockAt(block + 1).offset : data_end;
  if (end > mapped_size_) end = mapped_size_;
  if (end < records) end = records;
  if (const std::uint32_t items = ItemsInBlock(block); items > 0) {
    const std::uint8_t* index = cached.block_view.data() + (block_offset - block_start);
    const Entry last = DecodeEntry(index + std::uint64_t{items - 1} * kEntrySize);
    const std::uint64_t last_end = records + last.offset + RecordSize(last);
    if (IsPlausibleEntry(last) && last_end <= mapped_size_) {
      end = last_end;
    }
  }
  if (end > records) {
    const std::uint64_t records_start = AlignDown(records);
    Check(mapping_.Map(records_start, static_cast<std::size_t>(end - records_start),
                       cached.records_view));
  }

  cache_.push_back(std::move(cached));
  return cache_.back();
}

ItemPtr MappedItemStoreFile::ReadItem(std::uint32_t index) try {
  const auto [block, slot] = Locate(index);
  const CachedBlock& cached = MapBlock(block);
  const Block& info = BlockAt(block);
  const std::uint8_t* entry_bytes = cached.block_view.data() +
                                    (info.offset - cached.block_view.offset()) +
                                    std::uint64_t{slot} * kEntrySize;
  const Entry entry = DecodeEntry(entry_bytes);
  const std::uint32_t size = CheckedRecordSize(entry);
  const platform::MappedView& records = cached.records_view;
  const std::uint64_t record = info.offset + kBlockSize + entry.offset;
  if (!records.IsMapped() || record < records.offset() ||
      record + size > records.offset() + records.size()) {
    Throw(mis::kInvalidData);
  }
  return MakeItem(entry, info.base_ms, records.data() + (record - records.offset()));
} catch (const cMISException& e) {
  RethrowWithContext(e, ItemOperationText(u"read", index, u"of", GetFileInfo().path));
}

}  // namespace quillon
