// Printf-style formatting over an array of 32-bit argument words, read the
// way a 32-bit Windows C runtime (the wide printf family, swprintf) reads
// its va_list: one word per integer, character, pointer, text and '*'; two
// words, low word first, per 64-bit integer ("%I64d", "%lld", "%jd") and
// per double ("%e", "%f", "%g").
//
// A word is a plain number, or the address of a text the caller holds.
// The formatting goes through the safe formatter (common/safe_format.h),
// and what the Windows runtime prints without fault prints the same here
// even where the formatter spells it otherwise: "%p" as eight upper-case
// hex digits, "%C" as a narrow character, the lengths "I", "z", "t" (32
// bits) and "j" (64), "%S" as a narrow text, and (under a bound of at
// most 4095 characters, for numbers) widths and precisions above the
// formatter's limit. A text conversion given the word 0 prints "(null)".
//
// Where the runtime would read memory it was not given, the format is
// refused instead: a text conversion given any other number, a number,
// double, character, pointer or '*' given a text address, "%Z" (a counted
// string structure) given a text, "%n", more conversions than words, and
// whatever the formatter refuses.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "common/safe_format.h"

namespace quillon {

// One argument word: a number, or the address of a text.
struct FormatWord {
  std::uint32_t bits = 0;
  const std::u16string* text = nullptr;  // set when the word is this text's address
};

// `format` (up to its first NUL) with `words` substituted. At most `bound`
// characters: a longer text keeps its first `bound` characters, as a
// bounded C printf leaves them, while every conversion past the cut is
// still checked. Nothing when the format is refused (see above). A
// substituted NUL character stays in the text.
std::optional<std::u16string> FormatWords(std::u16string_view format,
                                          std::span<const FormatWord> words,
                                          std::size_t bound = kUnboundedFormat);

// The same over words that are all numbers.
std::optional<std::u16string> FormatWords(std::u16string_view format,
                                          std::span<const std::uint32_t> words,
                                          std::size_t bound = kUnboundedFormat);

}  // namespace quillon
