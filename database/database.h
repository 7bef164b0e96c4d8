// The database: tables of items, categories, enumerations, fields and
// structures loaded from a directory of caret-separated text files, plus the
// user databases in its subdirectories merged in. Loading never throws and
// never stops at a problem: problems go to the message sink and are
// repaired. After loading the database is read-only; lookups return
// pointers into its tables that stay valid while it lives (nullptr = not
// found) and may be called from several threads.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "common/item_database_view.h"
#include "common/item_key.h"
#include "database/db_message_sink.h"
#include "database/db_records.h"

namespace quillon {

// The rows of one structure, in index order.
class StructRowRange {
 public:
  StructRowRange() = default;
  StructRowRange(StructMap::const_iterator b, StructMap::const_iterator e) : begin_(b), end_(e) {}

  class Iterator {
   public:
    explicit Iterator(StructMap::const_iterator it) : it_(it) {}
    const StructRow& operator*() const { return it_->second; }
    const StructRow* operator->() const { return &it_->second; }
    Iterator& operator++() {
      ++it_;
      return *this;
    }
    bool operator==(const Iterator&) const = default;

   private:
    StructMap::const_iterator it_;
  };

  Iterator begin() const { return Iterator(begin_); }
  Iterator end() const { return Iterator(end_); }
  bool empty() const { return begin_ == end_; }

 private:
  StructMap::const_iterator begin_{};
  StructMap::const_iterator end_{};
};

class Database final : public ItemDatabaseView {
 public:
  // Messages go to `sink`, which must outlive the database; null drops them.
  explicit Database(DbMessageSink* sink = nullptr);
  ~Database() override;
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  DbMessageSink& Sink() const { return *sink_; }
  void SetSink(DbMessageSink* sink);

  // Empties every table and index.
  void Clear();

  // Loads the tables of `directory` group by group, checking each group;
  // Description.txt only with `with_descriptions`. No user databases, no
  // indexes. False when any table or check reported a problem.
  bool LoadTables(std::u16string_view directory, bool with_descriptions);
  // LoadTables, then every subdirectory (whose name does not end in '.') as
  // a user database merged in, then the derived indexes.
  bool Load(std::u16string_view directory, bool with_descriptions);
  // Load from the directory derived from this module's path, without
  // descriptions (module start).
  bool LoadForModule();
  // Merges another (user) database into this one.
  bool Merge(const Database& user);
  // Rebuilds the derived indexes (enum names, categories to items).
  bool RebuildIndexes();
  // Replaces proprietary fields by the anonymous placeholder and empties
  // the derived indexes.
  void HideProprietaryFields();
  // Writes every writable table into `directory` (not User Item Color).
  bool Save(std::u16string_view directory) const;
  // Loads UserItemColor.txt from the database directory (record checks
  // only). Done automatically by the first colour lookup.
  bool LoadUserItemColors() const;

  const std::u16string& Directory() const { return directory_; }
  const DbTables& Tables() const { return tables_; }
  // For tools and tests that build or edit a database in memory.
  DbTables& MutableTables() { return tables_; }

  // ---- Lookups
  const FieldRecord* FindField(std::uint32_t field_id) const;
  StructRowRange FindStructRows(std::uint32_t struct_id) const;
  // The entity for a code list (entity type first); with a non-empty name,
  // the row of that code list with that name (compared without case).
  const DiagEntity* FindDiagEntity(const std::vector<std::uint32_t>& codes,
                                   std::u16string_view name = {}) const;
  // Field IDs that the entity's structure (nested ones included) names in
  // specifiers and pads, sorted.
  const std::vector<std::uint32_t>& GetReferencedFieldIds(const DiagEntity& entity) const;
  const FormatSpecifierRecord* FindFormatSpecifier(std::uint32_t id) const;
  const EnumRecord* FindEnum(std::uint32_t enum_id) const;
  std::optional<std::uint32_t> FindEnumByName(std::u16string_view name) const;
  const EnumEntryRecord* FindEnumEntry(std::uint32_t enum_id, std::int32_t value) const;
  // The entry's name; when missing or empty: "0x%X" with `hexadecimal`, else
  // "%d" when `is_signed`, else "Unknown [%u/0x%X]".
  std::u16string GetEnumValueText(std::uint32_t enum_id, std::int32_t value, bool is_signed,
                                  bool hexadecimal) const;
  const std::u16string* FindDescription(std::int32_t id) const;
  const CategoryRecord* FindCategory(DbItemTable table, std::uint32_t id) const;
  const ItemEntry* FindItem(DbItemTable table, std::uint32_t first, std::uint32_t second = 0) const;
  const ItemEntry* FindDiagRequest(std::uint32_t code) const;
  const ItemEntry* FindDiagResponse(std::uint32_t code) const;
  const ItemEntry* FindSubsysRequest(std::uint32_t subsystem, std::uint32_t command) const;
  const ItemEntry* FindSubsysResponse(std::uint32_t subsystem, std::uint32_t command) const;
  const ItemEntry* FindEvent(std::uint32_t event_id) const;
  const ItemEntry* FindLogItem(std::uint32_t log_code) const;
  const ItemEntry* FindMessageLevel(std::uint32_t first, std::uint32_t second) const;
  const ItemEntry* FindOtaType(std::uint32_t ota_code) const;
  // The OTA type for the numbers after the type code of an OTA LOG key: the
  // row of the log code (element 0), provided that a kind (element 1), when
  // there is one, is among the row's kinds or the row lists none. Further
  // numbers do not select rows.
  const ItemEntry* FindOtaTypeByCodes(const std::vector<std::uint32_t>& codes) const;
  const ItemEntry* FindNvItem(std::uint32_t id) const;
  const ItemEntry* FindDisplay(std::uint32_t id) const;
  // Item keys (see MakeItemKey) of a table's items in a category.
  const std::vector<ItemEntryKey>* ItemsInCategory(DbItemTable table, std::int32_t category) const;

  // ItemDatabaseView
  bool IsOtaLogCode(std::uint32_t log_code) const override;
  std::optional<std::uint32_t> FindUserItemColor(const ItemKey& key) const override;
  // The colour for an exact item list.
  std::optional<std::uint32_t> FindUserItemColor(const std::vector<std::uint32_t>& items) const;

 private:
  struct EntityCacheKey {
    std::vector<std::uint32_t> codes;
    std::u16string name;
    bool operator==(const EntityCacheKey&) const = default;
  };
  // What a lookup passes: views of its own codes and name, so that a cache
  // hit allocates nothing.
  struct EntityCacheView {
    std::span<const std::uint32_t> codes;
    std::u16string_view name;
  };
  struct EntityCacheHash {
    using is_transparent = void;
    std::size_t operator()(const EntityCacheView& k) const;
    std::size_t operator()(const EntityCacheKey& k) const {
      return (*this)(EntityCacheView{k.codes, k.name});
    }
  };
  struct EntityCacheEqual {
    using is_transparent = void;
    static bool Same(const EntityCacheView& a, const EntityCacheView& b) {
      return a.name == b.name &&
             std::equal(a.codes.begin(), a.codes.end(), b.codes.begin(), b.codes.end());
    }
    bool operator()(const EntityCacheKey& a, const EntityCacheKey& b) const { return a == b; }
    bool operator()(const EntityCacheView& a, const EntityCacheKey& b) const {
      return Same(a, EntityCacheView{b.codes, b.name});
    }
    bool operator()(const EntityCacheKey& a, const EntityCacheView& b) const {
      return Same(EntityCacheView{a.codes, a.name}, b);
    }
  };

  void ClearIndexes();
  bool LoadUserItemColorsLocked() const;

  NullDbMessageSink null_sink_;
  DbMessageSink* sink_;
  std::u16string directory_;
  DbTables tables_;
  std::map<std::u16string, std::uint32_t> enum_names_;
  std::map<std::pair<DbItemTable, std::int32_t>, std::vector<ItemEntryKey>> category_items_;

  // Lazily filled, guarded by cache_mutex_.
  mutable std::mutex cache_mutex_;
  mutable std::unordered_map<EntityCacheKey, const DiagEntity*, EntityCacheHash, EntityCacheEqual>
      entity_cache_;
  mutable std::map<const DiagEntity*, std::vector<std::uint32_t>> referenced_fields_;
  mutable std::mutex colors_mutex_;
  mutable bool colors_loaded_ = false;
  mutable UserItemColorMap user_colors_;
};

}  // namespace quillon
