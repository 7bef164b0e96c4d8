// One field's value: reading it out of a payload at the reader's position,
// its display text, its raw value text and its VARIANT-like value.
//
// A field definition of kind 0 holds a type code (0..14, see
// DbFieldType); kinds 1 and 2 are unsigned and signed enumerations read as
// 32-bit integers whose type column names the Enum. Values live in an
// 8-byte slot as the bare bits of the type's width (a float or double as
// its bit pattern); string types keep their text only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "database/db_records.h"
#include "render/bit_reader.h"
#include "render/variant.h"

namespace quillon {

class Database;

// Strings longer than this many bytes are refused (the largest payload).
inline constexpr std::uint32_t kMaxFieldStringBytes = 8208;

struct ParsedField {
  const FieldRecord* definition = nullptr;  // never owned
  std::uint32_t bit_offset = 0;             // reader position where reading began
  std::uint64_t value = 0;
  std::u16string value_text;
  std::u16string name;  // path inside the entity
  bool valid = false;
};

// Reads the field at the reader's position into `out` (which is reset
// first; its name is left to the caller). Numbers get a value text only
// with `make_text`; strings always carry their text, which is their value.
// Enumeration texts come from `db` (null: the number). Returns out.valid.
// On failure the reader may have moved; callers that go on reading must
// restore the position themselves.
bool ReadField(const Database* db, const FieldRecord* def, BitReader& reader, bool make_text,
               ParsedField& out);

// The value text of a read number (kind 0, types 0..8, 13, 14), decimal or
// hexadecimal as the definition says.
void AppendNumberText(std::u16string& out, std::uint32_t type, std::uint64_t value,
                      bool hexadecimal);

// Enumerations: "%u" (kind 1) or "%d" (kind 2) of the number, "0x%X" with
// the hexadecimal flag; plain fields: the value text; invalid: empty.
std::u16string RawValueText(const ParsedField& field);

// VT_EMPTY when invalid; otherwise the value typed by the definition.
Variant FieldVariant(const ParsedField& field);

// The definition's bit size; for string types the text length times 8
// (types 9, 11) or 16 (types 10, 12); 0 without a definition.
std::uint32_t FieldBitSize(const ParsedField& field);

// The value widened to 64 bits for use as a count, bound, condition or
// position: unsigned types zero-extended, signed ones sign-extended, 64-bit
// ones whole, except an unsigned 64-bit value above 2^63 - 1; strings and
// floating-point values have none.
std::optional<std::int64_t> WidenedValue(const ParsedField& field);

}  // namespace quillon
