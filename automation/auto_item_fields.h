// ColorItemFields: the database-parsed fields of one item, numbered from 0
// in parse order.
//
// The list is parsed once, at construction, against the process-wide
// database; it holds its own reference to the item's payload, so the
// object stays usable after the ColorItem that made it is released. An
// object is valid when the parse succeeded, or failed after at least one
// field. Not valid, or given an index at or past the field count, each
// method answers its failure value (empty text, 0 fields, 0xFFFFFFFF,
// VT_EMPTY). No method throws.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "automation/auto_object.h"

namespace quillon {

class ItemRecord;
class ParsedFieldList;
struct ItemFieldsRequest;

// How a find from a start index searches.
struct FieldFindOptions {
  bool partial = false;  // match the field's own name, else its full name
  bool loop = false;     // go on at field 0 after the last field
};

class CAutoItemFields final : public AutoObject {
 public:
  // A null or invalid item gives an object that is not valid.
  CAutoItemFields(const ItemRecord* item, const ItemFieldsRequest& request);
  ~CAutoItemFields() override;
  const AutoClass& Class() const override { return ColorItemFieldsClass(); }

  bool IsValid() const { return valid_; }

  std::u16string GetXML() const;
  std::uint32_t GetFieldCount() const;
  // The first field named `name` (the field's own name with `partial`,
  // else the full name), searching on after the previous hit and wrapping
  // around; an empty name finds nothing.
  std::uint32_t GetFieldIndex(std::u16string_view name, bool partial);
  std::uint32_t GetFieldOffset(std::uint32_t index) const;  // bits from the payload start
  std::uint32_t GetFieldSize(std::uint32_t index) const;    // bits
  AutoVariant GetFieldValue(std::uint32_t index) const;
  // The field's own name with `own_name`, else its full display name.
  std::u16string GetFieldName(std::uint32_t index, bool own_name) const;
  std::u16string GetFieldValueText(std::uint32_t index) const;
  std::uint32_t GetFieldIndexFrom(std::u16string_view name, std::uint32_t start,
                                  const FieldFindOptions& options);
  // By field ID, without wrapping.
  std::uint32_t GetFieldIndexByID(std::uint32_t field_id);
  std::uint32_t GetFieldIndexFromByID(std::uint32_t field_id, std::uint32_t start, bool loop);

 private:
  bool Has(std::uint32_t index) const;

  std::unique_ptr<ParsedFieldList> list_;
  bool valid_ = false;
};

}  // namespace quillon
