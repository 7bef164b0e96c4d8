// Merging a user database into the main database. Copied records get new
// IDs above the main table's highest, references inside them are mapped to
// the new IDs, and records that already exist by name or key are reused or
// replaced as each table family defines. Description references of copied
// records are marked (+0x0F000000) until the user's descriptions have been
// copied and renumbered.
#pragma once

#include "database/db_message_sink.h"
#include "database/db_records.h"

namespace quillon::db {

// Returns false when an error (severity 2) was reported; what was merged
// stays merged.
bool MergeDatabase(DbTables& main, const DbTables& user, DbMessageSink& sink);

}  // namespace quillon::db
