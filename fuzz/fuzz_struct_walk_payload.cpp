// Walks arbitrary payloads over the entities of the bundled database.
// Promises checked: no crash, no hang, no read outside the payload; every
// recorded entry is valid and starts inside the payload; the XML, the
// finds and the values of every entry can be had.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "database/database.h"
#include "render/field_xml.h"
#include "render/parsed_field_list.h"

namespace {

using namespace quillon;

void Check(bool condition) {
  if (!condition) std::abort();
}

struct Bundled {
  Database db;
  std::vector<const DiagEntity*> entities;
  Bundled() {
    std::string dir = QUILLON_DATABASE_DIR;
    db.Load(std::u16string(dir.begin(), dir.end()), false);
    for (const auto& [codes, entity] : db.Tables().diag) entities.push_back(&entity);
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Bundled bundled;
  if (size < 2 || bundled.entities.empty()) return 0;
  const DiagEntity& entity = *bundled.entities[data[0] % bundled.entities.size()];
  const std::uint8_t flags = data[1];
  // The payload is copied to its own allocation so that the sanitizer sees
  // any read past its end.
  std::vector<std::uint8_t> payload(data + 2, data + size);
  const auto length = static_cast<std::uint32_t>(payload.size());
  ParsedFieldList list(bundled.db, entity.codes, payload.empty() ? nullptr : payload.data(), length,
                       (flags & 8) != 0 ? std::u16string_view(entity.name) : std::u16string_view());
  list.Parse({.summary_only = (flags & 1) != 0,
              .field_strings = (flags & 2) != 0,
              .field_names = (flags & 4) != 0});
  for (std::uint32_t i = 0; i < list.Count(); ++i) {
    const ParsedField& e = list.Entries()[i];
    Check(e.valid && e.definition != nullptr);
    Check(e.bit_offset <= length * 8);
    (void)list.Value(i);
    (void)list.RawText(i);
    (void)list.BitSize(i);
    (void)list.FindByName(e.name, {.wrap = true});
    (void)list.FindById(e.definition->id, false);
  }
  const std::u16string xml = FieldListXml(list);
  Check(xml.size() >= 19);
  return 0;
}
