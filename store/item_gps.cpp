#include "store/item_gps.h"

#include "parsers/ota_parsing.h"
#include "render/gps_text.h"
#include "render/item_texts.h"
#include "store/internal/dlf_packet.h"
#include "store/internal/item_payload.h"

namespace quillon {

namespace {
constexpr std::uint32_t kColorGps = 0x663399;
}  // namespace

GpsItem::GpsItem(ItemBufferRef buffer, ItemTimestamp received)
    : ItemRecord(kItemGps, std::move(buffer), received) {
  key_ = ItemKey{kItemGps};
}

std::uint32_t GpsItem::GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const {
  if (!IsValid()) return 0;
  return WriteDlfPacket(out, capacity, kDlfCodeGps, timestamp_.Raw(), ReadPayload(*this).Bytes());
}

GpsRecord GpsItem::Record() const { return ReadGpsRecord(ReadPayload(*this).Bytes()); }

bool GpsItem::HasWholeRecord() const { return GetPayloadLength() >= kGpsRecordSize; }

ItemTimestamp GpsItem::GetSpecificTimestamp() const {
  if (!HasWholeRecord()) return timestamp_;
  return GpsTimeToday(Record().utc_time).value_or(timestamp_);
}

bool GpsItem::IsValid() const { return ItemRecord::IsValid() && HasWholeRecord(); }

void GpsItem::GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                       const ItemRenderServices* services) const {
  RenderItemTexts(*this, {.short_type = ShortTypeText::kNone, .summary = SummaryRule::kGps},
                  request, options, services);
}

bool GpsItem::SetDefaultColor() {
  color_ = kColorGps;
  return true;
}

bool GpsItem::GetParsedText(std::u16string& out, const ItemParserService* parsers) const {
  if (AppendOtaParsedText(*this, parsers, out)) return true;
  if (!buffer_.IsValid()) return false;
  // The record as it lies: a short payload is not refused.
  AppendGpsText(Record(), out);
  return true;
}

}  // namespace quillon
