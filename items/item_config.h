// An item configuration: which log items a consumer wants. Item types are
// switched on as a whole; within an enabled type, a key set (command
// codes, event IDs, log codes, ...) narrows the selection, and the
// accept-unknowns switch lets items pass whose keys the database does not
// know. MALFORMED (0) and GPS (3) have no key set.
//
// Key sets are std::set<ItemKey>: ordered by the key's numbers (so by
// command code, event ID, log code, subsystem then command, ...) without
// duplicates; that order is the order of CategoryText.
#pragma once

#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include "common/item_key.h"
#include "common/item_record.h"
#include "items/settings_reader.h"

namespace quillon {

class Database;

// The settings value names that Load reads.
inline constexpr std::u16string_view kConfigItems = u"Items";
inline constexpr std::u16string_view kConfigAcceptUnknowns = u"Accept Unknowns";
inline constexpr std::u16string_view kConfigDiagRequests = u"DIAG Requests";
inline constexpr std::u16string_view kConfigDiagResponses = u"DIAG Responses";
inline constexpr std::u16string_view kConfigSubsysRequests = u"Subsystem Requests";
inline constexpr std::u16string_view kConfigSubsysResponses = u"Subsystem Responses";
inline constexpr std::u16string_view kConfigEventIds = u"Event IDs";
inline constexpr std::u16string_view kConfigLogCodes = u"Log Codes";
inline constexpr std::u16string_view kConfigOtaTypes = u"OTA Types";
inline constexpr std::u16string_view kConfigMessageLevels = u"Message Levels";
inline constexpr std::u16string_view kConfigStringTypes = u"String Types";

class ItemConfig {
 public:
  // Empty: no type enabled, accept unknowns on. `database` (may be null:
  // then every key of a database table is unknown) is not owned and must
  // outlive the configuration.
  explicit ItemConfig(const Database* database);

  // The virtual operations keep the system's slot order.
  // slot 0
  virtual ~ItemConfig() = default;
  // slot 1: housekeeping, no operation of its own.
  // slot 2: empties the type's key set and disables the type.
  virtual void DisableType(std::uint32_t type);
  // slot 3: empties every key set and the enabled types; accept unknowns on.
  virtual void Clear();
  // slot 4: enables every type whose key set is not empty.
  virtual void EnableConfiguredTypes();
  // slot 5: false when `require_enabled` and the type is disabled;
  // otherwise whether its key set is non-empty (always false for types
  // without a key set).
  virtual bool HasKeys(std::uint32_t type, bool require_enabled) const;
  // slot 6: the type is enabled and its key set is empty.
  virtual bool AcceptsWholeType(std::uint32_t type) const;
  // slot 7: no operation of its own.
  // slot 8: the selection test:
  //   invalid item -> false; whole type accepted -> true; type disabled ->
  //   false; MALFORMED, GPS -> true; key in the set -> true (an OTA LOG
  //   key without a kind, (8, code), matches every (8, code, ...) of the
  //   set); accept unknowns and key unknown to the database -> true; else
  //   false.
  virtual bool Accepts(const ItemRecord& item) const;
  // slot 9: no operation of its own.
  // slot 10: the key texts of the type's set joined by ","; empty for
  // types without a key set. Load reads this form back.
  virtual std::u16string CategoryText(std::uint32_t type) const;
  // slot 11: MSG (6) only: per subsystem in increasing order "%u:0x%X" of
  // the subsystem and a mask with bit n set for each level n < 32, joined
  // by ";". Empty for every other type.
  virtual std::u16string LevelMaskText(std::uint32_t type) const;

  // Inserts a valid key into its type's set; false (nothing changed) for
  // an invalid key or a type without a key set.
  bool AddKey(const ItemKey& key);
  // Enables a type code 0..10 (others are ignored).
  void EnableType(std::uint32_t type);

  // Fills the configuration from one settings section: Clear(), then
  // "Items" (decimal type codes separated by ",", one pair of enclosing
  // quotes removed), the nine key sets (key texts separated by ","; a
  // leading quote of the value and pieces starting with a quote are
  // skipped) and "Accept Unknowns" (integer, non-zero = on). LOG codes that
  // the database lists as OTA log codes then move into the OTA set, one
  // key (8, log code, kind) per OTA kind listed under the code (none when
  // the code lists no kinds); LOG is disabled when that empties the log
  // codes, OTA LOG enabled when it fills an empty OTA set. An
  // empty section name, a null or unavailable reader or a missing section
  // leave the configuration cleared.
  void Load(std::u16string_view section, SettingsReader* reader);

  // True when the database has no entry for the key: an invalid key, a
  // MALFORMED key, or a key missing from the table of its type. GPS and
  // STRING keys are never unknown.
  bool IsUnknownKey(const ItemKey& key) const;

  bool IsTypeEnabled(std::uint32_t type) const { return enabled_.contains(type); }
  const std::set<std::uint32_t>& EnabledTypes() const { return enabled_; }
  // The type's key set; an empty set for types without one.
  const std::set<ItemKey>& Keys(std::uint32_t type) const;
  bool AcceptUnknowns() const { return accept_unknowns_; }
  void SetAcceptUnknowns(bool on) { accept_unknowns_ = on; }

 private:
  static bool HasKeySet(std::uint32_t type);
  void LoadKeySet(SettingsReader& reader, std::u16string_view name, std::uint32_t type);
  void MoveOtaLogCodes();

  const Database* database_;
  std::set<std::uint32_t> enabled_;
  std::array<std::set<ItemKey>, kItemTypeCount> keys_;  // 0 and 3 stay empty
  bool accept_unknowns_ = true;
};

}  // namespace quillon
