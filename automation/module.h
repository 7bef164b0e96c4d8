// The module: the process-wide database shared by every automation object,
// and the counts that decide whether the library may be unloaded.
//
// The database is loaded once per process, from the directory that the
// database location rule derives from this module's own path, the first
// time anything needs it (the COM server asks for it before it hands out
// its first class object). The same start binds the process-wide OTA
// parsing library and RRC decoder (parsers/ota_parsing.h), when present. Problems found while
// loading never fail the start: they are kept, in order, in a list that StartupMessages() reads,
// and are logged nowhere.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "database/db_message_sink.h"

namespace quillon {

class Database;
class EventNameTable;

namespace automation {

// The process-wide database, loaded on the first call; read-only and alive
// until the process ends. Thread-safe.
const Database& ProcessDatabase();

// Loads the process-wide database from `directory` instead of the module's
// own location (tools, tests and hosts that ship the tables elsewhere).
// False, changing nothing, when the database was already loaded.
bool LoadProcessDatabase(std::u16string_view directory);

// The event name table of EventService.GetName: every event of the
// process-wide database, filled right after the database is loaded (and
// loading it on the first call like ProcessDatabase). Thread-safe.
const EventNameTable& ProcessEventNames();

// The directory the process-wide database was loaded from; empty before.
std::u16string ProcessDatabaseDirectory();

// What the load reported, in order.
std::vector<DbMessageList::Message> StartupMessages();

// Live automation objects of every class (see AutoObject).
std::uint32_t LiveObjectCount();
// Server locks: one per live creatable object plus the surface's explicit
// locks (IClassFactory::LockServer).
std::uint32_t LockCount();
void LockModule();
// Takes back one lock; without a lock left it does nothing.
void UnlockModule();
// True when no object and no lock remain.
bool CanUnloadNow();

}  // namespace automation
}  // namespace quillon
