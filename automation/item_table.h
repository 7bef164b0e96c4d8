// Many items of a store read at once into columns: the Python module's data
// frames (Store.to_pandas, Store.fields_frame, quillon.dask) and `quillon
// export`. Every cell holds what the automation classes give for its item
// (CAutoColorItem, CAutoItemFields), so a table and an item-by-item loop
// agree; only the columns asked for are rendered. The reads take no lock of
// their callers and touch no interpreter state: the Python module runs them
// without the GIL and `quillon export` on several threads, one store each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "automation/auto_variant.h"
#include "automation/store_access.h"
#include "common/item_timestamp.h"

namespace quillon {

class ItemStore;

// The columns of an item table, in their default order.
enum class ItemColumn : std::uint8_t {
  kIndex,      // the item's index in its store
  kType,       // type code 0..10
  kTypeText,   // GetItemTypeText
  kKeyText,    // GetItemKeyText
  kName,       // GetItemName
  kTimestamp,  // generic timestamp (UnixNanoseconds)
  kSummary,    // GetItemSummary
  kLength,     // payload bytes, header bytes included (0 without a payload)
  kColor,      // GetItemColor (COLORREF)
  kPayload,    // GetItemBuffer(true)
};
inline constexpr std::size_t kItemColumnCount = 10;

// The column's name in tables: "index", "type", "type_text", "key_text",
// "name", "timestamp", "summary", "length", "color", "payload".
std::string_view ItemColumnName(ItemColumn column);
// The column called `name` (exactly as ItemColumnName gives it), if any.
std::optional<ItemColumn> FindItemColumn(std::string_view name);

// Which columns a read fills.
class ItemColumnSet {
 public:
  constexpr ItemColumnSet() = default;
  // Every column but the payload.
  static ItemColumnSet Default();
  ItemColumnSet& Add(ItemColumn column) {
    bits_ |= 1u << static_cast<unsigned>(column);
    return *this;
  }
  bool Has(ItemColumn column) const { return (bits_ & (1u << static_cast<unsigned>(column))) != 0; }

 private:
  std::uint32_t bits_ = 0;
};

// Timestamps in tables: nanoseconds since 1970-01-01 UTC, rounded to the
// microsecond as quillon.Item.timestamp is (stored times are whole
// milliseconds, which the 1.25 ms ticks keep to within a microsecond).
// Times that a 64-bit nanosecond count cannot hold (after 2262; only a
// corrupt item has one) are kNoTime.
inline constexpr std::int64_t kNoTime = std::numeric_limits<std::int64_t>::min();
std::int64_t UnixNanoseconds(ItemTimestamp timestamp);

// A text column: one code per row into `texts`, where each distinct text is
// kept once (types, keys and names repeat across a capture, and so do many
// summaries).
class TextColumn {
 public:
  TextColumn() = default;
  TextColumn(TextColumn&&) = default;
  TextColumn& operator=(TextColumn&&) = default;

  void Append(std::u16string text);
  // Appends the rows of `other`.
  void Extend(const TextColumn& other);
  std::size_t Rows() const { return codes_.size(); }
  const std::u16string& At(std::size_t row) const { return texts_[codes_[row]]; }
  const std::vector<std::uint32_t>& Codes() const { return codes_; }
  // Stable addresses: `lookup_` keys view them.
  const std::deque<std::u16string>& Texts() const { return texts_; }

 private:
  std::vector<std::uint32_t> codes_;
  std::deque<std::u16string> texts_;
  std::unordered_map<std::u16string_view, std::uint32_t> lookup_;
};

// The columns of the rows read; a column not asked for stays empty.
struct ItemTable {
  std::size_t rows = 0;
  std::vector<std::uint32_t> index;
  std::vector<std::uint8_t> type;
  TextColumn type_text;
  TextColumn key_text;
  TextColumn name;
  std::vector<std::int64_t> timestamp;  // UnixNanoseconds
  TextColumn summary;
  std::vector<std::uint32_t> length;
  std::vector<std::uint32_t> color;
  // Row r's payload is payload_bytes[payload_ends[r - 1] .. payload_ends[r])
  // (from 0 for the first row).
  std::vector<std::uint8_t> payload_bytes;
  std::vector<std::size_t> payload_ends;
  // Selected indexes whose item could not be read, in index order (each with
  // its error); they have no row.
  std::vector<ItemRead> unreadable;
};

struct ItemTableRequest {
  ItemSelection selection;
  ItemColumnSet columns = ItemColumnSet::Default();
  // Threads that share the index range, each rendering its own part (the
  // store serialises only the reads of the items). 0: one per core. A part
  // has at least kItemsPerThread indexes, so small reads use one thread.
  unsigned threads = 1;
};
inline constexpr std::uint32_t kItemsPerThread = 16384;

// Reads the items `request.selection` picks into the columns it asks for;
// the table is the same whatever the thread count. An item that cannot be
// read is listed in `unreadable` and the read goes on. `store` must be
// open; failures of the store itself (a read past a truncated file's end is
// an unreadable item, not one of these) throw cMISException.
[[nodiscard]] ItemTable ReadItemTable(const std::shared_ptr<ItemStore>& store,
                                      const ItemTableRequest& request);

struct FieldTableRequest {
  ItemSelection selection;
  // Empty: each selected item is a row, parsed with its own entity (an item
  // that no entity parses has a row without values). Otherwise only the
  // selected items that this database entity parses are rows.
  std::u16string entity;
  // Field names: a field's own name as the list keeps it ("operation") or
  // its full name ("Log Config Request.operation"); the item's first field
  // of that name gives the cell. Empty: every field name met, in the order
  // first met.
  std::vector<std::u16string> fields;
  bool texts = false;     // also each field's value text
  ItemColumnSet columns;  // item columns beside the fields; none by default
};

// Points `request` at `text`: a key text when it begins as key texts do (a
// digit, "-" for GPS, or the "*" of a pattern: "0x412F", "00276",
// "0019/0000", "*/03"), which then selects the items (each parsed with its
// own entity); otherwise an entity name ("EVENT_IDLE_HANDOFF", "Time
// Response").
void SelectEntityOrKey(std::u16string_view text, FieldTableRequest& request);

// One field's column.
struct FieldColumn {
  std::u16string name;
  std::vector<AutoVariant> values;  // GetFieldValue; VT_EMPTY where the row has no such field
  TextColumn texts;                 // GetFieldValueText, when asked for
};

struct FieldTable {
  ItemTable items;  // the rows' item columns (and the unreadable items)
  std::vector<FieldColumn> fields;
};

// Reads one row per item that `request` picks. Throws as ReadItemTable.
[[nodiscard]] FieldTable ReadFieldTable(const std::shared_ptr<ItemStore>& store,
                                        const FieldTableRequest& request);

}  // namespace quillon
