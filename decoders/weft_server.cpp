// WEFTServer: the OTA parsing library that the OTA bindings look up. Its
// GSM export decodes GSM RR (0x512F), GPRS MAC (0x5226), GPRS SM/GMM
// (0x5230) and UMTS NAS (0x713A) log items through Wireshark
// (decoders/tshark_decoder.h). CDMA and HDR logs have no public layout and
// no Wireshark dissector: those exports answer 1003 with no text.
#include "decoders/item_text.h"
#include "quillon/parser_plugin.h"

#define AT QUILLON_EXPORT_AT

namespace {

quillon_parse_result NotDecoded(char16_t* text, unsigned int capacity) {
  if (text != nullptr && capacity > 0) text[0] = 0;
  return quillon::decoders::kResultUnavailable;
}

}  // namespace

#define QUILLON_OTA_FUNCTION(export_name, function) \
  QUILLON_PARSER_DECLARE(                           \
      export_name, quillon_parse_result, function,  \
      (const unsigned char*, unsigned int, unsigned int, char16_t*, unsigned int))

QUILLON_OTA_FUNCTION("?ParseOTACDMALogW" AT AT "YAKPBEIIPAGI" AT "Z", QuillonParseCdma);
QUILLON_OTA_FUNCTION("?ParseOTAHDRLogW" AT AT "YAKPBEIIPAGI" AT "Z", QuillonParseHdr);
QUILLON_OTA_FUNCTION("?ParseOTAHDRMACLogW" AT AT "YAKPBEIIPAGI" AT "Z", QuillonParseHdrMac);
QUILLON_OTA_FUNCTION("?ParseOTAGSMLogW" AT AT "YAKPBEIIPAGI" AT "Z", QuillonParseGsm);

quillon_parse_result QuillonParseCdma(const unsigned char*, unsigned int, unsigned int,
                                      char16_t* text, unsigned int capacity) {
  return NotDecoded(text, capacity);
}
quillon_parse_result QuillonParseHdr(const unsigned char*, unsigned int, unsigned int,
                                     char16_t* text, unsigned int capacity) {
  return NotDecoded(text, capacity);
}
quillon_parse_result QuillonParseHdrMac(const unsigned char*, unsigned int, unsigned int,
                                        char16_t* text, unsigned int capacity) {
  return NotDecoded(text, capacity);
}
quillon_parse_result QuillonParseGsm(const unsigned char* buffer, unsigned int length,
                                     unsigned int /*revision*/, char16_t* text,
                                     unsigned int capacity) {
  return quillon::decoders::DecodeItemText(quillon::decoders::DecoderFamily::kGsm, buffer, length,
                                           text, capacity);
}

// The version texts: the host resolves this export and never calls it, and
// the sizes of the two buffers are not defined, so both get an empty text.
QUILLON_PARSER_DECLARE("?GetWEFTVersion" AT AT "YAKPAG0" AT "Z", quillon_parse_result,
                       QuillonWeftVersion, (char16_t*, char16_t*));
quillon_parse_result QuillonWeftVersion(char16_t* first, char16_t* second) {
  if (first != nullptr) first[0] = 0;
  if (second != nullptr) second[0] = 0;
  return 0;
}
