#include "store/item_ota_log.h"

#include <array>
#include <span>
#include <utility>

#include "parsers/ota_parsing.h"
#include "render/item_texts.h"

namespace quillon {

namespace {

// Log code -> COLORREF. A constant table: made once, shared by all items
// and safe to read from any thread.
constexpr std::array<std::pair<std::uint32_t, std::uint32_t>, 22> kOtaColors = {{
    {0x1004, 0xF8F2E8}, {0x1005, 0xF2E8D8}, {0x1006, 0xECDCC2}, {0x1007, 0xE6D0AC},
    {0x1008, 0xE0C698}, {0x1090, 0xE0C698}, {0x1091, 0xF2E8D8}, {0x1076, 0xF0F4F0},
    {0x1077, 0xEBF0EB}, {0x1078, 0xE6ECE6}, {0x1079, 0xE1E8E1}, {0x1085, 0xFFF4F0},
    {0x1086, 0xFFF0EB}, {0x10D6, 0xFCF4F8}, {0x10D7, 0xF8E8EE}, {0x10D8, 0xF4DAE4},
    {0x412F, 0x00CCFF}, {0x512F, 0xC2D6FF}, {0x5226, 0x6496FF}, {0x5230, 0x0052FB},
    {0x713A, 0xBEF4FF}, {0x107C, 0xDCE4DC},
}};

// The OTA kind: the first byte of the log content, where the public layout
// of the log packet puts a channel type or a direction there.
constexpr std::uint32_t kGsmRrLogCode = 0x512F;
constexpr std::uint32_t kGprsMacLogCode = 0x5226;
constexpr std::uint32_t kGprsSmGmmLogCode = 0x5230;
constexpr std::uint32_t kUmtsNasLogCode = 0x713A;
constexpr std::uint32_t kDownlinkBit = 0x80;

}  // namespace

std::optional<std::uint32_t> OtaKindOf(std::uint32_t log_code,
                                       std::span<const std::uint8_t> payload) {
  if (payload.size() <= kLogHeaderLength) return std::nullopt;
  const std::uint32_t first = payload[kLogHeaderLength];
  switch (log_code) {
    case 0x412F:  // WCDMA RRC: channel type
      return first;
    case kGsmRrLogCode:  // GSM RR: channel type, the downlink bit dropped
      return first & ~kDownlinkBit;
    case kGprsMacLogCode:  // GPRS MAC: the downlink bit of the channel type
      return (first & kDownlinkBit) != 0 ? 1u : 0u;
    case kGprsSmGmmLogCode:  // GPRS SM/GMM and UMTS NAS: direction
    case kUmtsNasLogCode:
      return first;
    default:
      return std::nullopt;
  }
}

std::uint32_t OtaLogColor(std::uint32_t log_code) {
  for (const auto& [code, color] : kOtaColors) {
    if (code == log_code) return color;
  }
  return kColorUnknown;
}

OtaLogItem::OtaLogItem(ItemBufferRef buffer, ItemTimestamp received)
    : LogPacketItem(kItemOtaLog, std::move(buffer), received) {
  if (key_.size() != 2) return;
  const std::span<const std::uint8_t> payload(GetPayload(), GetPayloadLength());
  if (const auto kind = OtaKindOf(key_[1], payload)) key_.Append(*kind);
}

void OtaLogItem::GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                          const ItemRenderServices* services) const {
  RenderItemTexts(*this, {.short_type = ShortTypeText::kLog, .summary = SummaryRule::kLogCode},
                  request, options, services);
}

bool OtaLogItem::SetDefaultColor() {
  color_ = key_.size() >= 2 ? OtaLogColor(key_[1]) : kColorUnknown;
  return true;
}

bool OtaLogItem::GetParsedText(std::u16string& out, const ItemParserService* parsers) const {
  return AppendOtaParsedText(*this, parsers, out);
}

}  // namespace quillon
