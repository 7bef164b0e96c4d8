// The OTA parsing library ("WEFTServer") and the WCDMA RRC decoder
// ("UMTS-RRC-Decoder") bindings, and the parsed text of over-the-air log
// items that they produce.
//
// Both libraries are optional: a missing library or export never fails
// anything, the item simply gets no OTA text. File names: "WEFTServer.dll"
// and "UMTS-RRC-Decoder.dll" on Windows, the same base names with the
// platform's shared-library suffix elsewhere ("WEFTServer.so"), found the
// way the platform's loader finds a library named without a folder.
#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <string>

#include "common/item_record.h"
#include "common/item_render_context.h"
#include "platform/dynamic_library.h"

namespace quillon {

// Output capacities in characters, terminator included. The buffers are
// taken from the heap (as the result string), not from the stack: 256 KB of
// RRC text would overflow the 256 KB or 1 MB stacks that threads of a
// hosting process may have.
inline constexpr std::uint32_t kOtaTextCapacity = 0x8000;
inline constexpr std::uint32_t kRrcTextCapacity = 0x20000;
// The answer of a function that is missing or has no slot.
inline constexpr std::uint32_t kOtaUnavailable = 1003;

// The OTA parsing library's decoders.
enum class OtaFunction { kCdma, kHdr, kHdrMac, kGsm };

// The item's own revision as the CDMA decoder takes it: 0..11 and
// 0x7FFFFFFF as they are, anything else 6.
std::uint32_t CdmaRevisionToPass(std::uint32_t item_revision);
// The RRC revision code to decode with: kNoProtocolRevision becomes 0x0406.
std::uint32_t RrcRevisionToPass(std::uint32_t item_revision);
// The RRC decoder slot (0..4) of a revision code: 0x63nn, 0x0106, 0x0203,
// 0x0403, 0x0406 in that order; -1 for any other code (codes above 0xFFFF
// included).
int RrcSlotOf(std::uint32_t revision_code);

class OtaLibraries {
 public:
  struct FileNames {
    std::u16string weft = platform::SharedLibraryFileName(u"WEFTServer");
    std::u16string rrc = platform::SharedLibraryFileName(u"UMTS-RRC-Decoder");
  };

  // The process-wide binding: made on the first call (the automation
  // layer's module start-up makes it), once, thread-safely, with the
  // standard file names; freed when the process unloads this module.
  static OtaLibraries& Instance();

  // Binds the OTA parsing library now (a module already mapped is used,
  // else it is loaded); the RRC decoder binds lazily, per slot.
  explicit OtaLibraries(FileNames names);
  // Frees every library this binding loaded.
  ~OtaLibraries();
  OtaLibraries(const OtaLibraries&) = delete;
  OtaLibraries& operator=(const OtaLibraries&) = delete;

  // Whether the OTA parsing library is bound, and whether `function` was
  // found in it.
  bool HasOtaLibrary() const { return weft_.module != nullptr; }
  bool HasFunction(OtaFunction function) const;

  // Calls the decoder with a zeroed output of kOtaTextCapacity characters;
  // `out` receives the output text whatever the result. kOtaUnavailable
  // without a call when the function is missing; 31 when it faults or
  // throws.
  std::uint32_t ParseOta(OtaFunction function, const std::uint8_t* buffer, std::uint32_t length,
                         std::uint32_t revision, std::u16string& out);
  // The same for the RRC decoder (kRrcTextCapacity characters), binding
  // the revision code's slot on first use; kOtaUnavailable without a call
  // for a code without a slot or a slot whose library could not be bound
  // (such a slot is never tried again).
  std::uint32_t DecodeRrc(const std::uint8_t* buffer, std::uint32_t length,
                          std::uint32_t revision_code, std::u16string& out);

  // Appends the parsed text of an item to `text`: the text of the store's
  // dynamic parser libraries when one produces it, else the OTA decoders'
  // text for LOG and OTA LOG items of the routed log codes (payload of 1
  // to 8208 bytes). True when something was appended (a result 0 with an
  // empty text counts); a failing decoder's error text is appended too.
  bool AppendParsedText(const ItemRecord& item, const ItemParserService* parsers,
                        std::u16string& text);

 private:
  struct Module {
    platform::LibraryModule module = nullptr;
    bool loaded_here = false;
  };
  struct RrcSlot {
    void* parse = nullptr;
    Module library;
    bool failed = false;
  };
  static Module Bind(const std::u16string& name);
  static void Release(Module& module);

  FileNames names_;
  Module weft_;
  void* get_version_ = nullptr;  // resolved and kept, never called
  std::array<void*, 4> ota_functions_{};
  std::mutex rrc_lock_;  // slot binding from items rendered on several threads
  std::array<RrcSlot, 5> rrc_slots_{};
};

// The parsed text of an item through the process-wide binding
// (OtaLibraries::Instance().AppendParsedText).
bool AppendOtaParsedText(const ItemRecord& item, const ItemParserService* parsers,
                         std::u16string& text);

}  // namespace quillon
