// The XML text of a parsed field list: the entity's name and summary and,
// per entry, its partial name, value text, raw value text, bit size and bit
// offset, one element per line. Texts are inserted exactly as they are:
// nothing is escaped, there is no declaration and no attribute.
#pragma once

#include <string>

namespace quillon {

class ParsedFieldList;

std::u16string FieldListXml(const ParsedFieldList& list);

}  // namespace quillon
