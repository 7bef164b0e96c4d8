#include "store/item_malformed.h"

#include "render/item_texts.h"
#include "store/internal/item_payload.h"

namespace quillon {

MalformedItem::MalformedItem(ItemBufferRef buffer, ItemTimestamp received)
    : ItemRecord(kItemMalformed, std::move(buffer), received) {
  key_ = ItemKey{kItemMalformed};
  if (auto command = ReadPayload(*this).U8(0)) key_.Append(*command);
}

std::uint32_t MalformedItem::GetDLFBuffer(std::uint8_t*, std::uint32_t) const { return 0; }

void MalformedItem::GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                             const ItemRenderServices* services) const {
  RenderItemTexts(*this, {.short_type = ShortTypeText::kNone, .summary = SummaryRule::kGeneric},
                  request, options, services);
}

bool MalformedItem::SetDefaultColor() {
  color_ = kColorRed;
  return true;
}

}  // namespace quillon
