// GPS (type 3): one position fix, the 56-byte GPS record of
// items/gps_record.h, with no envelope.
//
// Key: (3). Header: 0 bytes. Colour: purple.
// Valid only with a whole record (56 bytes or more): a GPS item that is
// not valid is dropped, not kept as MALFORMED.
// Specific timestamp: the record's UTC time of day on the computer's
// current date; the generic timestamp when the record is short or its
// time is not a time of day.
// DLF form: packet code 0x1FE8 (Quillon's own: the legacy log-file format
// has no GPS packet), the generic timestamp (the specific one is dated
// today) and the whole payload.
// Texts: a parser library's summary, else the GPS summary
// (render/gps_text.h). Parsed text: a parser library's text, else the
// multi-line GPS text.
#pragma once

#include "common/item_record.h"
#include "items/gps_record.h"

namespace quillon {

class GpsItem final : public ItemRecord {
 public:
  explicit GpsItem(ItemBufferRef buffer, ItemTimestamp received = ItemTimestamp::Now());

  std::uint32_t GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const override;
  std::uint32_t GetHeaderLength() const override { return 0; }
  ItemTimestamp GetSpecificTimestamp() const override;
  bool IsValid() const override;
  // Appends the dynamic parser libraries' text, else the GPS text; false,
  // appending nothing, only without a payload.
  bool GetParsedText(std::u16string& out, const ItemParserService* parsers) const override;
  void GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                const ItemRenderServices* services) const override;
  bool SetDefaultColor() override;

  // The record as it lies (missing fields read as zero).
  GpsRecord Record() const;
  bool HasWholeRecord() const;
};

}  // namespace quillon
