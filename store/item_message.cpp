#include "store/item_message.h"

#include <array>
#include <bit>

#include "items/payload_reader.h"
#include "render/item_texts.h"
#include "store/internal/dlf_packet.h"
#include "store/internal/item_payload.h"

namespace quillon {

namespace {

constexpr std::array<std::uint32_t, 5> kLevelColors = {
    0xFFFFFF,  // low
    0xFFFF00,  // medium
    0x00FFFF,  // high
    0xFF00FF,  // error
    0x0000FF,  // fatal
};
// A level beyond fatal from a real subsystem.
constexpr std::uint32_t kColorOtherLevel = 0x5055B8;

MessageHeader ParseExtended(const PayloadReader& r) {
  MessageHeader h;
  h.extended = true;
  auto n = r.U8(kExtendedMessageArgCountOffset);
  auto time = r.U64(kExtendedMessageTimeOffset);
  auto line = r.U16(kExtendedMessageLineOffset);
  auto subsystem = r.U16(kExtendedMessageSubsystemOffset);
  auto mask = r.U32(kExtendedMessageMaskOffset);
  if (!n || !time || !line || !subsystem || !mask) return h;
  h.has_key = true;
  h.arg_count = *n;
  h.time = *time;
  h.line = *line;
  h.subsystem = *subsystem;
  h.level = MessageLevelFromMask(*mask);
  h.args_offset = kExtendedMessageArgsOffset;
  h.format_offset = kExtendedMessageArgsOffset + 4 * h.arg_count;
  // The texts run to the end of the payload, which must terminate them.
  h.parsed = h.format_offset < r.size() && r.U8(r.size() - 1) == 0;
  return h;
}

MessageHeader ParseLegacy(const PayloadReader& r) {
  MessageHeader h;
  auto level = r.U8(kLegacyMessageLevelOffset);
  if (!level) return h;
  h.has_key = true;
  h.level = *level;
  h.arg_count = kLegacyMessageArgCount;
  h.args_offset = kLegacyMessageArgsOffset;
  h.format_offset = kLegacyMessageFormatOffset;
  if (r.size() < kLegacyMessageLength) return h;
  h.line = *r.U16(kLegacyMessageLineOffset);
  h.time = *r.U64(kLegacyMessageTimeOffset);
  h.parsed = true;
  return h;
}

}  // namespace

std::uint32_t MessageLevelFromMask(std::uint32_t ss_mask) {
  return static_cast<std::uint32_t>(std::countr_zero(ss_mask));
}

MessageHeader ParseMessageHeader(std::span<const std::uint8_t> payload) {
  const PayloadReader r(payload);
  auto command = r.U8(0);
  if (command == kExtendedMessageCommand) return ParseExtended(r);
  if (command == kLegacyMessageCommand) return ParseLegacy(r);
  return {};
}

std::uint32_t MessageColor(const ItemKey& key) {
  if (key.size() < 3) return kColorUnknown;
  if (key[2] < kLevelColors.size()) return kLevelColors[key[2]];
  return key[1] != 0 ? kColorOtherLevel : kColorUnknown;
}

MessageItem::MessageItem(ItemBufferRef buffer, ItemTimestamp received)
    : ItemRecord(kItemMsg, std::move(buffer), received) {
  header_ = ParseMessageHeader(ReadPayload(*this).Bytes());
  key_ = ItemKey{kItemMsg};
  if (header_.has_key) {
    key_.Append(header_.subsystem);
    key_.Append(header_.level);
  }
}

ItemTimestamp MessageItem::GetSpecificTimestamp() const {
  return header_.parsed ? ItemTimestamp(header_.time) : timestamp_;
}

bool MessageItem::IsValid() const { return ItemRecord::IsValid() && header_.parsed; }

std::uint32_t MessageItem::GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const {
  if (!IsValid()) return 0;
  const PayloadReader r = ReadPayload(*this);
  const std::uint16_t code =
      r.U8(0) == kExtendedMessageCommand ? kDlfCodeExtendedMessage : kDlfCodeMessage;
  return WriteDlfPacket(out, capacity, code, GetSpecificTimestamp().Raw(), r.Bytes());
}

void MessageItem::GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                           const ItemRenderServices* services) const {
  RenderItemTexts(*this, {.short_type = ShortTypeText::kMessage, .summary = SummaryRule::kMessage},
                  request, options, services);
}

bool MessageItem::SetDefaultColor() {
  color_ = MessageColor(key_);
  return true;
}

}  // namespace quillon
