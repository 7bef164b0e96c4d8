// The registration string of a dynamic parser library: which items it
// understands.
//
// Grammar: entries separated by ","; each entry is fields separated by
// "/"; empty entries and empty fields are dropped. The first field is the
// kind, a decimal number:
//   1/cmd       DIAG response (type 1)      2/cmd       DIAG request (2)
//   3/ssid/cmd  subsystem response (9)      4/ssid/cmd  subsystem request (10)
//   5/event     EVENT (4)                   6/logcode   LOG (5)
// Numbers are read as wcstoul reads them (leading blanks, stop at the first
// character that is not a digit, saturate at 0xFFFFFFFF): decimal for kinds
// 1 to 5, base 0 ("0x" hexadecimal, a leading "0" octal) for log codes.
// Entries of another kind or with too few fields are ignored; fields beyond
// the needed ones are ignored. Example: "6/0x412F,5/257,4/18/3".
#pragma once

#include <array>
#include <cstdint>
#include <set>
#include <string_view>

#include "common/item_key.h"

namespace quillon {

enum class RegistrationKind : std::uint32_t {
  kDiagResponse = 1,
  kDiagRequest = 2,
  kSubsysResponse = 3,
  kSubsysRequest = 4,
  kEvent = 5,
  kLogCode = 6,
};

struct ParserRegistration {
  static constexpr std::size_t kKindCount = 6;
  // One ordered set per kind (index = kind - 1): the item keys of the
  // kind's item type, e.g. {5, 0x412F} for "6/0x412F". Keys are kept as
  // registered, valid or not; ItemConfig::AddKey drops invalid ones.
  std::array<std::set<ItemKey>, kKindCount> keys;

  const std::set<ItemKey>& Of(RegistrationKind kind) const {
    return keys[static_cast<std::size_t>(kind) - 1];
  }
};

// Never fails: what does not parse is skipped.
ParserRegistration ParseRegistration(std::u16string_view text);

// The item type code whose keys a registration kind adds.
std::uint32_t ItemTypeOf(RegistrationKind kind);

}  // namespace quillon
