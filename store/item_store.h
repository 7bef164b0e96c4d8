// The in-memory store behind one open item store file.
//
// It owns the file (through its ItemIndex), keeps the most recently appended
// items in memory, adds items (finished items, copies, buffers and text
// lines) and hands out items by index. Every operation is serialised by one
// recursive lock, which is released on every path including exceptions.
// Failures are cMISException with these category/code pairs:
//   GetItem: 1003/0 for a missing or empty file (or a broken recent queue),
//            160/1 for an index at or past the count, 487/2 for a missing
//            recent item, 8/2 when a clone fails; file errors pass through.
//   AddItem: 160/1 for a null item, 1003/0 without a file.
//   AddCopy, AddFromBuffer: 8/2 when the item cannot be made.
//   AddStringItem: 160/1 for a null or empty text or a string type above 4,
//                  8/2 when memory runs out.
//   LoadParser, UnloadParsers, ParseToText, ParseToSummary: 1003/1 when
//                  the store has no parser service.
//   SetCDMAProtocolRevision, SetWCDMAProtocolRevision: 160/1 for a value
//                  out of range.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "common/item_buffer.h"
#include "common/item_database_view.h"
#include "common/item_record.h"
#include "common/item_render_context.h"
#include "parsers/parser_service.h"
#include "parsers/protocol_revisions.h"
#include "store/item_store_file.h"
#include "store/item_store_index.h"

namespace quillon {

class Database;

// What a store tells its listener.
enum class StoreNotification : std::uint32_t {
  // The parser libraries or a protocol revision override changed: texts
  // rendered before may differ now.
  kConfigurationChanged = 3,
};

class ItemStore final : public ItemParserService {
 public:
  // The colour of the store-name item of a temporary store.
  static constexpr std::uint32_t kNameItemColor = 0xFFFFFF;

  // `database` must outlive the store.
  // The store's parser libraries then have no database: their
  // configurations treat every key as unknown, and RenderServices() names
  // no database.
  explicit ItemStore(const ItemDatabaseView& database = NullItemDatabaseView::Instance());
  // The full database, for names, summaries and the parser libraries.
  explicit ItemStore(const Database& database);
  // Closes the file (errors while closing are swallowed), then unloads the
  // parser libraries.
  ~ItemStore() override;
  ItemStore(const ItemStore&) = delete;
  ItemStore& operator=(const ItemStore&) = delete;

  // Takes the file (open or not). Returns false, dropping the file, when it
  // is not open. A temporary writable file with a non-empty `name` starts
  // with one STRING item holding the name.
  bool AttachFile(std::unique_ptr<ItemStoreFile> file, std::uint32_t mode,
                  std::u16string_view name);
  // True whatever the file's state; callers use it only to detect a store.
  bool IsReady();
  std::uint32_t GetItemCount();
  // A new item owned by the caller, with the user's colour for its key and
  // stamped with the protocol revision overrides in force.
  ItemPtr GetItem(std::uint32_t index);
  // Each returns the new item's index.
  std::uint32_t AddItem(ItemPtr item);
  std::uint32_t AddCopy(const ItemRecord& item);
  std::uint32_t AddFromBuffer(std::uint32_t type_code, const ItemBufferRef& buffer,
                              std::uint32_t aux_value);
  // One STRING item per non-empty line ("\n" separated, a trailing "\r"
  // dropped). A `text` whose data() is null counts as a null text.
  void AddStringItem(std::u16string_view text, std::uint32_t string_type, std::uint32_t color);

  // Loads one parser library into the store's parser service (see
  // ParserService::Load: `errors` is cleared, one record is appended on
  // failure) and raises kConfigurationChanged, also on failure. Without a
  // parser service: appends {kNoService, 1003, path} and throws 1003/1.
  bool LoadParser(std::u16string_view path, std::vector<ParserErrorRecord>& errors);
  // Frees the libraries this store loaded, empties its list and raises
  // kConfigurationChanged.
  void UnloadParsers();
  // The revision overrides (ProtocolRevisions): a value out of range
  // throws 160/1 and changes nothing; otherwise the value is kept and
  // kConfigurationChanged raised. Items fetched afterwards are stamped.
  void SetCDMAProtocolRevision(std::uint32_t revision);
  void SetWCDMAProtocolRevision(std::uint32_t revision);
  // What rendering an item of this store uses: the full database (null
  // when the store was made without one) and this store as the parser
  // service. Valid as long as the store lives.
  ItemRenderServices RenderServices() const;

  // ItemParserService: under the store's lock, through its parser service.
  bool ParseToText(const ItemRecord& item, std::u16string& out) const override;
  bool ParseToSummary(const ItemRecord& item, std::u16string& out) const override;

  // Receives the store's notifications, on the thread that caused them and
  // with the store locked; an empty handler receives nothing.
  void SetNotificationHandler(std::function<void(StoreNotification)> handler);

  void SetUserColors(bool apply) { apply_user_colors_ = apply; }
  const std::u16string& Name() const { return name_; }
  // Path, temporary and read-only flags of the attached file.
  ItemStoreFileInfo FileInfo() const { return file_info_; }

  // The header word of a STRING payload: both top bits set, the colour's
  // red, green and blue bytes in bits 6-13, 14-21 and 22-29, the string type
  // in bits 0-5.
  static std::uint32_t StringHeaderWord(std::uint32_t string_type, std::uint32_t color);

 private:
  void Notify(StoreNotification notification);
  ParserService& Parsers() const;

  const ItemDatabaseView* database_;
  const Database* full_database_ = nullptr;
  mutable std::recursive_mutex lock_;
  std::unique_ptr<ItemIndex> index_;
  std::uint32_t mode_ = 0;
  std::u16string name_;
  bool apply_user_colors_ = true;
  ItemStoreFileInfo file_info_;
  ProtocolRevisions revisions_;
  std::unique_ptr<ParserService> parsers_;  // null only when making it failed
  std::function<void(StoreNotification)> notify_;
};

}  // namespace quillon
