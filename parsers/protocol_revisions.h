// The store-wide protocol revision overrides (CDMA and WCDMA) and their
// stamping on the items a store hands out. The air-interface decoders
// (parsers/ota_parsing.h) read the revision an item carries.
#pragma once

#include <cstdint>

#include "common/item_record.h"

namespace quillon {

// An override that is off: items keep the revision they carry.
inline constexpr std::uint32_t kNoRevisionOverride = 0x7FFFFFFF;
inline constexpr std::uint32_t kMaxCdmaRevision = 11;
inline constexpr std::uint32_t kMaxWcdmaRevisionIndex = 4;

// The WCDMA RRC signalling log, the one log the RRC decoder reads.
inline constexpr std::uint32_t kWcdmaRrcLogCode = 0x412F;

// True for the CDMA OTA log codes 0x1004-0x1008, 0x1090, 0x1091 and
// 0x10D6-0x10D8.
bool IsCdmaOtaLogCode(std::uint32_t log_code);

// The RRC revision code of a WCDMA revision index: 0 0x6300, 1 0x0106,
// 2 0x0203, 3 0x0403, 4 0x0406; kNoProtocolRevision for any other index.
std::uint32_t RrcRevisionOfIndex(std::uint32_t index);

// The two overrides of one item store. Not locked: the store calls every
// operation under its own lock.
class ProtocolRevisions {
 public:
  // Accepts 0..11 or kNoRevisionOverride (which turns the override off);
  // any other value throws cMISException(category 1, code 160) and keeps
  // the stored value.
  void SetCdma(std::uint32_t revision);
  // Accepts the indexes 0..4 or kNoRevisionOverride; otherwise as SetCdma.
  void SetWcdma(std::uint32_t index);
  std::uint32_t Cdma() const { return cdma_; }
  std::uint32_t Wcdma() const { return wcdma_; }

  // Stamps a fetched item: an OTA LOG item (key of at least 2 elements) of
  // a CDMA OTA log code gets the CDMA override, one of the WCDMA RRC log
  // code gets the RRC revision code of the WCDMA index; every other item,
  // and every item while the matching override is off, keeps its revision.
  void Stamp(ItemRecord& item) const;

 private:
  std::uint32_t cdma_ = kNoRevisionOverride;
  std::uint32_t wcdma_ = kNoRevisionOverride;
};

}  // namespace quillon
