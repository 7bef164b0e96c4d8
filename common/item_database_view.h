// The narrow view of the database that item classes and the store need:
// which log codes are over-the-air log codes, and the colours that users
// configured for item keys. The database implements it; tests and tools
// without a database use NullItemDatabaseView.
#pragma once

#include <cstdint>
#include <optional>

#include "common/item_key.h"

namespace quillon {

class ItemDatabaseView {
 public:
  virtual ~ItemDatabaseView() = default;
  // True when the database lists `log_code` as an over-the-air log code.
  virtual bool IsOtaLogCode(std::uint32_t log_code) const = 0;
  // The user's colour (COLORREF) for an item with this key, if any.
  virtual std::optional<std::uint32_t> FindUserItemColor(const ItemKey& key) const = 0;
};

class NullItemDatabaseView final : public ItemDatabaseView {
 public:
  bool IsOtaLogCode(std::uint32_t) const override { return false; }
  std::optional<std::uint32_t> FindUserItemColor(const ItemKey&) const override {
    return std::nullopt;
  }
  static const NullItemDatabaseView& Instance();
};

}  // namespace quillon
