#include "automation/auto_color_item.h"

#include <array>
#include <utility>

#include "automation/auto_item_fields.h"
#include "automation/auto_item_store_files.h"
#include "automation/module.h"
#include "render/item_field_value.h"
#include "store/item_store.h"

namespace quillon {

namespace {

// Payloads outside 1..8208 bytes are no payload.
constexpr std::uint32_t kMaxPayload = 8208;
// The area a DLF packet is written into.
constexpr std::uint32_t kDlfCapacity = 8208;

struct PayloadView {
  const std::uint8_t* data = nullptr;
  std::uint32_t length = 0;
  bool header_too_long = false;  // without header bytes: header > payload
};

PayloadView Payload(const ItemRecord& item, bool include_header_bytes) {
  PayloadView view;
  const std::uint32_t length = item.GetPayloadLength();
  if (item.GetPayload() == nullptr || length == 0 || length > kMaxPayload) return view;
  view.data = item.GetPayload();
  view.length = length;
  if (!include_header_bytes) {
    const std::uint32_t header = item.GetHeaderLength();
    if (header <= length) {
      view.data += header;
      view.length -= header;
    } else {
      view.header_too_long = true;
    }
  }
  return view;
}

}  // namespace

CAutoColorItem::CAutoColorItem(const std::shared_ptr<ItemStore>& store, std::uint32_t index)
    : store_(store) {
  if (!store) return;
  try {
    item_ = store->GetItem(index);
  } catch (...) {
    item_.reset();
  }
}

CAutoColorItem::CAutoColorItem(const std::shared_ptr<ItemStore>& store, ItemPtr item)
    : store_(store), item_(std::move(item)) {}

CAutoColorItem::~CAutoColorItem() = default;

bool CAutoColorItem::HasItem() const { return item_ != nullptr && !store_.expired(); }

const ItemRecord* CAutoColorItem::Item() const { return HasItem() ? item_.get() : nullptr; }

std::uint32_t CAutoColorItem::GetItemType() const {
  const ItemRecord* item = Item();
  return item ? item->TypeCode() : kAutoFailure;
}

std::uint32_t CAutoColorItem::GetItemColor() const {
  const ItemRecord* item = Item();
  return item ? item->Color() : 0;
}

double CAutoColorItem::GetItemTimestamp() const {
  const ItemRecord* item = Item();
  return item ? item->Timestamp().ToAutomationDate() : 0.0;
}

double CAutoColorItem::GetItemSpecificTimestamp() const {
  const ItemRecord* item = Item();
  return item ? item->GetSpecificTimestamp().ToAutomationDate() : 0.0;
}

AutoVariant CAutoColorItem::GetItemBuffer(bool include_header_bytes) const {
  const ItemRecord* item = Item();
  if (!item) return AutoVariant::ByteArray(nullptr, 0);
  const PayloadView view = Payload(*item, include_header_bytes);
  return AutoVariant::ByteArray(view.data, view.length);
}

std::uint32_t CAutoColorItem::GetItemSize(bool include_header_bytes) const {
  const ItemRecord* item = Item();
  if (!item) return kAutoFailure;
  const PayloadView view = Payload(*item, include_header_bytes);
  if (view.data == nullptr || view.header_too_long) return kAutoFailure;
  return view.length;
}

AutoVariant CAutoColorItem::GetItemDLFBuffer() const {
  const ItemRecord* item = Item();
  if (!item) return AutoVariant::ByteArray(nullptr, 0);
  std::array<std::uint8_t, kDlfCapacity> area{};
  const std::uint32_t written = item->GetDLFBuffer(area.data(), kDlfCapacity);
  return AutoVariant::ByteArray(area.data(), written <= kDlfCapacity ? written : 0);
}

std::u16string CAutoColorItem::Render(ItemTextKind kind, const ItemRenderOptions& options) const {
  const ItemRecord* item = Item();
  const std::shared_ptr<ItemStore> store = store_.lock();
  if (!item || !store) return {};
  try {
    ItemTextRequest request{{kind, std::u16string()}};
    const ItemRenderServices services = store->RenderServices();
    item->GetTexts(request, options, &services);
    return std::move(request[kind]);
  } catch (...) {
    return {};
  }
}

void CAutoColorItem::GetItemTexts(ItemTextRequest& request) const {
  const ItemRecord* item = Item();
  const std::shared_ptr<ItemStore> store = store_.lock();
  for (auto& entry : request) entry.second.clear();
  if (!item || !store) return;
  try {
    const ItemRenderServices services = store->RenderServices();
    item->GetTexts(request, {}, &services);
  } catch (...) {
    // One kind failing leaves only that kind empty, as its own call would.
    for (auto& [kind, text] : request) text = Render(kind, {});
  }
}

std::u16string CAutoColorItem::GetItemTypeText() const {
  return Render(ItemTextKind::kTypeText, {});
}

std::u16string CAutoColorItem::GetItemKeyText() const { return Render(ItemTextKind::kKeyText, {}); }

std::u16string CAutoColorItem::GetItemTimestampText(const TimestampTextOptions& options) const {
  return Render(ItemTextKind::kTimestampText, {.want_date = options.want_date,
                                               .want_milliseconds = options.want_milliseconds,
                                               .specific_timestamp = false,
                                               .timestamp_flag = false});
}

std::u16string CAutoColorItem::GetItemSpecificTimestampText(
    const TimestampTextOptions& options) const {
  return Render(ItemTextKind::kTimestampText, {.want_date = options.want_date,
                                               .want_milliseconds = options.want_milliseconds,
                                               .specific_timestamp = true,
                                               .timestamp_flag = false});
}

std::u16string CAutoColorItem::GetItemBufferText(bool include_header_bytes) const {
  return Render(ItemTextKind::kBufferText, {.include_header_bytes = include_header_bytes});
}

std::u16string CAutoColorItem::GetItemName() const { return Render(ItemTextKind::kName, {}); }

std::u16string CAutoColorItem::GetItemSummary() const { return Render(ItemTextKind::kSummary, {}); }

std::u16string CAutoColorItem::GetItemParsedText() const {
  const ItemRecord* item = Item();
  const std::shared_ptr<ItemStore> store = store_.lock();
  if (!item || !store) return {};
  try {
    std::u16string text;
    if (!item->GetParsedText(text, store->RenderServices().parsers)) return {};
    return text;
  } catch (...) {
    return {};
  }
}

std::unique_ptr<CAutoItemFields> CAutoColorItem::GetItemFields(
    const ItemFieldsRequest& request) const {
  const ItemRecord* item = Item();
  if (!item || !item->IsValid()) return nullptr;
  try {
    auto fields = std::make_unique<CAutoItemFields>(item, request);
    if (!fields->IsValid()) return nullptr;
    return fields;
  } catch (...) {
    return nullptr;
  }
}

AutoVariant CAutoColorItem::GetItemFieldValue(const ItemFieldRead& read) const {
  const ItemRecord* item = Item();
  if (!item || !item->IsValid()) return {};
  try {
    return AutoVariant::FromValue(quillon::GetItemFieldValue(
        item, read.field_type, read.bit_count, read.bit_offset, read.include_header_bytes));
  } catch (...) {
    return {};
  }
}

std::u16string CAutoColorItem::GetItemFieldValueText(const ItemFieldRead& read,
                                                     bool hexadecimal) const {
  const ItemRecord* item = Item();
  if (!item || !item->IsValid()) return {};
  try {
    return quillon::GetItemFieldValueText(item, read.field_type, read.bit_count, read.bit_offset,
                                          read.include_header_bytes, hexadecimal);
  } catch (...) {
    return {};
  }
}

}  // namespace quillon
