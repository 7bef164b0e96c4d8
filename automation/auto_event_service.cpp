#include "automation/auto_event_service.h"

#include <limits>

#include "automation/module.h"
#include "render/event_service.h"

namespace quillon {

CAutoEventService::CAutoEventService() { automation::LockModule(); }

CAutoEventService::~CAutoEventService() { automation::UnlockModule(); }

std::u16string CAutoEventService::GetName(std::uint32_t event_id) const {
  try {
    return std::u16string(automation::ProcessEventNames().Name(event_id));
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
    return EventPayloadSummary(automation::ProcessDatabase(), event_id, bytes->bytes.data(),
                               length);
  } catch (...) {
    return {};
  }
}

}  // namespace quillon
