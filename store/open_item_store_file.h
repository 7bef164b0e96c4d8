// Opening an existing item store file with the right file class.
#pragma once

#include <memory>
#include <string_view>

#include "common/item_database_view.h"
#include "platform/file.h"
#include "store/isf_progress.h"
#include "store/item_store_file.h"

namespace quillon {

// What the first and last bytes of a file say about its layout.
enum class IsfLayout {
  kTerminated,    // current layout, closed properly (trailer present)
  kUnterminated,  // current layout without a trailer (capture never closed)
  kOlder,         // the older layout (8-byte trailer with its closed mark)
  kUnknown,       // not an item store file
};

// Looks at an open file's head and tail. Throws cMISException (category 0)
// with the system error code when the file cannot be read.
IsfLayout DetectIsfLayout(const platform::File& file);

// How OpenItemStoreFile opens a file.
struct IsfOpenOptions {
  bool read_only = true;             // no appends; terminated files are mapped
  bool allow_recover = false;        // open a file without trailer (read-write)
  bool recover_in_memory = false;    // with allow_recover: recover read-only, never write
  ProgressSink* progress = nullptr;  // told about the blocks walked; may be null
};

// Opens `path`:
//   - a terminated file: read-only opens use MappedItemStoreFile, read-write
//     opens ItemStoreFile, then Open;
//   - an unterminated file: only with `allow_recover`, ItemStoreFile and
//     OpenUnterminated (read-write), or RecoverReadOnly with
//     `recover_in_memory`; otherwise 13;
//   - the older layout: 50 (its entries are not readable by this version);
//   - anything else: 13. An empty path is 160; a file that cannot be opened
//     gives the system error code.
std::unique_ptr<ItemStoreFile> OpenItemStoreFile(
    std::u16string_view path, const IsfOpenOptions& options,
    const ItemDatabaseView& database = NullItemDatabaseView::Instance());

}  // namespace quillon
