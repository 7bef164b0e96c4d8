// Lookups of the loaded database.
#include <algorithm>
#include <set>

#include "database/database.h"
#include "database/db_columns.h"
#include "database/internal/db_validation.h"

namespace quillon {

namespace {

// Upper bound of remembered entity lookups; unknown keys from a long log
// must not grow the cache without limit.
constexpr std::size_t kEntityCacheLimit = 1u << 16;

template <class Map, class Key>
const typename Map::mapped_type* FindIn(const Map& map, const Key& key) {
  const auto it = map.find(key);
  return it == map.end() ? nullptr : &it->second;
}

}  // namespace

std::size_t Database::EntityCacheHash::operator()(const EntityCacheView& k) const {
  std::size_t h = std::hash<std::u16string_view>()(k.name);
  for (const std::uint32_t c : k.codes) h = h * 1000003u ^ c;
  return h;
}

const FieldRecord* Database::FindField(std::uint32_t field_id) const {
  return FindIn(tables_.fields, field_id);
}

StructRowRange Database::FindStructRows(std::uint32_t struct_id) const {
  const auto begin = tables_.structs.lower_bound({struct_id, 0});
  auto end = begin;
  while (end != tables_.structs.end() && end->first.first == struct_id) ++end;
  return StructRowRange(begin, end);
}

const DiagEntity* Database::FindDiagEntity(const std::vector<std::uint32_t>& codes,
                                           std::u16string_view name) const {
  std::lock_guard lock(cache_mutex_);
  if (const auto hit = entity_cache_.find(EntityCacheView{codes, name});
      hit != entity_cache_.end()) {
    return hit->second;
  }
  const DiagEntity* found = nullptr;
  const auto [begin, end] = tables_.diag.equal_range(codes);
  if (name.empty()) {
    if (begin != end) found = &begin->second;
  } else {
    const std::u16string folded = db::FoldCase(name);
    for (auto it = begin; it != end && !found; ++it) {
      if (db::FoldCase(it->second.name) == folded) found = &it->second;
    }
  }
  if (entity_cache_.size() >= kEntityCacheLimit) entity_cache_.clear();
  entity_cache_.emplace(EntityCacheKey{codes, std::u16string(name)}, found);
  return found;
}

const std::vector<std::uint32_t>& Database::GetReferencedFieldIds(const DiagEntity& entity) const {
  std::lock_guard lock(cache_mutex_);
  if (const auto hit = referenced_fields_.find(&entity); hit != referenced_fields_.end()) {
    return hit->second;
  }
  std::set<std::uint32_t> ids;
  std::set<std::uint32_t> visited;
  std::vector<std::uint32_t> pending;
  if (entity.struct_id != kDbNone) pending.push_back(static_cast<std::uint32_t>(entity.struct_id));
  while (!pending.empty()) {
    const std::uint32_t sid = pending.back();
    pending.pop_back();
    if (!visited.insert(sid).second) continue;
    for (const StructRow& row : FindStructRows(sid)) {
      switch (row.repetition) {
        case kRepeatCountField:
        case kRepeatOptional:
        case kRepeatComputed:
          ids.insert(row.parsed.field_id);
          break;
        case kRepeatRange:
          ids.insert(row.parsed.field_id);
          ids.insert(row.parsed.field_id2);
          break;
        default:
          break;
      }
      if (row.member_kind == kMemberPadBits || row.member_kind == kMemberPadBytes) {
        ids.insert(row.reference);
      } else if (row.member_kind == kMemberStruct) {
        pending.push_back(row.reference);
      }
    }
  }
  return referenced_fields_.emplace(&entity, std::vector<std::uint32_t>(ids.begin(), ids.end()))
      .first->second;
}

const FormatSpecifierRecord* Database::FindFormatSpecifier(std::uint32_t id) const {
  return FindIn(tables_.formats, id);
}

const EnumRecord* Database::FindEnum(std::uint32_t enum_id) const {
  return FindIn(tables_.enums, enum_id);
}

std::optional<std::uint32_t> Database::FindEnumByName(std::u16string_view name) const {
  const auto it = enum_names_.find(std::u16string(name));
  if (it == enum_names_.end()) return std::nullopt;
  return it->second;
}

const EnumEntryRecord* Database::FindEnumEntry(std::uint32_t enum_id, std::int32_t value) const {
  return FindIn(tables_.enum_entries, std::make_pair(enum_id, value));
}

std::u16string Database::GetEnumValueText(std::uint32_t enum_id, std::int32_t value, bool is_signed,
                                          bool hexadecimal) const {
  const EnumEntryRecord* entry = FindEnumEntry(enum_id, value);
  if (entry && !entry->name.empty()) return entry->name;
  std::u16string text;
  const auto bits = static_cast<std::uint32_t>(value);
  if (hexadecimal) {
    text = u"0x";
    db::AppendHex(text, bits, 1);
  } else if (is_signed) {
    db::AppendSigned(text, value);
  } else {
    text = u"Unknown [";
    db::AppendUnsigned(text, enum_id);
    text += u"/0x";
    db::AppendHex(text, bits, 1);
    text += u"]";
  }
  return text;
}

const std::u16string* Database::FindDescription(std::int32_t id) const {
  if (id < 0) return nullptr;
  const DescriptionRecord* d = FindIn(tables_.descriptions, static_cast<std::uint32_t>(id));
  return d ? &d->text : nullptr;
}

const CategoryRecord* Database::FindCategory(DbItemTable table, std::uint32_t id) const {
  return FindIn(tables_.Categories(table), id);
}

const ItemEntry* Database::FindItem(DbItemTable table, std::uint32_t first,
                                    std::uint32_t second) const {
  return FindIn(tables_.Items(table), MakeItemKey(first, second));
}

const ItemEntry* Database::FindDiagRequest(std::uint32_t code) const {
  return code > 0xFF ? nullptr : FindItem(DbItemTable::kDiagRequest, code);
}
const ItemEntry* Database::FindDiagResponse(std::uint32_t code) const {
  return code > 0xFF ? nullptr : FindItem(DbItemTable::kDiagResponse, code);
}
const ItemEntry* Database::FindSubsysRequest(std::uint32_t subsystem, std::uint32_t command) const {
  return FindItem(DbItemTable::kSubsysRequest, subsystem, command);
}
const ItemEntry* Database::FindSubsysResponse(std::uint32_t subsystem,
                                              std::uint32_t command) const {
  return FindItem(DbItemTable::kSubsysResponse, subsystem, command);
}
const ItemEntry* Database::FindEvent(std::uint32_t event_id) const {
  return FindItem(DbItemTable::kEvent, event_id);
}
const ItemEntry* Database::FindLogItem(std::uint32_t log_code) const {
  return FindItem(DbItemTable::kLog, log_code);
}
const ItemEntry* Database::FindMessageLevel(std::uint32_t first, std::uint32_t second) const {
  return FindItem(DbItemTable::kMessage, first, second);
}
const ItemEntry* Database::FindOtaType(std::uint32_t ota_code) const {
  return FindItem(DbItemTable::kOta, ota_code);
}
const ItemEntry* Database::FindOtaTypeByCodes(const std::vector<std::uint32_t>& codes) const {
  const ItemEntry* row = codes.empty() ? nullptr : FindOtaType(codes[0]);
  if (row == nullptr || codes.size() < 2 || row->ota_codes.empty()) return row;
  return std::find(row->ota_codes.begin(), row->ota_codes.end(), codes[1]) != row->ota_codes.end()
             ? row
             : nullptr;
}
const ItemEntry* Database::FindNvItem(std::uint32_t id) const {
  return FindItem(DbItemTable::kNv, id);
}
const ItemEntry* Database::FindDisplay(std::uint32_t id) const {
  return FindItem(DbItemTable::kDisplay, id);
}

const std::vector<ItemEntryKey>* Database::ItemsInCategory(DbItemTable table,
                                                           std::int32_t category) const {
  return FindIn(category_items_, std::make_pair(table, category));
}

bool Database::IsOtaLogCode(std::uint32_t log_code) const {
  return FindOtaType(log_code) != nullptr;
}

std::optional<std::uint32_t> Database::FindUserItemColor(
    const std::vector<std::uint32_t>& items) const {
  std::lock_guard lock(colors_mutex_);
  if (!colors_loaded_) LoadUserItemColorsLocked();
  const UserItemColorRecord* r = FindIn(user_colors_, items);
  if (!r) return std::nullopt;
  return r->color;
}

std::optional<std::uint32_t> Database::FindUserItemColor(const ItemKey& key) const {
  // The whole key first, then ever shorter prefixes down to the type code
  // alone: a colour for (5) colours every log, one for (5, 0x1234) only
  // that log code.
  {
    std::lock_guard lock(colors_mutex_);
    if (!colors_loaded_) LoadUserItemColorsLocked();
    // Most databases colour nothing: no key needs to be copied then.
    if (user_colors_.empty()) return std::nullopt;
  }
  std::vector<std::uint32_t> items = key.ToVector();
  while (!items.empty()) {
    if (const auto color = FindUserItemColor(items)) return color;
    items.pop_back();
  }
  return std::nullopt;
}

}  // namespace quillon
