// The read-write item store file: positioned reads and writes over one .isf
// file (layout in store/isf_format.h).
//
// Items are appended one at a time and read back by index. While the file is
// open for writing it has no trailer on disk; Close writes it. Every failure
// throws cMISException (category 0) with a Windows error code:
//   8    out of memory making an item or a buffer
//   13   not an item store file, or a corrupt entry or record
//   24   the block table disagrees with the item count, or the append
//        position lies before the current block's records area
//   50   a write operation on a file opened read-only
//   160  empty path, index out of range, record offset beyond 32 bits,
//        null or invalid item, recovery of a file too short to hold a block
//   1003 item index beyond the block table
//   else the failing file call's own code (6 when the file is not open,
//        31 when the call failed without giving one).
// Not thread-safe: the owning store serialises all calls.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/item_database_view.h"
#include "common/item_record.h"
#include "platform/file.h"
#include "platform/mapped_file.h"
#include "store/isf_format.h"
#include "store/isf_progress.h"

namespace quillon {

// How appends store index entries: through a writable mapping of the last
// block's index (no system call per entry), or with positioned writes (for
// file systems where mapping is unwanted, and for tests that cut writes).
enum class IndexWrites { kMapped, kWriteCalls };

struct ItemStoreFileInfo {
  std::u16string path;  // empty when the file is not open
  bool temporary = false;
  bool read_only = false;
};

// Where an item's record lies: absolute file offset and size with header.
struct RecordExtent {
  std::uint64_t offset = 0;
  std::uint32_t size = 0;
};

class ItemStoreFile {
 public:
  // `database` decides over-the-air log codes when items are made; it must
  // outlive the file object.
  explicit ItemStoreFile(const ItemDatabaseView& database = NullItemDatabaseView::Instance());
  ItemStoreFile(const ItemStoreFile&) = delete;
  ItemStoreFile& operator=(const ItemStoreFile&) = delete;

  // The virtual operations, in their fixed slot order.

  // slot 0: closes the file; errors while closing are swallowed.
  virtual ~ItemStoreFile();
  // slot 1
  virtual std::uint32_t GetItemCount() const;
  // slot 2: opens an existing, properly closed file. A read-write open cuts
  // the trailer off so that appends continue the records area.
  virtual void Open(std::u16string_view path, bool read_only, ProgressSink* progress);
  // slot 3: MakeTemporaryName, then Create; the file is deleted on Close
  // unless SetKeep(true) was called.
  virtual void CreateTemporary();
  // slot 4: creates (or replaces) an empty file holding only the magic.
  virtual void Create(std::u16string_view path);
  // slot 5: opens a file without a trailer by walking its blocks and
  // counting entries while their records lie inside the file. The file is
  // opened read-write and gets its trailer when closed.
  virtual void OpenUnterminated(std::u16string_view path, ProgressSink* progress);
  // slot 6: writes the trailer (not for an unkept temporary file), restores
  // the last-write time when nothing was appended, closes, deletes an unkept
  // temporary file and resets. The object is reset even when this throws.
  virtual void Close();
  // slot 7: the number of blocks in the block table (a read-only open walks
  // the rest of the chain first).
  virtual std::uint32_t GetBlockCount() const;
  // slot 8
  virtual ItemStoreFileInfo GetFileInfo() const;
  // slot 9: a new item made from the stored record (with validation).
  virtual ItemPtr ReadItem(std::uint32_t index);
  // slot 10: returns the new item count. The item is not kept.
  virtual std::uint32_t AppendItem(const ItemRecord* item);
  // slot 11
  virtual bool IsOnLocalFixedDrive() const;
  // slot 12
  virtual bool IsOpen() const;
  // slot 13: forgets handle, path, block table and flags (keeps the
  // temporary directory).
  virtual void Reset();
  // slot 14: a name in the temporary directory that does not exist yet.
  virtual std::u16string MakeTemporaryName();
  // slot 15: appends the 16-byte trailer; nothing for a read-only file.
  virtual void WriteTrailer();
  // slot 16
  virtual RecordExtent GetRecordExtent(std::uint32_t index);
  // slot 17: appends a new block whose base time is the item's time and
  // links it from the previous block.
  virtual void StartBlock(const ItemRecord& first_item);

  // The same recovery, read-only: the items are counted in memory and the
  // file is never written (no trailer on close, appends fail with 50).
  void RecoverReadOnly(std::u16string_view path, ProgressSink* progress);

  // Non-virtual settings and state.
  void SetKeep(bool keep) { keep_ = keep; }
  void SetIndexWrites(IndexWrites how) { index_writes_ = how; }
  bool IsKept() const { return keep_; }
  void SetTemporaryDirectory(std::u16string directory) { temp_dir_ = std::move(directory); }
  const std::u16string& TemporaryDirectory() const { return temp_dir_; }
  bool IsModified() const { return modified_; }
  bool IsReadOnly() const { return read_only_; }

  struct Block {
    std::uint64_t offset = 0;   // absolute offset of the block
    std::uint64_t base_ms = 0;  // base time, ms since 1601
  };
  // The whole block table (a read-only open walks the rest of the chain
  // first).
  const std::vector<Block>& Blocks() const;

 protected:
  const platform::File& file() const { return file_; }
  const ItemDatabaseView& database() const { return *database_; }
  // Block and slot of `index`: 1003 beyond the table, 160 at or past count,
  // 24 when the chain ends before the block that the count promises.
  std::pair<std::uint32_t, std::uint32_t> Locate(std::uint32_t index) const;
  // The table entry of a block that Locate returned.
  const Block& BlockAt(std::uint32_t block) const { return blocks_[block]; }
  // Walks the chain until the table holds `wanted` blocks or the chain ends.
  // A read-only open reads only the trailer and the first block: the rest
  // of the chain is walked as reads reach it, so opening costs the same for
  // any number of items.
  void WalkBlocks(std::uint32_t wanted) const {
    if (blocks_.size() < wanted) WalkMoreBlocks(wanted);
  }
  // Number of blocks in the table now (without walking).
  std::uint32_t WalkedBlocks() const { return static_cast<std::uint32_t>(blocks_.size()); }
  // Number of entries written in block `block`.
  std::uint32_t ItemsInBlock(std::uint32_t block) const;
  // Throws 13 for a payload length outside 1..8208 or a record above 8224.
  static std::uint32_t CheckedRecordSize(const isf::Entry& entry);
  // Makes the item from a record (header plus payload) of `entry` in a block
  // with base time `base_ms`; 8 when the buffer or the item cannot be made.
  ItemPtr MakeItem(const isf::Entry& entry, std::uint64_t base_ms,
                   const std::uint8_t* record) const;
  [[noreturn]] static void Throw(std::uint32_t code);
  // The operation texts that failures carry: "cannot <action> <path>" and
  // "cannot <action> item <index> <preposition> <path>".
  static std::u16string OperationText(std::u16string_view action, std::u16string_view path);
  static std::u16string ItemOperationText(std::u16string_view action, std::uint32_t index,
                                          std::u16string_view preposition,
                                          std::u16string_view path);
  // Raised by appends to a file opened read-only (50).
  [[noreturn]] void ThrowReadOnlyAppend() const;
  static void Check(std::uint32_t code) {
    if (code != 0) Throw(code);
  }

 private:
  void WalkMoreBlocks(std::uint32_t wanted) const;
  // Index entries read together by the read-write class: one positioned
  // read serves this many neighbouring items.
  static constexpr std::uint32_t kWindowEntries = 512;
  struct IndexWindow {
    std::uint32_t block = 0;
    std::uint32_t first = 0;
    std::uint32_t count = 0;  // 0: nothing cached
    std::array<std::uint8_t, kWindowEntries * isf::kEntrySize> bytes{};
  };

  void OpenHandle(std::u16string_view path, bool read_only);
  void Recover(std::u16string_view path, bool read_only, ProgressSink* progress);
  std::uint64_t FileSize() const;
  void Notify(ProgressSink* progress, std::uint32_t blocks, std::uint64_t position,
              std::uint64_t size) const;
  isf::Entry ReadEntry(std::uint32_t block, std::uint32_t slot) const;
  // Maps the last block's index for storing entries; false when the system
  // cannot map it (entries are then written with WriteAt).
  bool MapLastIndex();
  void UnmapIndex();
  // Stores an entry of the last block so that a kill at any moment leaves
  // either the whole entry or one whose payload length is still 0.
  void StoreEntry(std::uint32_t slot, const std::array<std::uint8_t, isf::kEntrySize>& entry);
  // Takes back an entry whose record could not be written.
  void ClearEntry(std::uint32_t slot);

  const ItemDatabaseView* database_;
  platform::File file_;
  std::u16string path_;
  std::uint32_t count_ = 0;
  bool keep_ = false;
  bool temporary_ = false;
  bool read_only_ = false;
  bool modified_ = false;
  std::optional<platform::FileTime> saved_write_time_;
  // The block table; a read-only open fills it as reads need it.
  mutable std::vector<Block> blocks_;
  // Where the walk goes on (0: the table is complete), how many blocks the
  // trailer's count allows, and the end of the items (the trailer's offset).
  mutable std::uint64_t walk_next_ = 0;
  std::uint32_t walk_limit_ = 0;
  std::uint64_t data_end_ = 0;
  mutable IndexWindow window_;
  // The last block's index, mapped writable while appending.
  platform::FileMapping index_mapping_;
  platform::MappedView index_view_;
  std::uint32_t index_view_block_ = 0;
  std::uint8_t* index_bytes_ = nullptr;  // the block's first entry in index_view_
  std::uint32_t items_in_last_block_ = 0;
  // The end of the file after this object's last record write, so that
  // consecutive appends need not ask the system for the size; 0 when unknown
  // (after opening, starting a block or writing the trailer).
  std::uint64_t append_end_ = 0;
  std::u16string temp_dir_;
  IndexWrites index_writes_ = IndexWrites::kMapped;
};

}  // namespace quillon
