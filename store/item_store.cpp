#include "store/item_store.h"

#include <new>
#include <vector>

#include "common/mis_exception.h"
#include "database/database.h"
#include "store/item_factory.h"

namespace quillon {

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;

[[noreturn]] void Throw(std::uint32_t category, std::uint32_t code) {
  throw cMISException(category, code);
}

constexpr std::uint32_t kRecentCapacity = 2000;
constexpr std::uint32_t kMaxStringType = 4;

}  // namespace

ItemStore::ItemStore(const ItemDatabaseView& database)
    : database_(&database), parsers_(new (std::nothrow) ParserService(nullptr)) {}

ItemStore::ItemStore(const Database& database)
    : database_(&database),
      full_database_(&database),
      parsers_(new (std::nothrow) ParserService(&database)) {}

ItemStore::~ItemStore() {
  Lock lock(lock_);
  if (index_ && index_->File() != nullptr) {
    try {
      index_->File()->Close();
    } catch (...) {
      // Nothing can report a failure here; the file object is reset anyway.
    }
  }
  parsers_.reset();
}

void ItemStore::Notify(StoreNotification notification) {
  if (notify_) notify_(notification);
}

ParserService& ItemStore::Parsers() const {
  if (!parsers_) Throw(kMisCategoryCaller, mis::kCannotComplete);
  return *parsers_;
}

void ItemStore::SetNotificationHandler(std::function<void(StoreNotification)> handler) {
  Lock lock(lock_);
  notify_ = std::move(handler);
}

bool ItemStore::LoadParser(std::u16string_view path, std::vector<ParserErrorRecord>& errors) {
  Lock lock(lock_);
  if (!parsers_) {
    errors.clear();
    errors.push_back(
        {ParserErrorCategory::kNoService, mis::kCannotComplete, std::u16string(path), {}});
    Throw(kMisCategoryCaller, mis::kCannotComplete);
  }
  const bool loaded = parsers_->Load(path, errors);
  Notify(StoreNotification::kConfigurationChanged);
  return loaded;
}

void ItemStore::UnloadParsers() {
  Lock lock(lock_);
  Parsers().UnloadAll();
  Notify(StoreNotification::kConfigurationChanged);
}

void ItemStore::SetCDMAProtocolRevision(std::uint32_t revision) {
  Lock lock(lock_);
  revisions_.SetCdma(revision);
  Notify(StoreNotification::kConfigurationChanged);
}

void ItemStore::SetWCDMAProtocolRevision(std::uint32_t revision) {
  Lock lock(lock_);
  revisions_.SetWcdma(revision);
  Notify(StoreNotification::kConfigurationChanged);
}

ItemRenderServices ItemStore::RenderServices() const {
  return ItemRenderServices{.database = full_database_, .parsers = this};
}

bool ItemStore::ParseToText(const ItemRecord& item, std::u16string& out) const {
  Lock lock(lock_);
  return Parsers().ParseToText(item, out);
}

bool ItemStore::ParseToSummary(const ItemRecord& item, std::u16string& out) const {
  Lock lock(lock_);
  return Parsers().ParseToSummary(item, out);
}

bool ItemStore::AttachFile(std::unique_ptr<ItemStoreFile> file, std::uint32_t mode,
                           std::u16string_view name) {
  if (!name.empty()) name_ = name;
  Lock lock(lock_);
  if (!index_ && mode == 0) index_ = std::make_unique<ItemIndex>(std::move(file), kRecentCapacity);
  if (index_ && index_->IsFileOpen()) {
    mode_ = mode;
    file_info_ = index_->File()->GetFileInfo();
    if (file_info_.temporary && !file_info_.read_only && !name_.empty()) {
      AddStringItem(name_, 0, kNameItemColor);
    }
    return true;
  }
  index_.reset();
  return false;
}

bool ItemStore::IsReady() {
  Lock lock(lock_);
  // The answer does not matter: a store that exists is ready.
  [[maybe_unused]] const bool open = index_ && index_->IsFileOpen();
  return true;
}

std::uint32_t ItemStore::GetItemCount() {
  Lock lock(lock_);
  if (!index_ || index_->File() == nullptr) return 0;
  return index_->File()->GetItemCount();
}

ItemPtr ItemStore::GetItem(std::uint32_t index) {
  Lock lock(lock_);
  ItemStoreFile* file = index_ ? index_->File() : nullptr;
  if (file == nullptr) Throw(kMisCategorySystem, mis::kCannotComplete);
  const std::uint32_t count = file->GetItemCount();
  const std::uint32_t recent = index_->RecentCount();
  if (count == 0 || count == 0xFFFFFFFF || recent > count) {
    Throw(kMisCategorySystem, mis::kCannotComplete);
  }
  if (index >= count) Throw(kMisCategoryCaller, mis::kBadArguments);

  ItemPtr item;
  if (index < count - recent) {
    item = file->ReadItem(index);
  } else {
    const ItemRecord* kept = index_->Recent(index - (count - recent));
    if (kept == nullptr) Throw(kMisCategoryInternal, mis::kInvalidAddress);
    try {
      item = CloneItem(*kept, false, *database_);
    } catch (const std::bad_alloc&) {
      Throw(kMisCategoryInternal, mis::kOutOfMemory);
    }
    if (!item) Throw(kMisCategoryInternal, mis::kOutOfMemory);
  }
  if (item && apply_user_colors_) {
    if (const auto color = database_->FindUserItemColor(item->Key())) item->SetColor(*color);
  }
  if (item) revisions_.Stamp(*item);
  return item;
}

std::uint32_t ItemStore::AddItem(ItemPtr item) {
  Lock lock(lock_);
  if (!item) Throw(kMisCategoryCaller, mis::kBadArguments);
  ItemStoreFile* file = index_ ? index_->File() : nullptr;
  if (file == nullptr) Throw(kMisCategorySystem, mis::kCannotComplete);
  file->AppendItem(item.get());
  index_->PushRecent(std::move(item));
  // Item filters and listeners of a live capture would see the item here;
  // this store has none.
  return file->GetItemCount() - 1;
}

std::uint32_t ItemStore::AddCopy(const ItemRecord& item) {
  Lock lock(lock_);
  ItemPtr copy;
  try {
    copy = CloneItem(item, false, *database_);
  } catch (const std::bad_alloc&) {
    Throw(kMisCategoryInternal, mis::kOutOfMemory);
  }
  if (!copy) Throw(kMisCategoryInternal, mis::kOutOfMemory);
  return AddItem(std::move(copy));
}

std::uint32_t ItemStore::AddFromBuffer(std::uint32_t type_code, const ItemBufferRef& buffer,
                                       std::uint32_t aux_value) {
  Lock lock(lock_);
  ItemPtr item;
  try {
    item = CreateItem({type_code, ItemTimestamp::Now()}, buffer, true, *database_);
  } catch (const std::bad_alloc&) {
    Throw(kMisCategoryInternal, mis::kOutOfMemory);
  }
  if (!item) Throw(kMisCategoryInternal, mis::kOutOfMemory);
  item->SetAuxValue(aux_value);
  return AddItem(std::move(item));
}

std::uint32_t ItemStore::StringHeaderWord(std::uint32_t string_type, std::uint32_t color) {
  return 0xC0000000u | ((color & 0xFFFFFFu) << 6) | (string_type & 63u);
}

void ItemStore::AddStringItem(std::u16string_view text, std::uint32_t string_type,
                              std::uint32_t color) {
  if (text.data() == nullptr || text.empty() || string_type > kMaxStringType) {
    Throw(kMisCategoryCaller, mis::kBadArguments);
  }
  Lock lock(lock_);
  // Every payload is made before the first one is added, so that a failure
  // adds nothing. A line too long for one item payload fails the same way.
  std::vector<ItemBufferRef> payloads;
  try {
    const std::uint32_t word = StringHeaderWord(string_type, color);
    std::size_t start = 0;
    while (start <= text.size()) {
      std::size_t end = text.find(u'\n', start);
      if (end == std::u16string_view::npos) end = text.size();
      std::u16string_view line = text.substr(start, end - start);
      if (!line.empty() && line.back() == u'\r') line.remove_suffix(1);
      start = end + 1;
      if (line.empty()) continue;
      std::vector<std::uint8_t> bytes(4 + 2 * line.size() + 2, 0);
      for (int i = 0; i < 4; ++i) bytes[i] = static_cast<std::uint8_t>(word >> (8 * i));
      for (std::size_t i = 0; i < line.size(); ++i) {
        bytes[4 + 2 * i] = static_cast<std::uint8_t>(line[i]);
        bytes[5 + 2 * i] = static_cast<std::uint8_t>(line[i] >> 8);
      }
      ItemBufferRef buffer = ItemBufferRef::Make(bytes.data(), bytes.size());
      if (!buffer.IsValid()) Throw(kMisCategoryInternal, mis::kOutOfMemory);
      payloads.push_back(std::move(buffer));
    }
  } catch (const std::bad_alloc&) {
    Throw(kMisCategoryInternal, mis::kOutOfMemory);
  }
  for (const ItemBufferRef& payload : payloads) AddFromBuffer(kItemString, payload, 0xFFFFFFFF);
}

}  // namespace quillon
