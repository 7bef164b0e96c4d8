#include "automation/item_table.h"

#include <array>
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

ItemTable ReadItemTable(const std::shared_ptr<ItemStore>& store, const ItemTableRequest& request) {
  ItemTable table;
  RowWriter rows(table, request.columns);
  ForEachItem(store, request.selection, table,
              [&](const CAutoColorItem& item, std::uint32_t index) { rows.Append(item, index); });
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
