// The records of the database tables and the maps that hold them. IDs are
// 32 bits; -1 means "none" wherever a reference is signed.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace quillon {

inline constexpr std::int32_t kDbNone = -1;
// Description IDs at or above this value are reserved: a merge marks the
// description references of copied user records with it until they are
// renumbered.
inline constexpr std::uint32_t kDbDescriptionMark = 0x0F000000;
// The name that hidden proprietary fields take.
inline constexpr char16_t kDbProprietaryName[] = u"Korvanta Proprietary";

// Field type codes of a plain (kind 0) field.
enum DbFieldType : std::uint32_t {
  kFieldBool = 0,
  kFieldI8 = 1,
  kFieldU8 = 2,
  kFieldI16 = 3,
  kFieldU16 = 4,
  kFieldI32 = 5,
  kFieldU32 = 6,
  kFieldI64 = 7,
  kFieldU64 = 8,
  kFieldString8 = 9,
  kFieldString16 = 10,
  kFieldZString8 = 11,
  kFieldZString16 = 12,
  kFieldFloat = 13,
  kFieldDouble = 14,
};

// Field kinds: a plain value, or an unsigned or signed enumerated value
// whose type column names the Enum.
enum DbFieldKind : std::int32_t {
  kFieldPlain = 0,
  kFieldEnumUnsigned = 1,
  kFieldEnumSigned = 2,
};

struct FieldRecord {
  std::uint32_t id = 0;
  std::u16string name;
  std::uint32_t bit_size = 0;
  std::int32_t kind = 0;
  std::uint32_t type = 0;  // type code, or enum ID for kinds 1 and 2
  bool hexadecimal = false;
  std::int32_t description_id = kDbNone;
  bool proprietary = false;

  bool operator==(const FieldRecord&) const = default;
};

// Member kinds of a struct row.
enum DbMemberKind : std::int32_t {
  kMemberField = 0,
  kMemberStruct = 1,
  kMemberMove = 2,
  kMemberPadBits = 3,
  kMemberPadBytes = 4,
  kMemberAlign = 5,
  kMemberMsbFirst = 6,
  kMemberLsbFirst = 7,
};

// Repetition kinds of a struct row.
enum DbRepetition : std::int32_t {
  kRepeatNone = 0,
  kRepeatFixed = 1,
  kRepeatCountField = 2,
  kRepeatOptional = 5,
  kRepeatRange = 6,
  kRepeatComputed = 7,
};

// The parsed specifier text of a struct row. `valid` is false when the text
// does not have the form its repetition kind needs.
struct RowSpecifier {
  bool valid = false;
  std::uint32_t count = 0;      // kind 1: the fixed count
  std::uint32_t field_id = 0;   // kinds 2, 5, 6, 7: the (first) field
  std::uint32_t field_id2 = 0;  // kind 6: the last-index field
  std::uint32_t op = 0;         // kinds 5, 7: operator code
  std::int64_t value = 0;       // kinds 5, 7: the constant (bits)
  std::u16string op_text;       // kinds 5, 7: operator as written
  std::u16string value_text;    // kinds 5, 7: constant as written

  bool operator==(const RowSpecifier&) const = default;
};

struct StructRow {
  std::uint32_t struct_id = 0;
  std::uint32_t index = 0;
  std::int32_t member_kind = 0;
  std::uint32_t reference = 0;
  std::u16string label;
  std::int32_t bit_offset = kDbNone;
  std::int32_t repetition = 0;
  std::u16string specifier;
  RowSpecifier parsed;  // derived from `specifier` and `repetition`

  bool operator==(const StructRow&) const = default;
};

// A Diag entity: the payload layout and summary of one kind of item. Its
// key is the code list, the entity type followed by its codes.
struct DiagEntity {
  std::vector<std::uint32_t> codes;  // codes[0] is the entity type
  std::u16string name;
  std::int32_t struct_id = kDbNone;
  std::int32_t format_id = kDbNone;
  bool flag = false;
  std::int32_t EntityType() const {
    return codes.empty() ? -1 : static_cast<std::int32_t>(codes[0]);
  }

  bool operator==(const DiagEntity&) const = default;
};

struct FormatSpecifierRecord {
  std::uint32_t id = 0;
  std::u16string format;
  std::u16string field_names;

  bool operator==(const FormatSpecifierRecord&) const = default;
};

struct EnumRecord {
  std::uint32_t id = 0;
  std::u16string name;
  std::int32_t description_id = kDbNone;
  bool flag = false;

  bool operator==(const EnumRecord&) const = default;
};

struct EnumEntryRecord {
  std::uint32_t enum_id = 0;
  std::int32_t value = 0;
  bool hexadecimal = false;  // the value was written as 0x...
  std::u16string name;
  std::int32_t description_id = kDbNone;

  bool operator==(const EnumEntryRecord&) const = default;
};

struct DescriptionRecord {
  std::uint32_t id = 0;
  std::u16string text;

  bool operator==(const DescriptionRecord&) const = default;
};

struct CategoryRecord {
  std::uint32_t id = 0;
  std::u16string name;
  std::int32_t description_id = kDbNone;
  std::int32_t parent_id = kDbNone;

  bool operator==(const CategoryRecord&) const = default;
};

// The ten item tables, each paired with its category table.
enum class DbItemTable : std::uint32_t {
  kDiagRequest = 0,
  kDiagResponse,
  kSubsysRequest,
  kSubsysResponse,
  kEvent,
  kLog,
  kMessage,
  kOta,
  kNv,
  kDisplay,
};
inline constexpr std::size_t kDbItemTableCount = 10;

// One record of an item table. Single-key tables use `first` only; the
// subsystem and message tables are keyed by (first, second).
struct ItemEntry {
  std::uint32_t first = 0;
  std::uint32_t second = 0;
  std::u16string name;
  std::vector<std::int32_t> categories;  // sorted, no duplicates
  std::int32_t description_id = kDbNone;
  bool flag = false;                     // Log Item only
  std::vector<std::uint32_t> ota_codes;  // OTA Type only: its kinds

  bool operator==(const ItemEntry&) const = default;
};

struct UserItemColorRecord {
  std::vector<std::uint32_t> items;
  std::uint32_t color = 0;  // red + green * 256 + blue * 65536

  bool operator==(const UserItemColorRecord&) const = default;
};

using ItemEntryKey = std::uint64_t;  // first << 32 | second
inline ItemEntryKey MakeItemKey(std::uint32_t first, std::uint32_t second = 0) {
  return static_cast<std::uint64_t>(first) << 32 | second;
}

using FieldMap = std::map<std::uint32_t, FieldRecord>;
using StructMap = std::map<std::pair<std::uint32_t, std::uint32_t>, StructRow>;
using DiagMap = std::multimap<std::vector<std::uint32_t>, DiagEntity>;
using FormatSpecifierMap = std::map<std::uint32_t, FormatSpecifierRecord>;
using EnumMap = std::map<std::uint32_t, EnumRecord>;
using EnumEntryMap = std::map<std::pair<std::uint32_t, std::int32_t>, EnumEntryRecord>;
using DescriptionMap = std::map<std::uint32_t, DescriptionRecord>;
using CategoryMap = std::map<std::uint32_t, CategoryRecord>;
using ItemMap = std::map<ItemEntryKey, ItemEntry>;
using UserItemColorMap = std::map<std::vector<std::uint32_t>, UserItemColorRecord>;

// Every table of one database.
struct DbTables {
  FieldMap fields;
  StructMap structs;
  DiagMap diag;
  FormatSpecifierMap formats;
  EnumMap enums;
  EnumEntryMap enum_entries;
  DescriptionMap descriptions;
  std::array<CategoryMap, kDbItemTableCount> categories;
  std::array<ItemMap, kDbItemTableCount> items;

  CategoryMap& Categories(DbItemTable t) { return categories[static_cast<std::size_t>(t)]; }
  const CategoryMap& Categories(DbItemTable t) const {
    return categories[static_cast<std::size_t>(t)];
  }
  ItemMap& Items(DbItemTable t) { return items[static_cast<std::size_t>(t)]; }
  const ItemMap& Items(DbItemTable t) const { return items[static_cast<std::size_t>(t)]; }
  void Clear() { *this = DbTables(); }
  bool operator==(const DbTables&) const = default;
};

}  // namespace quillon
