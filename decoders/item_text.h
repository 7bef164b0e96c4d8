// The parse functions of the decoder libraries: the decoded text of one
// OTA log item buffer, written as the OTA bindings expect it.
#pragma once

#include <cstdint>

namespace quillon::decoders {

// Results, as the bindings read them: 0 success; anything else a failure
// whose text, if not empty, is still shown.
inline constexpr std::uint32_t kResultDecoded = 0;
inline constexpr std::uint32_t kResultInvalidData = 13;    // the body contradicts its layout
inline constexpr std::uint32_t kResultBadArguments = 160;  // no output buffer
inline constexpr std::uint32_t kResultUnavailable = 1003;  // not ours, no message, or no tshark
inline constexpr std::uint32_t kResultNoAnswer = 31;       // tshark gave no answer in time

// The log codes that one library decodes.
enum class DecoderFamily {
  kWcdmaRrc,  // 0x412F
  kGsm,       // 0x512F, 0x5226, 0x5230, 0x713A
};

// Decodes the item buffer `buffer` (log response envelope, log header,
// body) through the process's tshark decoder and writes the message's
// decoded tree as a zero-terminated UTF-16 text of at most `capacity`
// characters (cut after the last whole line that fits). A log of another
// family, or one that carries no message, answers kResultUnavailable (the
// latter with a line that says so); a malformed body kResultInvalidData
// with a line that says what does not fit; without tshark the text stays
// empty.
std::uint32_t DecodeItemText(DecoderFamily family, const std::uint8_t* buffer, std::uint32_t length,
                             char16_t* text, std::uint32_t capacity);

}  // namespace quillon::decoders
