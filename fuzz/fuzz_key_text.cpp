// Feeds arbitrary texts to the key text parse and arbitrary keys to the key
// text format, and checks their promises: no crash, a parsed key is valid
// and of the requested type, a key text fits 64 characters, and the text of
// a key reads back as the same key (MALFORMED and GPS as the bare type).
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "items/item_name.h"
#include "items/key_text.h"
#include "items/type_text.h"

namespace {

using quillon::ItemKey;

void Check(bool condition) {
  if (!condition) std::abort();
}

// Formats `key` and, when it has a text, parses the text back.
void CheckRoundTrip(const ItemKey& key) {
  std::u16string text;
  const bool ok = quillon::KeyText(key, text);
  Check(ok == key.IsValid() || (!ok && key.IsValid() && key[0] == quillon::kItemOtaLog));
  Check(text.size() <= quillon::kKeyTextCapacity);
  Check(ok || text.empty());
  const std::u16string bracketed = quillon::BracketedKeyText(key);
  Check(bracketed == (ok ? u"[" + text + u"]" : std::u16string(u"[???]")));
  quillon::ItemName(key, nullptr, true);
  if (!ok) return;
  const auto parsed = quillon::ParseKeyText(text, key[0]);
  Check(parsed.has_value());
  if (key[0] == quillon::kItemMalformed) {
    Check(*parsed == ItemKey{quillon::kItemMalformed});
  } else {
    Check(*parsed == key);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const auto type = input.ConsumeIntegralInRange<std::uint32_t>(0, 12);

  if (input.ConsumeBool()) {
    // A text of UTF-16 units, biased towards the characters key texts use.
    std::u16string text;
    const char16_t common[] = u"0123456789xX/ -+\t";
    while (text.size() < 200 && input.remaining_bytes() > 0) {
      const auto unit = input.ConsumeIntegral<std::uint8_t>();
      text.push_back(unit < 0xC0 ? common[unit % (sizeof(common) / sizeof(char16_t) - 1)]
                                 : static_cast<char16_t>(unit << 8 | unit));
    }
    const auto parsed = quillon::ParseKeyText(text, type);
    if (parsed) {
      Check(parsed->IsValid());
      Check((*parsed)[0] == type);
      CheckRoundTrip(*parsed);
    } else {
      // MALFORMED and GPS texts carry no numbers: they always parse.
      Check(type != quillon::kItemMalformed && type != quillon::kItemGps);
    }
  } else {
    // A key of raw numbers, mostly of the right shape for its type.
    std::vector<std::uint32_t> elements{type};
    const auto count = input.ConsumeIntegralInRange<std::size_t>(0, 24);
    for (std::size_t i = 0; i < count && input.remaining_bytes() > 0; ++i) {
      elements.push_back(input.ConsumeBool() ? input.ConsumeIntegralInRange<std::uint32_t>(0, 300)
                                             : input.ConsumeIntegral<std::uint32_t>());
    }
    const ItemKey key(elements);
    CheckRoundTrip(key);
    quillon::TypeText(key);
    const std::vector<ItemKey> keys{key, ItemKey{elements[0]}, key};
    quillon::JoinKeyTexts(keys, u',');
  }
  return 0;
}
