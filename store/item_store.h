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
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "common/item_buffer.h"
#include "common/item_database_view.h"
#include "common/item_record.h"
#include "store/item_store_file.h"
#include "store/item_store_index.h"

namespace quillon {

class ItemStore {
 public:
  // The colour of the store-name item of a temporary store.
  static constexpr std::uint32_t kNameItemColor = 0xFFFFFF;

  // `database` must outlive the store.
  explicit ItemStore(const ItemDatabaseView& database = NullItemDatabaseView::Instance());
  // Closes the file; errors while closing are swallowed.
  ~ItemStore();
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
  // A new item owned by the caller, with the user's colour for its key.
  ItemPtr GetItem(std::uint32_t index);
  // Each returns the new item's index.
  std::uint32_t AddItem(ItemPtr item);
  std::uint32_t AddCopy(const ItemRecord& item);
  std::uint32_t AddFromBuffer(std::uint32_t type_code, const ItemBufferRef& buffer,
                              std::uint32_t aux_value);
  // One STRING item per non-empty line ("\n" separated, a trailing "\r"
  // dropped). A `text` whose data() is null counts as a null text.
  void AddStringItem(std::u16string_view text, std::uint32_t string_type, std::uint32_t color);

  void SetUserColors(bool apply) { apply_user_colors_ = apply; }
  const std::u16string& Name() const { return name_; }
  // Path, temporary and read-only flags of the attached file.
  ItemStoreFileInfo FileInfo() const { return file_info_; }

  // The header word of a STRING payload: both top bits set, the colour's
  // red, green and blue bytes in bits 6-13, 14-21 and 22-29, the string type
  // in bits 0-5.
  static std::uint32_t StringHeaderWord(std::uint32_t string_type, std::uint32_t color);

 private:
  const ItemDatabaseView* database_;
  std::recursive_mutex lock_;
  std::unique_ptr<ItemIndex> index_;
  std::uint32_t mode_ = 0;
  std::u16string name_;
  bool apply_user_colors_ = true;
  ItemStoreFileInfo file_info_;
};

}  // namespace quillon
