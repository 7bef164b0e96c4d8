#include "ota/ota_message.h"

#include <array>
#include <optional>

#include "common/little_endian.h"

namespace quillon {

namespace {

// GSMTAP payload types and GSM Um sub-types (the channel).
constexpr std::uint8_t kGsmtapUm = 0x01;
constexpr std::uint8_t kGsmtapAbis = 0x02;  // carries bare layer-3 messages (DTAP)
constexpr std::uint8_t kGsmtapUmtsRrc = 0x0C;
constexpr std::uint8_t kGsmtapBcch = 0x01;
constexpr std::uint8_t kGsmtapCcch = 0x02;
constexpr std::uint8_t kGsmtapPacch = 0x0B;

// Offsets of the fixed parts.
constexpr std::size_t kRrcLengthOffset = 2;
constexpr std::size_t kRrcMessageOffset = 4;
constexpr std::size_t kRrcOldSibTypeOffset = 4;
constexpr std::size_t kRrcNewMessageOffset = 8;  // after UARFCN (4-5) and PSC (6-7)
constexpr std::size_t kRrcNewSibTypeOffset = 8;
constexpr std::size_t kGsmLengthOffset = 2;  // 0x512F and 0x5226: u8
constexpr std::size_t kGsmMessageOffset = 3;
constexpr std::size_t kSmGmmLengthOffset = 2;  // u16
constexpr std::size_t kSmGmmMessageOffset = 4;
constexpr std::size_t kNasLengthOffset = 1;  // u32
constexpr std::size_t kNasMessageOffset = 5;

constexpr std::uint8_t kDownlinkBit = 0x80;
constexpr std::uint8_t kNewStyleBit = 0x80;

// WCDMA RRC channel types 0-8 and 10 (and 0x80 + 0-8).
constexpr std::array<std::optional<OtaDissector>, 11> kRrcChannels = {{
    OtaDissector{"rrc.ul.ccch", kGsmtapUmtsRrc, 3},
    OtaDissector{"rrc.ul.dcch", kGsmtapUmtsRrc, 1},
    OtaDissector{"rrc.dl.ccch", kGsmtapUmtsRrc, 2},
    OtaDissector{"rrc.dl.dcch", kGsmtapUmtsRrc, 0},
    OtaDissector{"rrc.bcch.bch", kGsmtapUmtsRrc, 8},
    OtaDissector{"rrc.bcch.fach", kGsmtapUmtsRrc, 7},
    OtaDissector{"rrc.pcch", kGsmtapUmtsRrc, 4},
    OtaDissector{"rrc.mcch", kGsmtapUmtsRrc, 9},
    OtaDissector{"rrc.msch", kGsmtapUmtsRrc, 10},
    std::nullopt,  // 9: a complete SIB, see the SIB channels
    OtaDissector{"rrc.sysinfo.cont", kGsmtapUmtsRrc, 14},
}};
constexpr std::uint8_t kRrcOldSibChannel = 9;
constexpr std::uint8_t kRrcLastUplinkChannel = 1;  // UL-CCCH, UL-DCCH
constexpr std::uint8_t kRrcLastNewStyleChannel = 0x88;

// SIB-type codes of the SIB channels. Code 31 is left out: the open
// decoders disagree on it (SIB11bis or SIB19).
struct SibType {
  std::uint8_t code;
  OtaDissector dissector;
};
constexpr SibType kSibTypes[] = {
    {0, {"rrc.si.mib", kGsmtapUmtsRrc, 16}},      {1, {"rrc.si.sib1", kGsmtapUmtsRrc, 17}},
    {2, {"rrc.si.sib2", kGsmtapUmtsRrc, 18}},     {3, {"rrc.si.sib3", kGsmtapUmtsRrc, 19}},
    {4, {"rrc.si.sib4", kGsmtapUmtsRrc, 20}},     {5, {"rrc.si.sib5", kGsmtapUmtsRrc, 21}},
    {6, {"rrc.si.sib6", kGsmtapUmtsRrc, 23}},     {7, {"rrc.si.sib7", kGsmtapUmtsRrc, 24}},
    {8, {"rrc.si.sib8", kGsmtapUmtsRrc, 25}},     {9, {"rrc.si.sib9", kGsmtapUmtsRrc, 26}},
    {10, {"rrc.si.sib10", kGsmtapUmtsRrc, 27}},   {11, {"rrc.si.sib11", kGsmtapUmtsRrc, 28}},
    {12, {"rrc.si.sib12", kGsmtapUmtsRrc, 30}},   {13, {"rrc.si.sib13", kGsmtapUmtsRrc, 31}},
    {14, {"rrc.si.sib13-1", kGsmtapUmtsRrc, 32}}, {15, {"rrc.si.sib13-2", kGsmtapUmtsRrc, 33}},
    {16, {"rrc.si.sib13-3", kGsmtapUmtsRrc, 34}}, {17, {"rrc.si.sib13-4", kGsmtapUmtsRrc, 35}},
    {18, {"rrc.si.sib14", kGsmtapUmtsRrc, 36}},   {19, {"rrc.si.sib15", kGsmtapUmtsRrc, 37}},
    {20, {"rrc.si.sib15-1", kGsmtapUmtsRrc, 39}}, {21, {"rrc.si.sib15-2", kGsmtapUmtsRrc, 41}},
    {22, {"rrc.si.sib15-3", kGsmtapUmtsRrc, 44}}, {23, {"rrc.si.sib16", kGsmtapUmtsRrc, 51}},
    {24, {"rrc.si.sib17", kGsmtapUmtsRrc, 52}},   {25, {"rrc.si.sib15-4", kGsmtapUmtsRrc, 46}},
    {26, {"rrc.si.sib18", kGsmtapUmtsRrc, 53}},   {27, {"rrc.si.sb1", kGsmtapUmtsRrc, 58}},
    {28, {"rrc.si.sb2", kGsmtapUmtsRrc, 59}},     {29, {"rrc.si.sib15-5", kGsmtapUmtsRrc, 47}},
    {30, {"rrc.si.sib5bis", kGsmtapUmtsRrc, 22}}, {66, {"rrc.si.sib11bis", kGsmtapUmtsRrc, 29}},
    {67, {"rrc.si.sib19", kGsmtapUmtsRrc, 54}},
};

// GSM RR channel types (without the downlink bit). BCCH and CCCH messages
// keep their L2 pseudo-length octet, which gsm_a_ccch expects; 2 and 8
// (RACH) carry no layer-3 message.
constexpr OtaDissector kGsmDtap{"gsm_a_dtap", kGsmtapAbis, 0};
std::optional<OtaDissector> GsmRrDissector(std::uint8_t channel) {
  switch (channel) {
    case 1:
      return OtaDissector{"gsm_a_ccch", kGsmtapUm, kGsmtapBcch};
    case 3:
      return OtaDissector{"gsm_a_ccch", kGsmtapUm, kGsmtapCcch};
    case 0:  // DCCH
    case 4:  // SACCH
    case 5:  // SDCCH
    case 6:  // FACCH/F
    case 7:  // FACCH/H
      return kGsmDtap;
    default:
      return std::nullopt;
  }
}
bool IsGsmRach(std::uint8_t channel) { return channel == 2 || channel == 8; }

// The logged RLC/MAC block lacks its MAC header octet: 0x40 is the header
// of a control block without optional octets.
constexpr std::array<std::uint8_t, 1> kRlcMacControlHeader = {0x40};

std::string Hex(std::uint32_t value) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text = "0x";
  const int width = value > 0xFF ? 4 : 2;
  for (int shift = 4 * (width - 1); shift >= 0; shift -= 4) text += kDigits[(value >> shift) & 0xF];
  return text;
}

OtaBody Malformed(std::uint32_t log_code, std::string problem) {
  OtaBody body;
  body.status = OtaBodyStatus::kMalformed;
  body.log_code = log_code;
  body.problem = std::move(problem);
  return body;
}

// Checks that `body` holds the fixed part and that the length field
// (`declared`, less what it counts of the fixed part) matches the rest.
std::optional<std::string> LengthProblem(std::span<const std::uint8_t> body,
                                         std::size_t message_offset, std::uint64_t declared) {
  const std::uint64_t present = body.size() - message_offset;
  if (declared == present) return std::nullopt;
  return "the length field says " + std::to_string(declared) + " message bytes, the body holds " +
         std::to_string(present);
}

OtaBody Message(std::uint32_t log_code, const OtaDissector& dissector, OtaDirection direction,
                std::span<const std::uint8_t> message) {
  OtaBody body;
  body.status = OtaBodyStatus::kMessage;
  body.log_code = log_code;
  body.dissector = dissector;
  body.direction = direction;
  body.message = message;
  return body;
}

OtaBody ParseWcdmaRrc(std::span<const std::uint8_t> body) {
  if (body.size() < kRrcMessageOffset) return Malformed(kOtaLogWcdmaRrc, "the body is too short");
  const std::uint8_t channel = body[0];
  std::uint64_t declared = LoadLE16(&body[kRrcLengthOffset]);
  const bool old_sib = channel == kRrcOldSibChannel || channel == 0xFE || channel == 0xFF;
  const bool new_sib = channel == 0x89 || channel == 0xF0;
  std::size_t message_offset = kRrcMessageOffset;
  std::optional<OtaDissector> dissector;
  std::uint8_t base_channel = channel;
  if (old_sib || new_sib) {
    const std::size_t sib_offset = old_sib ? kRrcOldSibTypeOffset : kRrcNewSibTypeOffset;
    message_offset = sib_offset + 1;
    if (body.size() < message_offset || declared == 0) {
      return Malformed(kOtaLogWcdmaRrc, "the body is too short for its SIB type");
    }
    --declared;  // the length counts the SIB-type byte
    const std::uint8_t code = body[sib_offset];
    for (const SibType& sib : kSibTypes) {
      if (sib.code == code) dissector = sib.dissector;
    }
    if (!dissector) return Malformed(kOtaLogWcdmaRrc, "unknown SIB type " + std::to_string(code));
    base_channel = 4;  // broadcast, downlink
  } else {
    if ((channel & kNewStyleBit) != 0) {
      // 0x80-0x88: the old types with UARFCN and PSC before the message.
      message_offset = kRrcNewMessageOffset;
      base_channel = channel <= kRrcLastNewStyleChannel ? channel & ~kNewStyleBit : 0xFF;
    }
    if (base_channel < kRrcChannels.size()) dissector = kRrcChannels[base_channel];
    if (!dissector) return Malformed(kOtaLogWcdmaRrc, "unknown channel type " + Hex(channel));
    if (body.size() < message_offset) return Malformed(kOtaLogWcdmaRrc, "the body is too short");
  }
  if (auto problem = LengthProblem(body, message_offset, declared)) {
    return Malformed(kOtaLogWcdmaRrc, *problem);
  }
  const OtaDirection direction =
      base_channel <= kRrcLastUplinkChannel ? OtaDirection::kUplink : OtaDirection::kDownlink;
  return Message(kOtaLogWcdmaRrc, *dissector, direction, body.subspan(message_offset));
}

OtaDirection FromDownlinkBit(std::uint8_t channel) {
  return (channel & kDownlinkBit) != 0 ? OtaDirection::kDownlink : OtaDirection::kUplink;
}

OtaBody ParseGsm(std::uint32_t log_code, std::span<const std::uint8_t> body) {
  if (body.size() < kGsmMessageOffset) return Malformed(log_code, "the body is too short");
  if (auto problem = LengthProblem(body, kGsmMessageOffset, body[kGsmLengthOffset])) {
    return Malformed(log_code, *problem);
  }
  const std::uint8_t channel = body[0];
  const OtaDirection direction = FromDownlinkBit(channel);
  const std::span<const std::uint8_t> message = body.subspan(kGsmMessageOffset);
  if (log_code == kOtaLogGprsMac) {
    const OtaDissector dissector = direction == OtaDirection::kDownlink
                                       ? OtaDissector{"gsm_rlcmac_dl", kGsmtapUm, kGsmtapPacch}
                                       : OtaDissector{"gsm_rlcmac_ul", kGsmtapUm, kGsmtapPacch};
    OtaBody out = Message(log_code, dissector, direction, message);
    out.prefix = kRlcMacControlHeader;
    return out;
  }
  const std::uint8_t base = channel & ~kDownlinkBit;
  if (IsGsmRach(base)) {
    OtaBody out;
    out.status = OtaBodyStatus::kNoMessage;
    out.log_code = log_code;
    return out;
  }
  const std::optional<OtaDissector> dissector = GsmRrDissector(base);
  if (!dissector) return Malformed(log_code, "unknown channel type " + Hex(channel));
  return Message(log_code, *dissector, direction, message);
}

OtaBody ParseSmGmm(std::span<const std::uint8_t> body) {
  if (body.size() < kSmGmmMessageOffset)
    return Malformed(kOtaLogGprsSmGmm, "the body is too short");
  if (auto problem =
          LengthProblem(body, kSmGmmMessageOffset, LoadLE16(&body[kSmGmmLengthOffset]))) {
    return Malformed(kOtaLogGprsSmGmm, *problem);
  }
  if (body[0] > 1) return Malformed(kOtaLogGprsSmGmm, "unknown direction " + Hex(body[0]));
  return Message(kOtaLogGprsSmGmm, kGsmDtap,
                 body[0] == 1 ? OtaDirection::kDownlink : OtaDirection::kUplink,
                 body.subspan(kSmGmmMessageOffset));
}

OtaBody ParseUmtsNas(std::span<const std::uint8_t> body) {
  if (body.size() < kNasMessageOffset) return Malformed(kOtaLogUmtsNas, "the body is too short");
  if (auto problem = LengthProblem(body, kNasMessageOffset, LoadLE32(&body[kNasLengthOffset]))) {
    return Malformed(kOtaLogUmtsNas, *problem);
  }
  if (body[0] > 1) return Malformed(kOtaLogUmtsNas, "unknown direction " + Hex(body[0]));
  // Byte 0 is 1 for a message from the handset.
  return Message(kOtaLogUmtsNas, kGsmDtap,
                 body[0] == 1 ? OtaDirection::kUplink : OtaDirection::kDownlink,
                 body.subspan(kNasMessageOffset));
}

}  // namespace

bool HasOtaLayout(std::uint32_t log_code) {
  switch (log_code) {
    case kOtaLogWcdmaRrc:
    case kOtaLogGsmRr:
    case kOtaLogGprsMac:
    case kOtaLogGprsSmGmm:
    case kOtaLogUmtsNas:
      return true;
    default:
      return false;
  }
}

OtaBody ParseOtaBody(std::uint32_t log_code, std::span<const std::uint8_t> body) {
  switch (log_code) {
    case kOtaLogWcdmaRrc:
      return ParseWcdmaRrc(body);
    case kOtaLogGsmRr:
    case kOtaLogGprsMac:
      return ParseGsm(log_code, body);
    case kOtaLogGprsSmGmm:
      return ParseSmGmm(body);
    case kOtaLogUmtsNas:
      return ParseUmtsNas(body);
    default: {
      OtaBody out;
      out.log_code = log_code;
      return out;
    }
  }
}

OtaBody ParseOtaLogPayload(std::span<const std::uint8_t> payload) {
  if (payload.size() < kOtaBodyOffset) {
    const std::uint32_t log_code =
        payload.size() >= kOtaLogCodeOffset + 2 ? LoadLE16(&payload[kOtaLogCodeOffset]) : 0;
    if (payload.size() >= kOtaLogCodeOffset + 2 && !HasOtaLayout(log_code)) {
      return ParseOtaBody(log_code, {});
    }
    return Malformed(log_code, "the log header is incomplete");
  }
  return ParseOtaBody(LoadLE16(&payload[kOtaLogCodeOffset]), payload.subspan(kOtaBodyOffset));
}

}  // namespace quillon
