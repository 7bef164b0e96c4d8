#include "automation/auto_object.h"

#include <cassert>

namespace quillon {

namespace {

char16_t FoldAscii(char16_t c) { return c >= u'A' && c <= u'Z' ? c + (u'a' - u'A') : c; }

bool SameNameIgnoringCase(std::string_view a, std::u16string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (FoldAscii(static_cast<unsigned char>(a[i])) != FoldAscii(b[i])) return false;
  }
  return true;
}

}  // namespace

std::uint16_t VarTypeOf(AutoType type) {
  switch (type) {
    case AutoType::kUI4:
      return kVtUI4;
    case AutoType::kBool:
      return kVtBool;
    case AutoType::kBstr:
      return kVtBstr;
    case AutoType::kDispatch:
      return kVtDispatch;
    case AutoType::kVariant:
      return kVtVariant;
    case AutoType::kDate:
      return kVtDate;
    case AutoType::kR8:
      return kVtR8;
  }
  return kVtEmpty;
}

const AutoMethod* AutoClass::FindMethod(std::u16string_view method_name) const {
  for (const AutoMethod& m : methods) {
    if (SameNameIgnoringCase(m.name, method_name)) return &m;
  }
  return nullptr;
}

const AutoMethod* AutoClass::FindMethod(std::int32_t dispid) const {
  for (const AutoMethod& m : methods) {
    if (m.dispid == dispid) return &m;
  }
  return nullptr;
}

AutoVariant AutoObject::Invoke(const AutoMethod& method, std::span<const AutoVariant> args) {
  assert(args.size() == method.params.size());
  return method.handler(*this, args);
}

}  // namespace quillon
