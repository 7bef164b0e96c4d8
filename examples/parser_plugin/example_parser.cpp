// An example Quillon parser library.
//
// It registers for the subsystem dispatch command (DIAG command 75) in both
// directions and for event 257, and renders:
//   text     "<direction> <n> bytes:" and the payload as hexadecimal lines of
//            16 bytes each
//   summary  "<direction>, <n> bytes"
// Build commands: examples/parser_plugin/README.md.
#include <cstddef>
#include <cstdio>

#include "quillon/parser_plugin.h"

namespace {

// Appends ASCII text to a bounded UTF-16 output; false when it ran out of
// room (the output stays zero-terminated either way).
class Output {
 public:
  Output(char16_t* text, unsigned int capacity) : text_(text), capacity_(capacity) {
    if (capacity_ > 0) text_[0] = 0;
  }
  bool Append(const char* ascii) {
    for (; *ascii != 0; ++ascii) {
      if (used_ + 1 >= capacity_) return false;
      text_[used_++] = static_cast<char16_t>(*ascii);
      text_[used_] = 0;
    }
    return true;
  }

 private:
  char16_t* text_;
  unsigned int capacity_;
  unsigned int used_ = 0;
};

const char* Direction(bool is_request) { return is_request ? "Request" : "Response or event"; }

}  // namespace

// The registration string lives as long as the library: a static array.
QUILLON_PARSER_DECLARE(QUILLON_EXPORT_REGISTER_U16, const char16_t*, ExampleRegister, (void));
const char16_t* ExampleRegister(void) { return u"1/75,2/75,5/257"; }

QUILLON_PARSER_DECLARE(QUILLON_EXPORT_TEXT_U16, quillon_parse_result, ExampleText,
                       (const unsigned char*, unsigned int, bool, char16_t*, unsigned int));
quillon_parse_result ExampleText(const unsigned char* buffer, unsigned int length, bool is_request,
                                 char16_t* text, unsigned int capacity) {
  if (buffer == nullptr || length == 0) return 1;
  Output out(text, capacity);
  char piece[64];
  std::snprintf(piece, sizeof piece, "%s %u bytes:", Direction(is_request), length);
  if (!out.Append(piece)) return 1;
  for (unsigned int i = 0; i < length; ++i) {
    std::snprintf(piece, sizeof piece, "%s%02X", i % 16 == 0 ? "\r\n" : " ", buffer[i]);
    if (!out.Append(piece)) return 1;
  }
  return 0;
}

QUILLON_PARSER_DECLARE(QUILLON_EXPORT_SUMMARY_U16, quillon_parse_result, ExampleSummary,
                       (const unsigned char*, unsigned int, bool, char16_t*, unsigned int));
quillon_parse_result ExampleSummary(const unsigned char* buffer, unsigned int length,
                                    bool is_request, char16_t* text, unsigned int capacity) {
  if (buffer == nullptr) return 1;
  char line[64];
  std::snprintf(line, sizeof line, "%s, %u bytes", Direction(is_request), length);
  return Output(text, capacity).Append(line) ? 0 : 1;
}
