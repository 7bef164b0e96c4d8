// MSG (type 6): a debug message that the device sends unformatted: a
// printf-style format string, its source file and line, and the raw 32-bit
// arguments. Two packet forms exist.
//
// Extended message (command 121 = 0x79), little-endian:
//   offset 0  u8     command code (0x79)
//          1  u8     timestamp type
//          2  u8     number of arguments, n
//          3  u8     dropped message count
//          4  u64    time (ItemTimestamp)
//         12  u16    source line number
//         14  u16    subsystem ID
//         16  u32    subsystem mask: the bit of the message's level
//         20  u32[n] arguments
//     20+4n  char[]  format string, zero-terminated
//      then  char[]  source file name, zero-terminated, the last byte
//                    of the payload
// Legacy message (command 31 = 0x1F), 87 bytes, fixed fields:
//   offset 0  u8       command code (0x1F)
//          1  u16      number of messages in the response
//          3  u32      dropped message count
//          7  u32      total message count
//         11  u8       level (0 low .. 4 fatal)
//         12  char[13] source file name, zero-padded
//         25  u16      source line number
//         27  char[40] format string, zero-padded
//         67  u32[3]   three arguments
//         79  u64      time (ItemTimestamp)
// Other command codes are not messages: the header does not parse.
//
// Key: (6, subsystem ID, level). The level of an extended message is the
// index of the lowest set bit of its subsystem mask (bit 0 low, 1 medium,
// 2 high, 3 error, 4 fatal, higher bits the subsystem's own levels), and
// 32 for an empty mask. Legacy messages have no subsystem: ID 0. The key
// is made from the fixed fields alone; (6) when they are missing.
// Valid only when the header parses: for the extended form all n arguments
// and the format string lie inside the payload and the payload ends in a
// zero byte; for the legacy form all 87 bytes are present.
// Header: 0 bytes. Specific timestamp: the header's time when it parses.
// Colour: by level, low to fatal: white, cyan, yellow, magenta, red.
// Texts: "MSG(L)", "MSG(M)", "MSG(H)", "MSG(E)", "MSG(F)" for levels 0..4
// and "MSG(n)" for others with combined texts; the summary is the message
// line (items/message_format.h).
// DLF form: packet code 0x1FEB (extended) or 0x1FEC (legacy), the specific
// timestamp, and the whole payload.
#pragma once

#include <cstdint>
#include <span>

#include "common/item_record.h"
#include "items/message_layout.h"

namespace quillon {

struct MessageHeader {
  bool has_key = false;  // the fixed fields that make the key are present
  bool parsed = false;   // the whole header (see the validity rule above)
  bool extended = false;
  std::uint32_t subsystem = 0;
  std::uint32_t level = 0;
  std::uint32_t line = 0;
  std::uint32_t arg_count = 0;
  std::uint32_t args_offset = 0;
  std::uint32_t format_offset = 0;
  std::uint64_t time = 0;
};

MessageHeader ParseMessageHeader(std::span<const std::uint8_t> payload);

// The key level of an extended message's subsystem mask (32 for 0).
std::uint32_t MessageLevelFromMask(std::uint32_t ss_mask);

// The default colour for a MSG key (the level and subsystem rules).
std::uint32_t MessageColor(const ItemKey& key);

class MessageItem final : public ItemRecord {
 public:
  explicit MessageItem(ItemBufferRef buffer, ItemTimestamp received = ItemTimestamp::Now());

  std::uint32_t GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const override;
  std::uint32_t GetHeaderLength() const override { return 0; }
  ItemTimestamp GetSpecificTimestamp() const override;
  bool IsValid() const override;
  void GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                const ItemRenderServices* services) const override;
  bool SetDefaultColor() override;

  const MessageHeader& Header() const { return header_; }

 private:
  MessageHeader header_;
};

}  // namespace quillon
