// The item factory: makes the concrete item class for a type code.
#pragma once

#include "common/item_buffer.h"
#include "common/item_database_view.h"
#include "common/item_record.h"

namespace quillon {

// Makes an item from a stored record's header and buffer. Returns null for
// a type code outside 0..10 or an invalid buffer. A LOG whose log code
// (u16 at payload offset 6) is an over-the-air log code becomes an OTA LOG.
// With `validate`, an invalid item degrades to MALFORMED (GPS and STRING
// give null instead). The default colour is set, then the header's
// timestamp replaces the creation time. Never throws except std::bad_alloc.
ItemPtr CreateItem(const ItemRecord::Header& header, ItemBufferRef buffer, bool validate,
                   const ItemDatabaseView& database);

// A new item of the same type sharing the same buffer and carrying the same
// generic timestamp.
ItemPtr CloneItem(const ItemRecord& item, bool validate, const ItemDatabaseView& database);

// True for the fixed over-the-air log codes (0x1076..0x1079, 0x107C, 0x1085,
// 0x1086, 0x412F, 0x512F, 0x5226, 0x5230, 0x713A) or when the database
// lists the code.
bool IsOtaLogCode(std::uint32_t log_code, const ItemDatabaseView& database);

}  // namespace quillon
