#include "render/field_xml.h"

#include "common/number_text.h"
#include "render/parsed_field_list.h"

namespace quillon {

namespace {

void Element(std::u16string& out, std::u16string_view indent, std::u16string_view tag,
             std::u16string_view text) {
  out.append(indent);
  out.push_back(u'<');
  out.append(tag);
  out.push_back(u'>');
  out.append(text);
  out.append(u"</");
  out.append(tag);
  out.append(u">\n");
}

void NumberElement(std::u16string& out, std::u16string_view tag, std::uint32_t value) {
  std::u16string number;
  AppendDecimal(number, value);
  Element(out, u"      ", tag, number);
}

}  // namespace

std::u16string FieldListXml(const ParsedFieldList& list) {
  std::u16string out = u"<Entity>\n";
  if (!list.EntityName().empty()) Element(out, u"  ", u"Name", list.EntityName());
  if (!list.Summary().empty()) Element(out, u"  ", u"Summary", list.Summary());
  const std::uint32_t count = list.Count();
  if (count != 0) {
    out.append(u"  <Fields>\n");
    for (std::uint32_t i = 0; i < count; ++i) {
      const ParsedField& e = list.Entries()[i];
      out.append(u"    <Field>\n");
      Element(out, u"      ", u"NamePartial", e.name);
      Element(out, u"      ", u"ValueText", e.value_text);
      Element(out, u"      ", u"ValueRaw", RawValueText(e));
      NumberElement(out, u"BitSize", FieldBitSize(e));
      NumberElement(out, u"BitOffset", e.bit_offset);
      out.append(u"    </Field>\n");
    }
    out.append(u"  </Fields>\n");
  }
  out.append(u"</Entity>\n");
  return out;
}

}  // namespace quillon
