#include "store/item_event.h"

#include "items/payload_reader.h"
#include "render/item_texts.h"
#include "store/internal/dlf_packet.h"
#include "store/internal/item_payload.h"

namespace quillon {

namespace {
constexpr std::uint32_t kColorEvent = 0xFFFFFF;
}  // namespace

EventItem::EventItem(ItemBufferRef buffer, ItemTimestamp received)
    : ItemRecord(kItemEvent, std::move(buffer), received) {
  const PayloadReader r = ReadPayload(*this);
  record_ = ParseEventRecord(r.Bytes());
  key_ = ItemKey{kItemEvent};
  if (record_.has_id_word) key_.Append(record_.event_id);
}

std::uint32_t EventItem::GetHeaderLength() const {
  return record_.parsed ? record_.payload_offset : 0;
}

ItemTimestamp EventItem::GetSpecificTimestamp() const {
  if (!record_.parsed || record_.truncated_time) return timestamp_;
  return ItemTimestamp(record_.time);
}

bool EventItem::IsValid() const { return ItemRecord::IsValid() && record_.parsed; }

std::uint32_t EventItem::GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const {
  if (!IsValid()) return 0;
  return WriteDlfPacket(out, capacity, kDlfCodeEvent, GetSpecificTimestamp().Raw(),
                        ReadPayload(*this).Bytes().subspan(1));
}

void EventItem::GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                         const ItemRenderServices* services) const {
  RenderItemTexts(*this, {.short_type = ShortTypeText::kEvent, .summary = SummaryRule::kEvent},
                  request, options, services);
}

bool EventItem::SetDefaultColor() {
  color_ = kColorEvent;
  return true;
}

}  // namespace quillon
