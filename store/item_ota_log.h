// OTA LOG (type 8): a log packet that carries over-the-air signalling.
// The factory makes one from every LOG whose log code is an OTA log code.
//
// Layout, header, validity, specific timestamp and DLF form: as LOG
// (store/item_log.h). Key: (8, log code, kind) for the logs whose public
// layout starts the log content with a channel type or a direction
// (OtaKindOf), (8, log code) for the others and for a log without content.
// Colour: a fixed table by log code; magenta for codes not in it.
// Texts: "LOG(-)" with combined texts; the summary of the log code's own
// rule (pilot logs, UMTS NAS, WCDMA RRC: LogCodeSummary in
// render/item_texts.h) where it has one, else the generic summary.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "store/item_log.h"

namespace quillon {

// The OTA kind of a log payload (envelope and log header included), from
// the first content byte (offset 16):
//   0x412F WCDMA RRC        the channel type
//   0x512F GSM RR           the channel type without the downlink bit 0x80
//   0x5226 GPRS MAC         1 when the channel type has the downlink bit, else 0
//   0x5230 GPRS SM/GMM, 0x713A UMTS NAS   the direction byte
// Nothing for other codes (CDMA, HDR) or a payload without content.
std::optional<std::uint32_t> OtaKindOf(std::uint32_t log_code,
                                       std::span<const std::uint8_t> payload);

// The table colour of an OTA log code; magenta (kColorUnknown) otherwise.
std::uint32_t OtaLogColor(std::uint32_t log_code);

class OtaLogItem final : public LogPacketItem {
 public:
  explicit OtaLogItem(ItemBufferRef buffer, ItemTimestamp received = ItemTimestamp::Now());
  // The dynamic parser libraries, then the over-the-air decoders.
  bool GetParsedText(std::u16string& out, const ItemParserService* parsers) const override;
  void GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                const ItemRenderServices* services) const override;
  bool SetDefaultColor() override;
};

}  // namespace quillon
