// Test helpers for items/: a minimal concrete item and a small database.
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

// Adds an item entry; OTA entries (table kOta) list their kinds.
inline void AddItem(Database& db, DbItemTable table, std::uint32_t first, std::uint32_t second,
                    std::u16string name, std::vector<std::uint32_t> ota_kinds = {}) {
  const ItemEntryKey key =
      table == DbItemTable::kOta ? MakeItemKey(first) : MakeItemKey(first, second);
  db.MutableTables().Items(table)[key] =
      ItemEntry{first, second, std::move(name), {}, -1, false, std::move(ota_kinds)};
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
  AddItem(db, DbItemTable::kOta, 0x713A, 0, u"LTE RRC OTA", {1, 2});
  // The string types name type 2.
  db.MutableTables().enum_entries[{10009, 2}] = EnumEntryRecord{10009, 2, false, u"Annotation", -1};
}

}  // namespace quillon::itemstest
