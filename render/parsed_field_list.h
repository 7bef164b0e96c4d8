// The parsed fields of one item: the walk of its entity's structure over
// its payload, recording one entry per field occurrence (array elements
// included), plus the entity's one-line summary.
//
// Queries take a zero-based entry index; an index at or past the count
// gives the stated default. The list refers to database definitions without
// owning them (the database must outlive it); an item's payload is kept
// alive by a buffer reference of the list's own, so the list outlives the
// item it was made from.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/item_buffer.h"
#include "common/item_record.h"
#include "render/bit_reader.h"
#include "render/entity_payload.h"
#include "render/field_value.h"
#include "render/struct_walker.h"
#include "render/variant.h"

namespace quillon {

inline constexpr std::uint32_t kNoIndex = 0xFFFFFFFFu;
// The most entries one list records: as many 1-bit fields as the largest
// payload holds. Only tables that read the same bits again and again reach
// it; the walk then fails.
inline constexpr std::uint32_t kMaxParsedFields = 8208 * 8;

class ParsedFieldList : public StructWalker {
 public:
  // The entity of the item (by its type's key list, or the named entity of
  // that key list when `entity_name` is non-empty) over its parsed payload.
  // A null item, or one without an entity key list, gives a list whose walk
  // fails.
  ParsedFieldList(const Database& db, const ItemRecord* item, std::u16string_view entity_name = {});
  // An event payload: keys {4, event_id}. The bytes are not copied and must
  // outlive the list; a null pointer or a length outside 1..8208 gives an
  // empty payload.
  ParsedFieldList(const Database& db, std::uint32_t event_id, const std::uint8_t* payload,
                  std::int32_t length);
  // The entity payload of `item` (EntityPayloadOf) that the caller has
  // already worked out; the list keeps a reference to the item's buffer.
  ParsedFieldList(const Database& db, EntityPayload payload, const ItemRecord& item);
  // Any entity key list over bytes that the caller keeps alive (tools,
  // tests and fuzzing).
  ParsedFieldList(const Database& db, std::vector<std::uint32_t> keys, const std::uint8_t* payload,
                  std::uint32_t length, std::u16string_view entity_name = {});
  ~ParsedFieldList() override;

  // What a parse reads and keeps.
  struct ParseOptions {
    bool summary_only = false;  // stop early when the entity has no summary
    bool field_strings = true;  // keep each field's value text
    bool field_names = true;    // build each field's dotted name
  };
  // Stores the options; walks unless an earlier walk succeeded (a walk that
  // failed starts over from the payload's start, dropping its entries),
  // builds the summary unless an earlier build succeeded; returns the
  // walk's result.
  virtual bool Parse(const ParseOptions& options);
  // May replace the summary's field name list and format (handoff events).
  virtual void SpecialSummary(std::u16string& field_names, std::u16string& format);
  // Builds the summary text; true when it was built or there is none.
  virtual bool BuildSummary();

  // ---- Results
  std::uint32_t Count() const { return static_cast<std::uint32_t>(entries_.size()); }
  const std::vector<ParsedField>& Entries() const { return entries_; }
  const std::u16string& Summary() const { return summary_; }
  // The entity's name once found, else the requested one.
  const std::u16string& EntityName() const;
  bool Parsed() const { return parsed_; }

  std::uint32_t BitOffset(std::uint32_t i) const;  // default all ones
  std::uint32_t BitSize(std::uint32_t i) const;    // default all ones
  Variant Value(std::uint32_t i) const;            // default empty
  std::u16string ValueText(std::uint32_t i) const;
  std::u16string RawText(std::uint32_t i) const;
  // The partial name, or the full name (entity name + "." + partial name;
  // empty without entity name).
  std::u16string Name(std::uint32_t i, bool partial) const;

  // How a name is found.
  struct FindOptions {
    bool partial = true;  // match the partial name, not the full one
    bool wrap = false;    // go on at entry 0 after the last entry
  };
  // Repeating finds: each search goes on after the previous hit. A miss
  // gives kNoIndex.
  std::uint32_t FindByName(std::u16string_view name, FindOptions options);
  std::uint32_t FindByNameFrom(std::u16string_view name, std::uint32_t start, FindOptions options);
  std::uint32_t FindById(std::uint32_t field_id, bool wrap);
  std::uint32_t FindByIdFrom(std::uint32_t field_id, std::uint32_t start, bool wrap);

  // ---- Walker steps
  bool HasRemainingPayload() const override;
  bool ReadField(const FieldRecord* def, const std::u16string& name, std::int64_t index) override;
  void EnterArray(const StructRow&, std::int64_t) override {}
  void LeaveArray(const StructRow&) override {}
  void EnterStruct(std::u16string_view, std::int64_t) override {}
  void LeaveStruct() override {}
  bool GetReferencedValue(std::uint32_t field_id, std::int64_t& value) const override;
  std::uint32_t CurrentPosition() const override { return reader_.Position(); }
  void MoveTo(std::uint64_t position) override { reader_.SetPosition(position); }
  std::uint8_t GetBitOrder() const override { return reader_.BitOrder(); }
  void SetBitOrder(std::uint8_t order) override { reader_.SetBitOrder(order); }

  const BitReader& Reader() const { return reader_; }

 private:
  ParsedFieldList(const Database& db, EntityPayload payload, const ItemRecord* item,
                  std::u16string_view entity_name);
  template <typename Match>
  std::uint32_t Find(std::uint32_t& cursor, bool wrap, Match match) const;
  void ResolveNamedEntries(const std::u16string& field_names, std::vector<const ParsedField*>& out,
                           bool& all_found) const;

  ItemBufferRef buffer_;  // keeps an item's payload alive
  BitReader reader_;
  std::vector<ParsedField> entries_;
  std::u16string summary_;
  bool field_strings_ = false;
  bool parsed_ = false;
  bool summary_built_ = false;
  std::uint32_t name_cursor_ = kNoIndex;
  std::uint32_t id_cursor_ = kNoIndex;
};

}  // namespace quillon
