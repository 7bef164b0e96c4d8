#include "store/item_log.h"

#include "items/payload_reader.h"
#include "render/item_texts.h"
#include "store/internal/dlf_packet.h"
#include "store/internal/item_payload.h"

namespace quillon {

namespace {
constexpr std::uint32_t kColorLog = 0xC0C0C0;
constexpr std::size_t kDlfOffset = 4;  // where the log packet (a DLF packet) starts
constexpr std::size_t kTimeOffset = 8;
}  // namespace

LogPacketHeader ParseLogPacketHeader(std::span<const std::uint8_t> payload) {
  const PayloadReader r(payload);
  LogPacketHeader h;
  if (auto code = r.U16(kLogCodeOffset)) {
    h.has_code = true;
    h.log_code = *code;
  }
  if (auto time = r.U64(kTimeOffset)) {
    h.time = *time;
    h.parsed = true;
  }
  return h;
}

LogPacketItem::LogPacketItem(std::uint32_t type_code, ItemBufferRef buffer, ItemTimestamp received)
    : ItemRecord(type_code, std::move(buffer), received) {
  header_ = ParseLogPacketHeader(ReadPayload(*this).Bytes());
  key_ = ItemKey{type_code};
  if (header_.has_code) key_.Append(header_.log_code);
}

ItemTimestamp LogPacketItem::GetSpecificTimestamp() const {
  return header_.parsed ? ItemTimestamp(header_.time) : timestamp_;
}

bool LogPacketItem::IsValid() const { return ItemRecord::IsValid() && header_.parsed; }

std::uint32_t LogPacketItem::GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const {
  if (!IsValid()) return 0;
  return WriteDlfRaw(out, capacity, ReadPayload(*this).Bytes().subspan(kDlfOffset));
}

LogItem::LogItem(ItemBufferRef buffer, ItemTimestamp received)
    : LogPacketItem(kItemLog, std::move(buffer), received) {}

void LogItem::GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                       const ItemRenderServices* services) const {
  RenderItemTexts(*this, {.short_type = ShortTypeText::kLog, .summary = SummaryRule::kGeneric},
                  request, options, services);
}

bool LogItem::SetDefaultColor() {
  color_ = kColorLog;
  return true;
}

}  // namespace quillon
