// Over-the-air signalling messages inside log packets: the public body
// layouts of the WCDMA RRC, GSM RR, GPRS MAC, GPRS SM/GMM and UMTS NAS
// signalling logs, and how Wireshark takes each message (the exported-PDU
// dissector name and direction, the GSMTAP payload type and sub-type).
//
// A log body is the log content after the 12-byte log header (item payload
// offset 16 on). Multi-byte fields are little-endian.
//
//   0x412F WCDMA RRC
//     byte 0 channel type, byte 1 radio bearer ID, bytes 2-3 u16 length
//     channel 0-8, 10        message at 4; length = message bytes
//     channel 9, 0xFE, 0xFF  SIB-type code at 4, message at 5; length counts the SIB-type byte
//     channel 0x80-0x88      bytes 4-5 DL UARFCN, 6-7 PSC, message at 8 (channel - 0x80 as 0-8)
//     channel 0x89, 0xF0     UARFCN, PSC, SIB-type code at 8, message at 9; length counts it
//   0x512F GSM RR    byte 0 channel type (bit 7: downlink), 1 RR message type, 2 u8 length, message
//   at 3 0x5226 GPRS MAC  byte 0 channel type (bit 7: downlink), 1 message type, 2 u8 length,
//   message at 3 0x5230 GPRS SM/GMM  byte 0 direction (0 uplink, 1 downlink), 1 message type, 2-3
//   u16 length, message at 4 0x713A UMTS NAS  byte 0: 0 to the handset, 1 from it; bytes 1-4 u32
//   length, message at 5
//
// Every length field must equal the number of message bytes that follow
// the fixed part. CDMA and HDR logs have no public layout and are never
// guessed at.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace quillon {

inline constexpr std::uint32_t kOtaLogWcdmaRrc = 0x412F;
inline constexpr std::uint32_t kOtaLogGsmRr = 0x512F;
inline constexpr std::uint32_t kOtaLogGprsMac = 0x5226;
inline constexpr std::uint32_t kOtaLogGprsSmGmm = 0x5230;
inline constexpr std::uint32_t kOtaLogUmtsNas = 0x713A;

// The log content's offset in a log item's payload (response envelope and
// log header before it) and the log code's offset.
inline constexpr std::size_t kOtaBodyOffset = 16;
inline constexpr std::size_t kOtaLogCodeOffset = 6;

// The message's direction; the values are those of the exported-PDU P2P
// direction tag (0 sent, 1 received, seen from the handset).
enum class OtaDirection : std::uint8_t { kUplink = 0, kDownlink = 1 };

// How Wireshark takes a message.
struct OtaDissector {
  std::string_view name;  // exported-PDU dissector name ("rrc.ul.ccch")
  std::uint8_t gsmtap_type = 0;
  std::uint8_t gsmtap_subtype = 0;
};

enum class OtaBodyStatus {
  kMessage,    // the body holds one message
  kNoLayout,   // the log code has no public layout (CDMA, HDR or any other code)
  kNoMessage,  // the layout says there is no layer-3 message (GSM RACH)
  kMalformed,  // the body contradicts its layout (see `problem`)
};

struct OtaBody {
  OtaBodyStatus status = OtaBodyStatus::kNoLayout;
  std::uint32_t log_code = 0;
  OtaDissector dissector;  // kMessage only
  OtaDirection direction = OtaDirection::kDownlink;
  // Bytes that go before the message for the dissector (static storage):
  // one MAC header octet for a GPRS RLC/MAC control block, else empty.
  std::span<const std::uint8_t> prefix;
  std::span<const std::uint8_t> message;  // points into the parsed bytes
  std::string problem;                    // kMalformed: what does not fit, for a person
};

// True for the five log codes whose layout is known.
bool HasOtaLayout(std::uint32_t log_code);

// Reads a log body (the bytes after the log header) of `log_code`. Never
// reads outside `body`; a body that does not fit gives kMalformed.
OtaBody ParseOtaBody(std::uint32_t log_code, std::span<const std::uint8_t> body);

// The same for a whole log item payload (envelope, log header, body): the
// log code is read at offset 6, the body starts at offset 16. A payload
// too short for the header is kMalformed.
OtaBody ParseOtaLogPayload(std::span<const std::uint8_t> payload);

}  // namespace quillon
