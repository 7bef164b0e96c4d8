// DIAG RX (type 1, a response from the device) and DIAG TX (type 2, a
// request to it): one diagnostic command packet.
//
// Payload layout:
//   offset 0  u8     command code
//          1  ...    command-specific body
// Key: (type, command code). Header: 1 byte (the command code).
//
// DLF form: packet code 0x1FF0 for responses, 0x1FEA for requests, the
// whole payload as data. A response to command 29 (0x1D, the time query)
// carries the device time in its 8 bytes at offset 1, which becomes the
// packet's timestamp; every other packet's timestamp is 0.
// Texts: the generic summary (render/item_texts.h).
#pragma once

#include <cstdint>

#include "common/item_record.h"

namespace quillon {

// Response command codes that report an error (bad command, bad
// parameters, bad length, bad packet, bad mode, ...); shown in red.
bool IsDiagErrorResponseCode(std::uint32_t command_code);

// DLF forms shared by the DIAG and SUBSYS item classes.
std::uint32_t WriteResponseDlf(const ItemRecord& item, std::uint8_t* out, std::uint32_t capacity);
std::uint32_t WriteRequestDlf(const ItemRecord& item, std::uint8_t* out, std::uint32_t capacity);

class DiagResponseItem final : public ItemRecord {
 public:
  explicit DiagResponseItem(ItemBufferRef buffer, ItemTimestamp received = ItemTimestamp::Now());

  std::uint32_t GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const override;
  std::uint32_t GetHeaderLength() const override { return buffer_.IsValid() ? 1 : 0; }
  // The dynamic parser libraries, then the over-the-air decoders.
  bool GetParsedText(std::u16string& out, const ItemParserService* parsers) const override;
  void GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                const ItemRenderServices* services) const override;
  // Red for error responses; otherwise light blue. Commands 0x26 and 0x27
  // would take their colour from the item configuration, which items do
  // not see; they keep light blue.
  bool SetDefaultColor() override;
};

class DiagRequestItem final : public ItemRecord {
 public:
  explicit DiagRequestItem(ItemBufferRef buffer, ItemTimestamp received = ItemTimestamp::Now());

  std::uint32_t GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const override;
  std::uint32_t GetHeaderLength() const override { return buffer_.IsValid() ? 1 : 0; }
  // The dynamic parser libraries, then the over-the-air decoders.
  bool GetParsedText(std::u16string& out, const ItemParserService* parsers) const override;
  void GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                const ItemRenderServices* services) const override;
  bool SetDefaultColor() override;
};

}  // namespace quillon
