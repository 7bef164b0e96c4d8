#include "cli/cli_support.h"

#include <cstdio>

#include "platform/text_codec.h"

namespace quillon::cli {

std::u16string PathArgument(std::string_view utf8) { return platform::Utf8ToUtf16(utf8); }

std::string ToUtf8(std::u16string_view text) { return platform::Utf16ToUtf8(text); }

std::string_view DescribeStoreError(std::uint32_t code) {
  switch (code) {
    case 2:
      return "file not found";
    case 3:
      return "path not found";
    case 5:
      return "access denied";
    case 8:
      return "an item could not be made from its record";
    case 13:
      return "not an item store file, or a corrupt entry";
    case 24:
      return "the block table disagrees with the item count";
    case 32:
      return "the file is in use";
    case 50:
      return "the older item store layout is not supported";
    case 160:
      return "bad argument or item index out of range";
    case 1003:
      return "item index beyond the block table";
    default:
      return "system error";
  }
}

int ReportFailure(std::string_view what, std::string_view path, const cMISException& error) {
  const std::string_view text = DescribeStoreError(error.Code());
  std::fprintf(stderr, "quillon: %.*s %.*s: %.*s (error %u, category %u)\n",
               static_cast<int>(what.size()), what.data(), static_cast<int>(path.size()),
               path.data(), static_cast<int>(text.size()), text.data(), error.Code(),
               error.Category());
  return 1;
}

}  // namespace quillon::cli
