#include "automation/auto_event_service.h"

#include <limits>

#include "automation/module.h"
#include "database/database.h"
#include "render/parsed_field_list.h"

namespace quillon {

CAutoEventService::CAutoEventService() { automation::LockModule(); }

CAutoEventService::~CAutoEventService() { automation::UnlockModule(); }

std::u16string CAutoEventService::GetName(std::uint32_t event_id) const {
  try {
    const ItemEntry* entry = automation::ProcessDatabase().FindEvent(event_id);
    return entry ? entry->name : u"";
  } catch (...) {
    return {};
  }
}

std::u16string CAutoEventService::GetSummary(std::uint32_t event_id,
                                             const AutoVariant& payload) const {
  const AutoByteArray* bytes = payload.PayloadBytes();
  if (bytes == nullptr) return {};
  try {
    // The list refuses lengths outside 1..8208 (it sees no payload then).
    const std::size_t size = bytes->bytes.size();
    const auto length = size > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())
                            ? std::int32_t{0}
                            : static_cast<std::int32_t>(size);
    ParsedFieldList list(automation::ProcessDatabase(), event_id, bytes->bytes.data(), length);
    list.Parse({.summary_only = false, .field_strings = true, .field_names = true});
    return list.Summary();
  } catch (...) {
    return {};
  }
}

}  // namespace quillon
