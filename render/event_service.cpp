#include "render/event_service.h"

#include "database/database.h"
#include "render/parsed_field_list.h"

namespace quillon {

EventNameTable::EventNameTable(const Database& database) {
  for (const auto& [key, entry] : database.Tables().Items(DbItemTable::kEvent)) {
    names_[entry.first].name = entry.name;
  }
}

std::u16string_view EventNameTable::Name(std::uint32_t event_id) const {
  const auto it = names_.find(event_id);
  return it != names_.end() ? std::u16string_view(it->second.name) : std::u16string_view();
}

std::u16string EventPayloadSummary(const Database& database, std::uint32_t event_id,
                                   const std::uint8_t* payload, std::int32_t length) {
  ParsedFieldList list(database, event_id, payload, length);
  list.Parse({.summary_only = false, .field_strings = true, .field_names = true});
  return list.Summary();
}

}  // namespace quillon
