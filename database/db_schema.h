// The tables of the database: file and display names, and for each table
// its line parser, record check and line formatter. A parser fills a fresh
// record from one line and applies the record check; a formatter applies the
// check and builds the line the writer stores (columns joined by '^').
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "database/db_records.h"

namespace quillon::db {

struct TableName {
  std::u16string_view file;
  std::u16string_view display;
};

inline constexpr TableName kFieldTable{u"Field.txt", u"Field"};
inline constexpr TableName kStructTable{u"Struct.txt", u"Struct"};
inline constexpr TableName kDiagTable{u"Diag.txt", u"Diag"};
inline constexpr TableName kFormatSpecifierTable{u"FormatSpecifier.txt", u"Format Specifier"};
inline constexpr TableName kEnumTable{u"Enum.txt", u"Enum"};
inline constexpr TableName kEnumEntryTable{u"EnumEntry.txt", u"Enum Entry"};
inline constexpr TableName kDescriptionTable{u"Description.txt", u"Description"};
inline constexpr TableName kUserItemColorTable{u"UserItemColor.txt", u"User Item Color"};
// Names reserved for tables that this system neither loads nor writes.
inline constexpr TableName kCellDataTable{u"CellData.txt", u"Cell Data"};
inline constexpr TableName kUserCellDataTable{u"UserCellData.txt", u"User Cell Data"};
inline constexpr TableName kAnnotationTable{u"Annotation.txt", u"Annotation"};
inline constexpr TableName kUserAnnotationTable{u"UserAnnotation.txt", u"User Annotation"};

// Names of an item table and of its category table.
const TableName& ItemTableName(DbItemTable table);
const TableName& CategoryTableName(DbItemTable table);
// True for the tables keyed by two numbers (subsystem and message tables).
bool ItemTableHasPairKey(DbItemTable table);

// The field-definition check: name, kind, type code and bit size limits.
bool CheckField(const FieldRecord& r);
bool ParseFieldLine(std::u16string_view line, FieldRecord& r);
bool FormatFieldLine(const FieldRecord& r, std::u16string& out);

bool CheckStructRow(const StructRow& r);
bool ParseStructLine(std::u16string_view line, StructRow& r);
bool FormatStructLine(const StructRow& r, std::u16string& out);

bool CheckDiagEntity(const DiagEntity& r);
bool ParseDiagLine(std::u16string_view line, DiagEntity& r);
bool FormatDiagLine(const DiagEntity& r, std::u16string& out);

bool CheckFormatSpecifier(const FormatSpecifierRecord& r);
bool ParseFormatSpecifierLine(std::u16string_view line, FormatSpecifierRecord& r);
bool FormatFormatSpecifierLine(const FormatSpecifierRecord& r, std::u16string& out);

bool CheckEnum(const EnumRecord& r);
bool ParseEnumLine(std::u16string_view line, EnumRecord& r);
bool FormatEnumLine(const EnumRecord& r, std::u16string& out);

bool CheckEnumEntry(const EnumEntryRecord& r);
bool ParseEnumEntryLine(std::u16string_view line, EnumEntryRecord& r);
bool FormatEnumEntryLine(const EnumEntryRecord& r, std::u16string& out);

bool CheckDescription(const DescriptionRecord& r);
bool ParseDescriptionLine(std::u16string_view line, DescriptionRecord& r);
bool FormatDescriptionLine(const DescriptionRecord& r, std::u16string& out);

bool CheckCategory(const CategoryRecord& r);
bool ParseCategoryLine(std::u16string_view line, CategoryRecord& r);
bool FormatCategoryLine(const CategoryRecord& r, std::u16string& out);

bool CheckItem(DbItemTable table, const ItemEntry& r);
bool ParseItemLine(DbItemTable table, std::u16string_view line, ItemEntry& r);
bool FormatItemLine(DbItemTable table, const ItemEntry& r, std::u16string& out);

bool CheckUserItemColor(const UserItemColorRecord& r);
bool ParseUserItemColorLine(std::u16string_view line, UserItemColorRecord& r);

}  // namespace quillon::db
