// The rendered texts of an item (ItemRecord::GetTexts, slot 3): its type
// text, name, timestamp text, summary, payload dump and key text.
//
// Every item class renders the six kinds the same way except for two
// choices, which each class names in its ItemTextRules: the short type text
// it shows with combined texts, and how it makes its summary. Only the
// kinds present in a request are rendered, so a caller that asks for one
// kind pays for that kind alone.
//
//   type text       with combined texts the class's short type text, else
//                   the type text of the key ("Unknown" for an invalid key)
//   name            the item's name from the database (items/item_name.h),
//                   without its bracketed key; empty without services
//   timestamp text  the generic timestamp (or, with `specific_timestamp`,
//                   the specific one) with the options' date and
//                   milliseconds
//   summary         by the class's SummaryRule
//   payload dump    PayloadDump of TextPayload
//   key text        the key text; empty for a key without one
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "common/item_record.h"

namespace quillon {

// What a class shows as its type text when combined texts are asked for.
enum class ShortTypeText {
  kNone,     // the plain type text
  kEvent,    // "EVT(-)"
  kLog,      // "LOG(-)"
  kMessage,  // "MSG(%c)": L, M, H, E, F for levels 0..4; "MSG(%u)" for any
             // other level (key element 2); the plain type text for a key
             // without a level
};

// How a class makes its summary.
enum class SummaryRule {
  kGeneric,  // GenericSummary
  kEvent,    // GenericSummary; with combined texts "%-32s %s" of the
             // event's database name (or "ID: %u" when the database has
             // none or there are no services) and that summary
  kLogCode,  // LogCodeSummary of the log content when the log code has a
             // rule of its own, else GenericSummary
  kMessage,  // the debug message line (items/message_format.h); empty
             // for an item that is no valid message
  kString,   // StringItemText of the payload
  kGps,      // a parser library's summary, else GpsSummary of the record
};

struct ItemTextRules {
  ShortTypeText short_type = ShortTypeText::kNone;
  SummaryRule summary = SummaryRule::kGeneric;
};

// Fills each kind present in `request` (replacing its text) and leaves
// kinds that are absent alone. `services` may be null: no name, no parser
// or database summary.
void RenderItemTexts(const ItemRecord& item, ItemTextRules rules, ItemTextRequest& request,
                     const ItemRenderOptions& options, const ItemRenderServices* services);

// The payload as lengths and dumps see it: the buffer (1..8208 bytes,
// otherwise nothing) less the item's header bytes unless the options
// include them; empty when the header is longer than the buffer.
std::span<const std::uint8_t> TextPayload(const ItemRecord& item, const ItemRenderOptions& options);

// Each byte as "%02X", separated by one blank ("01 A0 FF"); "None" for an
// empty payload.
std::u16string PayloadDump(std::span<const std::uint8_t> payload);

// The summary every class falls back to: the first parser library's
// summary of the item, else the database summary of its entity (parsed
// summary-only, with value texts and names) when not empty, else
// "Length: %04u" with the length of TextPayload.
std::u16string GenericSummary(const ItemRecord& item, const ItemRenderOptions& options,
                              const ItemRenderServices* services);

// The summary that a log code's own rule makes of the log content (the
// bytes after the 16-byte log header):
//   4214-4217, 4220, 4229, 4230  "Channel: %hu, Pilot PN: %hu"   u16 at 1, u16 at 3
//   28986                        "Direction: %s, Length: %u"     "MS To Network" when
//                                                                byte 0 is non-zero, else
//                                                                "Network To MS"; u32 at 1
//   16687                        "Radio Bearer ID: %u, Length: %hu"   u8 at 1, u16 at 2
// Nothing for any other code, and for content too short for the fields
// its rule reads (the caller then uses the generic summary).
std::optional<std::u16string> LogCodeSummary(std::uint32_t log_code,
                                             std::span<const std::uint8_t> content);

// The text of a STRING item's payload: a 32-bit header word, then the text
// up to its terminating zero (or the payload's end). The encoding:
//   header bits 31 and 30 set   UTF-16
//   bit 31 set, bit 30 clear    8-bit
//   bit 31 clear                8-bit for an odd text length; for an even
//                               one UTF-16 when the statistical UTF-16 test
//                               (platform::LooksLikeUtf16) says so, else
//                               8-bit
// 8-bit text is in the ANSI code page. Empty without a header word.
std::u16string StringItemText(std::span<const std::uint8_t> payload);

}  // namespace quillon
