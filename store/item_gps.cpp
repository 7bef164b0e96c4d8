#include "store/item_gps.h"

#include "parsers/ota_parsing.h"
#include "store/item_payload.h"

namespace quillon {

namespace {
constexpr std::uint32_t kColorGps = 0x663399;
}  // namespace

GpsItem::GpsItem(const ItemBufferRef& buffer) : ItemRecord(kItemGps, buffer) {
  key_ = ItemKey{kItemGps};
}

std::uint32_t GpsItem::GetDLFBuffer(std::uint8_t*, std::uint32_t) const { return 0; }

GpsRecord GpsItem::Record() const { return ReadGpsRecord(ReadPayload(*this).Bytes()); }

bool GpsItem::HasWholeRecord() const { return GetPayloadLength() >= kGpsRecordSize; }

ItemTimestamp GpsItem::GetSpecificTimestamp() const {
  if (!HasWholeRecord()) return timestamp_;
  return GpsTimeToday(Record().utc_time).value_or(timestamp_);
}

bool GpsItem::IsValid() const { return ItemRecord::IsValid() && HasWholeRecord(); }

bool GpsItem::SetDefaultColor() {
  color_ = kColorGps;
  return true;
}

bool GpsItem::GetParsedText(std::u16string& out, const ItemParserService* parsers) const {
  return AppendOtaParsedText(*this, parsers, out);
}

}  // namespace quillon
