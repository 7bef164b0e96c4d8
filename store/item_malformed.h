// MALFORMED (type 0): an item whose payload did not parse as the type the
// tool first gave it. It keeps the bytes as they came.
//
// Key: (0, first payload byte). The first byte is the command code that
// came from the device, which is what names a malformed item ("LOG" for
// 16, "MESSAGE" for 31 or 121, ...). A key of the type code alone only
// arises for an item without a valid buffer.
// Header: 1 byte (the command code). Colour: red. No DLF form.
// Texts: the generic summary (render/item_texts.h).
#pragma once

#include "common/item_record.h"

namespace quillon {

class MalformedItem final : public ItemRecord {
 public:
  explicit MalformedItem(ItemBufferRef buffer, ItemTimestamp received = ItemTimestamp::Now());

  std::uint32_t GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const override;
  std::uint32_t GetHeaderLength() const override { return buffer_.IsValid() ? 1 : 0; }
  void GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                const ItemRenderServices* services) const override;
  bool SetDefaultColor() override;
};

}  // namespace quillon
