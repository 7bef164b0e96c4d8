#include "render/struct_walker.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "common/number_text.h"
#include "database/database.h"
#include "database/db_specifier.h"
#include "render/bit_reader.h"

namespace quillon {

namespace {

// Runs `leave` when the scope ends, on every path out of it: an array or
// structure that was entered is left again even when an element fails.
template <class Leave>
class ScopeExit {
 public:
  explicit ScopeExit(Leave leave) : leave_(std::move(leave)) {}
  ScopeExit(const ScopeExit&) = delete;
  ScopeExit& operator=(const ScopeExit&) = delete;
  ~ScopeExit() { leave_(); }

 private:
  Leave leave_;
};

// Entity families are the entity types 0..11 of the Diag table.
constexpr std::uint32_t kMaxEntityFamily = 11;

void AppendSegment(std::u16string& path, std::u16string_view segment) {
  if (!path.empty()) path.push_back(u'.');
  path.append(segment);
}

}  // namespace

void AppendElementIndex(std::u16string& path, std::int64_t index) {
  path.push_back(u'[');
  AppendSignedDecimal(path, index);
  path.push_back(u']');
}

StructWalker::StructWalker(const Database& db, std::vector<std::uint32_t> keys,
                           std::u16string_view name)
    : db_(db), keys_(std::move(keys)), requested_name_(name) {}

StructWalker::~StructWalker() = default;

std::u16string StructWalker::FullName(std::u16string_view partial) const {
  const std::u16string& entity = entity_.found ? entity_.name : requested_name_;
  if (entity.empty()) return {};
  std::u16string full;
  full.reserve(entity.size() + 1 + partial.size());
  full.append(entity);
  full.push_back(u'.');
  full.append(partial);
  return full;
}

bool StructWalker::TestCondition(const StructRow& member, bool& present) {
  present = false;
  if (!member.parsed.valid) return false;
  std::int64_t value = 0;
  if (!GetReferencedValue(member.parsed.field_id, value)) return true;  // absent
  present = EvaluateCondition(member.parsed.op, value, member.parsed.value);
  return true;
}

bool StructWalker::GetArrayCount(const StructRow& member, std::int64_t& count,
                                 std::int64_t& start) {
  count = 0;
  start = 0;
  const RowSpecifier& specifier = member.parsed;
  if (!specifier.valid) return false;
  switch (member.repetition) {
    case kRepeatFixed:
      count = specifier.count;
      break;
    case kRepeatCountField:
      if (!GetReferencedValue(specifier.field_id, count)) return false;
      break;
    case kRepeatRange: {
      std::int64_t first = 0;
      std::int64_t last = 0;
      if (!GetReferencedValue(specifier.field_id, first) ||
          !GetReferencedValue(specifier.field_id2, last)) {
        return false;
      }
      if (last < first) return false;
      // last - first + 1 can exceed 64 bits only for absurd bounds.
      const std::uint64_t span =
          static_cast<std::uint64_t>(last) - static_cast<std::uint64_t>(first);
      if (span >= static_cast<std::uint64_t>(INT64_MAX)) return false;
      count = static_cast<std::int64_t>(span + 1);
      start = first;
      break;
    }
    case kRepeatComputed: {
      std::int64_t value = 0;
      if (!GetReferencedValue(specifier.field_id, value)) return false;
      const auto computed = EvaluateCount(specifier.op, value, specifier.value);
      if (!computed) return false;
      count = *computed;
      break;
    }
    default:
      return false;
  }
  return count >= 0;
}

bool StructWalker::GetReferencedValue(std::uint32_t field_id, std::int64_t& value) const {
  const auto it = std::lower_bound(slot_ids_.begin(), slot_ids_.end(), field_id);
  if (it == slot_ids_.end() || *it != field_id) return false;
  const Slot& slot = slots_[static_cast<std::size_t>(it - slot_ids_.begin())];
  if (!slot.valid) return false;
  value = slot.value;
  return true;
}

void StructWalker::ResetReferencedValues(const std::vector<std::uint32_t>& field_ids) {
  slot_ids_ = field_ids;
  std::sort(slot_ids_.begin(), slot_ids_.end());
  slot_ids_.erase(std::unique(slot_ids_.begin(), slot_ids_.end()), slot_ids_.end());
  slots_.assign(slot_ids_.size(), Slot{});
}

void StructWalker::StoreReferencedValue(std::uint32_t field_id, std::int64_t value) {
  const auto it = std::lower_bound(slot_ids_.begin(), slot_ids_.end(), field_id);
  if (it == slot_ids_.end() || *it != field_id) return;
  Slot& slot = slots_[static_cast<std::size_t>(it - slot_ids_.begin())];
  slot.valid = true;
  slot.value = value;
}

bool StructWalker::WalkEntity() {
  const DiagEntity* found = db_.FindDiagEntity(keys_, requested_name_);
  if (found == nullptr) return false;
  entity_.found = true;
  entity_.family = found->codes.empty() ? 0xFFFFFFFFu : found->codes[0];
  entity_.keys = found->codes;
  entity_.struct_id = found->struct_id;
  entity_.summary_id = found->format_id;
  entity_.name = found->name;
  if (entity_.family > kMaxEntityFamily || keys_.empty() || entity_.family != keys_[0] ||
      entity_.keys.size() < 2 || entity_.struct_id < kDbNone || entity_.summary_id < kDbNone ||
      entity_.name.empty()) {
    return false;
  }
  if (!HasRemainingPayload()) return true;
  if (entity_.struct_id == kDbNone) return false;

  ResetReferencedValues(db_.GetReferencedFieldIds(*found));
  steps_ = 0;
  depth_ = 0;
  std::u16string path;
  EnterStruct(entity_.name, kNoElementIndex);
  const bool ok = WalkStruct(static_cast<std::uint32_t>(entity_.struct_id), path, kNoElementIndex);
  LeaveStruct();
  return ok;
}

bool StructWalker::WalkStruct(std::uint32_t struct_id, std::u16string& path,
                              std::int64_t /*index*/) {
  if (depth_ >= kMaxWalkDepth) return false;
  // The rows of one struct are adjacent in the (struct ID, index) map.
  const StructMap& all_rows = db_.Tables().structs;
  auto it = all_rows.lower_bound({struct_id, 0});
  const auto end = all_rows.end();
  if (it == end || it->first.first != struct_id) return false;

  const std::uint8_t saved_order = GetBitOrder();
  const std::uint32_t base = CurrentPosition();
  std::uint32_t extent = 0;

  const StructRow& first = it->second;
  if (first.member_kind == kMemberMsbFirst || first.member_kind == kMemberLsbFirst) {
    const std::uint8_t order = first.member_kind == kMemberMsbFirst ? kMsbFirst : kLsbFirst;
    if (order != saved_order) {
      if (CurrentPosition() % 8 != 0) return false;
      SetBitOrder(order);
    }
    ++it;
  }

  ++depth_;
  for (; it != end && it->first.first == struct_id; ++it) {
    if (!WalkMember(it->second, base, extent, path)) {
      --depth_;
      return false;
    }
  }
  --depth_;

  if (GetBitOrder() != saved_order) {
    if (CurrentPosition() % 8 != 0) return false;
    SetBitOrder(saved_order);
  }
  return true;
}

const FieldRecord* StructWalker::FindField(std::uint32_t field_id) {
  // Arrays and repeated structures look the same fields up again and again.
  FieldCacheEntry& slot = field_cache_[field_id % kFieldCacheSize];
  if (slot.definition != nullptr && slot.id == field_id) return slot.definition;
  // Fields of a structure are mostly numbered in member order: try the
  // definition after the one found last before searching the table.
  const FieldMap& fields = db_.Tables().fields;
  const FieldRecord* found = nullptr;
  if (last_field_valid_ && last_field_ != fields.end()) {
    const auto next = std::next(last_field_);
    if (next != fields.end() && next->first == field_id) {
      last_field_ = next;
      found = &next->second;
    }
  }
  if (found == nullptr) {
    const auto it = fields.find(field_id);
    if (it == fields.end()) return nullptr;
    last_field_ = it;
    last_field_valid_ = true;
    found = &it->second;
  }
  slot.id = field_id;
  slot.definition = found;
  return found;
}

bool StructWalker::Move(std::uint32_t base, std::uint32_t& extent, std::int64_t position) {
  // Moves never go back behind what the structure already covered.
  if (position >= static_cast<std::int64_t>(extent)) {
    MoveTo(static_cast<std::uint64_t>(base) + static_cast<std::uint64_t>(position));
  }
  return true;
}

bool StructWalker::WalkMember(const StructRow& member, std::uint32_t base, std::uint32_t& extent,
                              std::u16string& path) {
  if (!Step()) return false;

  if (member.repetition == kRepeatOptional) {
    bool present = false;
    if (!TestCondition(member, present)) return false;
    if (!present) return true;
  }

  const bool repeated = member.repetition == kRepeatFixed ||
                        member.repetition == kRepeatCountField ||
                        member.repetition == kRepeatRange || member.repetition == kRepeatComputed;
  std::int64_t count = 1;
  std::int64_t start = 0;
  if (repeated) {
    if (!GetArrayCount(member, count, start)) return false;
    if (count == 0) return true;
  }

  const std::size_t path_length = path.size();
  struct PathRestore {
    std::u16string& path;
    std::size_t length;
    ~PathRestore() { path.resize(length); }
  } restore{path, path_length};
  if (build_names_ && !member.label.empty()) AppendSegment(path, member.label);

  if (member.bit_offset != kDbNone) {
    MoveTo(static_cast<std::uint64_t>(base) + static_cast<std::uint32_t>(member.bit_offset));
  }

  switch (member.member_kind) {
    case kMemberField: {
      const FieldRecord* def = FindField(member.reference);
      if (build_names_ && def != nullptr) AppendSegment(path, def->name);
      if (repeated) {
        if (!WalkRepeatedField(member, def, count, start, path)) return false;
      } else if (!ReadField(def, path, kNoElementIndex)) {
        return false;
      }
      break;
    }
    case kMemberStruct:
      if (repeated) {
        if (!WalkRepeatedStruct(member, count, start, path)) return false;
      } else {
        EnterStruct(member.label, kNoElementIndex);
        const bool ok = WalkStruct(member.reference, path, kNoElementIndex);
        LeaveStruct();
        if (!ok) return false;
      }
      break;
    case kMemberMove:
      Move(base, extent, member.reference);
      break;
    case kMemberPadBits:
    case kMemberPadBytes: {
      std::int64_t value = 0;
      if (!GetReferencedValue(member.reference, value)) return false;
      if (member.member_kind == kMemberPadBytes) {
        // Byte counts beyond any payload stay beyond it after scaling.
        value = value > INT64_MAX / 8 ? INT64_MAX : (value < INT64_MIN / 8 ? INT64_MIN : value * 8);
      }
      Move(base, extent, value);
      break;
    }
    case kMemberAlign: {
      const std::uint64_t aligned = (static_cast<std::uint64_t>(extent) + 7) & ~std::uint64_t{7};
      if (aligned > extent) MoveTo(static_cast<std::uint64_t>(base) + aligned);
      break;
    }
    default:
      return false;
  }

  const std::uint32_t position = CurrentPosition();
  if (position > base && position - base > extent) extent = position - base;
  return true;
}

bool StructWalker::WalkRepeatedField(const StructRow& member, const FieldRecord* def,
                                     std::int64_t count, std::int64_t start, std::u16string& path) {
  EnterArray(member, count);
  const ScopeExit leave_array([&] { LeaveArray(member); });
  const std::size_t length = path.size();
  for (std::int64_t i = 0; i < count; ++i) {
    if (!Step()) return false;
    if (build_names_) {
      path.resize(length);
      AppendElementIndex(path, i + start);
    }
    if (!ReadField(def, path, i + start)) return false;
  }
  return true;
}

bool StructWalker::WalkRepeatedStruct(const StructRow& member, std::int64_t count,
                                      std::int64_t start, std::u16string& path) {
  EnterArray(member, count);
  const ScopeExit leave_array([&] { LeaveArray(member); });
  const std::size_t length = path.size();
  for (std::int64_t i = 0; i < count; ++i) {
    if (!Step()) return false;
    if (build_names_) {
      path.resize(length);
      AppendElementIndex(path, i + start);
    }
    EnterStruct(member.label, i + start);
    const ScopeExit leave_struct([&] { LeaveStruct(); });
    if (!WalkStruct(member.reference, path, i + start)) return false;
  }
  return true;
}

}  // namespace quillon
