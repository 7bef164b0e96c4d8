// Test helpers for items/: a minimal concrete item and a small database
// built in memory.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/item_buffer.h"
#include "common/item_record.h"
#include "database/database.h"

namespace quillon::itemstest {

// An item of any type with a given key and payload. `valid` can force
// IsValid false the way a type's unparsable header does.
class TestItem final : public ItemRecord {
 public:
  TestItem(std::uint32_t type, ItemKey key, const std::vector<std::uint8_t>& payload = {0x00},
           bool valid = true)
      : ItemRecord(type, ItemBufferRef::Make(payload.data(), payload.size())), valid_(valid) {
    key_ = std::move(key);
  }
  std::uint32_t GetHeaderLength() const override { return 0; }
  bool IsValid() const override { return valid_ && ItemRecord::IsValid(); }
  bool SetDefaultColor() override { return true; }

 private:
  bool valid_;
};

inline void AddItem(Database& db, DbItemTable table, std::uint32_t first, std::uint32_t second,
                    std::u16string name) {
  ItemEntry entry;
  entry.first = first;
  entry.second = second;
  entry.name = std::move(name);
  db.MutableTables().Items(table)[MakeItemKey(first, second)] = std::move(entry);
}

inline void AddOtaType(Database& db, std::uint32_t log_code, std::vector<std::uint32_t> kinds,
                       std::u16string name) {
  ItemEntry entry;
  entry.first = log_code;
  entry.name = std::move(name);
  entry.ota_codes = std::move(kinds);
  db.MutableTables().Items(DbItemTable::kOta)[MakeItemKey(log_code)] = std::move(entry);
}

inline void AddEnumEntry(Database& db, std::uint32_t enum_id, std::int32_t value,
                         std::u16string name) {
  EnumEntryRecord entry;
  entry.enum_id = enum_id;
  entry.value = value;
  entry.name = std::move(name);
  db.MutableTables().enum_entries[{enum_id, value}] = std::move(entry);
}

// One entry per item table, with names the tests can tell apart.
inline void FillSampleDatabase(Database& db) {
  AddItem(db, DbItemTable::kDiagResponse, 19, 0, u"Bad Command Response");
  AddItem(db, DbItemTable::kDiagResponse, 75, 0, u"Subsystem Dispatch Response");
  AddItem(db, DbItemTable::kDiagRequest, 75, 0, u"Subsystem Dispatch Request");
  AddItem(db, DbItemTable::kEvent, 412, 0, u"EVENT_CALL_CONNECT");
  AddItem(db, DbItemTable::kLog, 0x108A, 0, u"Searcher Status");
  AddItem(db, DbItemTable::kMessage, 21, 2, u"Call Processing High");
  AddItem(db, DbItemTable::kSubsysResponse, 18, 42, u"FTM Response");
  AddItem(db, DbItemTable::kSubsysRequest, 18, 42, u"FTM Request");
  AddOtaType(db, 0x713A, {1, 2}, u"LTE RRC OTA");
  AddEnumEntry(db, 10009, 2, u"Annotation");
}

}  // namespace quillon::itemstest
