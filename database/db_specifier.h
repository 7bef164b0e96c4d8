// Struct row specifiers: the text that says how often, or whether, a member
// occurs, and the arithmetic that applies a condition or count formula to a
// field's value.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "database/db_records.h"

namespace quillon {

// Condition operators (repetition kind 5).
enum DbConditionOp : std::uint32_t {
  kCondLess = 0,          // "<"
  kCondLessEqual = 1,     // "<="
  kCondEqual = 2,         // "="
  kCondNotEqual = 3,      // "!="
  kCondGreaterEqual = 4,  // ">="
  kCondGreater = 5,       // ">"
  kCondDivisible = 6,     // "%"
  kCondNotDivisible = 7,  // "!%"
};

// Count operators (repetition kind 7).
enum DbCountOp : std::uint32_t {
  kCountAdd = 0,        // "+"
  kCountSubtract = 1,   // "-"
  kCountMultiply = 2,   // "*"
  kCountDivide = 3,     // "/"
  kCountRemainder = 4,  // "%"
};

// Parses `text` for the given repetition kind. Kinds 0, 3 and 4 (and any
// unknown kind) need nothing and are valid; kind 1 needs a non-empty text;
// kind 2 one number; kind 6 exactly two numbers; kinds 5 and 7 exactly three
// blank-separated tokens: decimal field ID, operator, base-0 64-bit value.
RowSpecifier ParseRowSpecifier(std::int32_t repetition, std::u16string_view text);

// Writes a specifier back with its field IDs replaced (used when a merge
// renumbers fields); the operator and constant keep their written form.
std::u16string FormatRowSpecifier(std::int32_t repetition, const RowSpecifier& row_spec);

// Compares the field value (left) with the constant (right) as signed 64-bit
// numbers. "%" is true when the value is a multiple of the constant and "!%"
// the opposite; no value is a multiple of 0, so "%" with 0 is false and "!%"
// with 0 true. Unknown operators are false.
bool EvaluateCondition(std::uint32_t op, std::int64_t value, std::int64_t constant);

// The count from the field value (left) and the constant (right) in
// wrapping 64-bit arithmetic. Division or remainder by 0 gives 0 (the
// member is absent); nullopt for an unknown operator.
std::optional<std::int64_t> EvaluateCount(std::uint32_t op, std::int64_t value,
                                          std::int64_t constant);

}  // namespace quillon
