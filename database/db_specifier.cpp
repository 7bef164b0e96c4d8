#include "database/db_specifier.h"

#include <array>
#include <vector>

#include "database/db_columns.h"

namespace quillon {

namespace {

// Tokens separated by runs of blanks (character 32 only).
std::vector<std::u16string_view> SplitBlanks(std::u16string_view text) {
  std::vector<std::u16string_view> tokens;
  std::size_t i = 0;
  while (i < text.size()) {
    while (i < text.size() && text[i] == u' ') ++i;
    if (i >= text.size()) break;
    const std::size_t start = i;
    while (i < text.size() && text[i] != u' ') ++i;
    tokens.push_back(text.substr(start, i - start));
  }
  return tokens;
}

std::u16string_view TrimSpace(std::u16string_view s) {
  while (!s.empty() && db::IsSpace(s.front())) s.remove_prefix(1);
  while (!s.empty() && db::IsSpace(s.back())) s.remove_suffix(1);
  return s;
}

constexpr std::array<std::u16string_view, 8> kConditionOps = {u"<",  u"<=", u"=", u"!=",
                                                              u">=", u">",  u"%", u"!%"};
constexpr std::array<std::u16string_view, 5> kCountOps = {u"+", u"-", u"*", u"/", u"%"};

template <std::size_t N>
bool FindOp(const std::array<std::u16string_view, N>& ops, std::u16string_view token,
            std::uint32_t& code) {
  for (std::size_t i = 0; i < N; ++i) {
    if (ops[i] == token) {
      code = static_cast<std::uint32_t>(i);
      return true;
    }
  }
  return false;
}

}  // namespace

RowSpecifier ParseRowSpecifier(std::int32_t repetition, std::u16string_view text) {
  RowSpecifier row_spec;
  switch (repetition) {
    case kRepeatFixed:
      row_spec.count = db::ToU32(text, 0);
      row_spec.valid = !text.empty();
      break;
    case kRepeatCountField:
      row_spec.field_id = db::ToU32(text, 0);
      row_spec.valid = !text.empty();
      break;
    case kRepeatRange: {
      const auto tokens = SplitBlanks(text);
      row_spec.valid = tokens.size() == 2 && db::ToU32Token(tokens[0], 0, row_spec.field_id) &&
                       db::ToU32Token(tokens[1], 0, row_spec.field_id2);
      break;
    }
    case kRepeatOptional:
    case kRepeatComputed: {
      const auto tokens = SplitBlanks(text);
      if (tokens.size() != 3) break;
      if (!db::ToU32Token(tokens[0], 10, row_spec.field_id)) break;
      const std::u16string_view op = TrimSpace(tokens[1]);
      const bool op_ok = repetition == kRepeatOptional ? FindOp(kConditionOps, op, row_spec.op)
                                                       : FindOp(kCountOps, op, row_spec.op);
      if (!op_ok || !db::ToI64Token(tokens[2], row_spec.value)) break;
      row_spec.op_text.assign(op);
      row_spec.value_text.assign(tokens[2]);
      row_spec.valid = true;
      break;
    }
    default:
      row_spec.valid = true;
      break;
  }
  return row_spec;
}

std::u16string FormatRowSpecifier(std::int32_t repetition, const RowSpecifier& row_spec) {
  std::u16string out;
  switch (repetition) {
    case kRepeatCountField:
      db::AppendUnsigned(out, row_spec.field_id);
      break;
    case kRepeatRange:
      db::AppendUnsigned(out, row_spec.field_id);
      out.push_back(u' ');
      db::AppendUnsigned(out, row_spec.field_id2);
      break;
    case kRepeatOptional:
    case kRepeatComputed:
      db::AppendUnsigned(out, row_spec.field_id);
      out.push_back(u' ');
      out += row_spec.op_text;
      out.push_back(u' ');
      out += row_spec.value_text;
      break;
    default:
      break;
  }
  return out;
}

bool EvaluateCondition(std::uint32_t op, std::int64_t value, std::int64_t constant) {
  switch (op) {
    case kCondLess:
      return value < constant;
    case kCondLessEqual:
      return value <= constant;
    case kCondEqual:
      return value == constant;
    case kCondNotEqual:
      return value != constant;
    case kCondGreaterEqual:
      return value >= constant;
    case kCondGreater:
      return value > constant;
    case kCondDivisible:
    case kCondNotDivisible: {
      // -1 divides everything; testing it directly avoids INT64_MIN % -1.
      const bool divisible = constant != 0 && (constant == -1 || value % constant == 0);
      return op == kCondDivisible ? divisible : !divisible;
    }
    default:
      return false;
  }
}

std::optional<std::int64_t> EvaluateCount(std::uint32_t op, std::int64_t value,
                                          std::int64_t constant) {
  const auto a = static_cast<std::uint64_t>(value);
  const auto b = static_cast<std::uint64_t>(constant);
  switch (op) {
    case kCountAdd:
      return static_cast<std::int64_t>(a + b);
    case kCountSubtract:
      return static_cast<std::int64_t>(a - b);
    case kCountMultiply:
      return static_cast<std::int64_t>(a * b);
    case kCountDivide:
      if (constant == 0) return 0;
      if (constant == -1) return static_cast<std::int64_t>(0 - a);
      return value / constant;
    case kCountRemainder:
      if (constant == 0 || constant == -1) return 0;
      return value % constant;
    default:
      return std::nullopt;
  }
}

}  // namespace quillon
