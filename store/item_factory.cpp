#include "store/item_factory.h"

#include <array>

#include "store/internal/item_payload.h"
#include "store/item_classes.h"

namespace quillon {

namespace {

constexpr std::array<std::uint32_t, 12> kFixedOtaLogCodes = {
    0x1076, 0x1077, 0x1078, 0x1079, 0x107C, 0x1085, 0x1086, 0x412F, 0x512F, 0x5226, 0x5230, 0x713A,
};

ItemPtr MakeItem(std::uint32_t type_code, const ItemBufferRef& buffer) {
  switch (type_code) {
    case kItemMalformed:
      return std::make_unique<MalformedItem>(buffer);
    case kItemDiagRx:
      return std::make_unique<DiagResponseItem>(buffer);
    case kItemDiagTx:
      return std::make_unique<DiagRequestItem>(buffer);
    case kItemGps:
      return std::make_unique<GpsItem>(buffer);
    case kItemEvent:
      return std::make_unique<EventItem>(buffer);
    case kItemLog:
      return std::make_unique<LogItem>(buffer);
    case kItemMsg:
      return std::make_unique<MessageItem>(buffer);
    case kItemString:
      return std::make_unique<StringItem>(buffer);
    case kItemOtaLog:
      return std::make_unique<OtaLogItem>(buffer);
    case kItemSubsysRx:
      return std::make_unique<SubsysResponseItem>(buffer);
    case kItemSubsysTx:
      return std::make_unique<SubsysRequestItem>(buffer);
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

ItemPtr CreateItem(const ItemRecord::Header& header, const ItemBufferRef& buffer, bool validate,
                   const ItemDatabaseView& database) {
  if (header.type_code >= kItemTypeCount || !buffer.IsValid()) return nullptr;

  std::uint32_t type_code = header.type_code;
  if (type_code == kItemLog) {
    auto code = PayloadReader(buffer.Data(), buffer.Length()).U16(kLogCodeOffset);
    if (code && IsOtaLogCode(*code, database)) type_code = kItemOtaLog;
  }

  ItemPtr item = MakeItem(type_code, buffer);
  if (validate && !item->IsValid()) {
    if (type_code == kItemGps || type_code == kItemString) return nullptr;
    item = std::make_unique<MalformedItem>(buffer);
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
