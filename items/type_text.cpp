#include "items/type_text.h"

namespace quillon {

std::u16string TypeText(const ItemKey& key) {
  // Every type code without a text (kItemTypeCount among them) is "Unknown".
  return std::u16string(ItemTypeText(key.IsValid() ? key[0] : kItemTypeCount));
}

}  // namespace quillon
