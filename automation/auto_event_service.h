// EventService: the name and one-line summary of a bare event (an event ID
// and its payload bytes) against the process-wide database, without a
// store. Holds no state; locks the module for the object's life.
#pragma once

#include <cstdint>
#include <string>

#include "automation/auto_object.h"

namespace quillon {

class CAutoEventService final : public AutoObject {
 public:
  CAutoEventService();
  ~CAutoEventService() override;
  const AutoClass& Class() const override { return EventServiceClass(); }

  // The event's name in the database's event table; empty for an ID the
  // table lacks.
  std::u16string GetName(std::uint32_t event_id) const;
  // The event's database summary over `payload`, which must be a
  // VT_ARRAY | VT_UI1 holding an array (directly or through a by-reference
  // variant); empty for any other value and when there is no summary.
  std::u16string GetSummary(std::uint32_t event_id, const AutoVariant& payload) const;
};

}  // namespace quillon
