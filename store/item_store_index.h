// The item store's view of its file: the file object plus a bounded queue of
// the most recently appended items, which are handed out without file access.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>

#include "common/item_record.h"
#include "store/item_store_file.h"

namespace quillon {

class ItemIndex {
 public:
  static constexpr std::uint32_t kMinCapacity = 2000;
  static constexpr std::uint32_t kMaxCapacity = 1000000;

  // `capacity` is clamped to kMinCapacity..kMaxCapacity. Owns `file`.
  ItemIndex(std::unique_ptr<ItemStoreFile> file, std::uint32_t capacity);

  std::uint32_t Capacity() const { return capacity_; }
  ItemStoreFile* File() const { return file_.get(); }
  bool IsFileOpen() const { return file_ && file_->IsOpen(); }

  std::uint32_t RecentCount() const { return static_cast<std::uint32_t>(recent_.size()); }
  // Recent item `i`, oldest first; null when there is none.
  const ItemRecord* Recent(std::uint32_t i) const;
  // Keeps `item`, dropping the oldest one when the queue is full.
  void PushRecent(ItemPtr item);

 private:
  std::unique_ptr<ItemStoreFile> file_;
  std::uint32_t capacity_;
  std::deque<ItemPtr> recent_;
};

}  // namespace quillon
