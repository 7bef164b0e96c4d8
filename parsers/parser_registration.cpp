#include "parsers/parser_registration.h"

#include <vector>

#include "database/db_columns.h"

namespace quillon {

namespace {

constexpr int kDecimal = 10;
constexpr int kAutomaticBase = 0;

std::vector<std::u16string_view> Split(std::u16string_view text, char16_t separator) {
  std::vector<std::u16string_view> pieces;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find(separator, start);
    if (end == std::u16string_view::npos) end = text.size();
    if (end > start) pieces.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return pieces;
}

// The number of fields after the kind that each kind needs.
std::size_t FieldsNeeded(RegistrationKind kind) {
  return kind == RegistrationKind::kSubsysResponse || kind == RegistrationKind::kSubsysRequest ? 2
                                                                                               : 1;
}

}  // namespace

std::uint32_t ItemTypeOf(RegistrationKind kind) {
  switch (kind) {
    case RegistrationKind::kDiagResponse:
      return kItemDiagRx;
    case RegistrationKind::kDiagRequest:
      return kItemDiagTx;
    case RegistrationKind::kSubsysResponse:
      return kItemSubsysRx;
    case RegistrationKind::kSubsysRequest:
      return kItemSubsysTx;
    case RegistrationKind::kEvent:
      return kItemEvent;
    case RegistrationKind::kLogCode:
      return kItemLog;
  }
  return kItemMalformed;
}

ParserRegistration ParseRegistration(std::u16string_view text) {
  ParserRegistration registration;
  for (const std::u16string_view entry : Split(text, u',')) {
    const std::vector<std::u16string_view> fields = Split(entry, u'/');
    if (fields.empty()) continue;  // an entry of separators only
    const std::uint32_t number = db::ToU32(fields[0], kDecimal);
    if (number < 1 || number > ParserRegistration::kKindCount) continue;
    const auto kind = static_cast<RegistrationKind>(number);
    if (fields.size() < 1 + FieldsNeeded(kind)) continue;
    const int base = kind == RegistrationKind::kLogCode ? kAutomaticBase : kDecimal;
    ItemKey key{ItemTypeOf(kind)};
    for (std::size_t i = 1; i <= FieldsNeeded(kind); ++i) key.Append(db::ToU32(fields[i], base));
    registration.keys[number - 1].insert(std::move(key));
  }
  return registration;
}

}  // namespace quillon
