// ColorItem: one log item fetched from a store, with its raw properties,
// its payload as a byte array, its rendered texts and its parsed fields.
//
// The object owns its own copy of the item and watches its store without
// keeping it open: once the store's handle is closed (or the ItemStoreFiles
// object that opened it is destroyed), every method answers its failure
// value, exactly as for an object without an item. Field objects made
// before that stay usable. No method throws.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "automation/auto_object.h"
#include "common/item_record.h"

namespace quillon {

class CAutoItemFields;
class ItemStore;

// What a field-list method asks for.
struct ItemFieldsRequest {
  std::u16string_view entity_name;  // empty: the item's own entity
  bool field_strings = true;        // render each field's value text
  bool field_names = true;          // keep each field's name
};

// What a timestamp text shows besides the time of day.
struct TimestampTextOptions {
  bool want_date = false;         // "MM/DD/YYYY " first
  bool want_milliseconds = true;  // ".mmm" last
};

// What an ad-hoc field read describes.
struct ItemFieldRead {
  std::uint32_t field_type = 0;  // 0..14
  std::uint32_t bit_count = 0;
  std::uint32_t bit_offset = 0;
  bool include_header_bytes = false;
};

class CAutoColorItem final : public AutoObject {
 public:
  // Asks `store` for item `index`; a store failure leaves the object
  // without an item (HasItem() false).
  CAutoColorItem(const std::shared_ptr<ItemStore>& store, std::uint32_t index);
  // Wraps an item the caller already has; `store` gives its rendering
  // context and its lifetime as above.
  CAutoColorItem(const std::shared_ptr<ItemStore>& store, ItemPtr item);
  ~CAutoColorItem() override;
  const AutoClass& Class() const override { return ColorItemClass(); }

  // True while the item exists and its store is open.
  bool HasItem() const;

  // Raw properties. Failure values: type 0xFFFFFFFF, colour 0, dates 0.0.
  std::uint32_t GetItemType() const;
  std::uint32_t GetItemColor() const;
  double GetItemTimestamp() const;  // automation date; also GetItemTimestamp2
  double GetItemSpecificTimestamp() const;

  // The payload (1..8208 bytes), less the header bytes unless asked for;
  // a header longer than the payload leaves it whole. Always a
  // VT_ARRAY | VT_UI1 with lower bound 0, 0 elements when there is none.
  AutoVariant GetItemBuffer(bool include_header_bytes) const;
  // The element count GetItemBuffer would give, but 0xFFFFFFFF without an
  // item or payload and, without header bytes, for a header longer than
  // the payload.
  std::uint32_t GetItemSize(bool include_header_bytes) const;
  // The legacy DLF packet form, as a VT_ARRAY | VT_UI1 (0 elements when the
  // item writes none).
  AutoVariant GetItemDLFBuffer() const;

  // Rendered texts; empty without an item.
  std::u16string GetItemTypeText() const;
  std::u16string GetItemKeyText() const;
  std::u16string GetItemTimestampText(const TimestampTextOptions& options) const;
  std::u16string GetItemSpecificTimestampText(const TimestampTextOptions& options) const;
  std::u16string GetItemBufferText(bool include_header_bytes) const;
  std::u16string GetItemName() const;
  std::u16string GetItemSummary() const;
  // Several of the texts above at once, rendered with the options their
  // methods use when they take none (type text, key text, name, summary,
  // and the timestamp text with milliseconds and no date): `request` names
  // the kinds, and each comes back as its own method gives it (empty
  // without an item). Cheaper than one call per kind.
  void GetItemTexts(ItemTextRequest& request) const;
  // The store's parser libraries' text for the item; empty when none
  // parses it.
  std::u16string GetItemParsedText() const;

  // A new field object for the item, or null without an item, for an
  // invalid item, or when no field list could be made.
  std::unique_ptr<CAutoItemFields> GetItemFields(const ItemFieldsRequest& request = {}) const;

  // One value read out of the payload; VT_EMPTY / empty text when it cannot
  // be read.
  AutoVariant GetItemFieldValue(const ItemFieldRead& read) const;
  std::u16string GetItemFieldValueText(const ItemFieldRead& read, bool hexadecimal) const;

  // The item itself while HasItem(); null otherwise.
  const ItemRecord* Item() const;

 private:
  std::u16string Render(ItemTextKind kind, const ItemRenderOptions& options) const;

  std::weak_ptr<ItemStore> store_;
  ItemPtr item_;
};

}  // namespace quillon
