#include "items/item_config.h"

#include <algorithm>
#include <map>
#include <vector>

#include "common/safe_format.h"
#include "database/database.h"
#include "items/key_text.h"

namespace quillon {

namespace {

// The types with a key set, in the order EnableConfiguredTypes visits them.
constexpr std::uint32_t kKeyedTypes[] = {kItemDiagTx,   kItemDiagRx, kItemSubsysTx,
                                         kItemSubsysRx, kItemEvent,  kItemLog,
                                         kItemOtaLog,   kItemMsg,    kItemString};

bool IsBlank(char16_t c) { return c == u' ' || c == u'\t'; }

// A whole piece of decimal digits, blanks around it allowed. Leading zeros
// count for nothing; a value past the type codes stays past them (it
// saturates instead of wrapping).
std::optional<std::uint32_t> ParseTypeCode(std::u16string_view piece) {
  while (!piece.empty() && IsBlank(piece.front())) piece.remove_prefix(1);
  while (!piece.empty() && IsBlank(piece.back())) piece.remove_suffix(1);
  if (piece.empty()) return std::nullopt;
  constexpr std::uint32_t kPastAnyType = 1000;
  std::uint32_t value = 0;
  for (const char16_t c : piece) {
    if (c < u'0' || c > u'9') return std::nullopt;
    value = std::min(value * 10 + static_cast<std::uint32_t>(c - u'0'), kPastAnyType);
  }
  return value;
}

// Calls `f` for each piece of `text` between ",".
template <typename F>
void ForEachPiece(std::u16string_view text, F f) {
  while (true) {
    const std::size_t comma = text.find(u',');
    f(text.substr(0, comma));
    if (comma == std::u16string_view::npos) break;
    text.remove_prefix(comma + 1);
  }
}

}  // namespace

ItemConfig::ItemConfig(const Database* database) : database_(database) {}

bool ItemConfig::HasKeySet(std::uint32_t type) {
  return type < kItemTypeCount && type != kItemMalformed && type != kItemGps;
}

const std::set<ItemKey>& ItemConfig::Keys(std::uint32_t type) const {
  static const std::set<ItemKey> kNone;
  return HasKeySet(type) ? keys_[type] : kNone;
}

void ItemConfig::DisableType(std::uint32_t type) {
  if (HasKeySet(type)) keys_[type].clear();
  enabled_.erase(type);
}

void ItemConfig::Clear() {
  for (auto& keys : keys_) keys.clear();
  enabled_.clear();
  accept_unknowns_ = true;
}

void ItemConfig::EnableConfiguredTypes() {
  for (const std::uint32_t type : kKeyedTypes) {
    if (!keys_[type].empty()) enabled_.insert(type);
  }
}

bool ItemConfig::HasKeys(std::uint32_t type, bool require_enabled) const {
  if (require_enabled && !IsTypeEnabled(type)) return false;
  return !Keys(type).empty();
}

bool ItemConfig::AcceptsWholeType(std::uint32_t type) const {
  return IsTypeEnabled(type) && Keys(type).empty();
}

bool ItemConfig::Accepts(const ItemRecord& item) const {
  if (!item.IsValid()) return false;
  const std::uint32_t type = item.TypeCode();
  if (AcceptsWholeType(type)) return true;
  if (!IsTypeEnabled(type)) return false;
  if (!HasKeySet(type)) return true;  // MALFORMED and GPS
  if (keys_[type].contains(item.Key())) return true;
  if (type == kItemOtaLog && item.Key().size() == 2) {
    // An OTA log whose layout tells no kind stands for every kind of its
    // log code: any key of the code selects it.
    const auto next = keys_[type].upper_bound(item.Key());
    if (next != keys_[type].end() && (*next)[1] == item.Key()[1]) return true;
  }
  return accept_unknowns_ && IsUnknownKey(item.Key());
}

std::u16string ItemConfig::CategoryText(std::uint32_t type) const {
  if (!HasKeySet(type)) return {};
  return JoinKeyTexts(keys_[type], u',');
}

std::u16string ItemConfig::LevelMaskText(std::uint32_t type) const {
  if (type != kItemMsg) return {};
  std::map<std::uint32_t, std::uint32_t> masks;  // subsystem -> level bits
  for (const ItemKey& key : keys_[kItemMsg]) {
    std::uint32_t& mask = masks[key[1]];
    // Level 32 is a valid key but has no bit.
    if (key[2] < 32) mask |= std::uint32_t{1} << key[2];
  }
  std::u16string text;
  for (const auto& [subsystem, mask] : masks) {
    if (!text.empty()) text += u';';
    FormatArgument args[] = {subsystem, mask};
    FormatArgumentList list(args);
    FormatAppend(text, u"%u:0x%X", list);
  }
  return text;
}

bool ItemConfig::AddKey(const ItemKey& key) {
  if (!key.IsValid() || !HasKeySet(key[0])) return false;
  keys_[key[0]].insert(key);
  return true;
}

void ItemConfig::EnableType(std::uint32_t type) {
  if (type < kItemTypeCount) enabled_.insert(type);
}

bool ItemConfig::IsUnknownKey(const ItemKey& key) const {
  if (!key.IsValid()) return true;
  switch (key[0]) {
    case kItemGps:
    case kItemString:
      return false;
    case kItemMalformed:
      return true;
    default:
      break;
  }
  if (database_ == nullptr) return true;
  const Database& db = *database_;
  switch (key[0]) {
    case kItemDiagRx:
      return db.FindDiagResponse(key[1]) == nullptr;
    case kItemDiagTx:
      return db.FindDiagRequest(key[1]) == nullptr;
    case kItemEvent:
      return db.FindEvent(key[1]) == nullptr;
    case kItemLog:
      return db.FindLogItem(key[1]) == nullptr;
    case kItemMsg:
      return db.FindMessageLevel(key[1], key[2]) == nullptr;
    case kItemOtaLog: {
      const std::vector<std::uint32_t> codes(key.Elements().begin() + 1, key.Elements().end());
      return db.FindOtaTypeByCodes(codes) == nullptr;
    }
    case kItemSubsysRx:
      return db.FindSubsysResponse(key[1], key[2]) == nullptr;
    case kItemSubsysTx:
      return db.FindSubsysRequest(key[1], key[2]) == nullptr;
    default:
      return true;
  }
}

void ItemConfig::LoadKeySet(SettingsReader& reader, std::u16string_view name, std::uint32_t type) {
  const std::optional<std::u16string> value = reader.ReadString(name);
  if (!value) return;
  std::set<ItemKey>& keys = keys_[type];
  keys.clear();
  std::u16string_view text = *value;
  if (text.starts_with(u'"')) text.remove_prefix(1);
  ForEachPiece(text, [&](std::u16string_view piece) {
    if (piece.starts_with(u'"')) return;
    if (auto key = ParseKeyText(piece, type)) keys.insert(std::move(*key));
  });
}

void ItemConfig::MoveOtaLogCodes() {
  if (database_ == nullptr) return;
  std::set<ItemKey>& logs = keys_[kItemLog];
  std::set<ItemKey>& otas = keys_[kItemOtaLog];
  for (auto it = logs.begin(); it != logs.end();) {
    const std::uint32_t code = (*it)[1];
    const ItemEntry* ota = it->IsValid() ? database_->FindOtaType(code) : nullptr;
    if (ota == nullptr || !database_->IsOtaLogCode(code)) {
      ++it;
      continue;
    }
    // One OTA key per kind: a row that lists no kinds adds none, and the
    // log code leaves the configuration.
    for (const std::uint32_t kind : ota->ota_codes) {
      otas.insert(ItemKey{kItemOtaLog, code, kind});
    }
    it = logs.erase(it);
  }
}

void ItemConfig::Load(std::u16string_view section, SettingsReader* reader) {
  Clear();
  if (section.empty() || reader == nullptr || !reader->IsAvailable() ||
      !reader->OpenSection(section)) {
    return;
  }

  if (const auto items = reader->ReadString(kConfigItems)) {
    std::u16string_view text = *items;
    if (text.size() >= 2 && text.front() == u'"' && text.back() == u'"') {
      text = text.substr(1, text.size() - 2);
    }
    enabled_.clear();
    ForEachPiece(text, [&](std::u16string_view piece) {
      const auto type = ParseTypeCode(piece);
      if (type && *type < kItemTypeCount) enabled_.insert(*type);
    });
  }

  LoadKeySet(*reader, kConfigDiagRequests, kItemDiagTx);
  LoadKeySet(*reader, kConfigDiagResponses, kItemDiagRx);
  LoadKeySet(*reader, kConfigSubsysRequests, kItemSubsysTx);
  LoadKeySet(*reader, kConfigSubsysResponses, kItemSubsysRx);
  LoadKeySet(*reader, kConfigEventIds, kItemEvent);
  LoadKeySet(*reader, kConfigLogCodes, kItemLog);
  LoadKeySet(*reader, kConfigOtaTypes, kItemOtaLog);
  LoadKeySet(*reader, kConfigMessageLevels, kItemMsg);
  LoadKeySet(*reader, kConfigStringTypes, kItemString);

  if (const auto accept = reader->ReadInteger(kConfigAcceptUnknowns)) {
    accept_unknowns_ = *accept != 0;
  }

  const bool had_logs = !keys_[kItemLog].empty();
  const bool had_otas = !keys_[kItemOtaLog].empty();
  MoveOtaLogCodes();
  if (had_logs && keys_[kItemLog].empty()) enabled_.erase(kItemLog);
  if (!had_otas && !keys_[kItemOtaLog].empty()) enabled_.insert(kItemOtaLog);
}

}  // namespace quillon
