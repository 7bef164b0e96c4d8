// A small database built in memory for the parsing tests.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "database/database.h"
#include "database/db_specifier.h"
#include "render/parsed_field_list.h"

namespace quillon::rendertest {

class TestDb {
 public:
  TestDb& Field(std::uint32_t id, std::u16string name, std::uint32_t bits, std::uint32_t type,
                bool hex = false, std::int32_t kind = kFieldPlain) {
    db_->MutableTables().fields[id] = {id, std::move(name), bits, kind, type, hex};
    return *this;
  }
  TestDb& EnumField(std::uint32_t id, std::u16string name, std::uint32_t bits, bool is_signed,
                    std::uint32_t enum_id, bool hex = false) {
    return Field(id, std::move(name), bits, enum_id, hex,
                 is_signed ? kFieldEnumSigned : kFieldEnumUnsigned);
  }
  // Rows get consecutive indexes per struct.
  TestDb& Row(std::uint32_t struct_id, std::int32_t member_kind, std::uint32_t reference,
              std::u16string label = {}, std::int32_t repetition = kRepeatNone,
              std::u16string specifier = {}, std::int32_t bit_offset = kDbNone) {
    const std::uint32_t index = next_index_[struct_id]++;
    const RowSpecifier parsed = ParseRowSpecifier(repetition, specifier);
    auto& rows = db_->MutableTables().structs;
    rows[{struct_id, index}] = {
        struct_id,  index,      member_kind,          reference, std::move(label),
        bit_offset, repetition, std::move(specifier), parsed};
    return *this;
  }
  TestDb& Member(std::uint32_t struct_id, std::uint32_t field_id) {
    return Row(struct_id, kMemberField, field_id);
  }
  TestDb& Repeat(std::uint32_t struct_id, std::uint32_t field_id, std::int32_t repetition,
                 std::u16string specifier) {
    return Row(struct_id, kMemberField, field_id, {}, repetition, std::move(specifier));
  }
  TestDb& Entity(std::vector<std::uint32_t> codes, std::u16string name, std::int32_t struct_id,
                 std::int32_t format_id = kDbNone) {
    db_->MutableTables().diag.emplace(codes,
                                      DiagEntity{codes, std::move(name), struct_id, format_id});
    return *this;
  }
  TestDb& Summary(std::uint32_t id, std::u16string format, std::u16string names) {
    db_->MutableTables().formats[id] = {id, std::move(format), std::move(names)};
    return *this;
  }
  TestDb& EnumEntry(std::uint32_t enum_id, std::int32_t value, std::u16string name) {
    db_->MutableTables().enum_entries[{enum_id, value}] = {enum_id, value, false, std::move(name)};
    return *this;
  }
  const Database& db() const { return *db_; }

 private:
  std::unique_ptr<Database> db_ = std::make_unique<Database>();
  std::map<std::uint32_t, std::uint32_t> next_index_;
};

// The parse of an event entity {4, event_id} over `bytes`.
struct EventParse {
  EventParse(const Database& db, std::uint32_t event_id, std::vector<std::uint8_t> payload,
             bool strings = true, bool names = true)
      : bytes(std::move(payload)),
        list(db, event_id, bytes.data(), static_cast<std::int32_t>(bytes.size())) {
    ok = list.Parse({.field_strings = strings, .field_names = names});
  }
  std::vector<std::uint8_t> bytes;
  ParsedFieldList list;
  bool ok = false;

  // "name=text@offset" per entry, then " FAIL" when the walk failed.
  std::u16string Dump() const {
    std::u16string out;
    for (const auto& e : list.Entries()) {
      if (!out.empty()) out += u' ';
      const std::string offset = std::to_string(e.bit_offset);
      out += e.name + u'=' + e.value_text + u'@' + std::u16string(offset.begin(), offset.end());
    }
    return ok ? out : out + u" FAIL";
  }
};

}  // namespace quillon::rendertest
