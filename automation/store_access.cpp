#include "automation/store_access.h"

#include <utility>

#include "automation/module.h"
#include "database/database.h"
#include "items/key_text.h"
#include "platform/file.h"
#include "store/item_store.h"
#include "store/item_store_file.h"
#include "store/open_item_store_file.h"

namespace quillon {

namespace {

char16_t FoldAscii(char16_t c) {
  return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c - u'A' + u'a') : c;
}

// Whether `key` matches `pattern`, ASCII case ignored, "*" matching any run
// of characters. After a mismatch only the last "*" needs to take one more
// character: the classic linear glob walk.
bool KeyTextMatches(std::u16string_view pattern, std::u16string_view key) {
  std::size_t p = 0, k = 0;
  std::size_t star = std::u16string_view::npos, resume = 0;
  while (k < key.size()) {
    if (p < pattern.size() && pattern[p] == u'*') {
      star = p++;
      resume = k;
    } else if (p < pattern.size() && FoldAscii(pattern[p]) == FoldAscii(key[k])) {
      ++p;
      ++k;
    } else if (star != std::u16string_view::npos) {
      p = star + 1;
      k = ++resume;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == u'*') ++p;
  return p == pattern.size();
}

// Whether `path` is a capture that was never closed; any other case
// (including a file that cannot be read) is left to the open to report.
bool IsUnterminated(std::u16string_view path) {
  platform::File look;
  if (look.Open(path, platform::FileAccess::kRead, platform::FileDisposition::kOpenExisting) != 0) {
    return false;
  }
  try {
    return DetectIsfLayout(look) == IsfLayout::kUnterminated;
  } catch (const cMISException&) {
    return false;
  }
}

}  // namespace

std::shared_ptr<ItemStore> MakeProcessStore(std::unique_ptr<ItemStoreFile> file) {
  auto store = std::make_shared<ItemStore>(automation::ProcessDatabase());
  if (!store->AttachFile(std::move(file), 0, {})) return nullptr;
  return store;
}

OpenedStore OpenStore(std::u16string_view path, const StoreOpenOptions& options) {
  const Database& database = automation::ProcessDatabase();
  std::unique_ptr<ItemStoreFile> file;
  bool recovered = false;
  if (options.mode == StoreMode::kWrite ||
      (options.mode == StoreMode::kAppend && !path.empty() && !platform::PathExists(path))) {
    file = std::make_unique<ItemStoreFile>(database);
    file->Create(path);
  } else {
    const IsfOpenOptions open{.read_only = options.mode == StoreMode::kRead,
                              .allow_recover = options.recover,
                              .recover_in_memory = options.mode == StoreMode::kRead,
                              .progress = options.progress};
    recovered = options.recover && IsUnterminated(path);
    file = OpenItemStoreFile(path, open, database);
  }
  auto store = MakeProcessStore(std::move(file));
  if (!store) {
    throw cMISException(kMisCategorySystem, mis::kCannotComplete,
                        u"cannot open " + std::u16string(path));
  }
  return {std::move(store), recovered};
}

std::uint32_t AddTextItems(ItemStore& store, std::u16string_view text, std::uint32_t string_type) {
  const std::uint32_t first = store.GetItemCount();
  store.AddStringItem(text, string_type, kClientStringColor);
  return first;
}

std::uint32_t CopyStoreItem(ItemStore& source, ItemStore& destination, std::uint32_t index,
                            bool preserve_timestamp) {
  const ItemPtr item = source.GetItem(index);
  if (!item) throw cMISException(kMisCategoryInternal, mis::kOutOfMemory);
  if (preserve_timestamp) return destination.AddCopy(*item);
  // A new item of the same type sharing the payload, stamped now.
  return destination.AddFromBuffer(item->TypeCode(), item->Buffer(), 0xFFFFFFFF);
}

bool ItemSelection::Matches(const ItemRecord& item) const {
  const std::uint32_t type = item.TypeCode();
  if (type_mask != 0 && (type >= 32 || (type_mask & (1u << type)) == 0)) return false;
  if (since && item.Timestamp() < *since) return false;
  if (until && !(item.Timestamp() < *until)) return false;
  if (key_texts.empty()) return true;
  const std::u16string key = KeyText(item.Key());
  for (const std::u16string& wanted : key_texts) {
    if (KeyTextMatches(wanted, key)) return true;
  }
  return false;
}

ItemCursor::ItemCursor(ItemSelection selection, std::uint32_t count)
    : selection_(std::move(selection)), next_(selection_.first) {
  end_ = selection_.end < count ? selection_.end : count;
  if (next_ > end_) next_ = end_;
}

std::size_t ItemCursor::ReadBatch(ItemStore& store, std::vector<ItemRead>& out, std::size_t max) {
  std::size_t added = 0;
  while (added < max && next_ < end_) {
    const std::uint32_t index = next_++;
    try {
      ItemPtr item = store.GetItem(index);
      if (!item || !selection_.Matches(*item)) continue;
      out.push_back({index, std::move(item), std::nullopt});
    } catch (const cMISException& error) {
      out.push_back({index, nullptr, error});
    }
    ++added;
  }
  return added;
}

}  // namespace quillon
