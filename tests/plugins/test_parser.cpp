// The test parser libraries, one source built once per behaviour
// (QUILLON_TEST_PARSER names it, tests/plugins/CMakeLists.txt lists them):
//   good_a, good_b  register PARSER_REGISTRATION; text "<name> <len> <request>",
//                   summary "<name> summary"
//   summary_twin    registration, text and only the wchar_t summary twin
//   twin_only       registration and only the wchar_t summary twin
//   null_register   registration returns null
//   no_register     parse functions only
//   segfault, throws, divide   text parse faults, throws, divides by zero
#include <stdexcept>
#include <string>

#include "quillon/parser_plugin.h"

#define STRINGIFY_(x) #x
#define STRINGIFY(x) STRINGIFY_(x)

namespace {

const std::string kName = STRINGIFY(QUILLON_TEST_PARSER);

[[maybe_unused]] quillon_parse_result Write(const std::string& text, char16_t* out,
                                            unsigned int capacity) {
  if (capacity == 0) return 1;
  std::size_t i = 0;
  for (; i < text.size() && i + 1 < capacity; ++i) out[i] = static_cast<char16_t>(text[i]);
  out[i] = 0;
  return 0;
}

[[maybe_unused]] std::string Describe(unsigned int length, bool request, unsigned int capacity) {
  return kName + " " + std::to_string(length) + " " + (request ? "request" : "other") + " " +
         std::to_string(capacity);
}

}  // namespace

#if !defined(TEST_NO_REGISTER)
QUILLON_PARSER_DECLARE(QUILLON_EXPORT_REGISTER_U16, const char16_t*, TestRegister, (void));
const char16_t* TestRegister(void) {
#if defined(TEST_NULL_REGISTER)
  return nullptr;
#else
  return TEST_REGISTRATION;
#endif
}
#endif

#if !defined(TEST_TWIN_ONLY)
QUILLON_PARSER_DECLARE(QUILLON_EXPORT_TEXT_U16, quillon_parse_result, TestText,
                       (const unsigned char*, unsigned int, bool, char16_t*, unsigned int));
quillon_parse_result TestText(const unsigned char* buffer, unsigned int length, bool request,
                              char16_t* text, unsigned int capacity) {
#if defined(TEST_SEGFAULT)
  volatile unsigned char* nowhere = nullptr;
  *nowhere = buffer[0];
#elif defined(TEST_THROWS)
  if (length > 0) throw std::runtime_error("test parser throws");
#elif defined(TEST_DIVIDE)
  volatile unsigned int zero = 0;
  volatile unsigned int quotient = length / zero;
  length = quotient;
#endif
  (void)buffer;
  return Write(Describe(length, request, capacity), text, capacity);
}
#endif

#if defined(TEST_SUMMARY_TWIN) || defined(TEST_TWIN_ONLY)
QUILLON_PARSER_DECLARE(QUILLON_EXPORT_SUMMARY_WCHAR, quillon_parse_result, TestSummaryTwin,
                       (const unsigned char*, unsigned int, bool, wchar_t*, unsigned int));
quillon_parse_result TestSummaryTwin(const unsigned char*, unsigned int, bool, wchar_t* text,
                                     unsigned int capacity) {
  const std::string summary = kName + " twin summary";
  std::size_t i = 0;
  for (; i < summary.size() && i + 1 < capacity; ++i) text[i] = static_cast<wchar_t>(summary[i]);
  text[i] = 0;
  return 0;
}
#else
QUILLON_PARSER_DECLARE(QUILLON_EXPORT_SUMMARY_U16, quillon_parse_result, TestSummary,
                       (const unsigned char*, unsigned int, bool, char16_t*, unsigned int));
quillon_parse_result TestSummary(const unsigned char*, unsigned int length, bool request,
                                 char16_t* text, unsigned int capacity) {
  return Write(kName + " summary " + Describe(length, request, capacity), text, capacity);
}
#endif
