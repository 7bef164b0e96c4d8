// OTA LOG (type 8): a log packet that carries over-the-air signalling.
// The factory makes one from every LOG whose log code is an OTA log code.
//
// Layout, header, validity, specific timestamp and DLF form: as LOG
// (store/item_log.h). Key: (8, log code). The key shape allows further
// numbers after the log code (a channel, a message type); the log header
// has no such fields, so items carry the log code alone.
// Colour: a fixed table by log code; magenta for codes not in it.
#pragma once

#include <cstdint>

#include "store/item_log.h"

namespace quillon {

// The table colour of an OTA log code; magenta (kColorUnknown) otherwise.
std::uint32_t OtaLogColor(std::uint32_t log_code);

class OtaLogItem final : public LogPacketItem {
 public:
  explicit OtaLogItem(const ItemBufferRef& buffer);
  // The dynamic parser libraries, then the over-the-air decoders.
  bool GetParsedText(std::u16string& out, const ItemParserService* parsers) const override;
  bool SetDefaultColor() override;
};

}  // namespace quillon
