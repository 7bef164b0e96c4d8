#include "parsers/ota_parsing.h"

#include "common/item_key.h"
#include "parsers/internal/library_calls.h"
#include "parsers/parser_service.h"
#include "parsers/protocol_revisions.h"

namespace quillon {

namespace {

using parsers_internal::CallContained;
using parsers_internal::FindExport;

constexpr std::string_view kGetVersion = "?GetWEFTVersion@@YAKPAG0@Z";
// Indexed by OtaFunction.
constexpr std::array<std::string_view, 4> kOtaExports = {
    "?ParseOTACDMALogW@@YAKPBEIIPAGI@Z", "?ParseOTAHDRLogW@@YAKPBEIIPAGI@Z",
    "?ParseOTAHDRMACLogW@@YAKPBEIIPAGI@Z", "?ParseOTAGSMLogW@@YAKPBEIIPAGI@Z"};
constexpr std::string_view kRrcExport = "?ParseBufferToTextW@@YAKPBEIIPAGI@Z";

constexpr std::uint32_t kDefaultCdmaRevision = 6;
constexpr std::uint32_t kDefaultRrcRevision = 0x0406;
constexpr std::uint32_t kMaxPayload = 8208;

using DecodeFunction = std::uint32_t (*)(const unsigned char*, unsigned int, unsigned int,
                                         char16_t*, unsigned int);

// Calls a decoder into a zeroed output of `capacity` characters.
std::uint32_t Decode(void* function, const std::uint8_t* buffer, std::uint32_t length,
                     std::uint32_t revision, std::uint32_t capacity, std::u16string& out) {
  if (function == nullptr) {
    out.clear();
    return kOtaUnavailable;
  }
  std::u16string text(capacity + 1, u'\0');
  auto call = [&] {
    return reinterpret_cast<DecodeFunction>(function)(buffer, length, revision, text.data(),
                                                      capacity);
  };
  const std::uint32_t result = CallContained(call, kParseCallFailed);
  text[capacity] = u'\0';
  text.resize(std::char_traits<char16_t>::length(text.c_str()));
  out = std::move(text);
  return result;
}

struct Route {
  enum class Decoder { kNone, kOta, kRrc } decoder = Decoder::kNone;
  OtaFunction function = OtaFunction::kCdma;
};

Route RouteOf(std::uint32_t log_code) {
  if (IsCdmaOtaLogCode(log_code)) return {Route::Decoder::kOta, OtaFunction::kCdma};
  switch (log_code) {
    case 0x1085:
    case 0x1086:
      return {Route::Decoder::kOta, OtaFunction::kHdrMac};
    case 0x1076:
    case 0x1077:
    case 0x1078:
    case 0x1079:
    case 0x107C:
      return {Route::Decoder::kOta, OtaFunction::kHdr};
    case 0x512F:
    case 0x5226:
    case 0x5230:
    case 0x713A:
      return {Route::Decoder::kOta, OtaFunction::kGsm};
    case kWcdmaRrcLogCode:
      return {Route::Decoder::kRrc, OtaFunction::kCdma};
    default:
      return {};
  }
}

}  // namespace

std::uint32_t CdmaRevisionToPass(std::uint32_t item_revision) {
  return item_revision <= kMaxCdmaRevision || item_revision == kNoRevisionOverride
             ? item_revision
             : kDefaultCdmaRevision;
}

std::uint32_t RrcRevisionToPass(std::uint32_t item_revision) {
  return item_revision == kNoProtocolRevision ? kDefaultRrcRevision : item_revision;
}

int RrcSlotOf(std::uint32_t revision_code) {
  if (revision_code > 0xFFFF) return -1;
  if ((revision_code >> 8) == 0x63) return 0;
  switch (revision_code) {
    case 0x0106:
      return 1;
    case 0x0203:
      return 2;
    case 0x0403:
      return 3;
    case 0x0406:
      return 4;
    default:
      return -1;
  }
}

OtaLibraries& OtaLibraries::Instance() {
  static OtaLibraries instance{FileNames{}};
  return instance;
}

OtaLibraries::Module OtaLibraries::Bind(const std::u16string& name) {
  if (platform::LibraryModule open = platform::FindOpenLibrary(name)) return {open, false};
  const platform::LibraryOpenResult loaded =
      platform::OpenLibrary(name, platform::LibraryLoadMode::kFull);
  return {loaded.module, loaded.module != nullptr};
}

void OtaLibraries::Release(Module& module) {
  if (module.loaded_here) platform::CloseLibrary(module.module);
  module = {};
}

OtaLibraries::OtaLibraries(FileNames names) : names_(std::move(names)) {
  weft_ = Bind(names_.weft);
  if (weft_.module == nullptr) return;
  get_version_ = FindExport(weft_.module, kGetVersion);
  for (std::size_t i = 0; i < kOtaExports.size(); ++i) {
    ota_functions_[i] = FindExport(weft_.module, kOtaExports[i]);
  }
}

OtaLibraries::~OtaLibraries() {
  Release(weft_);
  get_version_ = nullptr;
  for (RrcSlot& slot : rrc_slots_) {
    Release(slot.library);
    slot.parse = nullptr;
  }
}

bool OtaLibraries::HasFunction(OtaFunction function) const {
  return ota_functions_[static_cast<std::size_t>(function)] != nullptr;
}

std::uint32_t OtaLibraries::ParseOta(OtaFunction function, const std::uint8_t* buffer,
                                     std::uint32_t length, std::uint32_t revision,
                                     std::u16string& out) {
  return Decode(ota_functions_[static_cast<std::size_t>(function)], buffer, length, revision,
                kOtaTextCapacity, out);
}

std::uint32_t OtaLibraries::DecodeRrc(const std::uint8_t* buffer, std::uint32_t length,
                                      std::uint32_t revision_code, std::u16string& out) {
  const int index = RrcSlotOf(revision_code);
  void* parse = nullptr;
  if (index >= 0) {
    std::lock_guard<std::mutex> lock(rrc_lock_);
    RrcSlot& slot = rrc_slots_[static_cast<std::size_t>(index)];
    if (slot.parse == nullptr && !slot.failed) {
      if (slot.library.module == nullptr) slot.library = Bind(names_.rrc);
      if (slot.library.module == nullptr) {
        slot.failed = true;
      } else {
        slot.parse = FindExport(slot.library.module, kRrcExport);
      }
    }
    parse = slot.parse;
  }
  return Decode(parse, buffer, length, revision_code, kRrcTextCapacity, out);
}

bool OtaLibraries::AppendParsedText(const ItemRecord& item, const ItemParserService* parsers,
                                    std::u16string& text) {
  std::u16string parsed;
  if (parsers != nullptr && parsers->ParseToText(item, parsed)) {
    text += parsed;
    return true;
  }
  const std::uint32_t length = item.GetPayloadLength();
  if (length < 1 || length > kMaxPayload || item.GetPayload() == nullptr) return false;
  const ItemKey& key = item.Key();
  if (key.size() < 2 || (key[0] != kItemLog && key[0] != kItemOtaLog)) return false;
  const Route route = RouteOf(key[1]);
  std::u16string output;
  switch (route.decoder) {
    case Route::Decoder::kNone:
      return false;
    case Route::Decoder::kRrc:
      // The decoder's result is not looked at: its text is what counts.
      DecodeRrc(item.GetPayload(), length, RrcRevisionToPass(item.ProtocolRevision()), output);
      if (output.empty()) return false;
      text += output;
      return true;
    case Route::Decoder::kOta: {
      const std::uint32_t revision = route.function == OtaFunction::kCdma
                                         ? CdmaRevisionToPass(item.ProtocolRevision())
                                         : item.ProtocolRevision();
      const std::uint32_t result =
          ParseOta(route.function, item.GetPayload(), length, revision, output);
      if (result != 0 && output.empty()) return false;
      text += output;
      return true;
    }
  }
  return false;
}

bool AppendOtaParsedText(const ItemRecord& item, const ItemParserService* parsers,
                         std::u16string& text) {
  return OtaLibraries::Instance().AppendParsedText(item, parsers, text);
}

}  // namespace quillon
