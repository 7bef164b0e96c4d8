// The read-only item store file that reads items through memory-mapped
// views instead of positioned reads.
//
// The mapping is made on the first read. Each block read is mapped as two
// views: the block itself (its start rounded down to the allocation
// granularity) and its records area up to the end of the block's last record.
// Up to six blocks stay mapped; mapping a seventh unmaps the oldest first.
// Every entry and record is checked against the views, so a corrupt file
// gives cMISException 13 and never a read outside the mapping.
// The writing operations throw 50.
#pragma once

#include <deque>

#include "platform/mapped_file.h"
#include "store/item_store_file.h"

namespace quillon {

class MappedItemStoreFile : public ItemStoreFile {
 public:
  static constexpr std::size_t kCachedBlocks = 6;

  explicit MappedItemStoreFile(const ItemDatabaseView& database = NullItemDatabaseView::Instance());
  ~MappedItemStoreFile() override;

  // Only read-only opens (50 otherwise).
  void Open(std::u16string_view path, bool read_only, ProgressSink* progress) override;
  void CreateTemporary() override;                                                   // 50
  void Create(std::u16string_view path) override;                                    // 50
  void OpenUnterminated(std::u16string_view path, ProgressSink* progress) override;  // 50
  void Close() override;
  ItemPtr ReadItem(std::uint32_t index) override;
  std::uint32_t AppendItem(const ItemRecord* item) override;  // 50
  void Reset() override;
  void StartBlock(const ItemRecord& first_item) override;  // 50

  // For tests and tools: the blocks currently mapped, oldest first.
  std::vector<std::uint32_t> MappedBlocks() const;

 private:
  struct CachedBlock {
    std::uint32_t block = 0;
    platform::MappedView block_view;
    platform::MappedView records_view;
  };

  const CachedBlock& MapBlock(std::uint32_t block);
  void Unmap();

  platform::FileMapping mapping_;
  std::uint64_t mapped_size_ = 0;
  std::deque<CachedBlock> cache_;
};

}  // namespace quillon
