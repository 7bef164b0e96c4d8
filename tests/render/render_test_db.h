// A small database built in memory for the parsing tests: fields, struct
// rows, entities, summaries and enumerations added one call at a time.
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
                bool hex = false) {
    return AddField(id, std::move(name), bits, kFieldPlain, type, hex);
  }
  TestDb& EnumField(std::uint32_t id, std::u16string name, std::uint32_t bits, bool is_signed,
                    std::uint32_t enum_id, bool hex = false) {
    return AddField(id, std::move(name), bits, is_signed ? kFieldEnumSigned : kFieldEnumUnsigned,
                    enum_id, hex);
  }
  // Rows get consecutive indexes per struct.
  TestDb& Row(std::uint32_t struct_id, std::int32_t member_kind, std::uint32_t reference,
              std::u16string label = {}, std::int32_t repetition = kRepeatNone,
              std::u16string specifier = {}, std::int32_t bit_offset = kDbNone) {
    StructRow r;
    r.struct_id = struct_id;
    r.index = next_index_[struct_id]++;
    r.member_kind = member_kind;
    r.reference = reference;
    r.label = std::move(label);
    r.bit_offset = bit_offset;
    r.repetition = repetition;
    r.specifier = std::move(specifier);
    r.parsed = ParseRowSpecifier(r.repetition, r.specifier);
    db_->MutableTables().structs[{struct_id, r.index}] = r;
    return *this;
  }
  TestDb& Member(std::uint32_t struct_id, std::uint32_t field_id, std::u16string label = {}) {
    return Row(struct_id, kMemberField, field_id, std::move(label));
  }
  TestDb& Entity(std::vector<std::uint32_t> codes, std::u16string name, std::int32_t struct_id,
                 std::int32_t format_id = kDbNone) {
    DiagEntity e;
    e.codes = std::move(codes);
    e.name = std::move(name);
    e.struct_id = struct_id;
    e.format_id = format_id;
    db_->MutableTables().diag.emplace(e.codes, e);
    return *this;
  }
  TestDb& Summary(std::uint32_t id, std::u16string format, std::u16string names) {
    db_->MutableTables().formats[id] =
        FormatSpecifierRecord{id, std::move(format), std::move(names)};
    return *this;
  }
  TestDb& EnumEntry(std::uint32_t enum_id, std::int32_t value, std::u16string name) {
    EnumEntryRecord e;
    e.enum_id = enum_id;
    e.value = value;
    e.name = std::move(name);
    db_->MutableTables().enum_entries[{enum_id, value}] = e;
    return *this;
  }

  const Database& db() const { return *db_; }

 private:
  TestDb& AddField(std::uint32_t id, std::u16string name, std::uint32_t bits, std::int32_t kind,
                   std::uint32_t type, bool hex) {
    FieldRecord f;
    f.id = id;
    f.name = std::move(name);
    f.bit_size = bits;
    f.kind = kind;
    f.type = type;
    f.hexadecimal = hex;
    db_->MutableTables().fields[id] = f;
    return *this;
  }

  std::unique_ptr<Database> db_ = std::make_unique<Database>();
  std::map<std::uint32_t, std::uint32_t> next_index_;
};

// The parse of an event entity {4, event_id} over `bytes`.
struct EventParse {
  EventParse(const Database& db, std::uint32_t event_id, std::vector<std::uint8_t> payload,
             bool strings = true, bool names = true)
      : bytes(std::move(payload)),
        list(db, event_id, bytes.data(), static_cast<std::int32_t>(bytes.size())) {
    ok = list.Parse(false, strings, names);
  }
  std::vector<std::uint8_t> bytes;
  ParsedFieldList list;
  bool ok = false;

  std::vector<std::u16string> Names() const {
    std::vector<std::u16string> out;
    for (const auto& e : list.Entries()) out.push_back(e.name);
    return out;
  }
  std::vector<std::u16string> Texts() const {
    std::vector<std::u16string> out;
    for (const auto& e : list.Entries()) out.push_back(e.value_text);
    return out;
  }
};

}  // namespace quillon::rendertest
