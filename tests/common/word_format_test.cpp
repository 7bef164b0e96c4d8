#include "common/word_format.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace quillon {
namespace {

const std::u16string kTwo = u"Two";
const std::u16string kWide = u"\u4142\u0043x";  // bytes 42 41 43 00 78 00
const std::u16string kEmpty;
const FormatWord T{0, &kTwo}, W{0, &kWide}, E{0, &kEmpty};
constexpr FormatWord N(std::uint32_t bits) { return {bits, nullptr}; }
const std::optional<std::u16string> kRefused;

struct Row {
  std::u16string_view format;
  std::vector<FormatWord> words;
  std::optional<std::u16string> text;
  std::size_t bound = kUnboundedFormat;
};

// Text words give their text; in a wide printf "%hs", "%S" and "%hS" are
// narrow texts (the wide text's bytes, little-endian, up to the first zero
// byte, the precision counting bytes); the word 0 is the null text; a text
// address is no number (the runtime would read memory it was not given).
TEST(FormatWords, TextsNumbersAndRefusals) {
  // clang-format off
  const Row rows[] = {
      {u"[%s|%ls|%ws|%lS|%wS]", {T, T, T, T, T}, u"[Two|Two|Two|Two|Two]"},
      {u"[%5.2s][%-4s]", {T, T}, u"[   Tw][Two ]"}, {u"%.*s|%d", {N(1), T, N(7)}, u"T|7"},
      {u"[%hs][%S][%hS]", {T, T, T}, u"[T][T][T]"}, {u"[%hs]", {W}, u"[BAC]"},
      {u"[%.2S]", {W}, u"[BA]"}, {u"[%hs]", {E}, u"[]"},
      {u"%s %hs %S %Z", {N(0), N(0), N(0), N(0)}, u"(null) (null) (null) (null)"},
      {u"%s", {N(1)}, kRefused},
      {u"%u=%s (%p)", {N(3), T, N(0xBEEF)}, u"3=Two (0000BEEF)"},
      {u"%jd %s", {N(1), N(1), T}, u"4294967297 Two"},
      // Either half of a 64-bit number or double; a refusal past the bound.
      {u"%I64u", {N(1), T}, kRefused}, {u"%f", {T, N(1)}, kRefused},
      {u"%05000d%u", {N(1), T}, kRefused, 10},
      {u"%s %s", {T}, kRefused}, {u"%lld", {N(1)}, kRefused}, {u"%*s", {N(4)}, kRefused},
      {u"no conversion", {}, u"no conversion"},
      // Fields beyond the formatter's limit show their first characters under
      // a bound of at most 4095; a text's padding has no such limit.
      {u"%099999d", {N(1)}, std::u16string(4095, u'0'), 4095},
      {u"%.99999d", {N(1)}, std::u16string(20, u'0'), 20},
      {u"%099999d", {N(1)}, kRefused, 4096}, {u"%099999d", {N(1)}, kRefused},
      {u"%99999s", {T}, kRefused, 10}, {u"%99999s", {N(0)}, std::u16string(10, u' '), 10},
      {u"[%*d]", {N(0x80000000u), N(5)}, u"[5]"},  // INT_MIN pads nothing
  };
  // clang-format on
  for (const Row& r : rows) {
    EXPECT_EQ(FormatWords(r.format, r.words, r.bound), r.text) << r.format.size() << " " << r.bound;
  }
  for (const std::u16string_view format :
       {u"%d", u"%u", u"%x", u"%c", u"%C", u"%p", u"%zu", u"%*d", u"%.*d", u"%Z", u"%wZ"}) {
    EXPECT_EQ(FormatWords(format, std::vector{T, N(1)}), kRefused) << format.size();
  }
}

TEST(FormatWords, BoundKeepsTheFirstCharacters) {
  const std::uint32_t numbers[] = {12345, 6};
  EXPECT_EQ(FormatWords(u"ab%dcd%d", numbers, 4), u"ab12");
  EXPECT_EQ(FormatWords(u"ab%dcd%d", numbers, 0), u"");
  EXPECT_EQ(FormatWords(u"ab%dcd%d", numbers), u"ab12345cd6");
  // A substituted NUL character stays; the format ends at its own.
  const std::uint32_t nul[] = {0, 1};
  EXPECT_EQ(FormatWords(std::u16string_view(u"%cz\0%d", 6), nul), std::u16string(u"\0z", 2));
}

}  // namespace
}  // namespace quillon
