#include "store/item_diag.h"

#include "parsers/ota_parsing.h"
#include "render/item_texts.h"
#include "store/internal/dlf_packet.h"
#include "store/internal/item_payload.h"

namespace quillon {

namespace {

constexpr std::uint32_t kColorResponse = 0xFF8080;
constexpr std::uint32_t kColorRequest = 0x80FF80;
// The time query's response carries the device time after its command code.
constexpr std::uint8_t kTimeCommand = 29;

ItemKey CommandKey(std::uint32_t type_code, const ItemRecord& item) {
  ItemKey key{type_code};
  if (auto command = ReadPayload(item).U8(0)) key.Append(*command);
  return key;
}

}  // namespace

bool IsDiagErrorResponseCode(std::uint32_t command_code) {
  switch (command_code) {
    case 19:  // bad command
    case 20:  // bad parameters
    case 21:  // bad length
    case 22:  // bad packet (device not ready)
    case 23:  // bad mode
    case 24:  // bad security state
    case 66:  // bad SPC mode
    case 71:  // bad command for this target
      return true;
    default:
      return false;
  }
}

std::uint32_t WriteResponseDlf(const ItemRecord& item, std::uint8_t* out, std::uint32_t capacity) {
  if (!item.IsValid()) return 0;
  const PayloadReader r = ReadPayload(item);
  std::uint64_t time = 0;
  if (r.U8(0) == kTimeCommand) time = r.U64(1).value_or(0);
  return WriteDlfPacket(out, capacity, kDlfCodeResponse, time, r.Bytes());
}

std::uint32_t WriteRequestDlf(const ItemRecord& item, std::uint8_t* out, std::uint32_t capacity) {
  if (!item.IsValid()) return 0;
  return WriteDlfPacket(out, capacity, kDlfCodeRequest, 0, ReadPayload(item).Bytes());
}

DiagResponseItem::DiagResponseItem(ItemBufferRef buffer, ItemTimestamp received)
    : ItemRecord(kItemDiagRx, std::move(buffer), received) {
  key_ = CommandKey(kItemDiagRx, *this);
}

std::uint32_t DiagResponseItem::GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const {
  return WriteResponseDlf(*this, out, capacity);
}

void DiagResponseItem::GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                                const ItemRenderServices* services) const {
  RenderItemTexts(*this, {.short_type = ShortTypeText::kNone, .summary = SummaryRule::kGeneric},
                  request, options, services);
}

bool DiagResponseItem::SetDefaultColor() {
  auto command = ReadPayload(*this).U8(0);
  color_ = command && IsDiagErrorResponseCode(*command) ? kColorRed : kColorResponse;
  return true;
}

DiagRequestItem::DiagRequestItem(ItemBufferRef buffer, ItemTimestamp received)
    : ItemRecord(kItemDiagTx, std::move(buffer), received) {
  key_ = CommandKey(kItemDiagTx, *this);
}

std::uint32_t DiagRequestItem::GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const {
  return WriteRequestDlf(*this, out, capacity);
}

void DiagRequestItem::GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                               const ItemRenderServices* services) const {
  RenderItemTexts(*this, {.short_type = ShortTypeText::kNone, .summary = SummaryRule::kGeneric},
                  request, options, services);
}

bool DiagRequestItem::SetDefaultColor() {
  color_ = kColorRequest;
  return true;
}

bool DiagResponseItem::GetParsedText(std::u16string& out, const ItemParserService* parsers) const {
  return AppendOtaParsedText(*this, parsers, out);
}

bool DiagRequestItem::GetParsedText(std::u16string& out, const ItemParserService* parsers) const {
  return AppendOtaParsedText(*this, parsers, out);
}

}  // namespace quillon
