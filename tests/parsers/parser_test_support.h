// Vocabulary of the parser tests: the test libraries by name, items that
// the libraries registered for, and a store over a temporary file.
#pragma once

#include <string>
#include <vector>

#include "parsers/parser_service.h"
#include "platform/dynamic_library.h"
#include "platform/text_codec.h"
#include "store/item_store.h"
#include "tests/store/isf_test_support.h"
#include "tests/store/item_test_payloads.h"

namespace quillon::testing_parsers {

using testing::TempFile;
using testing_items::Bytes;
using testing_items::LogPayload;
using testing_items::Make;

// The path of a test library of tests/plugins.
inline std::u16string Plugin(const std::string& name) {
  return platform::Utf8ToUtf16(std::string(QUILLON_TEST_PLUGINS) + "/") +
         platform::SharedLibraryFileName(platform::Utf8ToUtf16(name));
}

// Items of the keys the test libraries register (1/75, 2/75, 4/18/3,
// 6/0x412F, 6/4660) and some they do not.
inline ItemPtr DiagRequest(std::uint32_t command = 75) {
  return Make(kItemDiagTx, Bytes().U8(command).U8(1).U8(2));
}
inline ItemPtr DiagResponse(std::uint32_t command = 75) {
  return Make(kItemDiagRx, Bytes().U8(command).U8(1).U8(2));
}
inline ItemPtr SubsysRequest(std::uint32_t ssid, std::uint32_t command) {
  return Make(kItemSubsysTx, Bytes().U8(75).U8(ssid).U16(command).U8(9));
}
// The CDMA OTA log codes are OTA logs only where a database lists them.
inline const ItemDatabaseView& CdmaOtaCodes() {
  static const testing_items::OtaCodeDatabase codes(
      {0x1004, 0x1005, 0x1006, 0x1007, 0x1008, 0x1090, 0x1091, 0x10D6, 0x10D7, 0x10D8});
  return codes;
}
// A log item; an OTA LOG for the OTA log codes (CDMA ones included).
inline ItemPtr Log(std::uint32_t code, std::size_t body = 4) {
  return Make(kItemLog, LogPayload(code, 0, body), true, CdmaOtaCodes());
}

inline std::string Utf8(const std::u16string& text) { return platform::Utf16ToUtf8(text); }

// Whether the process still has the library at `path` mapped.
inline bool IsMapped(const std::u16string& path) {
  return platform::FindOpenLibrary(path) != nullptr;
}

}  // namespace quillon::testing_parsers
