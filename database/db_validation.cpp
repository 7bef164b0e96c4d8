#include "database/internal/db_validation.h"

#include <algorithm>
#include <unordered_map>

#include "database/db_columns.h"
#include "database/db_schema.h"
#include "database/internal/db_message.h"

namespace quillon::db {

namespace {

constexpr std::u16string_view kStruct = u"Struct";

bool Seen(const StructCheckState& s, std::uint32_t id) { return s.seen.count(id) != 0; }

// Reports a specifier problem; returns false (the check fails).
bool CheckSpecifier(const StructRow& row, const StructCheckState& state, DbMessageSink& sink) {
  const RowSpecifier& row_spec = row.parsed;
  const std::uint32_t sid = row.struct_id;
  switch (row.repetition) {
    case kRepeatCountField:
      if (row.specifier.empty()) {
        Report(sink, DbSeverity::kError, u"DB [%s] Missing array specifier, struct ID %u",
               {kStruct, sid});
        return false;
      }
      if (!Seen(state, row_spec.field_id)) {
        Report(sink, DbSeverity::kError, u"DB [%s] Invalid array specifier, struct ID %u, ID %u",
               {kStruct, sid, row_spec.field_id});
        return false;
      }
      return true;
    case kRepeatRange:
      if (row.specifier.empty()) {
        Report(sink, DbSeverity::kError, u"DB [%s] Missing array specifier, struct ID %u",
               {kStruct, sid});
        return false;
      }
      if (!row_spec.valid) {
        Report(sink, DbSeverity::kError, u"DB [%s] Invalid array specifier, struct ID %u, %s",
               {kStruct, sid, row.specifier});
        return false;
      }
      if (!Seen(state, row_spec.field_id) || !Seen(state, row_spec.field_id2)) {
        Report(sink, DbSeverity::kError,
               u"DB [%s] Invalid array specifier, struct ID %u, IDs %u %u",
               {kStruct, sid, row_spec.field_id, row_spec.field_id2});
        return false;
      }
      return true;
    case kRepeatOptional:
      if (row.specifier.empty()) {
        Report(sink, DbSeverity::kError, u"DB [%s] Missing optional specifier, struct ID %u",
               {kStruct, sid});
        return false;
      }
      if (!row_spec.valid) {
        Report(sink, DbSeverity::kError, u"DB [%s] Invalid optional specifier, struct ID %u, %s",
               {kStruct, sid, row.specifier});
        return false;
      }
      if (!Seen(state, row_spec.field_id)) {
        Report(sink, DbSeverity::kError,
               u"DB [%s] Invalid optional specifier, struct ID %u, unknown field ID %u/%s",
               {kStruct, sid, row_spec.field_id, row.specifier});
        return false;
      }
      return true;
    case kRepeatComputed:
      if (row.specifier.empty()) {
        Report(sink, DbSeverity::kError, u"DB [%s] Missing array specifier, struct ID %u",
               {kStruct, sid});
        return false;
      }
      if (!row_spec.valid) {
        Report(sink, DbSeverity::kError, u"DB [%s] Invalid array specifier, struct ID %u, %s",
               {kStruct, sid, row.specifier});
        return false;
      }
      if (!Seen(state, row_spec.field_id)) {
        Report(sink, DbSeverity::kError,
               u"DB [%s] Invalid array specifier, struct ID %u, unknown field ID %u/%s",
               {kStruct, sid, row_spec.field_id, row.specifier});
        return false;
      }
      return true;
    default:
      return true;
  }
}

char16_t FoldChar(char16_t c) {
  if (c >= u'A' && c <= u'Z') return static_cast<char16_t>(c + 32);
  if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return static_cast<char16_t>(c + 32);
  return c;
}

// Reports the description check's findings for one record.
bool CheckDescriptionId(std::int32_t& id, const DbTables& t, std::u16string_view display,
                        DbMessageSink& sink) {
  if (id < kDbNone || (id >= 0 && static_cast<std::uint32_t>(id) >= kDbDescriptionMark)) {
    Report(sink, DbSeverity::kError, u"DB [%s] Invalid description ID detected %d, resetting to -1",
           {display, id});
    id = kDbNone;
    return false;
  }
  if (id != kDbNone && t.descriptions.count(static_cast<std::uint32_t>(id)) == 0) {
    Report(sink, DbSeverity::kError,
           u"DB [%s] Invalid description ID specified %d, resetting to -1", {display, id});
    id = kDbNone;
    return false;
  }
  return true;
}

}  // namespace

std::u16string FoldCase(std::u16string_view text) {
  std::u16string out(text);
  for (char16_t& c : out) c = FoldChar(c);
  return out;
}

std::u16string DiagKeyText(const DiagEntity& e) {
  std::u16string out;
  for (std::size_t i = 0; i < e.codes.size(); ++i) {
    if (i != 0) out.push_back(u',');
    AppendUnsigned(out, e.codes[i]);
  }
  return out;
}

bool CheckStructure(const DbTables& t, std::uint32_t struct_id, std::uint32_t depth,
                    StructCheckState& state, DbMessageSink& sink) {
  if (depth >= kMaxStructDepth || state.budget == 0) {
    Report(sink, DbSeverity::kError, u"DB [%s] Max depth exceeded, possible loop, struct ID %u",
           {kStruct, struct_id});
    return false;
  }
  auto it = t.structs.find({struct_id, 0});
  if (it == t.structs.end()) {
    Report(sink, DbSeverity::kError, u"DB [%s] Missing initial fragment, struct ID %u",
           {kStruct, struct_id});
    return false;
  }
  for (; it != t.structs.end() && it->first.first == struct_id; ++it) {
    if (state.budget == 0) {
      Report(sink, DbSeverity::kError, u"DB [%s] Max depth exceeded, possible loop, struct ID %u",
             {kStruct, struct_id});
      return false;
    }
    --state.budget;
    const StructRow& row = it->second;
    if (!CheckSpecifier(row, state, sink)) return false;
    switch (row.member_kind) {
      case kMemberField: {
        const auto field = t.fields.find(row.reference);
        if (field == t.fields.end()) {
          Report(sink, DbSeverity::kError, u"DB [%s] Invalid field, struct ID %u, ID %u",
                 {kStruct, struct_id, row.reference});
          return false;
        }
        state.seen.insert(row.reference);
        const FieldRecord& f = field->second;
        if ((f.kind == kFieldEnumUnsigned || f.kind == kFieldEnumSigned) &&
            t.enums.count(f.type) == 0) {
          Report(sink, DbSeverity::kWarning,
                 u"DB [%s] Invalid enumeration ID, field ID %u, enum ID %u",
                 {kStruct, f.id, f.type});
        }
        break;
      }
      case kMemberStruct:
        if (!CheckStructure(t, row.reference, depth + 1, state, sink)) return false;
        break;
      case kMemberPadBits:
      case kMemberPadBytes:
        if (!Seen(state, row.reference)) {
          Report(sink, DbSeverity::kError, u"DB [%s] Invalid pad, struct ID %u, field ID %u",
                 {kStruct, struct_id, row.reference});
          return false;
        }
        break;
      default:
        break;
    }
  }
  return true;
}

bool CheckDiagEntities(DbTables& t, DbMessageSink& sink) {
  bool ok = true;
  StructCheckState state;
  for (auto& [key, entity] : t.diag) {
    if (entity.struct_id != kDbNone) {
      state.seen.clear();
      state.budget = kStructCheckBudget;
      if (!CheckStructure(t, static_cast<std::uint32_t>(entity.struct_id), 0, state, sink)) {
        Report(sink, DbSeverity::kError, u"DB [%s] Invalid struct %s, ID %d",
               {kStruct, DiagKeyText(entity), entity.struct_id});
        entity.struct_id = kDbNone;
        ok = false;
      }
    }
    if (entity.format_id != kDbNone &&
        t.formats.count(static_cast<std::uint32_t>(entity.format_id)) == 0) {
      Report(sink, DbSeverity::kError, u"DB [%s] Invalid format specifier %s, ID %d\n",
             {kStruct, DiagKeyText(entity), entity.format_id});
      entity.format_id = kDbNone;
      ok = false;
    }
  }
  return ok;
}

bool CheckDiagEntityNames(const DbTables& t, DbMessageSink& sink) {
  bool ok = true;
  std::unordered_set<std::u16string> names;
  for (const auto& [key, entity] : t.diag) {
    if (!names.insert(FoldCase(entity.name)).second) {
      Report(sink, DbSeverity::kError, u"DB [%s] Duplicate DIAG entity (by name) detected '%s'",
             {kDiagTable.display, entity.name});
      ok = false;
    }
  }
  return ok;
}

bool CheckEnums(const DbTables& t, DbMessageSink& sink,
                std::map<std::u16string, std::uint32_t>* name_index) {
  bool ok = true;
  std::map<std::u16string, std::uint32_t> local;
  auto& names = name_index ? *name_index : local;
  names.clear();
  std::unordered_map<std::int32_t, const std::u16string*> values;
  auto it = t.enum_entries.begin();
  while (it != t.enum_entries.end()) {
    const std::uint32_t enum_id = it->first.first;
    values.clear();
    for (; it != t.enum_entries.end() && it->first.first == enum_id; ++it) {
      const EnumEntryRecord& e = it->second;
      if (!values.emplace(e.value, &e.name).second) {
        Report(sink, DbSeverity::kError, u"DB [%s] Duplicate enum entries detected '%s', %d",
               {kEnumEntryTable.display, e.name, e.value});
        ok = false;
      }
    }
    const auto found = t.enums.find(enum_id);
    if (found == t.enums.end()) {
      Report(sink, DbSeverity::kError, u"DB [%s] Missing enum ID detected %u",
             {kEnumEntryTable.display, enum_id});
      ok = false;
    } else if (!names.emplace(found->second.name, enum_id).second) {
      Report(sink, DbSeverity::kError, u"DB [%s] Duplicate enum (by name) detected '%s'",
             {kEnumTable.display, found->second.name});
      ok = false;
    }
  }
  return ok;
}

bool CheckEventNames(const DbTables& t, DbMessageSink& sink) {
  bool ok = true;
  std::unordered_set<std::u16string> names;
  for (const auto& [key, event] : t.Items(DbItemTable::kEvent)) {
    if (!names.insert(FoldCase(event.name)).second) {
      Report(sink, DbSeverity::kError, u"DB [%s] Duplicate event (by name) detected '%s'",
             {ItemTableName(DbItemTable::kEvent).display, event.name});
      ok = false;
    }
  }
  return ok;
}

bool CheckCategoryTree(DbTables& t, DbItemTable table, DbMessageSink& sink) {
  bool ok = true;
  CategoryMap& cats = t.Categories(table);
  const std::u16string_view display = CategoryTableName(table).display;
  for (auto& [id, cat] : cats) {
    if (cat.parent_id != kDbNone && cats.count(static_cast<std::uint32_t>(cat.parent_id)) == 0) {
      Report(sink, DbSeverity::kError, u"DB [%s] Missing ID, parent ID %u",
             {display, static_cast<std::uint32_t>(cat.parent_id)});
      cat.parent_id = kDbNone;
      ok = false;
    }
  }
  // Categories known to reach the top without a loop end later walks early;
  // a walk through them cannot meet a loop.
  std::unordered_set<std::uint32_t> good;
  std::unordered_set<std::uint32_t> visited;
  for (auto& [id, cat] : cats) {
    visited.clear();
    visited.insert(id);
    std::int32_t parent = cat.parent_id;
    bool looped = false;
    while (parent != kDbNone) {
      const auto p = static_cast<std::uint32_t>(parent);
      if (good.count(p) != 0) break;
      if (!visited.insert(p).second) {
        looped = true;
        break;
      }
      const auto next = cats.find(p);
      parent = next == cats.end() ? kDbNone : next->second.parent_id;
    }
    if (looped) {
      Report(sink, DbSeverity::kError, u"DB [%s] Loop in category, parent ID %u",
             {display, static_cast<std::uint32_t>(cat.parent_id)});
      cat.parent_id = kDbNone;
      good.insert(id);
      ok = false;
    } else {
      good.insert(visited.begin(), visited.end());
    }
  }
  const std::u16string_view item_display = ItemTableName(table).display;
  for (auto& [key, item] : t.Items(table)) {
    bool changed = false;
    for (std::int32_t& ref : item.categories) {
      if (ref != kDbNone && cats.count(static_cast<std::uint32_t>(ref)) == 0) {
        Report(sink, DbSeverity::kError, u"DB [%s] Missing ID, category ID %u, reference %s",
               {item_display, static_cast<std::uint32_t>(ref), item.name});
        ref = kDbNone;
        changed = true;
        ok = false;
      }
    }
    if (changed) {
      std::sort(item.categories.begin(), item.categories.end());
      item.categories.erase(std::unique(item.categories.begin(), item.categories.end()),
                            item.categories.end());
    }
  }
  return ok;
}

bool CheckDescriptions(DbTables& t, DbMessageSink& sink) {
  bool ok = true;
  for (auto& [id, f] : t.fields)
    ok &= CheckDescriptionId(f.description_id, t, kFieldTable.display, sink);
  for (std::size_t i = 0; i + 1 < kDbItemTableCount; ++i) {
    const auto table = static_cast<DbItemTable>(i);
    const std::u16string_view display = CategoryTableName(table).display;
    for (auto& [id, c] : t.Categories(table)) {
      ok &= CheckDescriptionId(c.description_id, t, display, sink);
    }
  }
  for (const DbItemTable table :
       {DbItemTable::kEvent, DbItemTable::kLog, DbItemTable::kNv, DbItemTable::kDisplay}) {
    const std::u16string_view display = ItemTableName(table).display;
    for (auto& [key, item] : t.Items(table)) {
      ok &= CheckDescriptionId(item.description_id, t, display, sink);
    }
  }
  for (auto& [id, e] : t.enums)
    ok &= CheckDescriptionId(e.description_id, t, kEnumTable.display, sink);
  for (auto& [key, e] : t.enum_entries) {
    ok &= CheckDescriptionId(e.description_id, t, kEnumEntryTable.display, sink);
  }
  return ok;
}

void HideProprietaryFields(DbTables& t) {
  for (auto& [id, f] : t.fields) {
    if (!f.proprietary) continue;
    f.name = kDbProprietaryName;
    f.hexadecimal = true;
    if (f.kind == kFieldEnumUnsigned) {
      f.kind = kFieldPlain;
      f.type = kFieldU32;
    } else if (f.kind == kFieldEnumSigned) {
      f.kind = kFieldPlain;
      f.type = kFieldI32;
    }
  }
}

}  // namespace quillon::db
