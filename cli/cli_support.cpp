#include "cli/cli_support.h"

#include <cstdio>

#include "platform/text_codec.h"

namespace quillon::cli {

std::u16string PathArgument(std::string_view utf8) { return platform::Utf8ToUtf16(utf8); }

std::string ToUtf8(std::u16string_view text) { return platform::Utf16ToUtf8(text); }

int ReportFailure(const cMISException& error, std::string_view operation) {
  const cMISException named =
      error.Context().empty() ? cMISException(error, platform::Utf8ToUtf16(operation)) : error;
  std::fprintf(stderr, "quillon: %s\n", named.what());
  return 1;
}

}  // namespace quillon::cli
