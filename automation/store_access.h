// Stores and their items for programs rather than automation clients: the
// Python module's own classes and the quillon tool. Failures are
// cMISException (with the operation they interrupted) instead of failure
// values; CAutoItemStoreFiles calls the same functions and turns their
// exceptions into its failure values, so both give the same results.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/item_record.h"
#include "common/item_timestamp.h"
#include "common/mis_exception.h"
#include "store/isf_progress.h"

namespace quillon {

class ItemStore;
class ItemStoreFile;

// How a program opens an item store file.
enum class StoreMode : std::uint8_t {
  kRead,    // an existing file, never written
  kWrite,   // a new, empty file (an existing one is replaced)
  kAppend,  // an existing file, created when missing; new items go at its end
};

struct StoreOpenOptions {
  StoreMode mode = StoreMode::kRead;
  // A capture that was never closed (no trailer) is refused (13) unless
  // this is set. kRead then recovers it in memory and leaves the file as it
  // is; kAppend recovers it and writes its trailer when the store closes.
  bool recover = false;
  ProgressSink* progress = nullptr;  // told about the blocks walked; may be null
};

struct OpenedStore {
  std::shared_ptr<ItemStore> store;  // never null
  bool recovered = false;            // the file had no trailer
};

// Opens `path` as a store over the process-wide database. Throws
// cMISException ("cannot open x.isf: ...").
[[nodiscard]] OpenedStore OpenStore(std::u16string_view path, const StoreOpenOptions& options);

// Attaches `file` (open) to a new store over the process-wide database:
// mode 0, no name item.
[[nodiscard]] std::shared_ptr<ItemStore> MakeProcessStore(std::unique_ptr<ItemStoreFile> file);

// The colour of STRING items that clients add: white.
inline constexpr std::uint32_t kClientStringColor = 0xFFFFFF;

// Adds one white STRING item of `string_type` per non-empty line of `text`
// and returns the index of the first. Throws as ItemStore::AddStringItem
// (160 for an empty text or a string type above 4, 50 read-only); lines
// added before a failure stay.
std::uint32_t AddTextItems(ItemStore& store, std::u16string_view text, std::uint32_t string_type);

// Appends item `index` of `source` to `destination` (they may be the same
// store) and returns the new index. With `preserve_timestamp` the copy
// keeps the generic timestamp; otherwise it is a new item of the same type
// sharing the payload, stamped now.
std::uint32_t CopyStoreItem(ItemStore& source, ItemStore& destination, std::uint32_t index,
                            bool preserve_timestamp);

// Which items a read visits; every condition set must hold.
struct ItemSelection {
  std::uint32_t first = 0;
  std::uint32_t end = 0xFFFFFFFF;  // one past the last index; the count bounds it
  std::uint32_t type_mask = 0;     // bit n: type code n; 0: every type
  // Key texts (as KeyText gives them, ASCII case ignored), where "*" stands
  // for any run of characters ("0x412F/*" is every OTA channel of log code
  // 0x412F, "*/03" every debug message of level 3); empty: every key.
  std::vector<std::u16string> key_texts;
  std::optional<ItemTimestamp> since;  // generic timestamp at or after
  std::optional<ItemTimestamp> until;  // generic timestamp before

  // True when `item` passes the type, key and time conditions (the index
  // range is the cursor's).
  bool Matches(const ItemRecord& item) const;
};

// One index a read visited: the item, or why it could not be read.
struct ItemRead {
  std::uint32_t index = 0;
  ItemPtr item;                        // null when `error` is set
  std::optional<cMISException> error;  // set for an unreadable item
};

// Reads the selected items of a store in index order, a batch at a time.
// An item that cannot be read is handed out with its error (whatever the
// selection says) and the read goes on with the next index, so one corrupt
// entry never hides the items after it. The cursor holds positions only:
// each batch reads from the store it is given, so a caller that lets the
// store close between batches (the Python iterator) never keeps it open.
// Rows of texts or columns are made from the batches by the caller.
class ItemCursor {
 public:
  // `count` (the store's item count when the read starts) bounds the
  // selection's index range.
  ItemCursor(ItemSelection selection, std::uint32_t count);

  // Appends up to `max` reads from `store` to `out`; returns how many, 0 at
  // the end.
  std::size_t ReadBatch(ItemStore& store, std::vector<ItemRead>& out, std::size_t max);
  // The next index to look at, and one past the last.
  std::uint32_t Position() const { return next_; }
  std::uint32_t End() const { return end_; }

 private:
  ItemSelection selection_;
  std::uint32_t next_;
  std::uint32_t end_;
};

}  // namespace quillon
