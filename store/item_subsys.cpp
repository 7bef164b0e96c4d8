#include "store/item_subsys.h"

#include "render/item_texts.h"
#include "store/internal/item_payload.h"
#include "store/item_diag.h"

namespace quillon {

namespace {

constexpr std::uint32_t kColorResponse = 0xFF8080;
constexpr std::uint32_t kColorDelayedOk = 0xFF9494;
constexpr std::uint32_t kColorRequest = 0x80FF80;

ItemKey SubsysKey(std::uint32_t type_code, const ItemRecord& item) {
  ItemKey key{type_code};
  const PayloadReader r = ReadPayload(item);
  auto id = r.U8(1);
  auto command = r.U16(2);
  if (id && command) {
    key.Append(*id);
    key.Append(*command);
  }
  return key;
}

}  // namespace

SubsysResponseItem::SubsysResponseItem(ItemBufferRef buffer, ItemTimestamp received)
    : ItemRecord(kItemSubsysRx, std::move(buffer), received) {
  key_ = SubsysKey(kItemSubsysRx, *this);
}

std::uint32_t SubsysResponseItem::GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const {
  return WriteResponseDlf(*this, out, capacity);
}

std::uint32_t SubsysResponseItem::GetHeaderLength() const {
  if (!buffer_.IsValid()) return 0;
  return ReadPayload(*this).U8(0) == kSubsysDelayedCommand ? 12 : 4;
}

std::optional<std::uint32_t> SubsysResponseItem::DelayedStatus() const {
  const PayloadReader r = ReadPayload(*this);
  if (r.U8(0) != kSubsysDelayedCommand) return std::nullopt;
  return r.U32(4);
}

void SubsysResponseItem::GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                                  const ItemRenderServices* services) const {
  RenderItemTexts(*this, {.short_type = ShortTypeText::kNone, .summary = SummaryRule::kGeneric},
                  request, options, services);
}

bool SubsysResponseItem::SetDefaultColor() {
  if (ReadPayload(*this).U8(0) == kSubsysDelayedCommand) {
    auto status = DelayedStatus();
    color_ = status && *status != 0 ? kColorRed : kColorDelayedOk;
  } else {
    color_ = kColorResponse;
  }
  return true;
}

SubsysRequestItem::SubsysRequestItem(ItemBufferRef buffer, ItemTimestamp received)
    : ItemRecord(kItemSubsysTx, std::move(buffer), received) {
  key_ = SubsysKey(kItemSubsysTx, *this);
}

std::uint32_t SubsysRequestItem::GetDLFBuffer(std::uint8_t* out, std::uint32_t capacity) const {
  return WriteRequestDlf(*this, out, capacity);
}

void SubsysRequestItem::GetTexts(ItemTextRequest& request, const ItemRenderOptions& options,
                                 const ItemRenderServices* services) const {
  RenderItemTexts(*this, {.short_type = ShortTypeText::kNone, .summary = SummaryRule::kGeneric},
                  request, options, services);
}

bool SubsysRequestItem::SetDefaultColor() {
  color_ = kColorRequest;
  return true;
}

}  // namespace quillon
