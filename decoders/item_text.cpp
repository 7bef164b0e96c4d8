#include "decoders/item_text.h"

#include <span>
#include <string>

#include "common/little_endian.h"
#include "decoders/tshark_decoder.h"
#include "ota/ota_message.h"
#include "platform/text_codec.h"

namespace quillon::decoders {

namespace {

constexpr std::size_t kLogTimeOffset = 8;

bool InFamily(DecoderFamily family, std::uint32_t log_code) {
  if (family == DecoderFamily::kWcdmaRrc) return log_code == kOtaLogWcdmaRrc;
  return HasOtaLayout(log_code) && log_code != kOtaLogWcdmaRrc;
}

std::string CodeText(std::uint32_t log_code) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text = "0x";
  for (int shift = 12; shift >= 0; shift -= 4) text += kDigits[(log_code >> shift) & 0xF];
  return text;
}

// Writes `utf8` as UTF-16, cut after the last whole line that fits.
void WriteText(const std::string& utf8, char16_t* text, std::uint32_t capacity) {
  std::u16string wide = platform::Utf8ToUtf16(utf8);
  if (wide.size() >= capacity) {
    const std::size_t cut = wide.rfind(u'\n', capacity - 1);
    wide.resize(cut == std::u16string::npos ? capacity - 1 : cut);
  }
  wide.copy(text, wide.size());
  text[wide.size()] = 0;
}

}  // namespace

std::uint32_t DecodeItemText(DecoderFamily family, const std::uint8_t* buffer, std::uint32_t length,
                             char16_t* text, std::uint32_t capacity) {
  if (text == nullptr || capacity == 0) return kResultBadArguments;
  text[0] = 0;
  if (buffer == nullptr) return kResultBadArguments;
  const std::span<const std::uint8_t> payload(buffer, length);
  const OtaBody body = ParseOtaLogPayload(payload);
  if (body.status == OtaBodyStatus::kNoLayout || !InFamily(family, body.log_code)) {
    return kResultUnavailable;
  }
  const std::string log = "OTA log " + CodeText(body.log_code) + ": ";
  switch (body.status) {
    case OtaBodyStatus::kMalformed:
      WriteText(log + body.problem, text, capacity);
      return kResultInvalidData;
    case OtaBodyStatus::kNoMessage:
      WriteText(log + "a random access burst, no layer-3 message", text, capacity);
      return kResultUnavailable;
    case OtaBodyStatus::kNoLayout:
    case OtaBodyStatus::kMessage:
      break;
  }
  const ItemTimestamp time(LoadLE64(&payload[kLogTimeOffset]));
  std::string decoded;
  switch (TsharkDecoder::Process().Decode(body, time, decoded)) {
    case DecodeStatus::kDecoded:
      WriteText(decoded, text, capacity);
      return kResultDecoded;
    case DecodeStatus::kUnavailable:
      return kResultUnavailable;
    case DecodeStatus::kFailed:
      return kResultNoAnswer;
  }
  return kResultNoAnswer;
}

}  // namespace quillon::decoders
