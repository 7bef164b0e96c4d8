// Dynamic parser libraries of one item store.
//
// A parser library is a shared library that exports a registration
// function and one or both of two parse functions (the exports, their
// names and the registration grammar are in include/quillon/parser_plugin.h
// and parsers/parser_registration.h). The service keeps the loaded
// libraries in load order, which is their priority: the first library that
// accepts an item and has the wanted parse function produces its text.
//
// Not locked: the owning store calls every operation under its own lock,
// so library calls run on the caller's thread with the store locked.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "common/item_record.h"
#include "common/item_render_context.h"
#include "items/item_config.h"
#include "platform/dynamic_library.h"

namespace quillon {

class Database;

enum class ParserErrorCategory : std::int32_t {
  kNoService = 0,            // the store has no parser service
  kSystemError = 3,          // the loader failed; code is its error code
  kMissingExport = 4,        // no registration export, or neither parse export
  kRegistrationRefused = 5,  // the registration function returned null
};

// The outcome of a failed Load, appended to the caller's error list.
struct ParserErrorRecord {
  ParserErrorCategory category = ParserErrorCategory::kNoService;
  std::uint32_t code = 0;  // the system error code for kSystemError, else 1003
  std::u16string text;     // the library path as given to Load
  std::u16string detail;   // the loader's own message for kSystemError, if any

  friend bool operator==(const ParserErrorRecord&, const ParserErrorRecord&) = default;
};

// The failure result of a parse call that faulted or threw.
inline constexpr std::uint32_t kParseCallFailed = 31;
// Output capacities in characters, the terminating zero included.
inline constexpr std::uint32_t kParsedTextCapacity = 0x8000;
inline constexpr std::uint32_t kParsedSummaryCapacity = 0x100;

// One loaded library.
struct ParserEntry {
  std::u16string path;  // as given to Load
  bool can_text = false;
  bool can_summary = false;
  // The items the library registered for: the registered keys, their
  // types enabled, accept unknowns off.
  ItemConfig accepted;
  // Registered log codes; an OTA LOG item of one of them is accepted too,
  // whatever further key elements it carries.
  std::set<std::uint32_t> log_codes;
  platform::LibraryModule module = nullptr;
  bool loaded_here = false;  // this service loaded it and frees it

  bool Accepts(const ItemRecord& item) const;
};

enum class ParseOutput { kText, kSummary };

class ParserService final : public ItemParserService {
 public:
  // `database` (may be null) is what the libraries' configurations ask
  // about keys; it must outlive the service.
  explicit ParserService(const Database* database);
  // Unloads every library (UnloadAll).
  ~ParserService() override;
  ParserService(const ParserService&) = delete;
  ParserService& operator=(const ParserService&) = delete;

  // Loads and registers one library, appending it at the end of the list.
  // Clears `errors` first; on failure appends one record and returns
  // false, having freed a module that it mapped. Never throws for a bad
  // library; a registration function that faults or throws counts as one
  // that returned null.
  [[nodiscard]] bool Load(std::u16string_view path, std::vector<ParserErrorRecord>& errors);

  // Frees every library this service loaded (in list order; libraries that
  // were already mapped stay mapped) and empties the list.
  void UnloadAll();

  // The first entry that accepts `item` and can produce `output`; null
  // when none does.
  const ParserEntry* Find(const ItemRecord& item, ParseOutput output) const;

  // The chosen library's text (capacity kParsedTextCapacity) or summary
  // (kParsedSummaryCapacity) of a valid item. True with `out` replaced when
  // the parse function returned 0; false, `out` untouched, when the item is
  // invalid, no library takes it, the export is gone, or the function
  // failed, threw or faulted (the result then counts as kParseCallFailed).
  bool ParseToText(const ItemRecord& item, std::u16string& out) const override;
  bool ParseToSummary(const ItemRecord& item, std::u16string& out) const override;

  const std::vector<ParserEntry>& Entries() const { return entries_; }

 private:
  bool Parse(const ItemRecord& item, ParseOutput output, std::u16string& out) const;

  const Database* database_;
  std::vector<ParserEntry> entries_;
};

}  // namespace quillon
