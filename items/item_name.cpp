#include "items/item_name.h"

#include <vector>

#include "database/database.h"
#include "items/key_text.h"
#include "items/type_text.h"

namespace quillon {

namespace {

// The enumeration that names the string types of STRING items.
constexpr std::uint32_t kStringTypeEnum = 10009;

// The name of a database record; empty when the record is missing.
std::u16string_view NameOf(const ItemEntry* entry) {
  return entry != nullptr ? std::u16string_view(entry->name) : std::u16string_view();
}

std::u16string_view DiagResponseName(const Database* db, std::uint32_t code) {
  return db != nullptr ? NameOf(db->FindDiagResponse(code)) : std::u16string_view();
}

// A MALFORMED item is named after the kind of packet its first byte (the
// command code, key element 1) announced.
std::u16string_view MalformedName(const ItemKey& key, const Database* db) {
  if (key.size() < 2) return u"DIAG";
  switch (key[1]) {
    case 16:
      return u"LOG";
    case 31:
    case 121:
      return u"MESSAGE";
    case 75:
    case 128:
      return u"SUBSYS";
    case 96:
    case 116:
      return u"EVENT";
    case 19:
    case 20:
    case 21:
    case 22:
    case 23:
    case 24:
    case 66:
    case 71: {
      const std::u16string_view name = DiagResponseName(db, key[1]);
      return name.empty() ? u"DIAG" : name;
    }
    default:
      return u"DIAG";
  }
}

std::u16string_view DatabaseName(const ItemKey& key, const Database& db) {
  switch (key[0]) {
    case kItemDiagRx:
      return NameOf(db.FindDiagResponse(key[1]));
    case kItemDiagTx:
      return NameOf(db.FindDiagRequest(key[1]));
    case kItemEvent:
      return NameOf(db.FindEvent(key[1]));
    case kItemLog:
      return NameOf(db.FindLogItem(key[1]));
    case kItemMsg:
      return NameOf(db.FindMessageLevel(key[1], key[2]));
    case kItemString: {
      const EnumEntryRecord* entry =
          db.FindEnumEntry(kStringTypeEnum, static_cast<std::int32_t>(key[1]));
      return entry != nullptr ? std::u16string_view(entry->name) : std::u16string_view();
    }
    case kItemOtaLog: {
      const std::vector<std::uint32_t> codes(key.Elements().begin() + 1, key.Elements().end());
      return NameOf(db.FindOtaTypeByCodes(codes));
    }
    case kItemSubsysRx:
      return NameOf(db.FindSubsysResponse(key[1], key[2]));
    case kItemSubsysTx:
      return NameOf(db.FindSubsysRequest(key[1], key[2]));
    default:
      return {};
  }
}

std::u16string_view Name(const ItemKey& key, const Database* db) {
  if (!key.IsValid()) return {};
  if (key[0] == kItemMalformed) return MalformedName(key, db);
  if (key[0] == kItemGps) return ItemTypeText(kItemGps);
  return db != nullptr ? DatabaseName(key, *db) : std::u16string_view();
}

}  // namespace

std::u16string ItemName(const ItemKey& key, const Database* database, bool with_key) {
  std::u16string_view name = Name(key, database);
  if (name.empty()) name = kUnknownName;
  if (!with_key) return std::u16string(name);
  std::u16string text = BracketedKeyText(key);
  text += u' ';
  text += name;
  return text;
}

}  // namespace quillon
