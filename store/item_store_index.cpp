#include "store/item_store_index.h"

#include <algorithm>

namespace quillon {

ItemIndex::ItemIndex(std::unique_ptr<ItemStoreFile> file, std::uint32_t capacity)
    : file_(std::move(file)), capacity_(std::clamp(capacity, kMinCapacity, kMaxCapacity)) {}

const ItemRecord* ItemIndex::Recent(std::uint32_t i) const {
  return i < recent_.size() ? recent_[i].get() : nullptr;
}

void ItemIndex::PushRecent(ItemPtr item) {
  if (recent_.size() >= capacity_) recent_.pop_front();
  recent_.push_back(std::move(item));
}

}  // namespace quillon
