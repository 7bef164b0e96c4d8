// Feeds one arbitrary line to every table's line parser. Promises checked:
// no crash, and a line that parses formats back into a line that parses to
// the same record (what the writer stores reads back unchanged).
#include <cstdint>
#include <cstdlib>
#include <string>

#include "database/db_schema.h"
#include "database/db_specifier.h"

namespace {

using namespace quillon;

void Check(bool condition) {
  if (!condition) std::abort();
}

template <class Record, class Parse, class Format>
void RoundTrip(std::u16string_view line, Parse parse, Format format) {
  Record first;
  if (!parse(line, first)) return;
  std::u16string written;
  Check(format(first, written));
  Record second;
  Check(parse(written, second));
  Check(first == second);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // UTF-16LE code units, as a table line is after decoding.
  std::u16string line(size / 2, u'\0');
  for (std::size_t i = 0; i < line.size(); ++i) {
    line[i] = static_cast<char16_t>(data[2 * i] | data[2 * i + 1] << 8);
  }
  RoundTrip<FieldRecord>(line, db::ParseFieldLine, db::FormatFieldLine);
  RoundTrip<StructRow>(line, db::ParseStructLine, db::FormatStructLine);
  RoundTrip<DiagEntity>(line, db::ParseDiagLine, db::FormatDiagLine);
  RoundTrip<FormatSpecifierRecord>(line, db::ParseFormatSpecifierLine,
                                   db::FormatFormatSpecifierLine);
  RoundTrip<EnumRecord>(line, db::ParseEnumLine, db::FormatEnumLine);
  RoundTrip<EnumEntryRecord>(line, db::ParseEnumEntryLine, db::FormatEnumEntryLine);
  RoundTrip<DescriptionRecord>(line, db::ParseDescriptionLine, db::FormatDescriptionLine);
  RoundTrip<CategoryRecord>(line, db::ParseCategoryLine, db::FormatCategoryLine);
  for (std::size_t i = 0; i < kDbItemTableCount; ++i) {
    const auto table = static_cast<DbItemTable>(i);
    RoundTrip<ItemEntry>(
        line,
        [table](std::u16string_view l, ItemEntry& r) { return db::ParseItemLine(table, l, r); },
        [table](const ItemEntry& r, std::u16string& out) {
          return db::FormatItemLine(table, r, out);
        });
  }
  UserItemColorRecord color;
  if (db::ParseUserItemColorLine(line, color)) Check(color.color <= 0xFFFFFF);
  // Specifier texts of every repetition kind.
  for (std::int32_t kind = 0; kind <= 7; ++kind) {
    const RowSpecifier row_spec = ParseRowSpecifier(kind, line);
    if (row_spec.valid && (kind == kRepeatOptional || kind == kRepeatComputed)) {
      EvaluateCondition(row_spec.op, row_spec.value, row_spec.value);
      EvaluateCount(row_spec.op, row_spec.value, row_spec.value);
    }
  }
  return 0;
}
