// Walks a fixed payload over structure tables built from the fuzz input,
// bypassing every database check: structures that contain themselves,
// bad references, unknown member and repetition kinds, broken specifiers,
// huge counts and bit sizes. Promises checked: no crash, no hang, no read
// outside the payload, and every entry starts inside the payload.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "database/database.h"
#include "database/db_specifier.h"
#include "render/field_xml.h"
#include "render/parsed_field_list.h"

namespace {

using namespace quillon;

void Check(bool condition) {
  if (!condition) std::abort();
}

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  bool empty() const { return at_ >= size_; }
  std::uint8_t Byte() { return at_ < size_ ? data_[at_++] : 0; }
  std::uint32_t Word() {
    std::uint32_t v = 0;
    for (int i = 0; i < 4; ++i) v |= static_cast<std::uint32_t>(Byte()) << (8 * i);
    return v;
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t at_ = 0;
};

std::u16string Number(std::int64_t v) {
  const std::string s = std::to_string(v);
  return std::u16string(s.begin(), s.end());
}

std::u16string Specifier(Input& in, std::int32_t repetition) {
  static const char16_t* const kConditions[] = {u"<", u"<=", u"=", u"!=", u">=", u">", u"%", u"!%"};
  static const char16_t* const kCounts[] = {u"+", u"-", u"*", u"/", u"%"};
  const std::uint32_t field = in.Byte() % 20;
  switch (repetition) {
    case kRepeatFixed:
      return Number(in.Byte() % 2 ? in.Word() : in.Byte());
    case kRepeatCountField:
      return Number(field);
    case kRepeatRange:
      return Number(field) + u" " + Number(in.Byte() % 20);
    case kRepeatOptional:
      return Number(field) + u" " + kConditions[in.Byte() % 8] + u" " +
             Number(static_cast<std::int8_t>(in.Byte()));
    case kRepeatComputed:
      return Number(field) + u" " + kCounts[in.Byte() % 5] + u" " +
             Number(static_cast<std::int8_t>(in.Byte()));
    default:
      return {};
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  Database db;
  DbTables& t = db.MutableTables();
  for (std::uint32_t id = 0; id < 20; ++id) {
    FieldRecord f;
    f.id = id;
    f.name = u"f" + Number(id);
    f.kind = in.Byte() % 4;
    f.type = in.Byte() % 17;
    f.bit_size = in.Byte() % 3 == 0 ? in.Word() : in.Byte() % 72;
    f.hexadecimal = (in.Byte() & 1) != 0;
    t.fields[id] = f;
  }
  for (std::int32_t v = -2; v < 4; ++v) {
    t.enum_entries[{1, v}] = EnumEntryRecord{1, v, false, u"e" + Number(v), kDbNone};
  }
  std::uint32_t row_count = 0;
  while (!in.empty() && row_count < 64) {
    StructRow r;
    r.struct_id = in.Byte() % 6;
    r.index = in.Byte() % 16;
    r.member_kind = in.Byte() % 10;
    r.reference = in.Byte() % 3 == 0 ? in.Word() : in.Byte() % 20;
    r.label = (in.Byte() & 1) != 0 ? u"m" + Number(row_count) : u"";
    r.bit_offset = (in.Byte() & 3) == 0 ? in.Byte() : kDbNone;
    r.repetition = in.Byte() % 9;
    r.specifier = Specifier(in, r.repetition);
    r.parsed = ParseRowSpecifier(r.repetition, r.specifier);
    t.structs[{r.struct_id, r.index}] = r;
    ++row_count;
  }
  DiagEntity e;
  e.codes = {4, 1};
  e.name = u"Fuzz";
  e.struct_id = 0;
  e.format_id = 0;
  t.diag.emplace(e.codes, e);
  t.formats[0] = FormatSpecifierRecord{0, u"%u %s %d", u"f1,m0.f2 , f3"};

  // A fixed payload of mixed bytes, in its own allocation.
  std::vector<std::uint8_t> payload(48);
  for (std::size_t i = 0; i < payload.size(); ++i) {
    payload[i] = static_cast<std::uint8_t>(i * 37 + (i % 5 == 0 ? 0 : 1));
  }
  ParsedFieldList list(db, 1, payload.data(), static_cast<std::int32_t>(payload.size()));
  list.Parse({});
  for (std::uint32_t i = 0; i < list.Count(); ++i) {
    Check(list.BitOffset(i) <= payload.size() * 8);
    (void)list.Value(i);
    (void)list.RawText(i);
  }
  (void)FieldListXml(list);
  return 0;
}
