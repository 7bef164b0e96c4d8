// An item key: an ordered list of u32 values whose element 0 is the item
// type code and whose further elements identify the item within its type.
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <vector>

namespace quillon {

// Item type codes.
enum ItemType : std::uint32_t {
  kItemMalformed = 0,
  kItemDiagRx = 1,
  kItemDiagTx = 2,
  kItemGps = 3,
  kItemEvent = 4,
  kItemLog = 5,
  kItemMsg = 6,
  kItemString = 7,
  kItemOtaLog = 8,
  kItemSubsysRx = 9,
  kItemSubsysTx = 10,
};
inline constexpr std::uint32_t kItemTypeCount = 11;

// The elements live inside the key while there are few of them (every key
// the item classes build), so making an item allocates nothing for its key.
class ItemKey {
 public:
  ItemKey() = default;
  ItemKey(std::initializer_list<std::uint32_t> elements) {
    for (std::uint32_t value : elements) Append(value);
  }
  explicit ItemKey(std::span<const std::uint32_t> elements);
  explicit ItemKey(const std::vector<std::uint32_t>& elements)
      : ItemKey(std::span<const std::uint32_t>(elements)) {}

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  std::uint32_t operator[](std::size_t i) const { return data()[i]; }
  std::span<const std::uint32_t> Elements() const { return {data(), size_}; }
  std::vector<std::uint32_t> ToVector() const { return {data(), data() + size_}; }
  void Append(std::uint32_t value) {
    if (size_ < kInlineSize) {
      inline_[size_++] = value;
      return;
    }
    AppendToHeap(value);
  }
  void Clear() {
    size_ = 0;
    heap_.clear();
  }

  // Whether the key's length and element ranges suit its type (element 0).
  bool IsValid() const;

  // Element by element, a shorter key first when it is a prefix of the other.
  friend bool operator==(const ItemKey& a, const ItemKey& b) { return a.Compare(b) == 0; }
  friend std::strong_ordering operator<=>(const ItemKey& a, const ItemKey& b) {
    return a.Compare(b) <=> 0;
  }

 private:
  static constexpr std::size_t kInlineSize = 6;
  void AppendToHeap(std::uint32_t value);
  int Compare(const ItemKey& other) const;  // <0, 0, >0
  const std::uint32_t* data() const { return size_ <= kInlineSize ? inline_.data() : heap_.data(); }

  std::uint32_t size_ = 0;
  std::array<std::uint32_t, kInlineSize> inline_{};
  std::vector<std::uint32_t> heap_;  // all elements, once there are more than kInlineSize
};

}  // namespace quillon
