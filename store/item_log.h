// LOG (type 5): one log packet, and the shared base of OTA LOG items.
//
// Payload layout (the log response envelope, then the log packet):
//   offset 0  u8   command code (16 = 0x10)
//          1  u8   more (packets pending in the device)
//          2  u16  length of the log packet that follows
//          4  u16  log packet length (this header included)
//          6  u16  log code
//          8  u64  time (ItemTimestamp)
//         16  ...  the log's own content                   header: 16 bytes
// The bytes from offset 4 on already form a DLF packet (u16 length, u16
// code, u64 time), which is the item's DLF form. Neither length word is
// checked against the payload length.
//
// Key: (5, log code); (5) alone when the code is missing. Valid only with
// the whole 16-byte header. Specific timestamp: the header's time, or the
// generic timestamp when the header is incomplete. Colour: silver.
// Texts: "LOG(-)" with combined texts; always the generic summary. Every
// log code that has a summary rule of its own is an OTA log code, so such
// logs are OTA LOG items (store/item_ota_log.h), which apply the rules.
#pragma once

#include <cstdint>
#include <span>

#include "common/item_record.h"

namespace quillon {

inline constexpr std::uint32_t kLogHeaderLength = 16;
// The log code's offset, also used by the factory to spot OTA logs.
inline constexpr std::size_t kLogCodeOffset = 6;

struct LogPacketHeader {
  bool parsed = false;  // all 16 header bytes are present
  bool has_code = false;
  std::uint16_t log_code = 0;
  std::uint64_t time = 0;
};

LogPacketHeader ParseLogPacketHeader(std::span<const std::uint8_t> payload);

// What LOG and OTA LOG items share: the header, the key shape, validity,
// the specific timestamp and the DLF form.
class LogPacketItem : public ItemRecord {
 public:
  std::uint32_t GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const override;
  std::uint32_t GetHeaderLength() const override {
    return buffer_.IsValid() ? kLogHeaderLength : 0;
  }
  ItemTimestamp GetSpecificTimestamp() const override;
  bool IsValid() const override;

  const LogPacketHeader& Header() const { return header_; }

 protected:
  LogPacketItem(std::uint32_t type_code, ItemBufferRef buffer, ItemTimestamp received);

 private:
  LogPacketHeader header_;
};

class LogItem final : public LogPacketItem {
 public:
  explicit LogItem(ItemBufferRef buffer, ItemTimestamp received = ItemTimestamp::Now());
  void GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                const ItemRenderServices* services) const override;
  bool SetDefaultColor() override;
};

}  // namespace quillon
