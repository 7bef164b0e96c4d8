#include "database/internal/db_merge.h"

#include <algorithm>
#include <map>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "database/db_schema.h"
#include "database/db_specifier.h"
#include "database/internal/db_message.h"
#include "database/internal/db_validation.h"

namespace quillon::db {

namespace {

constexpr std::uint32_t kUnmapped = 0xFFFFFFFFu;

using IdMap = std::unordered_map<std::uint32_t, std::uint32_t>;

// One more than the highest ID of a map keyed by ID (0 for an empty map);
// nullopt when the highest ID is already the largest.
template <class Map>
std::optional<std::uint32_t> NextId(const Map& map) {
  if (map.empty()) return 0u;
  const std::uint32_t highest = std::prev(map.end())->first;
  if (highest == 0xFFFFFFFFu) return std::nullopt;
  return highest + 1;
}

std::optional<std::uint32_t> NextStructId(const StructMap& map) {
  if (map.empty()) return 0u;
  const std::uint32_t highest = std::prev(map.end())->first.first;
  if (highest == 0xFFFFFFFFu) return std::nullopt;
  return highest + 1;
}

std::uint32_t MapId(const IdMap& map, std::uint32_t id) {
  const auto it = map.find(id);
  return it == map.end() ? kUnmapped : it->second;
}

// Marks a copied record's description reference for renumbering.
void MarkDescription(std::int32_t& id) {
  if (id != kDbNone) {
    id = static_cast<std::int32_t>(static_cast<std::uint32_t>(id) + kDbDescriptionMark);
  }
}

class Merger {
 public:
  Merger(DbTables& main, const DbTables& user, DbMessageSink& sink)
      : main_(main), user_(user), sink_(sink) {}

  bool Run() {
    MergeFormatSpecifiers();
    MergeEnums();
    MergeEnumEntries();
    MergeFields();
    MergeStructs();
    MergeDiagEntities();
    for (std::size_t i = 0; i < kDbItemTableCount; ++i) {
      const auto table = static_cast<DbItemTable>(i);
      MergeCategories(table);
      MergeItems(table);
    }
    MergeDescriptions();
    return ok_;
  }

 private:
  void Error(std::u16string_view format, std::initializer_list<MessageArg> args) {
    Report(sink_, DbSeverity::kError, format, args);
    ok_ = false;
  }

  void MergeFormatSpecifiers() {
    const std::u16string_view display = kFormatSpecifierTable.display;
    for (const auto& [id, fmt_spec] : user_.formats) {
      const auto next = NextId(main_.formats);
      if (!next) {
        Error(u"DB Merge [%s] Error copying format specifier '%u'", {display, id});
        continue;
      }
      FormatSpecifierRecord copy = fmt_spec;
      copy.id = *next;
      main_.formats.emplace(*next, std::move(copy));
      formats_[id] = *next;
    }
  }

  void MergeEnums() {
    const std::u16string_view display = kEnumTable.display;
    std::map<std::u16string, std::uint32_t> names;
    for (const auto& [id, e] : main_.enums) names.emplace(e.name, id);
    for (const auto& [id, e] : user_.enums) {
      const auto existing = names.find(e.name);
      if (existing != names.end()) {
        Report(sink_, DbSeverity::kWarning,
               u"DB Merge [%s] Duplicate enum '%s' detected, using existing ID %u",
               {display, e.name, existing->second});
        enums_[id] = existing->second;
        continue;
      }
      const auto next = NextId(main_.enums);
      if (!next) {
        Error(u"DB Merge [%s] Error copying enum '%s'", {display, e.name});
        continue;
      }
      EnumRecord copy = e;
      copy.id = *next;
      MarkDescription(copy.description_id);
      main_.enums.emplace(*next, std::move(copy));
      names.emplace(e.name, *next);
      enums_[id] = *next;
    }
  }

  void MergeEnumEntries() {
    const std::u16string_view display = kEnumEntryTable.display;
    for (const auto& [key, entry] : user_.enum_entries) {
      const std::uint32_t target = MapId(enums_, entry.enum_id);
      if (target == kUnmapped) {
        Error(u"DB Merge [%s] Error copying enum entry '%s'", {display, entry.name});
        continue;
      }
      EnumEntryRecord copy = entry;
      copy.enum_id = target;
      MarkDescription(copy.description_id);
      const auto existing = main_.enum_entries.find({target, entry.value});
      if (existing != main_.enum_entries.end()) {
        Report(sink_, DbSeverity::kWarning,
               u"DB Merge [%s] Duplicate enum entry '%s' detected, replacing '%s' for enum ID %u",
               {display, entry.name, existing->second.name, target});
        existing->second = std::move(copy);
      } else {
        main_.enum_entries.emplace(std::make_pair(target, entry.value), std::move(copy));
      }
    }
  }

  void MergeFields() {
    const std::u16string_view display = kFieldTable.display;
    for (const auto& [id, f] : user_.fields) {
      FieldRecord copy = f;
      bool can_copy = true;
      if (f.kind == kFieldEnumUnsigned || f.kind == kFieldEnumSigned) {
        copy.type = MapId(enums_, f.type);
        can_copy = copy.type != kUnmapped;
      }
      const auto next = NextId(main_.fields);
      if (!can_copy || !next) {
        Error(u"DB Merge [%s] Error copying field '%s'", {display, f.name});
        continue;
      }
      copy.id = *next;
      MarkDescription(copy.description_id);
      main_.fields.emplace(*next, std::move(copy));
      fields_[id] = *next;
    }
  }

  void MergeStructs() {
    // IDs first, so that rows may nest structures that come later.
    std::optional<std::uint32_t> next = NextStructId(main_.structs);
    for (auto it = user_.structs.begin(); it != user_.structs.end(); ++it) {
      const std::uint32_t sid = it->first.first;
      if (structs_.count(sid) != 0) continue;
      // Out of IDs: the entities that use the rest report it.
      if (!next) break;
      structs_[sid] = *next;
      next = *next == 0xFFFFFFFFu ? std::nullopt : std::optional<std::uint32_t>(*next + 1);
    }
    for (const auto& [key, row] : user_.structs) {
      const std::uint32_t new_sid = MapId(structs_, key.first);
      if (new_sid == kUnmapped) continue;
      StructRow copy = row;
      copy.struct_id = new_sid;
      switch (row.member_kind) {
        case kMemberField:
        case kMemberPadBits:
        case kMemberPadBytes:
          copy.reference = MapId(fields_, row.reference);
          break;
        case kMemberStruct:
          copy.reference = MapId(structs_, row.reference);
          break;
        default:
          break;
      }
      const bool has_field_refs =
          row.repetition == kRepeatCountField || row.repetition == kRepeatRange ||
          row.repetition == kRepeatOptional || row.repetition == kRepeatComputed;
      if (has_field_refs && row.parsed.valid) {
        copy.parsed.field_id = MapId(fields_, row.parsed.field_id);
        if (row.repetition == kRepeatRange) {
          copy.parsed.field_id2 = MapId(fields_, row.parsed.field_id2);
        }
        copy.specifier = FormatRowSpecifier(row.repetition, copy.parsed);
      }
      main_.structs.emplace(std::make_pair(new_sid, key.second), std::move(copy));
    }
  }

  void MergeDiagEntities() {
    const std::u16string_view display = kDiagTable.display;
    std::unordered_set<std::u16string> names;
    for (const auto& [key, e] : main_.diag) names.insert(FoldCase(e.name));
    for (const auto& [key, e] : user_.diag) {
      std::u16string folded = FoldCase(e.name);
      if (names.count(folded) != 0) {
        Error(u"DB Merge [%s] Duplicate DIAG entity '%s' detected, using existing entity",
              {display, e.name});
        continue;
      }
      DiagEntity copy = e;
      if (e.struct_id != kDbNone) {
        const std::uint32_t mapped = MapId(structs_, static_cast<std::uint32_t>(e.struct_id));
        if (mapped == kUnmapped || mapped > 0x7FFFFFFFu) {
          Error(u"DB Merge [%s] Error copying DIAG entity '%s', unable to find structure ID %u",
                {display, e.name, static_cast<std::uint32_t>(e.struct_id)});
          continue;
        }
        copy.struct_id = static_cast<std::int32_t>(mapped);
      }
      if (e.format_id != kDbNone) {
        const std::uint32_t mapped = MapId(formats_, static_cast<std::uint32_t>(e.format_id));
        if (mapped == kUnmapped || mapped > 0x7FFFFFFFu) {
          Error(
              u"DB Merge [%s] Error copying DIAG entity '%s', unable to find format specifier ID "
              u"%u",
              {display, e.name, static_cast<std::uint32_t>(e.format_id)});
          continue;
        }
        copy.format_id = static_cast<std::int32_t>(mapped);
      }
      if (!CheckDiagEntity(copy)) {
        Error(u"DB Merge [%s] Error copying DIAG entity '%s', ", {display, e.name});
        continue;
      }
      names.insert(std::move(folded));
      main_.diag.emplace(copy.codes, std::move(copy));
    }
  }

  void MergeCategories(DbItemTable table) {
    const std::u16string_view display = CategoryTableName(table).display;
    CategoryMap& target = main_.Categories(table);
    IdMap& map = categories_[static_cast<std::size_t>(table)];
    std::map<std::u16string, std::uint32_t> names;
    for (const auto& [id, c] : target) names.emplace(c.name, id);
    std::vector<const CategoryRecord*> copied;
    for (const auto& [id, c] : user_.Categories(table)) {
      const auto existing = names.find(c.name);
      if (existing != names.end()) {
        Report(sink_, DbSeverity::kWarning,
               u"DB Merge [%s] Duplicate category '%s' detected, using existing ID %u",
               {display, c.name, existing->second});
        map[id] = existing->second;
        continue;
      }
      const auto next = NextId(target);
      if (!next || *next > 0x7FFFFFFFu) {
        Error(u"DB Merge [%s] Error copying category '%s'", {display, c.name});
        continue;
      }
      CategoryRecord copy = c;
      copy.id = *next;
      MarkDescription(copy.description_id);
      target.emplace(*next, std::move(copy));
      names.emplace(c.name, *next);
      map[id] = *next;
      copied.push_back(&c);
    }
    // Parents are mapped once every user category has its ID.
    for (const CategoryRecord* c : copied) {
      CategoryRecord& copy = target[map[c->id]];
      if (c->parent_id != kDbNone) {
        const std::uint32_t parent = MapId(map, static_cast<std::uint32_t>(c->parent_id));
        copy.parent_id = parent == kUnmapped ? kDbNone : static_cast<std::int32_t>(parent);
      }
    }
  }

  void MergeItems(DbItemTable table) {
    const std::u16string_view display = ItemTableName(table).display;
    ItemMap& target = main_.Items(table);
    const IdMap& map = categories_[static_cast<std::size_t>(table)];
    for (const auto& [key, item] : user_.Items(table)) {
      ItemEntry copy = item;
      for (std::int32_t& ref : copy.categories) {
        if (ref == kDbNone) continue;
        const std::uint32_t mapped = MapId(map, static_cast<std::uint32_t>(ref));
        ref = mapped == kUnmapped ? kDbNone : static_cast<std::int32_t>(mapped);
      }
      std::sort(copy.categories.begin(), copy.categories.end());
      copy.categories.erase(std::unique(copy.categories.begin(), copy.categories.end()),
                            copy.categories.end());
      MarkDescription(copy.description_id);
      if (!CheckItem(table, copy)) {
        Error(u"DB Merge [%s] Error copying item '%s'", {display, item.name});
        continue;
      }
      const auto existing = target.find(key);
      if (existing != target.end()) {
        Report(sink_, DbSeverity::kWarning,
               u"DB Merge [%s] Duplicate item '%s' detected, replacing '%s'",
               {display, item.name, existing->second.name});
        existing->second = std::move(copy);
      } else {
        target.emplace(key, std::move(copy));
      }
    }
  }

  void Reassign(std::int32_t& id, std::u16string_view display, const IdMap& renumbered) {
    if (id < 0 || static_cast<std::uint32_t>(id) < kDbDescriptionMark) return;
    const std::uint32_t user_id = static_cast<std::uint32_t>(id) - kDbDescriptionMark;
    const auto it = renumbered.find(user_id);
    if (it == renumbered.end()) {
      Error(u"DB Merge [%s] Error reassigning description ID %u, new ID not found",
            {display, user_id});
      return;
    }
    id = static_cast<std::int32_t>(it->second);
  }

  void MergeDescriptions() {
    const std::u16string_view display = kDescriptionTable.display;
    IdMap renumbered;
    for (const auto& [id, d] : user_.descriptions) {
      const auto next = NextId(main_.descriptions);
      if (d.text.empty() || !next || *next >= kDbDescriptionMark) {
        Error(u"DB Merge [%s] Error copying description '%u'", {display, id});
        continue;
      }
      main_.descriptions.emplace(*next, DescriptionRecord{*next, d.text});
      renumbered[id] = *next;
    }
    for (auto& [id, f] : main_.fields) Reassign(f.description_id, kFieldTable.display, renumbered);
    for (auto& [id, e] : main_.enums) Reassign(e.description_id, kEnumTable.display, renumbered);
    for (auto& [key, e] : main_.enum_entries) {
      Reassign(e.description_id, kEnumEntryTable.display, renumbered);
    }
    for (std::size_t i = 0; i < kDbItemTableCount; ++i) {
      const auto table = static_cast<DbItemTable>(i);
      for (auto& [id, c] : main_.Categories(table)) {
        Reassign(c.description_id, CategoryTableName(table).display, renumbered);
      }
      for (auto& [key, item] : main_.Items(table)) {
        Reassign(item.description_id, ItemTableName(table).display, renumbered);
      }
    }
  }

  DbTables& main_;
  const DbTables& user_;
  DbMessageSink& sink_;
  bool ok_ = true;
  IdMap formats_, enums_, fields_, structs_;
  std::array<IdMap, kDbItemTableCount> categories_;
};

}  // namespace

bool MergeDatabase(DbTables& main, const DbTables& user, DbMessageSink& sink) {
  return Merger(main, user, sink).Run();
}

}  // namespace quillon::db
