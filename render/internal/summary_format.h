// The one-line summary of a parsed entity: a printf-style format filled
// from an argument array of 32-bit words, one or two per named entry, read
// the way a 32-bit Windows C runtime reads its variable arguments. The
// formatting is common/word_format.h's; this file packs the words.
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
// So "%d %d" shows the low and high word of one 64-bit field, "%f" of a
// float combines its raw word with the next one, "%s" shows a value text
// and "%hs" the wide value text's bytes read as a narrow text (ending at
// its first zero byte). Where the C runtime would read memory it was not
// given (a "%s" given a number other than 0, a number conversion or '*'
// given a text address, more conversions than words) there is no summary.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/word_format.h"
#include "render/field_value.h"

namespace quillon {

// Appends the words of one named entry (see above).
void PackSummaryArgument(const ParsedField& entry, std::vector<FormatWord>& words);

// Appends the formatted summary to `out`. False, with `out` unchanged, when
// the format does not fit its words or the formatter refuses it.
bool FormatSummary(std::u16string_view format, std::span<const FormatWord> words,
                   std::u16string& out);

}  // namespace quillon
