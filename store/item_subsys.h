// SUBSYS RX (type 9) and SUBSYS TX (type 10): a command addressed to one
// subsystem of the device through the subsystem dispatch command.
//
// Immediate form (command 75 = 0x4B, and requests of any command):
//   offset 0  u8   command code
//          1  u8   subsystem ID
//          2  u16  subsystem command code
//          4  ...  subsystem-specific body                 header: 4 bytes
// Delayed-response form (responses whose command code is 128 = 0x80):
//   offset 0  u8   command code 0x80
//          1  u8   subsystem ID
//          2  u16  subsystem command code
//          4  u32  status (0 = success)
//          8  u16  delayed response ID
//         10  u16  response count
//         12  ...  subsystem-specific body                 header: 12 bytes
// The command byte is not checked: the envelope is read the same way for
// any command code the capture tool filed as a subsystem item.
//
// Key: (type, subsystem ID, subsystem command code); an item shorter than
// the 4-byte envelope keeps the type code alone and is not valid.
// DLF form: as DIAG RX / DIAG TX. Texts: the generic summary.
#pragma once

#include <cstdint>
#include <optional>

#include "common/item_record.h"

namespace quillon {

// The first byte of a delayed (version 2) subsystem response.
inline constexpr std::uint8_t kSubsysDelayedCommand = 0x80;

class SubsysResponseItem final : public ItemRecord {
 public:
  explicit SubsysResponseItem(ItemBufferRef buffer, ItemTimestamp received = ItemTimestamp::Now());

  std::uint32_t GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const override;
  // 12 for the delayed-response form, else 4.
  std::uint32_t GetHeaderLength() const override;
  void GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                const ItemRenderServices* services) const override;
  // Delayed form: red when its status word is present and non-zero, else
  // pale blue. Immediate form: light blue.
  bool SetDefaultColor() override;

  // The status word of a delayed response, when present.
  std::optional<std::uint32_t> DelayedStatus() const;
};

class SubsysRequestItem final : public ItemRecord {
 public:
  explicit SubsysRequestItem(ItemBufferRef buffer, ItemTimestamp received = ItemTimestamp::Now());

  std::uint32_t GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const override;
  std::uint32_t GetHeaderLength() const override { return buffer_.IsValid() ? 4 : 0; }
  void GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                const ItemRenderServices* services) const override;
  bool SetDefaultColor() override;
};

}  // namespace quillon
