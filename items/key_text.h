// Key texts: the compact printable form of an item key's identifying
// numbers, and the parse back from that form.
//
// The key text is also the persisted form of keys (item configuration,
// parser registrations), so for every type the parse of a key text gives
// back the key it was made from. Exceptions by design: MALFORMED and GPS
// key texts parse to the bare type code.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>

#include "common/item_key.h"

namespace quillon {

// Key texts are formatted into a buffer of this many wide characters; a
// text that would not fit is never truncated, the key text fails instead.
inline constexpr std::size_t kKeyTextCapacity = 64;

// Stands in for a missing key text in bracketed form: "[???]".
inline constexpr std::u16string_view kMissingKeyText = u"???";

// Formats the key text into `out` (replacing its contents). False, with
// `out` empty, for an invalid key or when the text exceeds 64 characters.
//   0 MALFORMED  "-" or "%03u"      5 LOG      "0x%04X"
//   1,2 DIAG     "%03u"             6 MSG      "%05u/%02u"
//   3 GPS        "-"                7 STRING   "%u"
//   4 EVENT      "%05u"             8 OTA LOG  "0x%04X" then "/%03u" per element
//   9,10 SUBSYS  "%04u/%04u"
bool KeyText(const ItemKey& key, std::u16string& out);
// The same, empty on failure.
std::u16string KeyText(const ItemKey& key);

// "[" key text "]"; "[???]" when the key has no key text.
std::u16string BracketedKeyText(const ItemKey& key);

// The key of type `type_code` that `text` denotes, or nothing when the
// type code is outside 0..10, a number is missing, or the key read is not
// valid. Numbers are read as the C library's wcstoul reads them (leading
// white space, optional sign, 32-bit wrap and saturation; reading stops at
// the first character that is not a digit).
std::optional<ItemKey> ParseKeyText(std::u16string_view text, std::uint32_t type_code);

// The key texts of `keys` in order, separated by `separator`. A key without
// key text adds nothing; the separator is left out only before the first
// element, so a first key without key text makes the result begin with a
// separator.
std::u16string JoinKeyTexts(std::span<const ItemKey> keys, char16_t separator);
std::u16string JoinKeyTexts(const std::set<ItemKey>& keys, char16_t separator);

}  // namespace quillon
