#include "parsers/parser_service.h"

#include <optional>
#include <utility>

#include "common/mis_exception.h"
#include "parsers/internal/library_calls.h"
#include "parsers/parser_registration.h"

namespace quillon {

namespace {

using parsers_internal::CallContained;
using parsers_internal::FindExport;
using parsers_internal::WideToU16;
using platform::LibraryModule;

// The decorated export names, the `unsigned short` form first and its
// `wchar_t` twin second.
constexpr std::string_view kRegisterU16 = "?RegisterParserW@@YAPAGXZ";
constexpr std::string_view kRegisterWide = "?RegisterParserW@@YAPA_WXZ";
constexpr std::string_view kTextU16 = "?ParseBufferToTextW@@YAKPBEI_NPAGI@Z";
constexpr std::string_view kTextWide = "?ParseBufferToTextW@@YAKPBEI_NPA_WI@Z";
constexpr std::string_view kSummaryU16 = "?ParseBufferToSummaryW@@YAKPBEI_NPAGI@Z";
constexpr std::string_view kSummaryWide = "?ParseBufferToSummaryW@@YAKPBEI_NPA_WI@Z";

// Plain C names, tried after the decorated ones where a platform's
// libraries cannot carry those (always UTF-16 text).
#if defined(_WIN32)
constexpr bool kPlainNames = false;
#else
constexpr bool kPlainNames = true;
#endif
constexpr std::string_view kRegisterPlain = "RegisterParserW";
constexpr std::string_view kTextPlain = "ParseBufferToTextW";
constexpr std::string_view kSummaryPlain = "ParseBufferToSummaryW";

using RegisterU16 = const char16_t* (*)();
using RegisterWide = const wchar_t* (*)();
template <class Char>
using ParseFunction = std::uint32_t (*)(const unsigned char*, unsigned int, bool, Char*,
                                        unsigned int);

// A found export and the width of its text.
struct Export {
  void* address = nullptr;
  bool wchar_text = false;  // wchar_t rather than UTF-16 units

  explicit operator bool() const { return address != nullptr; }
};

Export FindInOrder(LibraryModule module, std::string_view u16_name, std::string_view wide_name,
                   std::string_view plain_name) {
  if (void* a = FindExport(module, u16_name)) return {a, false};
  if (void* a = FindExport(module, wide_name)) return {a, true};
  if (kPlainNames) {
    if (void* a = platform::LibrarySymbol(module, std::string(plain_name).c_str())) {
      return {a, false};
    }
  }
  return {};
}

Export FindRegister(LibraryModule module) {
  return FindInOrder(module, kRegisterU16, kRegisterWide, kRegisterPlain);
}

// At load time the summary export is looked up twice under its
// `unsigned short` name: a library that exports only the `wchar_t` summary
// twin registers without summary capability (it is still found at parse
// time, so loading decides).
Export FindSummaryAtLoad(LibraryModule module) {
  return FindInOrder(module, kSummaryU16, kSummaryU16, kSummaryPlain);
}

Export FindParse(LibraryModule module, ParseOutput output) {
  return output == ParseOutput::kText
             ? FindInOrder(module, kTextU16, kTextWide, kTextPlain)
             : FindInOrder(module, kSummaryU16, kSummaryWide, kSummaryPlain);
}

// Calls the registration function and copies its string at once, inside
// the containment: a registration that faults or throws gives null.
std::optional<std::u16string> CallRegister(const Export& function) {
  constexpr std::size_t kUnlimited = static_cast<std::size_t>(-1);
  std::u16string text;
  bool returned_text = false;
  auto call = [&]() -> std::uint32_t {
    if (function.wchar_text) {
      const wchar_t* s = reinterpret_cast<RegisterWide>(function.address)();
      returned_text = s != nullptr;
      text = WideToU16(s, kUnlimited);
    } else {
      const char16_t* s = reinterpret_cast<RegisterU16>(function.address)();
      returned_text = s != nullptr;
      text = WideToU16(s, kUnlimited);
    }
    return 0;
  };
  if (CallContained(call, kParseCallFailed) != 0 || !returned_text) return std::nullopt;
  return text;
}

// Frees a module mapped by Load unless Load hands it over to an entry.
class ModuleOwner {
 public:
  ModuleOwner() = default;
  ModuleOwner(const ModuleOwner&) = delete;
  ModuleOwner& operator=(const ModuleOwner&) = delete;
  ~ModuleOwner() { platform::CloseLibrary(module_); }
  void Own(LibraryModule module) { module_ = module; }
  void Close() { platform::CloseLibrary(std::exchange(module_, nullptr)); }
  LibraryModule Release() { return std::exchange(module_, nullptr); }

 private:
  LibraryModule module_ = nullptr;
};

}  // namespace

bool ParserEntry::Accepts(const ItemRecord& item) const {
  if (accepted.Accepts(item)) return true;
  const ItemKey& key = item.Key();
  return item.IsValid() && key[0] == kItemOtaLog && log_codes.contains(key[1]);
}

ParserService::ParserService(const Database* database) : database_(database) {}

ParserService::~ParserService() { UnloadAll(); }

bool ParserService::Load(std::u16string_view path, std::vector<ParserErrorRecord>& errors) {
  errors.clear();
  const auto fail = [&](ParserErrorCategory category, std::uint32_t code,
                        std::u16string detail = {}) {
    errors.push_back({category, code, std::u16string(path), std::move(detail)});
    return false;
  };

  ModuleOwner owner;
  LibraryModule module = platform::FindOpenLibrary(path);
  const bool loaded_here = module == nullptr;
  if (loaded_here) {
    platform::LibraryOpenResult probe =
        platform::OpenLibrary(path, platform::LibraryLoadMode::kProbe);
    if (probe.module == nullptr) {
      return fail(ParserErrorCategory::kSystemError, probe.error, std::move(probe.message));
    }
    module = probe.module;
    owner.Own(module);
  }

  Export registration = FindRegister(module);
  const bool can_text = static_cast<bool>(FindParse(module, ParseOutput::kText));
  const bool can_summary = static_cast<bool>(FindSummaryAtLoad(module));
  if (!registration || (!can_text && !can_summary)) {
    return fail(ParserErrorCategory::kMissingExport, mis::kCannotComplete);
  }

  if (loaded_here) {
    // The probe mapping only answered which exports exist; the library
    // runs from a full load.
    owner.Close();
    platform::LibraryOpenResult full =
        platform::OpenLibrary(path, platform::LibraryLoadMode::kFull);
    if (full.module == nullptr) {
      return fail(ParserErrorCategory::kSystemError, full.error, std::move(full.message));
    }
    module = full.module;
    owner.Own(module);
    registration = FindRegister(module);
    if (!registration) return fail(ParserErrorCategory::kMissingExport, mis::kCannotComplete);
  }

  const std::optional<std::u16string> text = CallRegister(registration);
  if (!text) return fail(ParserErrorCategory::kRegistrationRefused, mis::kCannotComplete);

  ParserEntry entry{.path = std::u16string(path),
                    .can_text = can_text,
                    .can_summary = can_summary,
                    .accepted = ItemConfig(database_),
                    .log_codes = {}};
  const ParserRegistration parsed = ParseRegistration(*text);
  for (const auto& keys : parsed.keys) {
    for (const ItemKey& key : keys) entry.accepted.AddKey(key);
  }
  for (const ItemKey& key : parsed.Of(RegistrationKind::kLogCode)) entry.log_codes.insert(key[1]);
  entry.accepted.EnableConfiguredTypes();
  entry.accepted.SetAcceptUnknowns(false);
  entry.module = loaded_here ? owner.Release() : module;
  entry.loaded_here = loaded_here;
  entries_.push_back(std::move(entry));
  return true;
}

void ParserService::UnloadAll() {
  for (ParserEntry& entry : entries_) {
    if (entry.loaded_here) platform::CloseLibrary(entry.module);
  }
  entries_.clear();
}

const ParserEntry* ParserService::Find(const ItemRecord& item, ParseOutput output) const {
  for (const ParserEntry& entry : entries_) {
    const bool can = output == ParseOutput::kText ? entry.can_text : entry.can_summary;
    if (can && entry.Accepts(item)) return &entry;
  }
  return nullptr;
}

bool ParserService::ParseToText(const ItemRecord& item, std::u16string& out) const {
  return Parse(item, ParseOutput::kText, out);
}

bool ParserService::ParseToSummary(const ItemRecord& item, std::u16string& out) const {
  return Parse(item, ParseOutput::kSummary, out);
}

bool ParserService::Parse(const ItemRecord& item, ParseOutput output, std::u16string& out) const {
  if (!item.IsValid()) return false;
  const ParserEntry* entry = Find(item, output);
  if (entry == nullptr) return false;
  const Export function = FindParse(entry->module, output);
  if (!function) return false;

  const unsigned int capacity =
      output == ParseOutput::kText ? kParsedTextCapacity : kParsedSummaryCapacity;
  const unsigned char* data = item.GetPayload();
  const unsigned int length = item.GetPayloadLength();
  const bool request = item.TypeCode() == kItemDiagTx;
  // The output goes straight into the result string (one allocation per
  // call, no large stack frame); one extra zero guards the terminator.
  std::u16string text(capacity + 1, u'\0');
  std::uint32_t result = kParseCallFailed;
  if (function.wchar_text && sizeof(wchar_t) != sizeof(char16_t)) {
    std::wstring wide(capacity + 1, L'\0');
    auto call = [&] {
      return reinterpret_cast<ParseFunction<wchar_t>>(function.address)(data, length, request,
                                                                        wide.data(), capacity);
    };
    result = CallContained(call, kParseCallFailed);
    if (result == 0) text = WideToU16(wide.c_str(), capacity);
  } else {
    auto call = [&] {
      return reinterpret_cast<ParseFunction<char16_t>>(function.address)(data, length, request,
                                                                         text.data(), capacity);
    };
    result = CallContained(call, kParseCallFailed);
  }
  if (result != 0) return false;
  text.resize(std::char_traits<char16_t>::length(text.c_str()));
  out = std::move(text);
  return true;
}

}  // namespace quillon
