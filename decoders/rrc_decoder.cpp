// UMTS-RRC-Decoder: the WCDMA RRC decoder library that the OTA bindings
// look up. Its one export decodes WCDMA RRC log items (0x412F) through
// Wireshark (decoders/tshark_decoder.h). The revision code is not needed:
// Wireshark's RRC dissector reads every release from the message itself.
#include "decoders/item_text.h"
#include "quillon/parser_plugin.h"

#define AT QUILLON_EXPORT_AT

QUILLON_PARSER_DECLARE("?ParseBufferToTextW" AT AT "YAKPBEIIPAGI" AT "Z", quillon_parse_result,
                       QuillonDecodeRrc,
                       (const unsigned char*, unsigned int, unsigned int, char16_t*, unsigned int));

quillon_parse_result QuillonDecodeRrc(const unsigned char* buffer, unsigned int length,
                                      unsigned int /*revision*/, char16_t* text,
                                      unsigned int capacity) {
  return quillon::decoders::DecodeItemText(quillon::decoders::DecoderFamily::kWcdmaRrc, buffer,
                                           length, text, capacity);
}
