// Column rules shared by every table: a line is split on '^' like the C
// library's token splitter (runs of separators count as one, so an empty
// column cannot be written), and columns convert the way wcstoul/wcstol
// with a 32-bit long do, without checks.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillon::db {

// The columns of one line. Tables use at most eight; later columns are
// counted but not kept.
class Columns {
 public:
  static constexpr std::size_t kMaxKept = 12;

  explicit Columns(std::u16string_view line);
  std::size_t size() const { return count_; }
  std::u16string_view operator[](std::size_t i) const {
    return i < kMaxKept ? columns_[i] : std::u16string_view();
  }

 private:
  std::array<std::u16string_view, kMaxKept> columns_{};
  std::size_t count_ = 0;
};

// Blanks as iswspace sees them in the "C" locale.
inline bool IsSpace(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }

// wcstoul with a 32-bit unsigned long: leading white space, an optional
// sign (a minus negates modulo 2^32), base 10 or base 0 ("0x" hexadecimal,
// leading 0 octal). Overflow gives 0xFFFFFFFF. `end` receives the index of
// the first character not used (0 when no digits were found).
std::uint32_t ToU32(std::u16string_view text, int base, std::size_t* end = nullptr,
                    bool* overflow = nullptr);
// wcstol with a 32-bit long: as ToU32, overflow clamps to the limits.
std::int32_t ToI32(std::u16string_view text, int base, std::size_t* end = nullptr,
                   bool* overflow = nullptr);
// A whole token as a base-0 64-bit number, signed or unsigned (the bits of
// the value); false unless the token is exactly one number.
bool ToI64Token(std::u16string_view token, std::int64_t& value);
// A whole token as an unsigned number of the given base; false unless the
// token is exactly one number that fits 32 bits.
bool ToU32Token(std::u16string_view token, int base, std::uint32_t& value);

// A quoted string column: blanks (32 only) are cut at the end, then the
// column must be at least two characters and start and end with '"'.
bool ParseQuoted(std::u16string_view column, std::u16string& out);

// A list column: an optional leading quote and trailing quote are removed,
// the rest is split on ',' (runs count as one) and each piece is converted
// as a base-0 number (pieces starting with a lower-case "0x" as unsigned
// hexadecimal, all others signed). A piece that is not one number followed
// only by white space, or that is out of range, is dropped. Pieces are
// appended in order, duplicates included; see ParseIdSet for set columns.
void ParseList(std::u16string_view column, std::vector<std::uint32_t>& out);
// A list column that holds a set of IDs: ParseList, then sorted (as signed
// 32-bit numbers) with duplicates removed.
void ParseIdSet(std::u16string_view column, std::vector<std::int32_t>& out);
void ParseIdSet(std::u16string_view column, std::vector<std::uint32_t>& out);

// Appending numbers to a line being written.
void AppendUnsigned(std::u16string& out, std::uint32_t value);
void AppendSigned(std::u16string& out, std::int32_t value);
// "%0*X" with the given minimum number of digits, upper case.
void AppendHex(std::u16string& out, std::uint32_t value, int min_digits);
void AppendQuoted(std::u16string& out, std::u16string_view text);
// Signed values joined by ',' inside quotes; -1 written as "-1" so the list
// reads back unchanged.
void AppendQuotedList(std::u16string& out, const std::vector<std::uint32_t>& values);
void AppendQuotedList(std::u16string& out, const std::vector<std::int32_t>& values);

// Writes the columns of one line in order, '^' between them (none before
// the first), onto whatever `out` already holds.
class ColumnWriter {
 public:
  explicit ColumnWriter(std::u16string& out) : out_(out) {}

  ColumnWriter& Unsigned(std::uint32_t value) {
    Next();
    AppendUnsigned(out_, value);
    return *this;
  }
  ColumnWriter& Signed(std::int32_t value) {
    Next();
    AppendSigned(out_, value);
    return *this;
  }
  ColumnWriter& Flag(bool value) { return Unsigned(value ? 1 : 0); }
  // "0x" and at least `min_digits` upper-case hexadecimal digits.
  ColumnWriter& Hex(std::uint32_t value, int min_digits) {
    Next();
    out_ += u"0x";
    AppendHex(out_, value, min_digits);
    return *this;
  }
  ColumnWriter& Quoted(std::u16string_view text) {
    Next();
    AppendQuoted(out_, text);
    return *this;
  }
  template <typename T>
  ColumnWriter& QuotedList(const std::vector<T>& values) {
    Next();
    AppendQuotedList(out_, values);
    return *this;
  }

 private:
  void Next() {
    if (started_) out_ += u'^';
    started_ = true;
  }

  std::u16string& out_;
  bool started_ = false;
};

}  // namespace quillon::db
