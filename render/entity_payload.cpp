#include "render/entity_payload.h"

#include "items/event_record.h"
#include "items/payload_reader.h"

namespace quillon {

namespace {

constexpr std::uint32_t kNvReadCommand = 38;
constexpr std::uint32_t kNvWriteCommand = 39;
constexpr std::uint32_t kNvDataOffset = 3;
constexpr std::uint32_t kNvDataLength = 128;
constexpr std::uint32_t kNvStatusOffset = 131;
constexpr std::uint32_t kSubsysDispatchCommand = 75;
constexpr std::uint32_t kSubsysDelayedCommand = 0x80;
// Response counts of a delayed response that mean "the immediate
// response" (0) and "the immediate response, more follow" (bit 15 alone).
constexpr std::uint16_t kMoreResponsesFlag = 0x8000;

EntityPayload Part(std::vector<std::uint32_t> keys, const PayloadReader& bytes, std::size_t offset,
                   std::size_t length) {
  EntityPayload p;
  if (offset > bytes.size()) return p;
  if (length > bytes.size() - offset) length = bytes.size() - offset;
  p.keys = std::move(keys);
  p.data = bytes.Bytes().data() + offset;
  p.length = static_cast<std::uint32_t>(length);
  return p;
}

EntityPayload Rest(std::vector<std::uint32_t> keys, const PayloadReader& bytes,
                   std::size_t offset) {
  return Part(std::move(keys), bytes, offset, bytes.size());
}

EntityPayload DiagPayload(const ItemRecord& item, const PayloadReader& bytes) {
  const auto command = bytes.U8(0);
  if (!command) return {};
  const bool response = item.TypeCode() == kItemDiagRx;
  if (*command == kNvReadCommand || *command == kNvWriteCommand) {
    const auto nv_item = bytes.U16(1);
    if (!nv_item) return {};
    if (response) {
      const auto status = bytes.U16(kNvStatusOffset);
      if (!status || *status != 0) return {};
    }
    return Part({6, *nv_item}, bytes, kNvDataOffset, kNvDataLength);
  }
  return Rest({response ? 1u : 0u, *command}, bytes, 1);
}

EntityPayload EventPayload(const PayloadReader& bytes) {
  const EventRecord record = ParseEventRecord(bytes.Bytes());
  if (!record.parsed) return {};
  return Part({4, record.event_id}, bytes, record.payload_offset, record.payload_length);
}

std::vector<std::uint32_t> SubsysKeys(std::uint32_t family, const ItemRecord& item) {
  std::vector<std::uint32_t> keys{family};
  const auto& key = item.Key().Elements();
  for (std::size_t i = 1; i < key.size(); ++i) keys.push_back(key[i]);
  return keys;
}

EntityPayload SubsysPayload(const ItemRecord& item, const PayloadReader& bytes) {
  const auto command = bytes.U8(0);
  if (!command || item.Key().size() < 3) return {};
  std::uint32_t family = 0;
  if (item.TypeCode() == kItemSubsysRx) {
    family = 10;
    if (*command == kSubsysDispatchCommand) {
      family = 3;
    } else if (*command == kSubsysDelayedCommand) {
      // A follow-up of a delayed response: a delayed response ID and a
      // response count that is neither the immediate response's 0 nor
      // 0x8000.
      const auto delayed_id = bytes.U16(8);
      const auto response_count = bytes.U16(10);
      if (delayed_id && response_count && *delayed_id != 0 && *response_count != 0 &&
          *response_count != kMoreResponsesFlag) {
        family = 11;
      }
    }
  } else {
    family = *command == kSubsysDispatchCommand ? 2 : 9;
  }
  const std::uint32_t header = item.GetHeaderLength();
  if (header > bytes.size()) return {};
  return Rest(SubsysKeys(family, item), bytes, header);
}

}  // namespace

EntityPayload EntityPayloadOf(const ItemRecord& item) {
  const PayloadReader bytes(item.GetPayload(), item.GetPayloadLength());
  if (bytes.size() == 0) return {};
  switch (item.TypeCode()) {
    case kItemDiagRx:
    case kItemDiagTx:
      return DiagPayload(item, bytes);
    case kItemEvent:
      return EventPayload(bytes);
    case kItemLog: {
      if (item.Key().size() < 2 || bytes.size() < 16) return {};
      return Rest({5, item.Key()[1]}, bytes, 16);
    }
    case kItemMsg:
      return Rest({8, 0}, bytes, 0);
    case kItemSubsysRx:
    case kItemSubsysTx:
      return SubsysPayload(item, bytes);
    default:
      return {};
  }
}

}  // namespace quillon
