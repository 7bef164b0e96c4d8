// Ad-hoc reads of one value out of an item's payload, described by the
// caller: a type code (0..14), a bit count and a bit offset, counted from
// the start of the payload or, by default, from the end of the item's
// header bytes. The automation layer's ColorItem serves these.
#pragma once

#include <cstdint>
#include <string>

#include "common/item_record.h"
#include "render/variant.h"

namespace quillon {

// Empty when the item is missing or its payload invalid, when the type and
// bit count do not make a valid field definition (e.g. 65 bits of a 64-bit
// type), or when the value cannot be read (e.g. an offset past the end).
Variant GetItemFieldValue(const ItemRecord* item, std::uint32_t field_type, std::uint32_t bit_count,
                          std::uint32_t bit_offset, bool include_header_bytes);

// The value text, decimal or hexadecimal; empty in the same cases.
std::u16string GetItemFieldValueText(const ItemRecord* item, std::uint32_t field_type,
                                     std::uint32_t bit_count, std::uint32_t bit_offset,
                                     bool include_header_bytes, bool hexadecimal);

}  // namespace quillon
