#include "render/parsed_field_list.h"

#include <utility>

#include "database/database.h"
#include "database/db_columns.h"
#include "render/internal/handoff_summary.h"
#include "render/internal/summary_format.h"

namespace quillon {

namespace {

// Most entities have fewer fields than this.
constexpr std::size_t kInitialEntries = 64;

// Field names of a summary are trimmed of white space as iswspace sees it
// in the "C" locale: blank, tab, line feed, vertical tab, form feed and
// carriage return.
std::u16string_view Trim(std::u16string_view s) {
  while (!s.empty() && db::IsSpace(s.front())) s.remove_prefix(1);
  while (!s.empty() && db::IsSpace(s.back())) s.remove_suffix(1);
  return s;
}

}  // namespace

ParsedFieldList::ParsedFieldList(const Database& db, const ItemRecord* item,
                                 std::u16string_view entity_name)
    : ParsedFieldList(db, item != nullptr ? EntityPayloadOf(*item) : EntityPayload{}, item,
                      entity_name) {}

ParsedFieldList::ParsedFieldList(const Database& db, EntityPayload payload, const ItemRecord* item,
                                 std::u16string_view entity_name)
    : StructWalker(db, std::move(payload.keys), entity_name),
      reader_(payload.data, payload.length) {
  if (item != nullptr) buffer_ = item->Buffer();
}

ParsedFieldList::ParsedFieldList(const Database& db, EntityPayload payload, const ItemRecord& item)
    : ParsedFieldList(db, std::move(payload), &item, {}) {}

ParsedFieldList::ParsedFieldList(const Database& db, std::uint32_t event_id,
                                 const std::uint8_t* payload, std::int32_t length)
    : StructWalker(db, {4, event_id}, {}) {
  if (payload != nullptr && length > 0 && static_cast<std::uint32_t>(length) <= kMaxItemPayload) {
    reader_ = BitReader(payload, static_cast<std::uint32_t>(length));
  }
}

ParsedFieldList::ParsedFieldList(const Database& db, std::vector<std::uint32_t> keys,
                                 const std::uint8_t* payload, std::uint32_t length,
                                 std::u16string_view entity_name)
    : StructWalker(db, std::move(keys), entity_name) {
  if (payload != nullptr && length <= kMaxItemPayload) reader_ = BitReader(payload, length);
}

ParsedFieldList::~ParsedFieldList() = default;

const std::u16string& ParsedFieldList::EntityName() const {
  return entity_.found ? entity_.name : requested_name_;
}

bool ParsedFieldList::Parse(const ParseOptions& options) {
  summary_only_ = options.summary_only;
  field_strings_ = options.field_strings;
  build_names_ = options.field_names;
  if (!parsed_) {
    // A walk that failed before starts over: from the payload's first bit,
    // least-significant-bit first, without the entries it had read.
    entries_.clear();
    reader_.SetPosition(0);
    reader_.SetBitOrder(kLsbFirst);
    name_cursor_ = kNoIndex;
    id_cursor_ = kNoIndex;
    parsed_ = WalkEntity();
  }
  if (!summary_built_) summary_built_ = BuildSummary();
  return parsed_;
}

bool ParsedFieldList::HasRemainingPayload() const {
  if (reader_.Position() >= reader_.Length()) return false;
  return !(summary_only_ && entity_.summary_id < 0);
}

bool ParsedFieldList::ReadField(const FieldRecord* def, const std::u16string& name,
                                std::int64_t /*index*/) {
  if (def == nullptr || entries_.size() >= kMaxParsedFields) return false;
  if (entries_.capacity() == entries_.size()) {
    entries_.reserve(entries_.empty() ? kInitialEntries : entries_.size() * 2);
  }
  ParsedField& entry = entries_.emplace_back();
  if (!quillon::ReadField(&db_, def, reader_, field_strings_, entry)) {
    entries_.pop_back();
    return false;
  }
  if (HasReferencedSlots()) {
    if (const auto widened = WidenedValue(entry)) StoreReferencedValue(def->id, *widened);
  }
  entry.name = name;
  return true;
}

bool ParsedFieldList::GetReferencedValue(std::uint32_t field_id, std::int64_t& value) const {
  return StructWalker::GetReferencedValue(field_id, value);
}

void ParsedFieldList::SpecialSummary(std::u16string& field_names, std::u16string& format) {
  if (keys_.size() != 2 || keys_[0] != 4) return;
  MoveTo(0);
  ApplyHandoffSummary(keys_[1], reader_.Length(), field_names, format);
}

void ParsedFieldList::ResolveNamedEntries(const std::u16string& field_names,
                                          std::vector<const ParsedField*>& out,
                                          bool& all_found) const {
  all_found = true;
  std::u16string_view rest = field_names;
  for (;;) {
    const std::size_t comma = rest.find(u',');
    const std::u16string_view name = Trim(rest.substr(0, comma));
    const ParsedField* hit = nullptr;
    for (const ParsedField& e : entries_) {
      if (e.name == name) {
        hit = &e;
        break;
      }
    }
    if (hit == nullptr) {
      all_found = false;
      return;
    }
    out.push_back(hit);
    if (comma == std::u16string_view::npos) return;
    rest.remove_prefix(comma + 1);
  }
}

bool ParsedFieldList::BuildSummary() {
  summary_.clear();
  if (entity_.summary_id < 0) return true;
  const FormatSpecifierRecord* summary_def =
      db_.FindFormatSpecifier(static_cast<std::uint32_t>(entity_.summary_id));
  if (summary_def == nullptr) return true;
  std::u16string names = summary_def->field_names;
  std::u16string format = summary_def->format;
  SpecialSummary(names, format);
  if (names.empty()) {
    summary_ = format;
    return true;
  }
  std::vector<const ParsedField*> named;
  bool all_found = false;
  ResolveNamedEntries(names, named, all_found);
  if (!all_found) return false;
  std::vector<FormatWord> words;
  words.reserve(named.size() * 2);
  for (const ParsedField* e : named) PackSummaryArgument(*e, words);
  return FormatSummary(format, words, summary_);
}

std::uint32_t ParsedFieldList::BitOffset(std::uint32_t i) const {
  return i < Count() ? entries_[i].bit_offset : kNoIndex;
}

std::uint32_t ParsedFieldList::BitSize(std::uint32_t i) const {
  return i < Count() ? FieldBitSize(entries_[i]) : kNoIndex;
}

Variant ParsedFieldList::Value(std::uint32_t i) const {
  return i < Count() ? FieldVariant(entries_[i]) : Variant{};
}

std::u16string ParsedFieldList::ValueText(std::uint32_t i) const {
  return i < Count() ? entries_[i].value_text : std::u16string{};
}

std::u16string ParsedFieldList::RawText(std::uint32_t i) const {
  return i < Count() ? RawValueText(entries_[i]) : std::u16string{};
}

std::u16string ParsedFieldList::Name(std::uint32_t i, bool partial) const {
  if (i >= Count()) return {};
  return partial ? entries_[i].name : FullName(entries_[i].name);
}

template <typename Match>
std::uint32_t ParsedFieldList::Find(std::uint32_t& cursor, bool wrap, Match match) const {
  const std::uint32_t count = Count();
  std::uint32_t at = 0;
  if (cursor < count) {
    at = cursor;
  } else if (cursor == kNoIndex || wrap) {
    at = 0;
  } else {
    cursor = kNoIndex;
    return kNoIndex;
  }
  for (std::uint32_t examined = 0; examined < count; ++examined) {
    if (match(entries_[at])) {
      cursor = at + 1 == count ? 0 : at + 1;
      return at;
    }
    if (++at == count) {
      if (!wrap) break;
      at = 0;
    }
  }
  cursor = kNoIndex;
  return kNoIndex;
}

std::uint32_t ParsedFieldList::FindByName(std::u16string_view name, FindOptions options) {
  const bool wrap = options.wrap;
  if (options.partial) {
    return Find(name_cursor_, wrap, [&](const ParsedField& e) { return e.name == name; });
  }
  return Find(name_cursor_, wrap, [&](const ParsedField& e) { return FullName(e.name) == name; });
}

std::uint32_t ParsedFieldList::FindByNameFrom(std::u16string_view name, std::uint32_t start,
                                              FindOptions options) {
  name_cursor_ = start;
  return FindByName(name, options);
}

std::uint32_t ParsedFieldList::FindById(std::uint32_t field_id, bool wrap) {
  return Find(id_cursor_, wrap, [&](const ParsedField& e) {
    return e.definition != nullptr && e.definition->id == field_id;
  });
}

std::uint32_t ParsedFieldList::FindByIdFrom(std::uint32_t field_id, std::uint32_t start,
                                            bool wrap) {
  id_cursor_ = start;
  return FindById(field_id, wrap);
}

}  // namespace quillon
