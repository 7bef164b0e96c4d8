// Debug message items turned into one line of text: the source file name
// and line number in fixed columns, then the device's printf-style message
// with its raw 32-bit arguments substituted.
//
//   "%18s  %05d  " (file name, line), then the message, trailing white
//   space trimmed.
//
// The device sends the format string, not the text, so any format may
// arrive. Substitution is common/word_format.h's: a conversion the 32-bit
// arguments cannot satisfy ("%s" would read a number other than 0 as a
// text pointer, "%n" would write, a lone "%", a conversion that would read
// past the payload's end) turns the whole message into "Error: Invalid
// message format: <format>". The argument list is the payload from the
// first argument on: conversions beyond the announced arguments read the
// words that follow them (the format's bytes, then the file name). What the Windows runtime prints
// without fault ("%p", a null
// "%s", huge widths) prints the same here. Nothing is ever read outside
// the payload.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "common/item_record.h"

namespace quillon {

// The longest message text (heading excluded) of each form; longer
// messages are cut at this many characters.
inline constexpr std::size_t kMessageTextBound = 4095;
inline constexpr std::size_t kLegacyMessageTextBound = 511;

// The line of a MSG item. False, with `out` empty, when the item is not a
// valid MSG item (no buffer, a header that does not parse, another type).
bool FormatMessageItem(const ItemRecord& item, std::u16string& out);

// The same over a raw MSG payload: the legacy form when the first byte is
// the legacy message command (31), otherwise the extended form:
//   byte 2 = n, u16 line at 12, n u32 arguments at 20, then the format
//   string, then the file name (the last zero-terminated text); the
//   argument words run from 20 to the payload's end.
// False, with `out` empty, when the fields lie outside the payload.
bool FormatMessagePayload(std::span<const std::uint8_t> payload, std::u16string& out);

// The message text: `format` with `args` substituted as 32-bit stack slots
// are consumed by a 32-bit x86 C runtime (one per integer, character and
// '*'; two, low word first, for 64-bit integers and doubles). At most
// `bound` characters; the text ends at a substituted NUL character.
std::u16string FormatDeviceMessage(std::u16string_view format, std::span<const std::uint32_t> args,
                                   std::size_t bound);

}  // namespace quillon
