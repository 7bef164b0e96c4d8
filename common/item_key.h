// An item key: an ordered list of u32 values whose element 0 is the item
// type code and whose further elements identify the item within its type.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
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

class ItemKey {
 public:
  ItemKey() = default;
  ItemKey(std::initializer_list<std::uint32_t> elements) : elements_(elements) {}
  explicit ItemKey(std::vector<std::uint32_t> elements) : elements_(std::move(elements)) {}

  std::size_t size() const { return elements_.size(); }
  bool empty() const { return elements_.empty(); }
  std::uint32_t operator[](std::size_t i) const { return elements_[i]; }
  const std::vector<std::uint32_t>& Elements() const { return elements_; }
  void Append(std::uint32_t value) { elements_.push_back(value); }
  void Clear() { elements_.clear(); }

  // The validity rules per type code: element counts and bounds.
  // MALFORMED is always valid (given element 0); DIAG command 0..255;
  // GPS exactly one element; EVENT id 0..4095; LOG code 0..65535;
  // MSG subsystem 0..65535 and level 0..32; STRING type 0..4;
  // OTA LOG at least a log code 0..65535; SUBSYS id 0..255, command 0..65535.
  bool IsValid() const;

  friend bool operator==(const ItemKey&, const ItemKey&) = default;
  friend auto operator<=>(const ItemKey& a, const ItemKey& b) {
    return a.elements_ <=> b.elements_;
  }

 private:
  std::vector<std::uint32_t> elements_;
};

}  // namespace quillon
