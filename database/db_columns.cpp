#include "database/db_columns.h"

#include <algorithm>

#include "common/number_text.h"

namespace quillon::db {

Columns::Columns(std::u16string_view line) {
  std::size_t i = 0;
  const std::size_t n = line.size();
  while (i < n) {
    while (i < n && line[i] == u'^') ++i;
    if (i >= n) break;
    const std::size_t start = i;
    while (i < n && line[i] != u'^') ++i;
    if (count_ < kMaxKept) columns_[count_] = line.substr(start, i - start);
    ++count_;
  }
}

namespace {

int DigitValue(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'z') return c - u'a' + 10;
  if (c >= u'A' && c <= u'Z') return c - u'A' + 10;
  return 99;
}

// The common scanner of wcstoul and wcstol: magnitude (saturated above
// 2^32), sign and the end of the number.
struct Scan {
  std::uint64_t magnitude = 0;
  bool negative = false;
  bool saturated = false;
  std::size_t end = 0;  // 0 when nothing converted
};

Scan ScanNumber(std::u16string_view s, int base) {
  Scan r;
  std::size_t i = 0;
  const std::size_t n = s.size();
  while (i < n && IsSpace(s[i])) ++i;
  if (i < n && (s[i] == u'+' || s[i] == u'-')) {
    r.negative = s[i] == u'-';
    ++i;
  }
  const bool has_hex_prefix = i + 2 < n && s[i] == u'0' && (s[i + 1] == u'x' || s[i + 1] == u'X') &&
                              DigitValue(s[i + 2]) < 16;
  if (base == 0) {
    if (has_hex_prefix) {
      base = 16;
      i += 2;
    } else if (i < n && s[i] == u'0') {
      base = 8;
    } else {
      base = 10;
    }
  } else if (base == 16 && has_hex_prefix) {
    i += 2;
  }
  const std::size_t digits_start = i;
  while (i < n) {
    const int d = DigitValue(s[i]);
    if (d >= base) break;
    if (!r.saturated) {
      r.magnitude = r.magnitude * static_cast<unsigned>(base) + static_cast<unsigned>(d);
      if (r.magnitude > 0xFFFFFFFFull) r.saturated = true;
    }
    ++i;
  }
  r.end = i == digits_start ? 0 : i;
  if (r.end == 0) {
    r.magnitude = 0;
    r.negative = false;
  }
  return r;
}

}  // namespace

std::uint32_t ToU32(std::u16string_view text, int base, std::size_t* end, bool* overflow) {
  const Scan r = ScanNumber(text, base);
  if (end) *end = r.end;
  if (overflow) *overflow = r.saturated;
  if (r.saturated) return 0xFFFFFFFFu;
  const auto v = static_cast<std::uint32_t>(r.magnitude);
  return r.negative ? static_cast<std::uint32_t>(0u - v) : v;
}

std::int32_t ToI32(std::u16string_view text, int base, std::size_t* end, bool* overflow) {
  const Scan r = ScanNumber(text, base);
  if (end) *end = r.end;
  bool over = r.saturated;
  std::int32_t value = 0;
  if (r.negative) {
    if (over || r.magnitude > 0x80000000ull) {
      over = true;
      value = INT32_MIN;
    } else {
      value = static_cast<std::int32_t>(-static_cast<std::int64_t>(r.magnitude));
    }
  } else if (over || r.magnitude > 0x7FFFFFFFull) {
    over = true;
    value = INT32_MAX;
  } else {
    value = static_cast<std::int32_t>(r.magnitude);
  }
  if (overflow) *overflow = over;
  return value;
}

bool ToI64Token(std::u16string_view token, std::int64_t& value) {
  std::size_t i = 0;
  const std::size_t n = token.size();
  bool negative = false;
  if (i < n && (token[i] == u'+' || token[i] == u'-')) {
    negative = token[i] == u'-';
    ++i;
  }
  int base = 10;
  if (i + 1 < n && token[i] == u'0' && (token[i + 1] == u'x' || token[i + 1] == u'X')) {
    base = 16;
    i += 2;
  } else if (i < n && token[i] == u'0') {
    base = 8;
  }
  if (i >= n) return false;
  std::uint64_t magnitude = 0;
  for (; i < n; ++i) {
    const int d = DigitValue(token[i]);
    if (d >= base) return false;
    const auto b = static_cast<std::uint64_t>(base);
    if (magnitude > (UINT64_MAX - static_cast<std::uint64_t>(d)) / b) return false;
    magnitude = magnitude * b + static_cast<std::uint64_t>(d);
  }
  if (negative) {
    if (magnitude > 0x8000000000000000ull) return false;
    value = static_cast<std::int64_t>(0ull - magnitude);
  } else {
    value = static_cast<std::int64_t>(magnitude);
  }
  return true;
}

bool ToU32Token(std::u16string_view token, int base, std::uint32_t& value) {
  if (token.empty() || IsSpace(token[0]) || token[0] == u'+' || token[0] == u'-') return false;
  std::size_t end = 0;
  bool overflow = false;
  value = ToU32(token, base, &end, &overflow);
  return end == token.size() && !overflow;
}

bool ParseQuoted(std::u16string_view column, std::u16string& out) {
  while (!column.empty() && column.back() == u' ') column.remove_suffix(1);
  if (column.size() < 2 || column.front() != u'"' || column.back() != u'"') return false;
  out.assign(column.substr(1, column.size() - 2));
  return true;
}

void ParseList(std::u16string_view column, std::vector<std::uint32_t>& out) {
  if (!column.empty() && column.front() == u'"') column.remove_prefix(1);
  if (!column.empty() && column.back() == u'"') column.remove_suffix(1);
  std::size_t i = 0;
  const std::size_t n = column.size();
  while (i < n) {
    while (i < n && column[i] == u',') ++i;
    if (i >= n) break;
    const std::size_t start = i;
    while (i < n && column[i] != u',') ++i;
    const std::u16string_view piece = column.substr(start, i - start);
    std::size_t end = 0;
    bool overflow = false;
    std::uint32_t value = 0;
    // Only a piece that starts with a lower-case "0x" is read as unsigned
    // hexadecimal; "0X" pieces go through the signed conversion like any
    // other, which still reads the prefix but keeps the signed range.
    if (piece.size() >= 2 && piece[0] == u'0' && piece[1] == u'x') {
      value = ToU32(piece, 16, &end, &overflow);
    } else {
      value = static_cast<std::uint32_t>(ToI32(piece, 0, &end, &overflow));
    }
    if (end == 0 || overflow) continue;
    bool rest_blank = true;
    for (std::size_t k = end; k < piece.size(); ++k) rest_blank = rest_blank && IsSpace(piece[k]);
    if (rest_blank) out.push_back(value);
  }
}

void ParseIdSet(std::u16string_view column, std::vector<std::int32_t>& out) {
  std::vector<std::uint32_t> raw;
  ParseList(column, raw);
  out.assign(raw.begin(), raw.end());
  std::sort(out.begin(), out.end());
  out.erase(std::unique(out.begin(), out.end()), out.end());
}

void ParseIdSet(std::u16string_view column, std::vector<std::uint32_t>& out) {
  out.clear();
  ParseList(column, out);
  const auto as_signed = [](std::uint32_t a, std::uint32_t b) {
    return static_cast<std::int32_t>(a) < static_cast<std::int32_t>(b);
  };
  std::sort(out.begin(), out.end(), as_signed);
  out.erase(std::unique(out.begin(), out.end()), out.end());
}

void AppendUnsigned(std::u16string& out, std::uint32_t value) { AppendDecimal(out, value); }

void AppendSigned(std::u16string& out, std::int32_t value) { AppendSignedDecimal(out, value); }

void AppendHex(std::u16string& out, std::uint32_t value, int min_digits) {
  AppendHexDigits(out, value, min_digits);
}

void AppendQuoted(std::u16string& out, std::u16string_view text) {
  out.push_back(u'"');
  out.append(text);
  out.push_back(u'"');
}

void AppendQuotedList(std::u16string& out, const std::vector<std::uint32_t>& values) {
  out.push_back(u'"');
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i != 0) out.push_back(u',');
    AppendSigned(out, static_cast<std::int32_t>(values[i]));
  }
  out.push_back(u'"');
}

void AppendQuotedList(std::u16string& out, const std::vector<std::int32_t>& values) {
  out.push_back(u'"');
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i != 0) out.push_back(u',');
    AppendSigned(out, values[i]);
  }
  out.push_back(u'"');
}

}  // namespace quillon::db
