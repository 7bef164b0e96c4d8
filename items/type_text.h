// The type text of an item key. The text of a bare type code is
// common/item_type_text.h's ItemTypeText.
#pragma once

#include <string>

#include "common/item_key.h"
#include "common/item_type_text.h"

namespace quillon {

// The type text of element 0 of a valid key; "Unknown" for an invalid key.
std::u16string TypeText(const ItemKey& key);

}  // namespace quillon
