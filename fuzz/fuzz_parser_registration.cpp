// Parses arbitrary registration strings of parser libraries (UTF-16 text
// made from the input's byte pairs) and checks that every key lands in the
// set of its kind with that kind's item type.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "parsers/parser_registration.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::u16string text(size / 2, u'\0');
  for (std::size_t i = 0; i < text.size(); ++i) {
    text[i] = static_cast<char16_t>(data[2 * i] | data[2 * i + 1] << 8);
  }
  const quillon::ParserRegistration registration = quillon::ParseRegistration(text);
  for (std::uint32_t kind = 1; kind <= quillon::ParserRegistration::kKindCount; ++kind) {
    const auto k = static_cast<quillon::RegistrationKind>(kind);
    for (const quillon::ItemKey& key : registration.Of(k)) {
      Check(!key.empty());
      Check(key[0] == quillon::ItemTypeOf(k));
    }
  }
  return 0;
}
