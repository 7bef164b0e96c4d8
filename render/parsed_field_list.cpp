#include "render/parsed_field_list.h"

#include <cstring>
#include <utility>

#include "common/safe_format.h"
#include "database/database.h"
#include "render/handoff_summary.h"

namespace quillon {

namespace {

// Most entities have fewer fields than this.
constexpr std::size_t kInitialEntries = 64;

bool IsBlank(char16_t c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n'; }

std::u16string_view Trim(std::u16string_view s) {
  while (!s.empty() && IsBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && IsBlank(s.back())) s.remove_suffix(1);
  return s;
}

// One summary argument per named entry, typed the way the entry's value
// would be passed to a printf-style function.
FormatArgument SummaryArgument(const ParsedField& e) {
  if (!e.valid || e.definition == nullptr) return FormatArgument(0u);
  const FieldRecord& def = *e.definition;
  if (def.kind == kFieldEnumUnsigned || def.kind == kFieldEnumSigned) {
    return FormatArgument(std::u16string_view(e.value_text));
  }
  const std::uint64_t v = e.value;
  switch (def.type) {
    case kFieldBool:
    case kFieldU8:
      return FormatArgument(static_cast<unsigned>(v & 0xFF));
    case kFieldI8:
      return FormatArgument(static_cast<int>(static_cast<std::int8_t>(v & 0xFF)));
    case kFieldI16:
      return FormatArgument(static_cast<int>(static_cast<std::int16_t>(v & 0xFFFF)));
    case kFieldU16:
      return FormatArgument(static_cast<unsigned>(v & 0xFFFF));
    case kFieldI32:
    case kFieldU32:
    case kFieldFloat:  // the raw word, not converted
      return FormatArgument(static_cast<unsigned>(v & 0xFFFFFFFFu));
    case kFieldI64:
      return FormatArgument(static_cast<long long>(v));
    case kFieldU64:
      return FormatArgument(static_cast<unsigned long long>(v));
    case kFieldDouble: {
      double d;
      std::memcpy(&d, &v, sizeof d);
      return FormatArgument(d);
    }
    case kFieldString8:
    case kFieldString16:
    case kFieldZString8:
    case kFieldZString16:
      return FormatArgument(std::u16string_view(e.value_text));
    default:
      return FormatArgument(0u);
  }
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

bool ParsedFieldList::Parse(bool summary_only, bool field_strings, bool field_names) {
  summary_only_ = summary_only;
  field_strings_ = field_strings;
  build_names_ = field_names;
  if (!parsed_) parsed_ = WalkEntity();
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
  std::vector<FormatArgument> args;
  args.reserve(named.size());
  for (const ParsedField* e : named) args.push_back(SummaryArgument(*e));
  FormatArgumentList source(args);
  return FormatAppend(summary_, format, source).ok();
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

std::uint32_t ParsedFieldList::FindByName(std::u16string_view name, bool partial, bool wrap) {
  if (partial) {
    return Find(name_cursor_, wrap, [&](const ParsedField& e) { return e.name == name; });
  }
  return Find(name_cursor_, wrap, [&](const ParsedField& e) { return FullName(e.name) == name; });
}

std::uint32_t ParsedFieldList::FindByNameFrom(std::u16string_view name, std::uint32_t start,
                                              bool partial, bool wrap) {
  name_cursor_ = start;
  return FindByName(name, partial, wrap);
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
