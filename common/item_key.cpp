#include "common/item_key.h"

namespace quillon {

ItemKey::ItemKey(std::span<const std::uint32_t> elements) {
  for (std::uint32_t value : elements) Append(value);
}

void ItemKey::AppendToHeap(std::uint32_t value) {
  if (size_ == kInlineSize) heap_.assign(inline_.begin(), inline_.end());
  heap_.push_back(value);
  ++size_;
}

int ItemKey::Compare(const ItemKey& other) const {
  const std::uint32_t* a = data();
  const std::uint32_t* b = other.data();
  for (std::size_t i = 0; i < size_ && i < other.size_; ++i) {
    if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
  }
  if (size_ == other.size_) return 0;
  return size_ < other.size_ ? -1 : 1;
}

bool ItemKey::IsValid() const {
  if (size_ == 0) return false;
  const std::size_t n = size_;
  const std::uint32_t* elements = data();
  const auto at_most = [&](std::size_t i, std::uint32_t bound) { return elements[i] <= bound; };
  switch (elements[0]) {
    case kItemMalformed:
      return true;
    case kItemDiagRx:
    case kItemDiagTx:
      return n == 2 && at_most(1, 255);
    case kItemGps:
      return n == 1;
    case kItemEvent:
      return n == 2 && at_most(1, 4095);
    case kItemLog:
      return n == 2 && at_most(1, 65535);
    case kItemMsg:
      // Level 32 is accepted on purpose: devices use it as a "forced" level.
      return n == 3 && at_most(1, 65535) && at_most(2, 32);
    case kItemString:
      return n == 2 && at_most(1, 4);
    case kItemOtaLog:
      // Further elements (channel, message type ...) are not checked.
      return n >= 2 && at_most(1, 65535);
    case kItemSubsysRx:
    case kItemSubsysTx:
      return n == 3 && at_most(1, 255) && at_most(2, 65535);
    default:
      return false;
  }
}

}  // namespace quillon
