#include "store/item_string.h"

#include "render/item_texts.h"
#include "store/internal/dlf_packet.h"
#include "store/internal/item_payload.h"

namespace quillon {

std::uint32_t MakeStringHeaderWord(std::uint32_t color, std::uint32_t string_type) {
  return 0xC0000000u | (color & 0xFFFFFFu) << 6 | (string_type & 63u);
}

std::optional<std::uint32_t> StringHeaderColor(std::uint32_t header_word) {
  const std::uint32_t red = (header_word >> 6) & 0xFF;
  const std::uint32_t green = (header_word >> 14) & 0xFF;
  const std::uint32_t blue = (header_word >> 22) & 0xFF;
  if (red == 0 || green == 0 || blue == 0) return std::nullopt;
  return blue << 16 | green << 8 | red;
}

StringItem::StringItem(ItemBufferRef buffer, ItemTimestamp received)
    : ItemRecord(kItemString, std::move(buffer), received) {
  key_ = ItemKey{kItemString};
  if (auto word = HeaderWord()) key_.Append(*word & 63u);
}

std::optional<std::uint32_t> StringItem::HeaderWord() const { return ReadPayload(*this).U32(0); }

std::uint32_t StringItem::GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const {
  if (!IsValid()) return 0;
  return WriteDlfPacket(out, capacity, kDlfCodeString, timestamp_.Raw(),
                        ReadPayload(*this).Bytes());
}

void StringItem::GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                          const ItemRenderServices* services) const {
  RenderItemTexts(*this, {.short_type = ShortTypeText::kNone, .summary = SummaryRule::kString},
                  request, options, services);
}

bool StringItem::SetDefaultColor() {
  auto word = HeaderWord();
  color_ = word ? StringHeaderColor(*word).value_or(kStringFallbackColor) : kStringFallbackColor;
  return true;
}

}  // namespace quillon
