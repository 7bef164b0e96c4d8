// The event service logic: the name of an event ID and the summary of a
// bare event payload, with no item and no store (automation's
// EventService serves both).
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace quillon {

class Database;

// What the event name table holds for one event ID.
struct EventNameRecord {
  std::u16string name;
};

// Event ID -> name, ordered by ID. An empty table names nothing.
class EventNameTable {
 public:
  EventNameTable() = default;
  // Every event of the database's Event ID table (merged user databases
  // included), copied: the table does not refer to the database.
  explicit EventNameTable(const Database& database);

  // The name of `event_id`; empty for an ID the table lacks.
  std::u16string_view Name(std::uint32_t event_id) const;
  std::size_t size() const { return names_.size(); }

 private:
  std::map<std::uint32_t, EventNameRecord> names_;
};

// The database summary of an event payload: the entity {4, event_id}
// parsed over the `length` bytes at `payload` (which need to live only for
// the call) with value texts and names. Empty when the entity has no
// summary, when the database has no such entity, and for a null payload or
// a length outside 1..8208.
std::u16string EventPayloadSummary(const Database& database, std::uint32_t event_id,
                                   const std::uint8_t* payload, std::int32_t length);

}  // namespace quillon
