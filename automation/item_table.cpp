#include "automation/item_table.h"

#include <algorithm>
#include <array>
#include <exception>
#include <thread>
#include <utility>

#include "automation/auto_color_item.h"
#include "automation/auto_item_fields.h"
#include "automation/auto_item_store_files.h"
#include "automation/auto_object.h"
#include "store/item_store.h"

namespace quillon {

namespace {

constexpr std::array<std::string_view, kItemColumnCount> kColumnNames = {
    "index",     "type",    "type_text", "key_text", "name",
    "timestamp", "summary", "length",    "color",    "payload"};

// Items read per batch from the store.
constexpr std::size_t kBatchSize = 256;

// 1601-01-01 to 1970-01-01 in microseconds.
constexpr std::int64_t kUnixEpochMicroseconds = 11644473600LL * 1000000;
// The last microsecond count whose nanoseconds fit in 64 bits.
constexpr std::int64_t kMaxMicroseconds = std::numeric_limits<std::int64_t>::max() / 1000;

// Fills the rows of a table: one per item, in the columns asked for.
class RowWriter {
 public:
  RowWriter(ItemTable& table, ItemColumnSet columns) : table_(table), columns_(columns) {
    for (const auto& [column, kind] : kTextColumns) {
      if (columns_.Has(column)) texts_.emplace(kind, std::u16string());
    }
  }

  void Append(const CAutoColorItem& item, std::uint32_t index) {
    ItemTable& t = table_;
    ++t.rows;
    if (columns_.Has(ItemColumn::kIndex)) t.index.push_back(index);
    if (columns_.Has(ItemColumn::kType)) {
      t.type.push_back(static_cast<std::uint8_t>(item.GetItemType()));
    }
    if (!texts_.empty()) {
      item.GetItemTexts(texts_);
      for (auto& [kind, text] : texts_) TextColumnOf(kind).Append(std::move(text));
    }
    if (columns_.Has(ItemColumn::kTimestamp)) {
      t.timestamp.push_back(UnixNanoseconds(item.Item()->Timestamp()));
    }
    if (columns_.Has(ItemColumn::kLength)) {
      const std::uint32_t size = item.GetItemSize(true);
      t.length.push_back(size == kAutoFailure ? 0 : size);
    }
    if (columns_.Has(ItemColumn::kColor)) t.color.push_back(item.GetItemColor());
    if (columns_.Has(ItemColumn::kPayload)) {
      const AutoVariant buffer = item.GetItemBuffer(true);
      const std::vector<std::uint8_t>& bytes = buffer.AsArray()->bytes;
      t.payload_bytes.insert(t.payload_bytes.end(), bytes.begin(), bytes.end());
      t.payload_ends.push_back(t.payload_bytes.size());
    }
  }

 private:
  static constexpr std::pair<ItemColumn, ItemTextKind> kTextColumns[] = {
      {ItemColumn::kTypeText, ItemTextKind::kTypeText},
      {ItemColumn::kKeyText, ItemTextKind::kKeyText},
      {ItemColumn::kName, ItemTextKind::kName},
      {ItemColumn::kSummary, ItemTextKind::kSummary}};

  TextColumn& TextColumnOf(ItemTextKind kind) {
    switch (kind) {
      case ItemTextKind::kTypeText:
        return table_.type_text;
      case ItemTextKind::kKeyText:
        return table_.key_text;
      case ItemTextKind::kName:
        return table_.name;
      default:
        return table_.summary;
    }
  }

  ItemTable& table_;
  ItemColumnSet columns_;
  ItemTextRequest texts_;  // the text kinds asked for, kept from row to row
};

// Calls `row(item, index)` for every readable item `selection` picks, in
// index order; unreadable ones go to `table.unreadable`.
template <typename RowFn>
void ForEachItem(const std::shared_ptr<ItemStore>& store, const ItemSelection& selection,
                 ItemTable& table, RowFn&& row) {
  ItemCursor cursor(selection, store->GetItemCount());
  std::vector<ItemRead> batch;
  batch.reserve(kBatchSize);
  while (true) {
    batch.clear();
    if (cursor.ReadBatch(*store, batch, kBatchSize) == 0) break;
    for (ItemRead& read : batch) {
      if (read.error) {
        table.unreadable.push_back(std::move(read));
        continue;
      }
      const CAutoColorItem item(store, std::move(read.item));
      row(item, read.index);
    }
  }
}

// The first field of `fields` called `name`: its own name first, else its
// full name; kAutoFailure when there is none.
std::uint32_t FindField(CAutoItemFields& fields, std::u16string_view name) {
  const std::uint32_t own = fields.GetFieldIndexFrom(name, 0, {.partial = true, .loop = false});
  if (own != kAutoFailure) return own;
  return fields.GetFieldIndexFrom(name, 0, {.partial = false, .loop = false});
}

// Where the columns of a field table come from, for one item's fields.
class FieldColumns {
 public:
  FieldColumns(const FieldTableRequest& request, std::vector<FieldColumn>& columns)
      : texts_(request.texts), every_field_(request.fields.empty()), columns_(columns) {
    for (const std::u16string& name : request.fields)
      columns_.push_back(FieldColumn{.name = name, .values = {}, .texts = {}});
  }

  // Appends one row: the cells of `fields` (null: no values).
  void Append(CAutoItemFields* fields) {
    if (every_field_ && fields != nullptr) AddNewNames(*fields);
    for (FieldColumn& column : columns_) {
      const std::uint32_t at = fields ? FindField(*fields, column.name) : kAutoFailure;
      if (at == kAutoFailure) {
        column.values.emplace_back();
        if (texts_) column.texts.Append({});
        continue;
      }
      column.values.push_back(fields->GetFieldValue(at));
      if (texts_) column.texts.Append(fields->GetFieldValueText(at));
    }
    ++rows_;
  }

 private:
  // A column for each own name of `fields` not seen before, empty in the
  // rows before this one.
  void AddNewNames(CAutoItemFields& fields) {
    const std::uint32_t count = fields.GetFieldCount();
    for (std::uint32_t i = 0; i < count; ++i) {
      std::u16string name = fields.GetFieldName(i, true);
      if (!known_.emplace(name, columns_.size()).second) continue;
      FieldColumn column{.name = std::move(name), .values = {}, .texts = {}};
      column.values.resize(rows_);
      for (std::size_t r = 0; texts_ && r < rows_; ++r) column.texts.Append({});
      columns_.push_back(std::move(column));
    }
  }

  bool texts_;
  bool every_field_;
  std::vector<FieldColumn>& columns_;
  std::unordered_map<std::u16string, std::size_t> known_;
  std::size_t rows_ = 0;
};

}  // namespace

std::string_view ItemColumnName(ItemColumn column) {
  return kColumnNames[static_cast<std::size_t>(column)];
}

std::optional<ItemColumn> FindItemColumn(std::string_view name) {
  for (std::size_t i = 0; i < kItemColumnCount; ++i) {
    if (kColumnNames[i] == name) return static_cast<ItemColumn>(i);
  }
  return std::nullopt;
}

ItemColumnSet ItemColumnSet::Default() {
  ItemColumnSet set;
  for (std::size_t i = 0; i < kItemColumnCount; ++i) {
    const auto column = static_cast<ItemColumn>(i);
    if (column != ItemColumn::kPayload) set.Add(column);
  }
  return set;
}

std::int64_t UnixNanoseconds(ItemTimestamp timestamp) {
  // File time (100 ns since 1601) to the nearest microsecond, as the Python
  // module's datetimes round.
  const auto microseconds = static_cast<std::int64_t>((timestamp.ToFileTime() + 5) / 10);
  const std::int64_t unix = microseconds - kUnixEpochMicroseconds;
  if (unix > kMaxMicroseconds) return kNoTime;
  return unix * 1000;
}

void TextColumn::Append(std::u16string text) {
  // Neighbouring rows often share a text: no hashing then.
  if (!codes_.empty() && texts_[codes_.back()] == text) {
    codes_.push_back(codes_.back());
    return;
  }
  const auto found = lookup_.find(text);
  if (found != lookup_.end()) {
    codes_.push_back(found->second);
    return;
  }
  const auto code = static_cast<std::uint32_t>(texts_.size());
  texts_.push_back(std::move(text));
  lookup_.emplace(texts_.back(), code);
  codes_.push_back(code);
}

void TextColumn::Extend(const TextColumn& other) {
  std::vector<std::uint32_t> codes;  // other's codes to this column's
  codes.reserve(other.texts_.size());
  for (const std::u16string& text : other.texts_) {
    const auto found = lookup_.find(text);
    if (found != lookup_.end()) {
      codes.push_back(found->second);
      continue;
    }
    codes.push_back(static_cast<std::uint32_t>(texts_.size()));
    texts_.push_back(text);
    lookup_.emplace(texts_.back(), codes.back());
  }
  for (const std::uint32_t code : other.codes_) codes_.push_back(codes[code]);
}

namespace {

ItemTable ReadRange(const std::shared_ptr<ItemStore>& store, const ItemTableRequest& request) {
  ItemTable table;
  RowWriter rows(table, request.columns);
  ForEachItem(store, request.selection, table,
              [&](const CAutoColorItem& item, std::uint32_t index) { rows.Append(item, index); });
  return table;
}

template <typename T>
void Extend(std::vector<T>& into, const std::vector<T>& from) {
  into.insert(into.end(), from.begin(), from.end());
}

// Appends the rows of `part`, which read the indexes after those of `into`.
void Extend(ItemTable& into, ItemTable& part) {
  into.rows += part.rows;
  Extend(into.index, part.index);
  Extend(into.type, part.type);
  into.type_text.Extend(part.type_text);
  into.key_text.Extend(part.key_text);
  into.name.Extend(part.name);
  Extend(into.timestamp, part.timestamp);
  into.summary.Extend(part.summary);
  Extend(into.length, part.length);
  Extend(into.color, part.color);
  const std::size_t base = into.payload_bytes.size();
  Extend(into.payload_bytes, part.payload_bytes);
  for (const std::size_t end : part.payload_ends) into.payload_ends.push_back(base + end);
  for (ItemRead& read : part.unreadable) into.unreadable.push_back(std::move(read));
}

}  // namespace

ItemTable ReadItemTable(const std::shared_ptr<ItemStore>& store, const ItemTableRequest& request) {
  const std::uint32_t count = store->GetItemCount();
  const std::uint32_t first = request.selection.first;
  const std::uint32_t end = std::min(request.selection.end, count);
  const std::uint32_t span = end > first ? end - first : 0;
  const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
  const unsigned wanted = request.threads == 0 ? cores : request.threads;
  const auto threads = static_cast<std::uint32_t>(
      std::clamp<std::uint32_t>(span / kItemsPerThread, 1, std::min(wanted, 64u)));
  if (threads == 1) return ReadRange(store, request);

  // Contiguous ranges, read at once and joined in index order.
  std::vector<ItemTable> parts(threads);
  std::vector<std::exception_ptr> failures(threads);
  std::vector<std::thread> workers;
  for (std::uint32_t t = 0; t < threads; ++t) {
    workers.emplace_back([&, t] {
      ItemTableRequest part = request;
      part.selection.first = first + static_cast<std::uint32_t>(std::uint64_t{span} * t / threads);
      part.selection.end =
          first + static_cast<std::uint32_t>(std::uint64_t{span} * (t + 1) / threads);
      try {
        parts[t] = ReadRange(store, part);
      } catch (...) {
        failures[t] = std::current_exception();
      }
    });
  }
  for (std::thread& worker : workers) worker.join();
  for (const std::exception_ptr& failure : failures) {
    if (failure) std::rethrow_exception(failure);
  }
  ItemTable table = std::move(parts[0]);
  for (std::uint32_t t = 1; t < threads; ++t) Extend(table, parts[t]);
  return table;
}

void SelectEntityOrKey(std::u16string_view text, FieldTableRequest& request) {
  const bool key =
      !text.empty() && ((text[0] >= u'0' && text[0] <= u'9') || text[0] == u'-' || text[0] == u'*');
  if (key) {
    request.entity.clear();
    request.selection.key_texts = {std::u16string(text)};
  } else {
    request.entity = text;
  }
}

FieldTable ReadFieldTable(const std::shared_ptr<ItemStore>& store,
                          const FieldTableRequest& request) {
  FieldTable table;
  RowWriter rows(table.items, request.columns);
  FieldColumns columns(request, table.fields);
  const ItemFieldsRequest parse{.entity_name = request.entity};
  ForEachItem(store, request.selection, table.items,
              [&](const CAutoColorItem& item, std::uint32_t index) {
                const std::unique_ptr<CAutoItemFields> fields = item.GetItemFields(parse);
                if (!fields && !request.entity.empty()) return;  // the entity does not parse it
                rows.Append(item, index);
                columns.Append(fields.get());
              });
  return table;
}

}  // namespace quillon
