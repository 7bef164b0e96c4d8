#include "render/internal/summary_format.h"

#include "common/word_format.h"

namespace quillon {

void PackSummaryArgument(const ParsedField& entry, std::vector<FormatWord>& words) {
  if (!entry.valid || entry.definition == nullptr) {
    words.push_back({});
    return;
  }
  const FieldRecord& def = *entry.definition;
  if (def.kind == kFieldEnumUnsigned || def.kind == kFieldEnumSigned) {
    words.push_back({0, &entry.value_text});
    return;
  }
  const std::uint64_t v = entry.value;
  const auto word = [&](std::uint32_t bits) { words.push_back({bits, nullptr}); };
  switch (def.type) {
    case kFieldBool:
    case kFieldU8:
      return word(static_cast<std::uint32_t>(v & 0xFF));
    case kFieldI8:
      return word(static_cast<std::uint32_t>(static_cast<std::int8_t>(v & 0xFF)));
    case kFieldI16:
      return word(static_cast<std::uint32_t>(static_cast<std::int16_t>(v & 0xFFFF)));
    case kFieldU16:
      return word(static_cast<std::uint32_t>(v & 0xFFFF));
    case kFieldI32:
    case kFieldU32:
    case kFieldFloat:  // the raw word, not converted
      return word(static_cast<std::uint32_t>(v));
    case kFieldI64:
    case kFieldU64:
    case kFieldDouble:
      word(static_cast<std::uint32_t>(v));
      return word(static_cast<std::uint32_t>(v >> 32));
    case kFieldString8:
    case kFieldString16:
    case kFieldZString8:
    case kFieldZString16:
      words.push_back({0, &entry.value_text});
      return;
    default:
      return word(0);
  }
}

bool FormatSummary(std::u16string_view format, std::span<const FormatWord> words,
                   std::u16string& out) {
  const std::optional<std::u16string> text = FormatWords(format, words);
  if (!text) return false;
  // The summary is a C string: a printed NUL character ends it.
  out.append(*text, 0, text->find(u'\0'));
  return true;
}

}  // namespace quillon
