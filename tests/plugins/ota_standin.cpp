// Stand-ins for the OTA parsing library (WEFTServer) and the WCDMA RRC
// decoder (UMTS-RRC-Decoder): each function writes which function ran, the
// revision it received, the buffer length and the output capacity, so that
// tests see the routing end to end. A revision of 0xE0 makes a function
// fail with an error text, 0xE1 fail with no text.
#include <cstdio>
#include <string>

#include "quillon/parser_plugin.h"

namespace {

constexpr unsigned int kFailWithText = 0xE0;
constexpr unsigned int kFailSilently = 0xE1;

quillon_parse_result Echo(const char* function, unsigned int length, unsigned int revision,
                          char16_t* text, unsigned int capacity) {
  char line[128];
  if (revision == kFailWithText) {
    std::snprintf(line, sizeof line, "%s error", function);
  } else if (revision == kFailSilently) {
    line[0] = 0;
  } else {
    std::snprintf(line, sizeof line, "%s rev=0x%X len=%u cap=%u", function, revision, length,
                  capacity);
  }
  std::size_t i = 0;
  for (; line[i] != 0 && i + 1 < capacity; ++i) text[i] = static_cast<char16_t>(line[i]);
  text[i] = 0;
  return revision == kFailWithText || revision == kFailSilently ? 1 : 0;
}

}  // namespace

#define ECHO_FUNCTION(export_name, function, label)                                               \
  QUILLON_PARSER_DECLARE(                                                                         \
      export_name, quillon_parse_result, function,                                                \
      (const unsigned char*, unsigned int, unsigned int, char16_t*, unsigned int));               \
  quillon_parse_result function(const unsigned char*, unsigned int length, unsigned int revision, \
                                char16_t* text, unsigned int capacity) {                          \
    return Echo(label, length, revision, text, capacity);                                         \
  }

#if defined(_WIN32)
#define AT "@"
#else
#define AT "$"
#endif

#if defined(TEST_WEFT)
ECHO_FUNCTION("?ParseOTACDMALogW" AT AT "YAKPBEIIPAGI" AT "Z", ParseCdma, "CDMA")
ECHO_FUNCTION("?ParseOTAHDRLogW" AT AT "YAKPBEIIPAGI" AT "Z", ParseHdr, "HDR")
ECHO_FUNCTION("?ParseOTAHDRMACLogW" AT AT "YAKPBEIIPAGI" AT "Z", ParseHdrMac, "HDRMAC")
ECHO_FUNCTION("?ParseOTAGSMLogW" AT AT "YAKPBEIIPAGI" AT "Z", ParseGsm, "GSM")
QUILLON_PARSER_DECLARE("?GetWEFTVersion" AT AT "YAKPAG0" AT "Z", quillon_parse_result, GetVersion,
                       (char16_t*, char16_t*));
quillon_parse_result GetVersion(char16_t* a, char16_t* b) {
  if (a != nullptr) a[0] = 0;
  if (b != nullptr) b[0] = 0;
  return 0;
}
#else
ECHO_FUNCTION("?ParseBufferToTextW" AT AT "YAKPBEIIPAGI" AT "Z", ParseRrc, "RRC")
#endif
