#include "automation/auto_item_fields.h"

#include "automation/auto_color_item.h"
#include "automation/auto_item_store_files.h"
#include "automation/module.h"
#include "render/field_xml.h"
#include "render/parsed_field_list.h"

namespace quillon {

CAutoItemFields::CAutoItemFields(const ItemRecord* item, const ItemFieldsRequest& request) {
  if (item == nullptr || !item->IsValid()) return;
  list_ =
      std::make_unique<ParsedFieldList>(automation::ProcessDatabase(), item, request.entity_name);
  const bool parsed = list_->Parse({.summary_only = false,
                                    .field_strings = request.field_strings,
                                    .field_names = request.field_names});
  // A partly parsed item is still served.
  valid_ = parsed || list_->Count() > 0;
}

CAutoItemFields::~CAutoItemFields() = default;

bool CAutoItemFields::Has(std::uint32_t index) const { return valid_ && index < list_->Count(); }

std::u16string CAutoItemFields::GetXML() const { return valid_ ? FieldListXml(*list_) : u""; }

std::uint32_t CAutoItemFields::GetFieldCount() const { return valid_ ? list_->Count() : 0; }

std::uint32_t CAutoItemFields::GetFieldIndex(std::u16string_view name, bool partial) {
  if (!valid_ || name.empty()) return kAutoFailure;
  return list_->FindByName(name, {.partial = partial, .wrap = true});
}

std::uint32_t CAutoItemFields::GetFieldOffset(std::uint32_t index) const {
  return Has(index) ? list_->BitOffset(index) : kAutoFailure;
}

std::uint32_t CAutoItemFields::GetFieldSize(std::uint32_t index) const {
  return Has(index) ? list_->BitSize(index) : kAutoFailure;
}

AutoVariant CAutoItemFields::GetFieldValue(std::uint32_t index) const {
  return Has(index) ? AutoVariant::FromValue(list_->Value(index)) : AutoVariant();
}

std::u16string CAutoItemFields::GetFieldName(std::uint32_t index, bool own_name) const {
  return Has(index) ? list_->Name(index, /*partial=*/own_name) : u"";
}

std::u16string CAutoItemFields::GetFieldValueText(std::uint32_t index) const {
  return Has(index) ? list_->ValueText(index) : u"";
}

std::uint32_t CAutoItemFields::GetFieldIndexFrom(std::u16string_view name, std::uint32_t start,
                                                 const FieldFindOptions& options) {
  if (!valid_) return kAutoFailure;
  return list_->FindByNameFrom(name, start, {.partial = options.partial, .wrap = options.loop});
}

std::uint32_t CAutoItemFields::GetFieldIndexByID(std::uint32_t field_id) {
  if (!valid_) return kAutoFailure;
  return list_->FindById(field_id, /*wrap=*/false);
}

std::uint32_t CAutoItemFields::GetFieldIndexFromByID(std::uint32_t field_id, std::uint32_t start,
                                                     bool loop) {
  if (!valid_) return kAutoFailure;
  return list_->FindByIdFrom(field_id, start, loop);
}

}  // namespace quillon
