#include "store/item_store_file.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cassert>
#include <exception>
#include <limits>
#include <new>

#include "common/mis_exception.h"
#include "common/number_text.h"
#include "store/internal/isf_paths.h"
#include "store/item_factory.h"

namespace quillon {

using namespace isf;

namespace {

// The last 16 bytes of a closed file.
struct Trailer {
  std::uint32_t count = 0;
  std::uint32_t magic = 0;
};

}  // namespace

ItemStoreFile::ItemStoreFile(const ItemDatabaseView& database) : database_(&database) {}

ItemStoreFile::~ItemStoreFile() {
  try {
    ItemStoreFile::Close();
  } catch (...) {
    // A destructor cannot report; Close has reset the object either way.
  }
}

void ItemStoreFile::Throw(std::uint32_t code) { throw cMISException(kMisCategorySystem, code); }

std::u16string ItemStoreFile::OperationText(std::u16string_view action, std::u16string_view path) {
  std::u16string text = u"cannot ";
  text.append(action).append(u" ").append(path);
  return text;
}

std::u16string ItemStoreFile::ItemOperationText(std::u16string_view action, std::uint32_t index,
                                                std::u16string_view preposition,
                                                std::u16string_view path) {
  std::u16string text = u"cannot ";
  text.append(action).append(u" item ");
  AppendDecimal(text, index);
  text.append(u" ").append(preposition).append(u" ").append(path);
  return text;
}

void ItemStoreFile::ThrowReadOnlyAppend() const {
  throw cMISException(kMisCategorySystem, mis::kNotSupported,
                      ItemOperationText(u"append", count_, u"to", path_),
                      u"the file was opened read-only");
}

std::uint32_t ItemStoreFile::GetItemCount() const { return count_; }

std::uint32_t ItemStoreFile::GetBlockCount() const {
  WalkBlocks(std::numeric_limits<std::uint32_t>::max());
  return static_cast<std::uint32_t>(blocks_.size());
}

const std::vector<ItemStoreFile::Block>& ItemStoreFile::Blocks() const {
  WalkBlocks(std::numeric_limits<std::uint32_t>::max());
  return blocks_;
}

bool ItemStoreFile::IsOpen() const { return file_.IsOpen(); }

ItemStoreFileInfo ItemStoreFile::GetFileInfo() const {
  if (!IsOpen()) return {};
  return {path_, temporary_, read_only_};
}

void ItemStoreFile::Reset() {
  UnmapIndex();
  file_.Close();
  path_.clear();
  count_ = 0;
  keep_ = false;
  temporary_ = false;
  read_only_ = false;
  modified_ = false;
  saved_write_time_.reset();
  blocks_.clear();
  walk_next_ = 0;
  walk_limit_ = 0;
  data_end_ = 0;
  window_.count = 0;
  items_in_last_block_ = 0;
  append_end_ = 0;
}

std::uint64_t ItemStoreFile::FileSize() const {
  if (!file_.IsOpen()) Throw(platform::error::kInvalidHandle);
  std::uint64_t size = 0;
  Check(file_.Size(size));
  return size;
}

void ItemStoreFile::Notify(ProgressSink* progress, std::uint32_t blocks, std::uint64_t position,
                           std::uint64_t size) const {
  if (progress != nullptr && blocks % kProgressInterval == 0) {
    progress->OnBlocksWalked(blocks, position, size);
  }
}

void ItemStoreFile::Create(std::u16string_view path) try {
  if (path.empty()) Throw(mis::kBadArguments);
  if (IsOpen()) Close();
  Reset();
  const std::uint32_t error =
      file_.Open(path, platform::FileAccess::kReadWrite, platform::FileDisposition::kCreateAlways,
                 platform::FileCaching::kRandomAccess);
  if (error != 0) {
    Reset();
    Throw(error);
  }
  std::array<std::uint8_t, kMagicSize> magic{};
  StoreLE32(magic.data(), kMagic);
  if (const std::uint32_t write_error = file_.WriteAt(0, magic.data(), magic.size())) {
    Reset();
    Throw(write_error);
  }
  path_ = path;
} catch (const cMISException& e) {
  RethrowWithContext(e, OperationText(u"create", path));
}

void ItemStoreFile::CreateTemporary() {
  const std::u16string name = MakeTemporaryName();
  Create(name);
  temporary_ = true;
}

std::u16string ItemStoreFile::MakeTemporaryName() {
  const char16_t separator = platform::PathSeparator();
  if (temp_dir_.empty()) return FormatTemporaryName(temp_dir_, 0, separator);
  std::uint32_t number = platform::CurrentThreadId();
  for (;;) {
    std::u16string name = FormatTemporaryName(temp_dir_, number, separator);
    if (!platform::PathExists(name)) return name;
    ++number;  // wraps around like the u32 it is
  }
}

bool ItemStoreFile::IsOnLocalFixedDrive() const {
  return IsLocalFixedDrivePath(path_, PlatformLocalDriveRules());
}

void ItemStoreFile::OpenHandle(std::u16string_view path, bool read_only) {
  if (path.empty()) Throw(mis::kBadArguments);
  if (IsOpen()) Close();
  Reset();
  const std::uint32_t error = read_only ? file_.Open(path, platform::FileAccess::kRead,
                                                     platform::FileDisposition::kOpenAlways,
                                                     platform::FileCaching::kSequentialScan)
                                        : file_.Open(path, platform::FileAccess::kReadWrite,
                                                     platform::FileDisposition::kOpenAlways,
                                                     platform::FileCaching::kRandomAccess);
  if (error != 0) Throw(error);
  read_only_ = read_only;
  platform::FileTime time = 0;
  if (file_.GetLastWriteTime(time) == 0) saved_write_time_ = time;
}

void ItemStoreFile::Open(std::u16string_view path, bool read_only, ProgressSink* progress) try {
  OpenHandle(path, read_only);
  try {
    const std::uint64_t size = FileSize();
    if (size < kMinTerminatedSize) Throw(mis::kInvalidData);
    std::array<std::uint8_t, kTrailerSize> trailer_bytes{};
    Check(file_.ReadAt(size - kTrailerSize, trailer_bytes.data(), trailer_bytes.size()));
    const Trailer trailer{LoadLE32(&trailer_bytes[kTrailerCountOffset]),
                          LoadLE32(&trailer_bytes[kTrailerMagicOffset])};
    if (trailer.magic != kMagic) Throw(mis::kInvalidData);

    // The chain holds at most count / 8192 + 1 blocks; a zero link ends it
    // early (a count that is a multiple of 8192 has no further block). A
    // read-only open checks the first block and walks the rest as reads
    // reach it; a read-write open needs the last block and walks them all.
    data_end_ = size - kTrailerSize;
    walk_limit_ = trailer.count / kItemsPerBlock + 1;
    walk_next_ = kFirstBlockOffset;
    count_ = trailer.count;
    for (std::uint32_t walked = 1; walked <= walk_limit_ && walk_next_ != 0; ++walked) {
      WalkBlocks(walked);
      Notify(progress, walked, blocks_.back().offset, size);
      if (read_only) break;
    }
    if (!read_only) {
      const std::uint64_t needed = (std::uint64_t{count_} + kItemsPerBlock - 1) >> kBlockShift;
      if (blocks_.size() < needed) Throw(mis::kBadLength);
    }
    items_in_last_block_ = count_ % kItemsPerBlock;
    if (!read_only) {
      std::uint64_t end = data_end_;
      if (count_ > 0) {
        const RecordExtent last = GetRecordExtent(count_ - 1);
        end = last.offset + last.size;
        if (end > data_end_) Throw(mis::kInvalidData);
      }
      const std::uint32_t error = file_.Truncate(end);
      if (error != 0) Throw(error);
    }
    path_ = path;
    temporary_ = false;
  } catch (...) {
    Reset();
    throw;
  }
} catch (const cMISException& e) {
  RethrowWithContext(e, OperationText(u"open", path));
}

void ItemStoreFile::OpenUnterminated(std::u16string_view path, ProgressSink* progress) {
  Recover(path, false, progress);
}

void ItemStoreFile::RecoverReadOnly(std::u16string_view path, ProgressSink* progress) {
  Recover(path, true, progress);
}

void ItemStoreFile::Recover(std::u16string_view path, bool read_only, ProgressSink* progress) try {
  OpenHandle(path, read_only);
  try {
    const std::uint64_t size = FileSize();
    std::array<std::uint8_t, kMagicSize> magic{};
    const bool has_magic = size >= kMagicSize && file_.ReadAt(0, magic.data(), magic.size()) == 0 &&
                           LoadLE32(magic.data()) == kMagic;
    if (size <= kFirstBlockOffset + kBlockSize) {
      throw cMISException(kMisCategorySystem, mis::kBadArguments, {},
                          has_magic ? u"the capture holds no items: it ended before its first "
                                      u"item was stored"
                                    : u"the file is too short to hold an item store");
    }
    if (!has_magic) Throw(mis::kInvalidData);

    // Walk the chain and count the entries block by block. An entry counts
    // while its whole record lies inside the file: an append stores the
    // entry before the record, so the one entry that a kill can leave
    // without its record, or cut short, is the append in flight, which was
    // never acknowledged. A block's link is followed only when the block is
    // full and the link points to a whole block that starts at or after the
    // end of the block's last record, where the next block is always
    // written; any other link (one cut short by a kill, or pointing outside
    // the file) ends the chain there.
    std::vector<std::uint8_t> index(kIndexSize);
    std::uint64_t offset = kFirstBlockOffset;
    std::uint32_t count = 0;
    for (std::uint32_t walked = 0;;) {
      Check(file_.ReadAt(offset, index.data(), index.size()));
      std::array<std::uint8_t, kBlockTailSize> tail{};
      Check(file_.ReadAt(offset + kBlockNextLinkOffset, tail.data(), tail.size()));
      blocks_.push_back({offset, LoadLE64(&tail[kTailBaseTimeOffset])});
      Notify(progress, ++walked, offset, size);
      const std::uint64_t records = offset + kBlockSize;
      std::uint64_t records_end = records;
      std::uint32_t slot = 0;
      for (; slot < kItemsPerBlock; ++slot) {
        const Entry entry = DecodeEntry(&index[slot * kEntrySize]);
        const std::uint64_t end = records + entry.offset + RecordSize(entry);
        if (!IsPlausibleEntry(entry) || end > size) break;
        records_end = end;
      }
      count += slot;
      if (slot < kItemsPerBlock) break;
      const std::uint64_t next = LoadLE64(&tail[kTailNextLinkOffset]);
      if (next < records_end || next > size || size - next < kBlockSize) break;
      if (count > std::numeric_limits<std::uint32_t>::max() - kItemsPerBlock) break;
      offset = next;
    }
    count_ = count;
    items_in_last_block_ = count_ % kItemsPerBlock;
    path_ = path;
    temporary_ = false;
  } catch (...) {
    Reset();
    throw;
  }
} catch (const cMISException& e) {
  RethrowWithContext(e, OperationText(u"recover", path));
}

void ItemStoreFile::Close() {
  if (!IsOpen()) {
    Reset();
    return;
  }
  std::exception_ptr failure;
  try {
    if (!(temporary_ && !keep_)) WriteTrailer();
    if (!read_only_ && !modified_ && saved_write_time_) {
      Check(file_.SetLastWriteTime(*saved_write_time_));
    }
  } catch (...) {
    failure = std::current_exception();
  }
  const bool remove = temporary_ && !keep_;
  const std::u16string path = path_;
  // Views first: a file with a mapped view cannot be deleted on Windows.
  UnmapIndex();
  file_.Close();
  if (remove) platform::DeleteFilePath(path);
  Reset();
  if (!failure) return;
  try {
    std::rethrow_exception(failure);
  } catch (const cMISException& e) {
    RethrowWithContext(e, OperationText(u"close", path));
  }
}

void ItemStoreFile::WriteTrailer() {
  if (read_only_ || !IsOpen()) return;
  append_end_ = 0;
  const std::uint64_t end = FileSize();
  std::array<std::uint8_t, kTrailerSize> trailer{};
  StoreLE32(&trailer[kTrailerCountOffset], count_);
  StoreLE32(&trailer[kTrailerMagicOffset], kMagic);
  Check(file_.WriteAt(end, trailer.data(), trailer.size()));
}

void ItemStoreFile::WalkMoreBlocks(std::uint32_t wanted) const {
  while (blocks_.size() < wanted && walk_next_ != 0) {
    const std::uint64_t offset = walk_next_;
    if (offset + kBlockSize > data_end_) Throw(mis::kInvalidData);
    std::array<std::uint8_t, kBlockTailSize> tail{};
    Check(file_.ReadAt(offset + kBlockNextLinkOffset, tail.data(), tail.size()));
    blocks_.push_back({offset, LoadLE64(&tail[kTailBaseTimeOffset])});
    const std::uint64_t next = LoadLE64(&tail[kTailNextLinkOffset]);
    walk_next_ = 0;
    if (next == 0) break;
    // A block is always written at the end of the file, after the one
    // that links to it.
    if (next < offset + kBlockSize || next >= data_end_) Throw(mis::kInvalidData);
    if (blocks_.size() < walk_limit_) walk_next_ = next;
  }
}

std::pair<std::uint32_t, std::uint32_t> ItemStoreFile::Locate(std::uint32_t index) const {
  const std::uint32_t block = index >> kBlockShift;
  WalkBlocks(block + 1);
  if (block >= blocks_.size()) {
    // The count promises this block but the chain ended before it.
    if (index < count_) Throw(mis::kBadLength);
    Throw(mis::kCannotComplete);
  }
  if (index >= count_) Throw(mis::kBadArguments);
  return {block, index & (kItemsPerBlock - 1)};
}

std::uint32_t ItemStoreFile::ItemsInBlock(std::uint32_t block) const {
  const std::uint64_t first = std::uint64_t{block} << kBlockShift;
  if (first >= count_) return 0;
  const std::uint64_t rest = count_ - first;
  return rest > kItemsPerBlock ? kItemsPerBlock : static_cast<std::uint32_t>(rest);
}

std::uint32_t ItemStoreFile::CheckedRecordSize(const Entry& entry) {
  if (!IsPlausibleEntry(entry)) Throw(mis::kInvalidData);
  return RecordSize(entry);
}

Entry ItemStoreFile::ReadEntry(std::uint32_t block, std::uint32_t slot) const {
  if (index_bytes_ != nullptr && index_view_block_ == block) {
    return DecodeEntry(index_bytes_ + std::uint64_t{slot} * kEntrySize);
  }
  if (window_.count == 0 || window_.block != block || slot < window_.first ||
      slot - window_.first >= window_.count) {
    // The entries around the slot, in one read: reading items in order then
    // costs one positioned read per item (its record), not two.
    window_.count = 0;
    const std::uint32_t first = slot & ~(kWindowEntries - 1);
    const std::uint32_t count = std::min(kWindowEntries, kItemsPerBlock - first);
    std::size_t got = 0;
    const std::uint32_t error =
        file_.ReadAt(blocks_[block].offset + std::uint64_t{first} * kEntrySize,
                     window_.bytes.data(), std::size_t{count} * kEntrySize, &got);
    if (error != 0 && error != platform::error::kHandleEof) Throw(error);
    const auto whole = static_cast<std::uint32_t>(got / kEntrySize);
    if (slot - first >= whole) Throw(mis::kInvalidData);
    window_.block = block;
    window_.first = first;
    window_.count = whole;
  }
  return DecodeEntry(&window_.bytes[std::size_t{slot - window_.first} * kEntrySize]);
}

ItemPtr ItemStoreFile::MakeItem(const Entry& entry, std::uint64_t base_ms,
                                const std::uint8_t* record) const {
  const std::uint32_t header = RecordHeaderSize(entry.flags);
  ItemBufferRef buffer;
  try {
    buffer = ItemBufferRef::Make(record + header, entry.length);
  } catch (const std::bad_alloc&) {
    Throw(mis::kOutOfMemory);
  }
  if (!buffer.IsValid()) Throw(mis::kOutOfMemory);
  const std::uint64_t ms = DecodeRecordTime(entry.flags, base_ms, record);
  // Unsigned arithmetic: a corrupt absolute time wraps instead of overflowing.
  const ItemRecord::Header item_header{entry.TypeCode(), ItemTimestamp::FromMilliseconds(ms)};
  ItemPtr item;
  try {
    item = CreateItem(item_header, std::move(buffer), true, *database_);
  } catch (const std::bad_alloc&) {
    Throw(mis::kOutOfMemory);
  }
  if (!item) Throw(mis::kOutOfMemory);
  return item;
}

ItemPtr ItemStoreFile::ReadItem(std::uint32_t index) try {
  const auto [block, slot] = Locate(index);
  const Entry entry = ReadEntry(block, slot);
  const std::uint32_t size = CheckedRecordSize(entry);
  std::array<std::uint8_t, kMaxRecord> record{};
  assert(size <= record.size());  // CheckedRecordSize bounds it
  const std::uint64_t offset = blocks_[block].offset + kBlockSize + entry.offset;
  const std::uint32_t error = file_.ReadAt(offset, record.data(), size);
  if (error == platform::error::kHandleEof) Throw(mis::kInvalidData);
  Check(error);
  return MakeItem(entry, blocks_[block].base_ms, record.data());
} catch (const cMISException& e) {
  RethrowWithContext(e, ItemOperationText(u"read", index, u"of", path_));
}

RecordExtent ItemStoreFile::GetRecordExtent(std::uint32_t index) {
  const auto [block, slot] = Locate(index);
  const Entry entry = ReadEntry(block, slot);
  const std::uint32_t size = CheckedRecordSize(entry);
  return {blocks_[block].offset + kBlockSize + entry.offset, size};
}

void ItemStoreFile::StartBlock(const ItemRecord& first_item) {
  if (read_only_) Throw(mis::kNotSupported);
  append_end_ = 0;
  const std::uint64_t base_ms = first_item.Timestamp().ToMilliseconds();
  // A last block without entries (a capture that stopped right after starting
  // it) is reused rather than followed by another block.
  if (!blocks_.empty() &&
      std::uint64_t{count_} == std::uint64_t{blocks_.size() - 1} * kItemsPerBlock) {
    std::array<std::uint8_t, 8> base{};
    StoreLE64(base.data(), base_ms);
    Check(file_.WriteAt(blocks_.back().offset + kBlockBaseTimeOffset, base.data(), base.size()));
    blocks_.back().base_ms = base_ms;
    items_in_last_block_ = 0;
    return;
  }
  // The whole block in one write (empty index, no next block, base time),
  // then the link to it: a kill in between leaves a chain that ends before
  // the new block.
  const std::uint64_t offset = FileSize();
  std::vector<std::uint8_t> block(kBlockSize, 0);
  StoreLE64(&block[kBlockBaseTimeOffset], base_ms);
  Check(file_.WriteAt(offset, block.data(), block.size()));
  if (!blocks_.empty()) {
    std::array<std::uint8_t, 8> link{};
    StoreLE64(link.data(), offset);
    Check(file_.WriteAt(blocks_.back().offset + kBlockNextLinkOffset, link.data(), link.size()));
  }
  blocks_.push_back({offset, base_ms});
  items_in_last_block_ = 0;
}

bool ItemStoreFile::MapLastIndex() {
  const auto last = static_cast<std::uint32_t>(blocks_.size() - 1);
  if (index_bytes_ != nullptr && index_view_block_ == last) return true;
  UnmapIndex();
  if (index_writes_ == IndexWrites::kWriteCalls) return false;
  // A new mapping per block: a mapping covers the file as it was when made.
  const std::uint64_t offset = blocks_[last].offset;
  const std::uint64_t granularity = platform::AllocationGranularity();
  const std::uint64_t start = granularity == 0 ? offset : offset / granularity * granularity;
  if (index_mapping_.Create(file_, platform::MappingAccess::kReadWrite) != 0 ||
      index_mapping_.Map(start, static_cast<std::size_t>(offset + kIndexSize - start),
                         index_view_) != 0 ||
      index_view_.writable_data() == nullptr) {
    UnmapIndex();
    return false;
  }
  index_bytes_ = index_view_.writable_data() + (offset - start);
  index_view_block_ = last;
  return true;
}

void ItemStoreFile::UnmapIndex() {
  index_bytes_ = nullptr;
  index_view_.Unmap();
  index_mapping_.Close();
}

void ItemStoreFile::StoreEntry(std::uint32_t slot,
                               const std::array<std::uint8_t, kEntrySize>& entry) {
  const std::uint64_t at = blocks_.back().offset + std::uint64_t{slot} * kEntrySize;
  if (MapLastIndex()) {
    // Flags and record offset first, the payload length last: until its
    // length is stored the entry reads as empty. The fences keep the
    // compiler from merging or reordering the stores across them.
    std::uint8_t* out = index_bytes_ + std::uint64_t{slot} * kEntrySize;
    std::copy_n(entry.data(), kEntryLengthOffset, out);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    out[kEntryLengthOffset] = entry[kEntryLengthOffset];
    std::atomic_signal_fence(std::memory_order_seq_cst);
    out[kEntryLengthOffset + 1] = entry[kEntryLengthOffset + 1];
    std::atomic_signal_fence(std::memory_order_seq_cst);
  } else {
    // A write cut short keeps its first bytes: the length comes last here too.
    Check(file_.WriteAt(at, entry.data(), entry.size()));
  }
  if (window_.count != 0 && window_.block == blocks_.size() - 1 && slot >= window_.first &&
      slot - window_.first < window_.count) {
    std::copy_n(entry.data(), kEntrySize,
                &window_.bytes[std::size_t{slot - window_.first} * kEntrySize]);
  }
}

void ItemStoreFile::ClearEntry(std::uint32_t slot) {
  // A zero payload length alone makes the entry empty.
  const std::array<std::uint8_t, 2> zero{};
  if (MapLastIndex()) {
    std::copy_n(zero.data(), zero.size(),
                index_bytes_ + std::uint64_t{slot} * kEntrySize + kEntryLengthOffset);
  } else {
    Check(
        file_.WriteAt(blocks_.back().offset + std::uint64_t{slot} * kEntrySize + kEntryLengthOffset,
                      zero.data(), zero.size()));
  }
  window_.count = 0;
}

std::uint32_t ItemStoreFile::AppendItem(const ItemRecord* item) try {
  if (read_only_) ThrowReadOnlyAppend();
  if (item == nullptr || !item->IsValid()) Throw(mis::kBadArguments);
  std::uint64_t position = append_end_ != 0 ? append_end_ : FileSize();
  if (items_in_last_block_ == 0) {
    StartBlock(*item);
    position = FileSize();
  }
  modified_ = true;
  if (blocks_.empty() ||
      std::uint64_t{count_} !=
          std::uint64_t{blocks_.size() - 1} * kItemsPerBlock + items_in_last_block_) {
    Throw(mis::kBadLength);
  }
  const Block& block = blocks_.back();
  const std::uint64_t records = block.offset + kBlockSize;
  if (position < records) Throw(mis::kBadLength);
  if (position - records > std::numeric_limits<std::uint32_t>::max()) Throw(mis::kBadArguments);

  const std::uint64_t ms = item->Timestamp().ToMilliseconds();
  const TimeEncoding encoding = ChooseTimeEncoding(ms, block.base_ms);
  const std::uint8_t flags = static_cast<std::uint8_t>(
      (item->TypeCode() % 32) | (static_cast<std::uint8_t>(encoding) << kFlagTimeShift));
  const std::uint32_t length = item->GetPayloadLength();
  std::array<std::uint8_t, kMaxRecord> record;  // NOLINT: filled up to its size below
  const std::uint32_t header = EncodeRecordHeader(flags, ms, block.base_ms, 0, record.data());
  assert(header + length <= kMaxRecord);  // IsValid() bounds the payload to kMaxPayload
  std::copy_n(item->GetPayload(), length, record.data() + header);
  std::array<std::uint8_t, kEntrySize> entry{};
  EncodeEntry(
      {flags, static_cast<std::uint32_t>(position - records), static_cast<std::uint16_t>(length)},
      entry.data());

  // The entry first, then the record: whatever a kill interrupts, the entry
  // of an unfinished append names a record that does not lie inside the
  // file yet, and recovery leaves it out. With the index mapped the entry
  // costs no system call; the record is one write.
  append_end_ = 0;
  StoreEntry(items_in_last_block_, entry);
  if (const std::uint32_t error = file_.WriteAt(position, record.data(), header + length)) {
    try {
      ClearEntry(items_in_last_block_);
    } catch (const cMISException&) {
      // The write's own error is the one to report.
    }
    Throw(error);
  }
  append_end_ = position + header + length;
  ++items_in_last_block_;
  if (items_in_last_block_ == kItemsPerBlock) items_in_last_block_ = 0;
  return ++count_;
} catch (const cMISException& e) {
  RethrowWithContext(e, ItemOperationText(u"append", count_, u"to", path_));
}

}  // namespace quillon
