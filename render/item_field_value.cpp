#include "render/item_field_value.h"

#include "database/db_schema.h"
#include "render/field_value.h"

namespace quillon {

namespace {

bool ReadItemField(const ItemRecord* item, std::uint32_t field_type, std::uint32_t bit_count,
                   std::uint32_t bit_offset, bool include_header_bytes, bool hexadecimal,
                   bool make_text, FieldRecord& def, ParsedField& out) {
  if (item == nullptr) return false;
  const std::uint8_t* data = item->GetPayload();
  std::uint32_t length = item->GetPayloadLength();
  if (data == nullptr || length == 0 || length > kMaxItemPayload) return false;
  if (!include_header_bytes) {
    const std::uint32_t header = item->GetHeaderLength();
    if (header <= length) {
      data += header;
      length -= header;
    }
  }
  BitReader reader(data, length);
  reader.SetPosition(bit_offset);

  def.id = 0;
  def.name = u"Automation";
  def.bit_size = bit_count;
  def.kind = kFieldPlain;
  def.type = field_type;
  def.hexadecimal = hexadecimal;
  if (!db::CheckField(def)) return false;
  return ReadField(nullptr, &def, reader, make_text, out);
}

}  // namespace

Variant GetItemFieldValue(const ItemRecord* item, std::uint32_t field_type, std::uint32_t bit_count,
                          std::uint32_t bit_offset, bool include_header_bytes) {
  FieldRecord def;
  ParsedField field;
  if (!ReadItemField(item, field_type, bit_count, bit_offset, include_header_bytes, false, false,
                     def, field)) {
    return {};
  }
  return FieldVariant(field);
}

std::u16string GetItemFieldValueText(const ItemRecord* item, std::uint32_t field_type,
                                     std::uint32_t bit_count, std::uint32_t bit_offset,
                                     bool include_header_bytes, bool hexadecimal) {
  FieldRecord def;
  ParsedField field;
  if (!ReadItemField(item, field_type, bit_count, bit_offset, include_header_bytes, hexadecimal,
                     true, def, field)) {
    return {};
  }
  return field.value_text;
}

}  // namespace quillon
