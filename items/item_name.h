// Item names: the name the database gives an item key, optionally preceded
// by the bracketed key text ("[00412] Some event").
#pragma once

#include <string>

#include "common/item_key.h"

namespace quillon {

class Database;

// Stands for every name the database cannot supply.
inline constexpr std::u16string_view kUnknownName = u"Unknown";

// The item's name by type code:
//   0 MALFORMED  by element 1 (the command code of the bytes that did not
//                parse): 16 "LOG"; 31, 121 "MESSAGE"; 75, 128 "SUBSYS";
//                96, 116 "EVENT"; the error responses 19..24, 66, 71 by
//                the database's DIAG response name, else "DIAG"; anything
//                else, and a key without element 1, "DIAG"
//   1, 2         the database's DIAG response / request name
//   3            "GPS"
//   4, 5, 6      the database's event / log / message name
//   7            the name of the string type in the enumeration 10009
//   8            the database's OTA name for the numbers after the type code
//   9, 10        the database's subsystem response / request name
// An invalid key, a name the database lacks (or holds empty), and a null
// database give "Unknown". With `with_key` the result is the bracketed key
// text, a space and the name.
std::u16string ItemName(const ItemKey& key, const Database* database, bool with_key);

}  // namespace quillon
