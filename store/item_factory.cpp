#include "store/item_factory.h"

#include <array>
#include <utility>

#include "store/internal/item_payload.h"
#include "store/item_classes.h"

namespace quillon {

namespace {

constexpr std::array<std::uint32_t, 12> kFixedOtaLogCodes = {
    0x1076, 0x1077, 0x1078, 0x1079, 0x107C, 0x1085, 0x1086, 0x412F, 0x512F, 0x5226, 0x5230, 0x713A,
};

// `received` is the generic timestamp the item will carry: CreateItem sets it
// last in any case, so the constructors need not read the clock.
ItemPtr MakeItem(std::uint32_t type_code, ItemBufferRef&& buffer, ItemTimestamp received) {
  switch (type_code) {
    case kItemMalformed:
      return std::make_unique<MalformedItem>(std::move(buffer), received);
    case kItemDiagRx:
      return std::make_unique<DiagResponseItem>(std::move(buffer), received);
    case kItemDiagTx:
      return std::make_unique<DiagRequestItem>(std::move(buffer), received);
    case kItemGps:
      return std::make_unique<GpsItem>(std::move(buffer), received);
    case kItemEvent:
      return std::make_unique<EventItem>(std::move(buffer), received);
    case kItemLog:
      return std::make_unique<LogItem>(std::move(buffer), received);
    case kItemMsg:
      return std::make_unique<MessageItem>(std::move(buffer), received);
    case kItemString:
      return std::make_unique<StringItem>(std::move(buffer), received);
    case kItemOtaLog:
      return std::make_unique<OtaLogItem>(std::move(buffer), received);
    case kItemSubsysRx:
      return std::make_unique<SubsysResponseItem>(std::move(buffer), received);
    case kItemSubsysTx:
      return std::make_unique<SubsysRequestItem>(std::move(buffer), received);
    default:
      return nullptr;
  }
}

}  // namespace

bool IsOtaLogCode(std::uint32_t log_code, const ItemDatabaseView& database) {
  for (std::uint32_t code : kFixedOtaLogCodes) {
    if (code == log_code) return true;
  }
  return database.IsOtaLogCode(log_code);
}

ItemPtr CreateItem(const ItemRecord::Header& header, ItemBufferRef buffer, bool validate,
                   const ItemDatabaseView& database) {
  if (header.type_code >= kItemTypeCount || !buffer.IsValid()) return nullptr;

  std::uint32_t type_code = header.type_code;
  if (type_code == kItemLog) {
    auto code = PayloadReader(buffer.Data(), buffer.Length()).U16(kLogCodeOffset);
    if (code && IsOtaLogCode(*code, database)) type_code = kItemOtaLog;
  }

  ItemPtr item = MakeItem(type_code, std::move(buffer), header.timestamp);
  if (validate && !item->IsValid()) {
    if (type_code == kItemGps || type_code == kItemString) return nullptr;
    ItemBufferRef same = item->Buffer();
    item.reset();
    item = std::make_unique<MalformedItem>(std::move(same), ItemTimestamp(0));
    item->SetColor(kColorRed);
    item->SetAuxValue(0xFFFFFFFF);
    item->SetTimestamp(ItemTimestamp(0));
    if (!item->IsValid()) return nullptr;
  }
  item->SetDefaultColor();
  item->SetTimestamp(header.timestamp);
  return item;
}

ItemPtr CloneItem(const ItemRecord& item, bool validate, const ItemDatabaseView& database) {
  return CreateItem(ItemRecord::Header{item.TypeCode(), item.Timestamp()}, item.Buffer(), validate,
                    database);
}

}  // namespace quillon
