#include "automation/auto_item_store_files.h"

#include <utility>
#include <vector>

#include "automation/auto_color_item.h"
#include "automation/module.h"
#include "automation/store_access.h"
#include "database/database.h"
#include "store/item_store.h"
#include "store/item_store_file.h"
#include "store/open_item_store_file.h"

namespace quillon {

CAutoItemStoreFiles::CAutoItemStoreFiles() { automation::LockModule(); }

CAutoItemStoreFiles::~CAutoItemStoreFiles() {
  stores_.clear();
  automation::UnlockModule();
}

std::shared_ptr<ItemStore> CAutoItemStoreFiles::Find(std::uint32_t store) const {
  const auto it = stores_.find(store);
  return it == stores_.end() ? nullptr : it->second;
}

std::uint32_t CAutoItemStoreFiles::Adopt(std::shared_ptr<ItemStore> store) {
  if (!store) return kAutoFailure;
  const std::uint32_t handle = next_handle_++;
  stores_.emplace(handle, std::move(store));
  return handle;
}

std::uint32_t CAutoItemStoreFiles::CreateItemStore(std::u16string_view file_name) {
  try {
    auto file = std::make_unique<ItemStoreFile>(automation::ProcessDatabase());
    file->Create(file_name);
    return Adopt(MakeProcessStore(std::move(file)));
  } catch (...) {
    return kAutoFailure;
  }
}

std::uint32_t CAutoItemStoreFiles::LoadItemStore(std::u16string_view file_name) {
  try {
    auto file = OpenItemStoreFile(file_name, {.read_only = true, .allow_recover = true},
                                  automation::ProcessDatabase());
    if (!file || !file->IsOpen()) return kAutoFailure;
    return Adopt(MakeProcessStore(std::move(file)));
  } catch (...) {
    return kAutoFailure;
  }
}

bool CAutoItemStoreFiles::CloseItemStore(std::uint32_t store) {
  auto it = stores_.find(store);
  if (it == stores_.end()) return false;
  // The store closes its file when the last owner lets go; a ColorItem
  // only watches it, so this is the last one.
  std::shared_ptr<ItemStore> closing = std::move(it->second);
  stores_.erase(it);
  closing.reset();
  return true;
}

std::uint32_t CAutoItemStoreFiles::AddStringItem(std::uint32_t store, std::uint32_t string_type,
                                                 std::u16string_view text) {
  const auto target = Find(store);
  if (!target) return kAutoFailure;
  try {
    return AddTextItems(*target, text, string_type);
  } catch (...) {
    return kAutoFailure;
  }
}

std::uint32_t CAutoItemStoreFiles::CopyItem(std::uint32_t source, std::uint32_t destination,
                                            std::uint32_t index, bool preserve_timestamp) {
  const auto from = Find(source);
  const auto to = Find(destination);
  if (!from || !to) return kAutoFailure;
  try {
    return CopyStoreItem(*from, *to, index, preserve_timestamp);
  } catch (...) {
    return kAutoFailure;
  }
}

std::uint32_t CAutoItemStoreFiles::GetItemCount(std::uint32_t store) {
  const auto target = Find(store);
  if (!target) return kAutoFailure;
  try {
    return target->GetItemCount();
  } catch (...) {
    return kAutoFailure;
  }
}

std::unique_ptr<CAutoColorItem> CAutoItemStoreFiles::GetItem(std::uint32_t store,
                                                             std::uint32_t index) {
  const auto target = Find(store);
  if (!target) return nullptr;
  try {
    auto item = std::make_unique<CAutoColorItem>(target, index);
    if (!item->HasItem()) return nullptr;
    return item;
  } catch (...) {
    return nullptr;
  }
}

bool CAutoItemStoreFiles::SetCDMAProtocolRevision(std::uint32_t store, std::uint32_t revision) {
  const auto target = Find(store);
  if (!target) return false;
  try {
    target->SetCDMAProtocolRevision(revision);
  } catch (...) {
    // A revision out of range changes nothing; the handle exists.
  }
  return true;
}

bool CAutoItemStoreFiles::SetWCDMAProtocolRevision(std::uint32_t store, std::uint32_t revision) {
  const auto target = Find(store);
  if (!target) return false;
  try {
    target->SetWCDMAProtocolRevision(revision);
  } catch (...) {
    // As above.
  }
  return true;
}

bool CAutoItemStoreFiles::LoadParser(std::uint32_t store, std::u16string_view path) {
  const auto target = Find(store);
  if (!target) return false;
  try {
    // The error records say why a load failed; no automation method
    // reports them.
    std::vector<ParserErrorRecord> errors;
    return target->LoadParser(path, errors);
  } catch (...) {
    return false;
  }
}

bool CAutoItemStoreFiles::UnloadParsers(std::uint32_t store) {
  const auto target = Find(store);
  if (!target) return false;
  try {
    target->UnloadParsers();
  } catch (...) {
    // Nothing was loaded into a store without a parser service.
  }
  return true;
}

}  // namespace quillon
