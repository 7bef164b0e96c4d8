// The walk of a database structure definition over a payload.
//
// An entity (a Diag record of the database) names a top structure: a list
// of members (fields, nested structures, moves, pads, alignment, bit-order
// markers), each optionally repeated or governed by a condition. The walker
// drives the traversal and calls virtual steps for everything that touches
// the payload or records a result; derived classes (ParsedFieldList and
// other renderings) override the steps. The virtual operations are kept in
// this fixed slot order.
//
// The walk trusts nothing in the tables: a structure nested 32 deep is taken
// as a loop and fails, and a walk that takes more than kMaxWalkSteps member
// visits and array elements fails, so that neither a structure that
// contains itself nor huge counts can hang it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "database/db_records.h"

namespace quillon {

class Database;

// The element index of a member that is not an array element.
inline constexpr std::int64_t kNoElementIndex = INT64_MIN;
// Nesting limit: the structure at this depth (top structure = 0) fails.
inline constexpr std::uint32_t kMaxWalkDepth = 32;
// Member visits plus array elements one walk may take.
inline constexpr std::uint64_t kMaxWalkSteps = std::uint64_t{1} << 20;

class StructWalker {
 public:
  StructWalker(const Database& db, std::vector<std::uint32_t> keys, std::u16string_view name);
  StructWalker(const StructWalker&) = delete;
  StructWalker& operator=(const StructWalker&) = delete;

  // slot 0
  virtual ~StructWalker();
  // slot 1: entity name + "." + partial name; empty without entity name.
  virtual std::u16string FullName(std::u16string_view partial) const;
  // slot 2: not used by the walk.
  virtual void Reserved2() {}
  // slot 3: whether an optional member (repetition kind 5) is present.
  // False when the condition cannot be evaluated (missing definition).
  virtual bool TestCondition(const StructRow& member, bool& present);
  // slot 4: count and start index of a repeated member (kinds 1, 2, 6, 7).
  // False for a missing definition or value, an inverted range, a negative
  // count or an unknown formula.
  virtual bool GetArrayCount(const StructRow& member, std::int64_t& count, std::int64_t& start);
  // slot 5: the latest value of a field that members refer to.
  virtual bool GetReferencedValue(std::uint32_t field_id, std::int64_t& value) const;
  // slot 6: finds the entity and walks its top structure.
  virtual bool WalkEntity();
  // slot 7: whether anything is left to parse.
  virtual bool HasRemainingPayload() const = 0;
  // slot 8: one structure; `path` is the name prefix of its members (left
  // as it was on return).
  virtual bool WalkStruct(std::uint32_t struct_id, std::u16string& path, std::int64_t index);
  // slot 9: one member, with the enclosing structure's base position and
  // extent (the furthest point reached in it, in bits from the base).
  virtual bool WalkMember(const StructRow& member, std::uint32_t base, std::uint32_t& extent,
                          std::u16string& path);
  // slot 10: reads one field at the current position.
  virtual bool ReadField(const FieldRecord* def, const std::u16string& name,
                         std::int64_t index) = 0;
  // slots 11..14
  virtual void EnterArray(const StructRow& /*member*/, std::int64_t /*count*/) {}
  virtual void LeaveArray(const StructRow& /*member*/) {}
  virtual void EnterStruct(std::u16string_view /*name*/, std::int64_t /*index*/) {}
  virtual void LeaveStruct() {}
  // slots 15..18
  virtual std::uint32_t CurrentPosition() const = 0;
  virtual void MoveTo(std::uint64_t position) = 0;
  virtual std::uint8_t GetBitOrder() const = 0;
  virtual void SetBitOrder(std::uint8_t order) = 0;

  // What the entity walk copied from the entity it found.
  struct EntityInfo {
    bool found = false;
    std::uint32_t family = 0;
    std::vector<std::uint32_t> keys;
    std::int32_t struct_id = kDbNone;
    std::int32_t summary_id = kDbNone;
    std::u16string name;
  };
  const EntityInfo& Entity() const { return entity_; }
  const std::vector<std::uint32_t>& Keys() const { return keys_; }
  const std::u16string& RequestedName() const { return requested_name_; }
  const Database& Db() const { return db_; }

 protected:
  // The referenced-values table: one slot per field ID that the entity's
  // members refer to.
  void ResetReferencedValues(const std::vector<std::uint32_t>& field_ids);
  // Stores the value when the field has a slot (newest occurrence wins).
  void StoreReferencedValue(std::uint32_t field_id, std::int64_t value);
  bool HasReferencedSlots() const { return !slot_ids_.empty(); }
  // Counts one walk step; false once the budget is spent.
  bool Step() { return ++steps_ <= kMaxWalkSteps; }

  const Database& db_;
  std::vector<std::uint32_t> keys_;
  std::u16string requested_name_;
  EntityInfo entity_;
  bool build_names_ = false;
  bool summary_only_ = false;

 private:
  struct Slot {
    bool valid = false;
    std::int64_t value = 0;
  };
  struct FieldCacheEntry {
    std::uint32_t id = 0;
    const FieldRecord* definition = nullptr;
  };
  static constexpr std::size_t kFieldCacheSize = 64;

  const FieldRecord* FindField(std::uint32_t field_id);
  bool Move(std::uint32_t base, std::uint32_t& extent, std::int64_t position);
  bool WalkRepeatedField(const StructRow& member, const FieldRecord* def, std::int64_t count,
                         std::int64_t start, std::u16string& path);
  bool WalkRepeatedStruct(const StructRow& member, std::int64_t count, std::int64_t start,
                          std::u16string& path);

  std::vector<std::uint32_t> slot_ids_;  // sorted
  std::vector<Slot> slots_;
  std::array<FieldCacheEntry, kFieldCacheSize> field_cache_{};
  FieldMap::const_iterator last_field_{};
  bool last_field_valid_ = false;
  std::uint32_t depth_ = 0;
  std::uint64_t steps_ = 0;
};

// Appends "[%I64d]" of the index.
void AppendElementIndex(std::u16string& path, std::int64_t index);

}  // namespace quillon
