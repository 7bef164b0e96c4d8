// The checks that span tables, run after each group of tables is loaded.
// Each reports through the sink, repairs what it can (as a rule a bad
// reference becomes -1) and returns false when it reported a problem.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_set>

#include "database/db_message_sink.h"
#include "database/db_records.h"

namespace quillon::db {

// Nesting limit of structures: a structure at this depth is taken as a loop.
inline constexpr std::uint32_t kMaxStructDepth = 32;
// Rows one structure check may visit; a definition that nests wide
// structures deeply would otherwise take exponential time. Exceeding it is
// reported like a loop.
inline constexpr std::size_t kStructCheckBudget = 1u << 20;

struct StructCheckState {
  std::unordered_set<std::uint32_t> seen;  // fields read so far
  std::size_t budget = kStructCheckBudget;
};

// Checks one structure and (recursively) the structures it nests.
bool CheckStructure(const DbTables& t, std::uint32_t struct_id, std::uint32_t depth,
                    StructCheckState& state, DbMessageSink& sink);

// Structure and format specifier of every Diag entity; bad ones become -1.
bool CheckDiagEntities(DbTables& t, DbMessageSink& sink);
// Diag entity names must be unique regardless of case.
bool CheckDiagEntityNames(const DbTables& t, DbMessageSink& sink);
// Enum entries against their enums; fills `name_index` (enum name to ID)
// for the enums that have entries.
bool CheckEnums(const DbTables& t, DbMessageSink& sink,
                std::map<std::u16string, std::uint32_t>* name_index);
// Event names must be unique regardless of case.
bool CheckEventNames(const DbTables& t, DbMessageSink& sink);
// Parents and loops of one category table, and the item table's
// references to it.
bool CheckCategoryTree(DbTables& t, DbItemTable table, DbMessageSink& sink);
// Description references of every table that has them.
bool CheckDescriptions(DbTables& t, DbMessageSink& sink);

// Replaces every proprietary field by the anonymous placeholder.
void HideProprietaryFields(DbTables& t);

// Case folding used for names compared without regard to case (ASCII and
// Latin-1 letters).
std::u16string FoldCase(std::u16string_view text);

// The text of a Diag entity's key in messages: its code list, comma
// separated, entity type first.
std::u16string DiagKeyText(const DiagEntity& e);

}  // namespace quillon::db
