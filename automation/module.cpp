#include "automation/module.h"

#include <atomic>
#include <mutex>

#include "automation/auto_object.h"
#include "database/database.h"
#include "database/db_location.h"
#include "parsers/ota_parsing.h"
#include "render/event_service.h"

namespace quillon::automation {

namespace {

std::atomic<std::uint32_t> g_objects{0};
std::atomic<std::uint32_t> g_locks{0};

// The messages outlive the database that reports to them.
struct ProcessState {
  DbMessageList messages;
  Database database{&messages};
  EventNameTable event_names;
  std::once_flag loaded;
  std::u16string directory;
};

ProcessState& State() {
  static ProcessState state;
  return state;
}

// True when this call loaded the database.
bool LoadOnce(ProcessState& state, std::u16string_view directory) {
  bool loaded_here = false;
  std::call_once(state.loaded, [&] {
    state.directory = std::u16string(directory);
    // A failed load keeps what could be read and repaired; its messages
    // are in the list.
    (void)state.database.Load(state.directory, false);
    // Nothing else defines the event names that EventService.GetName
    // answers with: they are the database's events.
    state.event_names = EventNameTable(state.database);
    // The OTA parsing library and the RRC decoder are bound once per
    // process too; without them OTA items have no parsed text.
    (void)OtaLibraries::Instance();
    loaded_here = true;
  });
  return loaded_here;
}

}  // namespace

const Database& ProcessDatabase() {
  ProcessState& state = State();
  LoadOnce(state, db::DatabaseDirectoryForThisModule());
  return state.database;
}

const EventNameTable& ProcessEventNames() {
  ProcessDatabase();
  return State().event_names;
}

bool LoadProcessDatabase(std::u16string_view directory) { return LoadOnce(State(), directory); }

std::u16string ProcessDatabaseDirectory() {
  ProcessDatabase();
  return State().directory;
}

std::vector<DbMessageList::Message> StartupMessages() {
  ProcessDatabase();
  return State().messages.Messages();
}

std::uint32_t LiveObjectCount() { return g_objects.load(); }
std::uint32_t LockCount() { return g_locks.load(); }
void LockModule() { ++g_locks; }
void UnlockModule() {
  std::uint32_t locks = g_locks.load();
  while (locks > 0 && !g_locks.compare_exchange_weak(locks, locks - 1)) {
  }
}
bool CanUnloadNow() { return g_objects.load() == 0 && g_locks.load() == 0; }

}  // namespace quillon::automation

namespace quillon {

AutoObject::AutoObject() { ++automation::g_objects; }
AutoObject::~AutoObject() { --automation::g_objects; }

}  // namespace quillon
