// The one-line summary of a parsed entity: a printf-style format filled
// from an argument array of 32-bit words, one or two per named entry, read
// the way a 32-bit C runtime reads its variable arguments.
//
// Packing, per named entry:
//   types 0 and 2            the unsigned 8-bit value
//   type 1                   the 8-bit value sign-extended to 32 bits
//   type 3                   the 16-bit value sign-extended to 32 bits
//   type 4                   the unsigned 16-bit value
//   types 5, 6 and 13        the 32-bit word (a float as its raw bits)
//   types 7, 8 and 14        two words, low word first (a double as its bits)
//   types 9 to 12, kinds 1, 2  the address of the entry's value text
//   an invalid entry         the word 0
//
// Each conversion takes the words it asks for: one per integer, character,
// text and '*'; two for "%I64d", "%lld" and the like and for "%e", "%f",
// "%g". So "%d %d" shows the low and high word of one 64-bit field, and
// "%f" of a float combines its raw word with the next one. A "%s" given
// the word 0 prints "(null)"; "%hs" reads the wide value text as narrow
// bytes and so ends at its first zero byte.
//
// Where the C runtime would read memory it was not given, the summary
// fails instead: a "%s" given any other number, a number conversion or
// '*' given a text address, and a format that asks for more words than
// there are.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "render/field_value.h"

namespace quillon {

// One word of the argument array: a number, or the address of a text.
struct SummaryWord {
  std::uint32_t bits = 0;
  const std::u16string* text = nullptr;  // set when the word is this text's address
};

// Appends the words of one named entry (see above).
void PackSummaryArgument(const ParsedField& entry, std::vector<SummaryWord>& words);

// Appends the formatted summary to `out`. False, with `out` unchanged, when
// the format does not fit its words or the formatter refuses it.
bool FormatSummary(std::u16string_view format, std::span<const SummaryWord> words,
                   std::u16string& out);

}  // namespace quillon
