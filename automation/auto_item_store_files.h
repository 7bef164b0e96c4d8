// ItemStoreFiles: creates, loads, fills and reads item store files, each
// open store named by a handle of this object.
//
// Handles are 0, 1, 2, ... in the order stores opened successfully, never
// reused within the object's life and independent between objects; a
// failed create or load uses no number. kAutoFailure (0xFFFFFFFF) is never
// a handle. No method throws: each failure gives the method's failure
// value (kAutoFailure, false or a null object) and changes nothing else.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string_view>

#include "automation/auto_object.h"

namespace quillon {

class CAutoColorItem;
class ItemStore;

// The failure value of methods that return a handle, an index or a count.
inline constexpr std::uint32_t kAutoFailure = 0xFFFFFFFF;

class CAutoItemStoreFiles final : public AutoObject {
 public:
  // Locks the module for the object's life.
  CAutoItemStoreFiles();
  // Closes every store still open.
  ~CAutoItemStoreFiles() override;
  const AutoClass& Class() const override { return ItemStoreFilesClass(); }

  // A new, empty file (an existing one is replaced); its handle.
  std::uint32_t CreateItemStore(std::u16string_view file_name);
  // An existing file, read-only; a file that was never closed is recovered
  // (read-write) and gets its trailer when closed. Its handle.
  std::uint32_t LoadItemStore(std::u16string_view file_name);
  // Closes the file (trailer, last-write time kept when nothing was added)
  // and forgets the handle.
  bool CloseItemStore(std::uint32_t store);
  // One STRING item per non-empty line; the index of the first. A string
  // type above 4, an empty text or a read-only store fail; lines added
  // before a failure stay.
  std::uint32_t AddStringItem(std::uint32_t store, std::uint32_t string_type,
                              std::u16string_view text);
  // Appends item `index` of `source` to `destination` (they may be the same
  // store); with `preserve_timestamp` the copy keeps the item's generic
  // timestamp, otherwise it is stamped now. The new item's index.
  std::uint32_t CopyItem(std::uint32_t source, std::uint32_t destination, std::uint32_t index,
                         bool preserve_timestamp);
  std::uint32_t GetItemCount(std::uint32_t store);
  // A new object owning its own copy of the item; null for an unknown
  // handle or an index the store cannot serve.
  std::unique_ptr<CAutoColorItem> GetItem(std::uint32_t store, std::uint32_t index);

  // Per-store settings of how items render. The revisions are true for
  // any open handle (a value out of range is ignored); LoadParser is true
  // only when the library was loaded; UnloadParsers frees the libraries
  // this store loaded and is true for any open handle.
  bool SetCDMAProtocolRevision(std::uint32_t store, std::uint32_t revision);
  bool SetWCDMAProtocolRevision(std::uint32_t store, std::uint32_t revision);
  bool LoadParser(std::uint32_t store, std::u16string_view path);
  bool UnloadParsers(std::uint32_t store);

 private:
  std::shared_ptr<ItemStore> Find(std::uint32_t store) const;
  std::uint32_t Adopt(std::shared_ptr<ItemStore> store);

  std::map<std::uint32_t, std::shared_ptr<ItemStore>> stores_;
  std::uint32_t next_handle_ = 0;
};

}  // namespace quillon
