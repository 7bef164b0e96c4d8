#include "store/item_store_file.h"

#include <algorithm>
#include <array>
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
  return static_cast<std::uint32_t>(blocks_.size());
}

bool ItemStoreFile::IsOpen() const { return file_.IsOpen(); }

ItemStoreFileInfo ItemStoreFile::GetFileInfo() const {
  if (!IsOpen()) return {};
  return {path_, temporary_, read_only_};
}

void ItemStoreFile::Reset() {
  file_.Close();
  path_.clear();
  count_ = 0;
  keep_ = false;
  temporary_ = false;
  read_only_ = false;
  modified_ = false;
  saved_write_time_.reset();
  blocks_.clear();
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

    // The chain is walked for at most count / 8192 + 1 blocks; a zero link
    // ends it early (a count that is a multiple of 8192 has no further block).
    const std::uint64_t data_end = size - kTrailerSize;
    const std::uint32_t max_blocks = trailer.count / kItemsPerBlock + 1;
    std::uint64_t offset = kFirstBlockOffset;
    for (std::uint32_t walked = 0; walked < max_blocks;) {
      if (offset + kBlockSize > data_end) Throw(mis::kInvalidData);
      std::array<std::uint8_t, kBlockTailSize> tail{};
      Check(file_.ReadAt(offset + kBlockNextLinkOffset, tail.data(), tail.size()));
      blocks_.push_back({offset, LoadLE64(&tail[kTailBaseTimeOffset])});
      Notify(progress, ++walked, offset, size);
      const std::uint64_t next = LoadLE64(&tail[kTailNextLinkOffset]);
      if (next == 0) break;
      // A block is always written at the end of the file, after the one
      // that links to it.
      if (next < offset + kBlockSize || next >= data_end) Throw(mis::kInvalidData);
      offset = next;
    }
    const std::uint64_t needed = (std::uint64_t{trailer.count} + kItemsPerBlock - 1) >> kBlockShift;
    if (blocks_.size() < needed) Throw(mis::kBadLength);

    count_ = trailer.count;
    items_in_last_block_ = count_ % kItemsPerBlock;
    if (!read_only) {
      std::uint64_t end = data_end;
      if (count_ > 0) {
        const RecordExtent last = GetRecordExtent(count_ - 1);
        end = last.offset + last.size;
        if (end > data_end) Throw(mis::kInvalidData);
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
    if (size <= kFirstBlockOffset + kBlockSize) Throw(mis::kBadArguments);
    std::array<std::uint8_t, kMagicSize> magic{};
    Check(file_.ReadAt(0, magic.data(), magic.size()));
    if (LoadLE32(magic.data()) != kMagic) Throw(mis::kInvalidData);

    // Walk the chain. A link to a block that was not completely written ends
    // the walk: the items before it are still recovered.
    std::uint64_t offset = kFirstBlockOffset;
    for (std::uint32_t walked = 0;;) {
      std::array<std::uint8_t, kBlockTailSize> tail{};
      Check(file_.ReadAt(offset + kBlockNextLinkOffset, tail.data(), tail.size()));
      blocks_.push_back({offset, LoadLE64(&tail[kTailBaseTimeOffset])});
      Notify(progress, ++walked, offset, size);
      const std::uint64_t next = LoadLE64(&tail[kTailNextLinkOffset]);
      if (next == 0) break;
      if (next < offset + kBlockSize || next >= size) Throw(mis::kInvalidData);
      if (next + kBlockSize > size) break;
      offset = next;
    }

    // Count entries while each one's record lies inside the file.
    std::vector<std::uint8_t> index(kIndexSize);
    std::uint32_t count = 0;
    bool stopped = false;
    for (std::size_t b = 0; b < blocks_.size() && !stopped; ++b) {
      Check(file_.ReadAt(blocks_[b].offset, index.data(), index.size()));
      const std::uint64_t records = blocks_[b].offset + kBlockSize;
      for (std::uint32_t slot = 0; slot < kItemsPerBlock; ++slot) {
        const Entry entry = DecodeEntry(&index[slot * kEntrySize]);
        if (!IsPlausibleEntry(entry) || records + entry.offset + RecordSize(entry) > size) {
          stopped = true;
          break;
        }
        ++count;
      }
    }
    // Blocks after the one holding the last counted entry cannot be reached
    // by the item numbers; appends then fail the table check (24).
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

std::pair<std::uint32_t, std::uint32_t> ItemStoreFile::Locate(std::uint32_t index) const {
  const std::uint32_t block = index >> kBlockShift;
  if (block >= blocks_.size()) Throw(mis::kCannotComplete);
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
  std::array<std::uint8_t, kEntrySize> bytes{};
  const std::uint32_t error = file_.ReadAt(blocks_[block].offset + std::uint64_t{slot} * kEntrySize,
                                           bytes.data(), bytes.size());
  if (error == platform::error::kHandleEof) Throw(mis::kInvalidData);
  Check(error);
  return DecodeEntry(bytes.data());
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
    item = CreateItem(item_header, buffer, true, *database_);
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
  const std::uint64_t offset = FileSize();
  static const std::vector<std::uint8_t> zeros(kBlockBaseTimeOffset, 0);  // index and link
  Check(file_.WriteAt(offset, zeros.data(), zeros.size()));
  std::array<std::uint8_t, 8> base{};
  StoreLE64(base.data(), base_ms);
  Check(file_.WriteAt(offset + kBlockBaseTimeOffset, base.data(), base.size()));
  if (!blocks_.empty()) {
    std::array<std::uint8_t, 8> link{};
    StoreLE64(link.data(), offset);
    Check(file_.WriteAt(blocks_.back().offset + kBlockNextLinkOffset, link.data(), link.size()));
  }
  blocks_.push_back({offset, base_ms});
  items_in_last_block_ = 0;
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
  std::array<std::uint8_t, kMaxRecord> record{};
  const std::uint32_t header = EncodeRecordHeader(flags, ms, block.base_ms, 0, record.data());
  assert(header + length <= kMaxRecord);  // IsValid() bounds the payload to kMaxPayload
  std::copy_n(item->GetPayload(), length, record.data() + header);
  append_end_ = 0;
  Check(file_.WriteAt(position, record.data(), header + length));
  append_end_ = position + header + length;

  std::array<std::uint8_t, kEntrySize> entry{};
  EncodeEntry(
      {flags, static_cast<std::uint32_t>(position - records), static_cast<std::uint16_t>(length)},
      entry.data());
  Check(file_.WriteAt(block.offset + std::uint64_t{items_in_last_block_} * kEntrySize, entry.data(),
                      entry.size()));
  ++items_in_last_block_;
  if (items_in_last_block_ == kItemsPerBlock) items_in_last_block_ = 0;
  return ++count_;
} catch (const cMISException& e) {
  RethrowWithContext(e, ItemOperationText(u"append", count_, u"to", path_));
}

}  // namespace quillon
