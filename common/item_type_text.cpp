#include "common/item_type_text.h"

#include <array>

#include "common/item_key.h"

namespace quillon {

std::u16string_view ItemTypeText(std::uint32_t type_code) {
  static constexpr std::array<std::u16string_view, kItemTypeCount> kTexts = {
      u"MALFORMED", u"DIAG RX", u"DIAG TX", u"GPS",       u"EVENT",     u"LOG",
      u"MSG",       u"STRING",  u"OTA LOG", u"SUBSYS RX", u"SUBSYS TX",
  };
  if (type_code >= kTexts.size()) return u"Unknown";
  return kTexts[type_code];
}

}  // namespace quillon
