// Loads an item configuration from arbitrary settings file bytes (any
// encoding the reader detects) with and without the bundled database, and
// checks what the configuration promises: no crash, and every key it keeps
// is valid and lies in the set of its own type.
#include <cstdint>
#include <cstdlib>
#include <filesystem>

#include "database/database.h"
#include "items/ini_settings.h"
#include "items/item_config.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

const quillon::Database& BundledDatabase() {
  static const quillon::Database* db = [] {
    auto* d = new quillon::Database();
    d->Load(std::filesystem::path(QUILLON_DATABASE_DIR).u16string(), false);
    return d;
  }();
  return *db;
}

void LoadAndCheck(quillon::IniSettings& settings, const quillon::Database* database) {
  quillon::ItemConfig config(database);
  for (const std::u16string_view section : {u"Items", u"Config", u""}) {
    config.Load(section, &settings);
    for (std::uint32_t type = 0; type < quillon::kItemTypeCount; ++type) {
      for (const quillon::ItemKey& key : config.Keys(type)) {
        Check(key.IsValid());
        Check(key[0] == type);
      }
      (void)config.HasKeys(type, true);
    }
    for (const quillon::ItemKey& key : config.Keys(quillon::kItemLog)) {
      (void)config.IsUnknownKey(key);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quillon::IniSettings settings = quillon::IniSettings::FromBytes(data, size);
  LoadAndCheck(settings, nullptr);
  LoadAndCheck(settings, &BundledDatabase());
  return 0;
}
