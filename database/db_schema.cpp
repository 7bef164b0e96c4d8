#include "database/db_schema.h"

#include <array>

#include "database/db_columns.h"
#include "database/db_specifier.h"

namespace quillon::db {

namespace {

constexpr std::array<TableName, kDbItemTableCount> kItemTables = {{
    {u"DiagRequest.txt", u"Diag Request"},
    {u"DiagResponse.txt", u"Diag Response"},
    {u"SubsysRequest.txt", u"Subsystem Request"},
    {u"SubsysResponse.txt", u"Subsystem Response"},
    {u"EventID.txt", u"Event ID"},
    {u"LogItem.txt", u"Log Item"},
    {u"MessageLevel.txt", u"Message Level"},
    {u"OTAType.txt", u"OTA Type"},
    {u"NVItem.txt", u"NV Item"},
    {u"Display.txt", u"Display"},
}};

constexpr std::array<TableName, kDbItemTableCount> kCategoryTables = {{
    {u"DiagReqCategory.txt", u"Diag Request Category"},
    {u"DiagRspCategory.txt", u"Diag Response Category"},
    {u"SubsysReqCategory.txt", u"Subsystem Request Category"},
    {u"SubsysRspCategory.txt", u"Subsystem Response Category"},
    {u"EventCategory.txt", u"Event Category"},
    {u"LogCategory.txt", u"Log Category"},
    {u"MessageCategory.txt", u"Message Category"},
    {u"OTACategory.txt", u"OTA Category"},
    {u"NVCategory.txt", u"NV Category"},
    {u"DisplayCategory.txt", u"Display Category"},
}};

std::uint32_t U32(std::u16string_view c) { return ToU32(c, 10); }
std::int32_t I32(std::u16string_view c) { return ToI32(c, 10); }
bool Bool(std::u16string_view c) { return ToU32(c, 10) != 0; }

// Description-ID columns of some tables once held quoted text: such a
// column leaves the default.
std::int32_t DescriptionColumn(std::u16string_view c) {
  return !c.empty() && c.front() == u'"' ? kDbNone : I32(c);
}

void CategoryList(std::u16string_view c, std::vector<std::int32_t>& out) { ParseIdSet(c, out); }

bool HasName(const std::u16string& name) { return !name.empty(); }

struct SizeLimit {
  std::uint32_t minimum;
  std::uint32_t maximum;  // 0 = none
};

SizeLimit PlainSizeLimit(std::uint32_t type) {
  switch (type) {
    case kFieldBool:
    case kFieldI64:
    case kFieldU64:
    case kFieldDouble:
      return {1, 64};
    case kFieldI8:
    case kFieldU8:
      return {1, 8};
    case kFieldI16:
    case kFieldU16:
      return {1, 16};
    case kFieldI32:
    case kFieldU32:
    case kFieldFloat:
      return {1, 32};
    case kFieldString8:
      return {8, 0};
    case kFieldString16:
      return {16, 0};
    default:  // zero-terminated strings
      return {0, 0};
  }
}

}  // namespace

const TableName& ItemTableName(DbItemTable table) {
  return kItemTables[static_cast<std::size_t>(table)];
}
const TableName& CategoryTableName(DbItemTable table) {
  return kCategoryTables[static_cast<std::size_t>(table)];
}
bool ItemTableHasPairKey(DbItemTable table) {
  return table == DbItemTable::kSubsysRequest || table == DbItemTable::kSubsysResponse ||
         table == DbItemTable::kMessage;
}

// ---- Field

bool CheckField(const FieldRecord& r) {
  if (!HasName(r.name) || r.name.find_first_of(u"^,") != std::u16string::npos) return false;
  if (r.description_id < kDbNone) return false;
  SizeLimit limit{};
  if (r.kind == kFieldPlain) {
    if (r.type > kFieldDouble) return false;
    limit = PlainSizeLimit(r.type);
  } else if (r.kind == kFieldEnumUnsigned || r.kind == kFieldEnumSigned) {
    limit = {1, 32};
  } else {
    return false;
  }
  return r.bit_size >= limit.minimum && (limit.maximum == 0 || r.bit_size <= limit.maximum);
}

bool ParseFieldLine(std::u16string_view line, FieldRecord& r) {
  const Columns c(line);
  if (c.size() < 6) return false;
  r.id = U32(c[0]);
  if (!ParseQuoted(c[1], r.name)) return false;
  r.bit_size = U32(c[2]);
  r.kind = I32(c[3]);
  r.type = U32(c[4]);
  r.hexadecimal = Bool(c[5]);
  if (c.size() >= 7) r.description_id = I32(c[6]);
  if (c.size() >= 8) r.proprietary = Bool(c[7]);
  return CheckField(r);
}

bool FormatFieldLine(const FieldRecord& r, std::u16string& out) {
  if (!CheckField(r)) return false;
  ColumnWriter(out)
      .Unsigned(r.id)
      .Quoted(r.name)
      .Unsigned(r.bit_size)
      .Signed(r.kind)
      .Unsigned(r.type)
      .Flag(r.hexadecimal)
      .Signed(r.description_id)
      .Flag(r.proprietary);
  return true;
}

// ---- Struct

bool CheckStructRow(const StructRow& r) {
  if (r.member_kind < kMemberField || r.member_kind > kMemberLsbFirst) return false;
  if ((r.member_kind == kMemberMsbFirst || r.member_kind == kMemberLsbFirst) && r.index != 0) {
    return false;
  }
  if (r.member_kind == kMemberMove && r.reference == 0) return false;
  if (r.bit_offset < kDbNone) return false;
  if (r.repetition < 0 || r.repetition > kRepeatComputed) return false;
  switch (r.repetition) {
    case kRepeatNone:
      return r.specifier.empty();
    case 3:
    case 4:
      return true;
    default:
      return !r.specifier.empty();
  }
}

bool ParseStructLine(std::u16string_view line, StructRow& r) {
  const Columns c(line);
  if (c.size() < 8) return false;
  r.struct_id = U32(c[0]);
  r.index = U32(c[1]);
  r.member_kind = I32(c[2]);
  r.reference = U32(c[3]);
  if (!ParseQuoted(c[4], r.label)) return false;
  r.bit_offset = I32(c[5]);
  r.repetition = I32(c[6]);
  if (!ParseQuoted(c[7], r.specifier)) return false;
  if (!CheckStructRow(r)) return false;
  r.parsed = ParseRowSpecifier(r.repetition, r.specifier);
  return true;
}

bool FormatStructLine(const StructRow& r, std::u16string& out) {
  if (!CheckStructRow(r)) return false;
  ColumnWriter(out)
      .Unsigned(r.struct_id)
      .Unsigned(r.index)
      .Signed(r.member_kind)
      .Unsigned(r.reference)
      .Quoted(r.label)
      .Signed(r.bit_offset)
      .Signed(r.repetition)
      .Quoted(r.specifier);
  return true;
}

// ---- Diag

bool CheckDiagEntity(const DiagEntity& r) {
  const std::int32_t type = r.EntityType();
  return type >= 0 && type <= 11 && r.codes.size() >= 2 && HasName(r.name) &&
         r.struct_id >= kDbNone && r.format_id >= kDbNone;
}

bool ParseDiagLine(std::u16string_view line, DiagEntity& r) {
  const Columns c(line);
  if (c.size() < 5) return false;
  r.codes.clear();
  r.codes.push_back(static_cast<std::uint32_t>(I32(c[0])));
  ParseList(c[1], r.codes);
  if (!ParseQuoted(c[2], r.name)) return false;
  r.struct_id = I32(c[3]);
  r.format_id = I32(c[4]);
  if (c.size() >= 6) r.flag = Bool(c[5]);
  return CheckDiagEntity(r);
}

bool FormatDiagLine(const DiagEntity& r, std::u16string& out) {
  if (!CheckDiagEntity(r)) return false;
  ColumnWriter(out)
      .Signed(r.EntityType())
      .QuotedList(std::vector<std::uint32_t>(r.codes.begin() + 1, r.codes.end()))
      .Quoted(r.name)
      .Signed(r.struct_id)
      .Signed(r.format_id)
      .Flag(r.flag);
  return true;
}

// ---- Format specifier

bool CheckFormatSpecifier(const FormatSpecifierRecord& r) { return !r.format.empty(); }

bool ParseFormatSpecifierLine(std::u16string_view line, FormatSpecifierRecord& r) {
  const Columns c(line);
  if (c.size() < 3) return false;
  r.id = U32(c[0]);
  if (!ParseQuoted(c[1], r.format) || !ParseQuoted(c[2], r.field_names)) return false;
  return CheckFormatSpecifier(r);
}

bool FormatFormatSpecifierLine(const FormatSpecifierRecord& r, std::u16string& out) {
  if (!CheckFormatSpecifier(r)) return false;
  ColumnWriter(out).Unsigned(r.id).Quoted(r.format).Quoted(r.field_names);
  return true;
}

// ---- Enum

// The description ID of an enum is not range-checked here: one below -1
// loads, and the description check resets it.
bool CheckEnum(const EnumRecord& r) { return HasName(r.name); }

bool ParseEnumLine(std::u16string_view line, EnumRecord& r) {
  const Columns c(line);
  if (c.size() < 4) return false;
  r.id = U32(c[0]);
  if (!ParseQuoted(c[1], r.name)) return false;
  r.description_id = DescriptionColumn(c[2]);
  r.flag = Bool(c[3]);
  return CheckEnum(r);
}

bool FormatEnumLine(const EnumRecord& r, std::u16string& out) {
  if (!CheckEnum(r)) return false;
  ColumnWriter(out).Unsigned(r.id).Quoted(r.name).Signed(r.description_id).Flag(r.flag);
  return true;
}

// ---- Enum entry

bool CheckEnumEntry(const EnumEntryRecord& r) {
  return HasName(r.name) && r.description_id >= kDbNone;
}

bool ParseEnumEntryLine(std::u16string_view line, EnumEntryRecord& r) {
  const Columns c(line);
  if (c.size() < 3) return false;
  r.enum_id = U32(c[0]);
  const std::u16string_view v = c[1];
  std::size_t end = 0;
  const std::uint32_t value = ToU32(v, 0, &end);
  r.value = end == 0 ? kDbNone : static_cast<std::int32_t>(value);
  r.hexadecimal = v.size() >= 2 && v[0] == u'0' && (v[1] == u'x' || v[1] == u'X');
  if (!ParseQuoted(c[2], r.name)) return false;
  if (c.size() >= 4) r.description_id = I32(c[3]);
  return CheckEnumEntry(r);
}

bool FormatEnumEntryLine(const EnumEntryRecord& r, std::u16string& out) {
  if (!CheckEnumEntry(r)) return false;
  ColumnWriter line(out);
  line.Unsigned(r.enum_id);
  if (r.hexadecimal) {
    line.Hex(static_cast<std::uint32_t>(r.value), 1);
  } else {
    line.Signed(r.value);
  }
  line.Quoted(r.name).Signed(r.description_id);
  return true;
}

// ---- Description

bool CheckDescription(const DescriptionRecord&) { return true; }

bool ParseDescriptionLine(std::u16string_view line, DescriptionRecord& r) {
  const Columns c(line);
  if (c.size() < 2) return false;
  r.id = U32(c[0]);
  if (!ParseQuoted(c[1], r.text)) return false;
  return CheckDescription(r);
}

bool FormatDescriptionLine(const DescriptionRecord& r, std::u16string& out) {
  if (!CheckDescription(r)) return false;
  ColumnWriter(out).Unsigned(r.id).Quoted(r.text);
  return true;
}

// ---- Category

bool CheckCategory(const CategoryRecord& r) {
  return HasName(r.name) && r.description_id >= kDbNone && r.parent_id >= kDbNone;
}

bool ParseCategoryLine(std::u16string_view line, CategoryRecord& r) {
  const Columns c(line);
  if (c.size() < 4) return false;
  r.id = U32(c[0]);
  if (!ParseQuoted(c[1], r.name)) return false;
  r.description_id = DescriptionColumn(c[2]);
  r.parent_id = I32(c[3]);
  return CheckCategory(r);
}

bool FormatCategoryLine(const CategoryRecord& r, std::u16string& out) {
  if (!CheckCategory(r)) return false;
  ColumnWriter(out).Unsigned(r.id).Quoted(r.name).Signed(r.description_id).Signed(r.parent_id);
  return true;
}

// ---- Items

// Only events require a description ID of at least -1; the NV Item and
// Display columns (and the Log Item's column-less ID) take any number, which
// the description check resets when it is below -1.
bool CheckItem(DbItemTable table, const ItemEntry& r) {
  return HasName(r.name) && (table != DbItemTable::kEvent || r.description_id >= kDbNone);
}

bool ParseItemLine(DbItemTable table, std::u16string_view line, ItemEntry& r) {
  const Columns c(line);
  switch (table) {
    case DbItemTable::kDiagRequest:
    case DbItemTable::kDiagResponse:
      if (c.size() < 3) return false;
      r.first = U32(c[0]) & 0xFF;
      if (!ParseQuoted(c[1], r.name)) return false;
      CategoryList(c[2], r.categories);
      break;
    case DbItemTable::kSubsysRequest:
    case DbItemTable::kSubsysResponse:
      if (c.size() < 3) return false;
      r.first = U32(c[0]);
      r.second = U32(c[1]);
      if (!ParseQuoted(c[2], r.name)) return false;
      if (c.size() >= 4) CategoryList(c[3], r.categories);
      break;
    case DbItemTable::kEvent:
    case DbItemTable::kNv:
    case DbItemTable::kDisplay:
      if (c.size() < 4) return false;
      r.first = U32(c[0]);
      if (!ParseQuoted(c[1], r.name)) return false;
      CategoryList(c[2], r.categories);
      r.description_id = DescriptionColumn(c[3]);
      break;
    case DbItemTable::kLog:
      if (c.size() < 4) return false;
      r.first = ToU32(c[0], 0);
      if (!ParseQuoted(c[1], r.name)) return false;
      CategoryList(c[2], r.categories);
      r.flag = Bool(c[3]);
      break;
    case DbItemTable::kMessage:
      if (c.size() < 4) return false;
      r.first = U32(c[0]);
      r.second = U32(c[1]);
      if (!ParseQuoted(c[2], r.name)) return false;
      CategoryList(c[3], r.categories);
      break;
    case DbItemTable::kOta:
      if (c.size() < 4) return false;
      r.first = ToU32(c[0], 0);
      // Either one plain decimal number or a quoted list, a set like the
      // category lists.
      r.ota_codes.clear();
      if (!c[1].empty() && c[1].front() == u'"') {
        ParseIdSet(c[1], r.ota_codes);
      } else {
        r.ota_codes.push_back(U32(c[1]));
      }
      if (!ParseQuoted(c[2], r.name)) return false;
      CategoryList(c[3], r.categories);
      break;
  }
  return CheckItem(table, r);
}

bool FormatItemLine(DbItemTable table, const ItemEntry& r, std::u16string& out) {
  if (!CheckItem(table, r)) return false;
  switch (table) {
    case DbItemTable::kDiagRequest:
    case DbItemTable::kDiagResponse:
      ColumnWriter(out).Unsigned(r.first).Quoted(r.name).QuotedList(r.categories);
      break;
    case DbItemTable::kSubsysRequest:
    case DbItemTable::kSubsysResponse:
    case DbItemTable::kMessage:
      ColumnWriter(out).Unsigned(r.first).Unsigned(r.second).Quoted(r.name).QuotedList(
          r.categories);
      break;
    case DbItemTable::kEvent:
    case DbItemTable::kNv:
    case DbItemTable::kDisplay:
      ColumnWriter(out)
          .Unsigned(r.first)
          .Quoted(r.name)
          .QuotedList(r.categories)
          .Signed(r.description_id);
      break;
    case DbItemTable::kLog:
      ColumnWriter(out).Hex(r.first, 4).Quoted(r.name).QuotedList(r.categories).Flag(r.flag);
      break;
    case DbItemTable::kOta:
      ColumnWriter(out)
          .Hex(r.first, 4)
          .QuotedList(r.ota_codes)
          .Quoted(r.name)
          .QuotedList(r.categories);
      break;
  }
  return true;
}

// ---- User item colour

bool CheckUserItemColor(const UserItemColorRecord& r) {
  return !r.items.empty() && r.color <= 0xFFFFFF;
}

bool ParseUserItemColorLine(std::u16string_view line, UserItemColorRecord& r) {
  const Columns c(line);
  if (c.size() < 4) return false;
  ParseList(c[0], r.items);
  const std::uint32_t red = ToU32(c[1], 0);
  const std::uint32_t green = ToU32(c[2], 0);
  const std::uint32_t blue = ToU32(c[3], 0);
  if (red >= 256 || green >= 256 || blue >= 256) return false;
  r.color = red + green * 256 + blue * 65536;
  return CheckUserItemColor(r);
}

}  // namespace quillon::db
