#include "parsers/protocol_revisions.h"

#include <array>

#include "common/item_key.h"
#include "common/mis_exception.h"

namespace quillon {

namespace {

constexpr std::array<std::uint32_t, 5> kRrcRevisionCodes = {0x6300, 0x0106, 0x0203, 0x0403, 0x0406};

bool IsValidOverride(std::uint32_t value, std::uint32_t max) {
  return value <= max || value == kNoRevisionOverride;
}

}  // namespace

bool IsCdmaOtaLogCode(std::uint32_t log_code) {
  return (log_code >= 0x1004 && log_code <= 0x1008) || log_code == 0x1090 || log_code == 0x1091 ||
         (log_code >= 0x10D6 && log_code <= 0x10D8);
}

std::uint32_t RrcRevisionOfIndex(std::uint32_t index) {
  return index < kRrcRevisionCodes.size() ? kRrcRevisionCodes[index] : kNoProtocolRevision;
}

void ProtocolRevisions::SetCdma(std::uint32_t revision) {
  if (!IsValidOverride(revision, kMaxCdmaRevision)) {
    throw cMISException(kMisCategoryCaller, mis::kBadArguments);
  }
  cdma_ = revision;
}

void ProtocolRevisions::SetWcdma(std::uint32_t index) {
  if (!IsValidOverride(index, kMaxWcdmaRevisionIndex)) {
    throw cMISException(kMisCategoryCaller, mis::kBadArguments);
  }
  wcdma_ = index;
}

void ProtocolRevisions::Stamp(ItemRecord& item) const {
  const ItemKey& key = item.Key();
  if (key.size() < 2 || key[0] != kItemOtaLog) return;
  const std::uint32_t log_code = key[1];
  if (IsCdmaOtaLogCode(log_code)) {
    if (cdma_ != kNoRevisionOverride) item.SetProtocolRevision(cdma_);
  } else if (log_code == kWcdmaRrcLogCode && wcdma_ != kNoRevisionOverride) {
    item.SetProtocolRevision(RrcRevisionOfIndex(wcdma_));
  }
}

}  // namespace quillon
