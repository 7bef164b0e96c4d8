#include "database/database.h"

#include <filesystem>
#include <system_error>

#include "database/db_location.h"
#include "database/db_schema.h"
#include "database/internal/db_merge.h"
#include "database/internal/db_message.h"
#include "database/internal/db_table_io.h"
#include "database/internal/db_validation.h"

namespace quillon {

namespace {

using db::LineOutcome;

// Inserts a parsed record into a map with unique keys; the later line wins.
template <class Map, class Record>
LineOutcome InsertUnique(Map& map, typename Map::key_type key, Record&& record) {
  // Tables are usually sorted: appending at the end is the common case.
  if (map.empty() || std::prev(map.end())->first < key) {
    map.emplace_hint(map.end(), std::move(key), std::forward<Record>(record));
    return LineOutcome::kInserted;
  }
  auto [it, inserted] = map.try_emplace(std::move(key), std::forward<Record>(record));
  if (inserted) return LineOutcome::kInserted;
  it->second = std::forward<Record>(record);
  return LineOutcome::kDuplicate;
}

template <class Map, class Parse, class KeyOf>
bool LoadUnique(std::u16string_view directory, const db::TableName& name, DbMessageSink& sink,
                Map& map, Parse&& parse, KeyOf&& key_of) {
  using Record = typename Map::mapped_type;
  return db::LoadTableFile(db::JoinDbPath(directory, name.file), name.display, sink,
                           [&](std::u16string_view line) {
                             Record record;
                             if (!parse(line, record)) return LineOutcome::kFailed;
                             auto key = key_of(record);
                             return InsertUnique(map, std::move(key), std::move(record));
                           });
}

bool LoadItems(std::u16string_view directory, DbItemTable table, DbTables& t, DbMessageSink& sink) {
  return LoadUnique(
      directory, db::ItemTableName(table), sink, t.Items(table),
      [table](std::u16string_view line, ItemEntry& r) { return db::ParseItemLine(table, line, r); },
      [](const ItemEntry& r) { return MakeItemKey(r.first, r.second); });
}

bool LoadCategories(std::u16string_view directory, DbItemTable table, DbTables& t,
                    DbMessageSink& sink) {
  return LoadUnique(directory, db::CategoryTableName(table), sink, t.Categories(table),
                    db::ParseCategoryLine, [](const CategoryRecord& r) { return r.id; });
}

// One item table with its category table and the tree check.
bool LoadItemGroup(std::u16string_view directory, DbItemTable table, DbTables& t,
                   DbMessageSink& sink) {
  bool ok = LoadItems(directory, table, t, sink);
  ok = LoadCategories(directory, table, t, sink) && ok;
  return db::CheckCategoryTree(t, table, sink) && ok;
}

template <class Map, class Format>
bool Write(std::u16string_view directory, const db::TableName& name, DbMessageSink& sink,
           const Map& map, Format&& format) {
  return db::WriteTableFile(db::JoinDbPath(directory, name.file), name.display, sink, map,
                            std::forward<Format>(format));
}

}  // namespace

Database::Database(DbMessageSink* sink) : sink_(sink ? sink : &null_sink_) {}
Database::~Database() = default;

void Database::SetSink(DbMessageSink* sink) { sink_ = sink ? sink : &null_sink_; }

void Database::ClearIndexes() {
  enum_names_.clear();
  category_items_.clear();
  std::lock_guard lock(cache_mutex_);
  entity_cache_.clear();
  referenced_fields_.clear();
}

void Database::Clear() {
  ClearIndexes();
  tables_.Clear();
  directory_.clear();
  std::lock_guard lock(colors_mutex_);
  user_colors_.clear();
  colors_loaded_ = false;
}

bool Database::LoadTables(std::u16string_view directory, bool with_descriptions) {
  Clear();
  directory_.assign(directory);
  DbMessageSink& sink = *sink_;
  DbTables& t = tables_;
  bool ok = true;

  // Diag and subsystem items, events, logs, messages, OTA, NV, display.
  for (const DbItemTable table : {DbItemTable::kDiagRequest, DbItemTable::kDiagResponse,
                                  DbItemTable::kSubsysRequest, DbItemTable::kSubsysResponse}) {
    ok = LoadItemGroup(directory, table, t, sink) && ok;
  }
  ok = LoadItemGroup(directory, DbItemTable::kEvent, t, sink) && ok;
  ok = db::CheckEventNames(t, sink) && ok;
  for (const DbItemTable table : {DbItemTable::kLog, DbItemTable::kMessage, DbItemTable::kOta,
                                  DbItemTable::kNv, DbItemTable::kDisplay}) {
    ok = LoadItemGroup(directory, table, t, sink) && ok;
  }

  // Enums.
  ok = LoadUnique(directory, db::kEnumTable, sink, t.enums, db::ParseEnumLine,
                  [](const EnumRecord& r) { return r.id; }) &&
       ok;
  ok = LoadUnique(directory, db::kEnumEntryTable, sink, t.enum_entries, db::ParseEnumEntryLine,
                  [](const EnumEntryRecord& r) { return std::make_pair(r.enum_id, r.value); }) &&
       ok;
  ok = db::CheckEnums(t, sink, &enum_names_) && ok;

  // Structures.
  ok = LoadUnique(directory, db::kFieldTable, sink, t.fields, db::ParseFieldLine,
                  [](const FieldRecord& r) { return r.id; }) &&
       ok;
  ok = LoadUnique(directory, db::kStructTable, sink, t.structs, db::ParseStructLine,
                  [](const StructRow& r) { return std::make_pair(r.struct_id, r.index); }) &&
       ok;
  ok = db::LoadTableFile(db::JoinDbPath(directory, db::kDiagTable.file), db::kDiagTable.display,
                         sink,
                         [&](std::u16string_view line) {
                           DiagEntity entity;
                           if (!db::ParseDiagLine(line, entity)) return LineOutcome::kFailed;
                           // A multimap: rows with equal code lists are all kept.
                           auto key = entity.codes;
                           t.diag.emplace_hint(t.diag.end(), std::move(key), std::move(entity));
                           return LineOutcome::kInserted;
                         }) &&
       ok;
  ok = LoadUnique(directory, db::kFormatSpecifierTable, sink, t.formats,
                  db::ParseFormatSpecifierLine,
                  [](const FormatSpecifierRecord& r) { return r.id; }) &&
       ok;
  ok = db::CheckDiagEntities(t, sink) && ok;
  ok = db::CheckDiagEntityNames(t, sink) && ok;

  if (with_descriptions) {
    ok = LoadUnique(directory, db::kDescriptionTable, sink, t.descriptions,
                    db::ParseDescriptionLine, [](const DescriptionRecord& r) { return r.id; }) &&
         ok;
    ok = db::CheckDescriptions(t, sink) && ok;
  }
  return ok;
}

bool Database::Load(std::u16string_view directory, bool with_descriptions) {
  bool ok = LoadTables(directory, with_descriptions);

  namespace fs = std::filesystem;
  std::error_code ec;
  std::vector<std::u16string> users;
  for (fs::directory_iterator it(fs::path(std::u16string(directory)), ec), end; !ec && it != end;
       it.increment(ec)) {
    std::error_code type_ec;
    if (!it->is_directory(type_ec)) continue;
    std::u16string name = it->path().filename().u16string();
    if (name.empty() || name.back() == u'.') continue;
    users.push_back(std::move(name));
  }
  for (const std::u16string& name : users) {
    db::Report(*sink_, DbSeverity::kInformation, u"DB Found user database '%s'", {name});
    Database user(sink_);
    ok = user.LoadTables(db::JoinDbPath(directory, name), with_descriptions) && ok;
    ok = Merge(user) && ok;
  }
  return RebuildIndexes() && ok;
}

bool Database::LoadForModule() { return Load(db::DatabaseDirectoryForThisModule(), false); }

bool Database::Merge(const Database& user) {
  ClearIndexes();
  return db::MergeDatabase(tables_, user.tables_, *sink_);
}

bool Database::RebuildIndexes() {
  ClearIndexes();
  // Enum names: the first enum (by ID) of a name wins.
  for (const auto& [id, e] : tables_.enums) enum_names_.emplace(e.name, id);
  for (std::size_t i = 0; i < kDbItemTableCount; ++i) {
    const auto table = static_cast<DbItemTable>(i);
    for (const auto& [key, item] : tables_.Items(table)) {
      for (const std::int32_t cat : item.categories) {
        category_items_[{table, cat}].push_back(key);
      }
    }
  }
  return true;
}

void Database::HideProprietaryFields() {
  db::HideProprietaryFields(tables_);
  ClearIndexes();
}

bool Database::Save(std::u16string_view directory) const {
  DbMessageSink& sink = *sink_;
  const DbTables& t = tables_;
  bool ok = true;
  for (std::size_t i = 0; i < kDbItemTableCount; ++i) {
    const auto table = static_cast<DbItemTable>(i);
    ok = Write(directory, db::ItemTableName(table), sink, t.Items(table),
               [table](const ItemEntry& r, std::u16string& out) {
                 return db::FormatItemLine(table, r, out);
               }) &&
         ok;
    ok = Write(directory, db::CategoryTableName(table), sink, t.Categories(table),
               db::FormatCategoryLine) &&
         ok;
  }
  ok = Write(directory, db::kEnumTable, sink, t.enums, db::FormatEnumLine) && ok;
  ok = Write(directory, db::kEnumEntryTable, sink, t.enum_entries, db::FormatEnumEntryLine) && ok;
  ok = Write(directory, db::kFieldTable, sink, t.fields, db::FormatFieldLine) && ok;
  ok = Write(directory, db::kStructTable, sink, t.structs, db::FormatStructLine) && ok;
  ok = Write(directory, db::kDiagTable, sink, t.diag, db::FormatDiagLine) && ok;
  ok =
      Write(directory, db::kFormatSpecifierTable, sink, t.formats, db::FormatFormatSpecifierLine) &&
      ok;
  ok = Write(directory, db::kDescriptionTable, sink, t.descriptions, db::FormatDescriptionLine) &&
       ok;
  return ok;
}

bool Database::LoadUserItemColors() const {
  std::lock_guard lock(colors_mutex_);
  return LoadUserItemColorsLocked();
}

bool Database::LoadUserItemColorsLocked() const {
  user_colors_.clear();
  colors_loaded_ = true;
  if (directory_.empty()) return false;
  return LoadUnique(directory_, db::kUserItemColorTable, *sink_, user_colors_,
                    db::ParseUserItemColorLine,
                    [](const UserItemColorRecord& r) { return r.items; });
}

}  // namespace quillon
