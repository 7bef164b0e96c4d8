#include "common/word_format.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace quillon {
namespace {

const std::u16string kTwo = u"Two";
const std::u16string kWide = u"\u4142\u0043x";  // bytes 42 41 43 00 78 00

FormatWord Text(const std::u16string& text) { return {0, &text}; }
FormatWord Number(std::uint32_t bits) { return {bits, nullptr}; }

std::optional<std::u16string> Words(std::u16string_view format, std::vector<FormatWord> words,
                                    std::size_t bound = kUnboundedFormat) {
  return FormatWords(format, words, bound);
}

TEST(FormatWords, TextWordsGiveTheirText) {
  EXPECT_EQ(
      Words(u"[%s|%ls|%ws|%lS|%wS]", {Text(kTwo), Text(kTwo), Text(kTwo), Text(kTwo), Text(kTwo)}),
      u"[Two|Two|Two|Two|Two]");
  EXPECT_EQ(Words(u"[%5.2s][%-4s]", {Text(kTwo), Text(kTwo)}), u"[   Tw][Two ]");
  EXPECT_EQ(Words(u"%.*s|%d", {Number(1), Text(kTwo), Number(7)}), u"T|7");
}

// In a wide printf "%hs", "%S" and "%hS" are narrow texts: the wide
// text's bytes, little-endian, read up to the first zero byte.
TEST(FormatWords, NarrowConversionsReadTheWideTextsBytes) {
  EXPECT_EQ(Words(u"[%hs][%S][%hS]", {Text(kTwo), Text(kTwo), Text(kTwo)}), u"[T][T][T]");
  EXPECT_EQ(Words(u"[%hs]", {Text(kWide)}), u"[BAC]");
  // The precision counts bytes of the narrow text.
  EXPECT_EQ(Words(u"[%.2S]", {Text(kWide)}), u"[BA]");
  const std::u16string empty;
  EXPECT_EQ(Words(u"[%hs]", {Text(empty)}), u"[]");
}

TEST(FormatWords, TheWordZeroIsTheNullText) {
  EXPECT_EQ(Words(u"%s %hs %S %Z", {Number(0), Number(0), Number(0), Number(0)}),
            u"(null) (null) (null) (null)");
  EXPECT_EQ(Words(u"%s", {Number(1)}), std::nullopt);
}

// Where the runtime would read memory it was not given.
TEST(FormatWords, TextAddressesAreNotNumbers) {
  for (const std::u16string_view format :
       {u"%d", u"%u", u"%x", u"%c", u"%C", u"%p", u"%zu", u"%*d", u"%.*d", u"%Z", u"%wZ"}) {
    EXPECT_EQ(Words(format, {Text(kTwo), Number(1)}), std::nullopt) << format.size();
  }
  // Either half of a 64-bit number or double.
  EXPECT_EQ(Words(u"%I64u", {Number(1), Text(kTwo)}), std::nullopt);
  EXPECT_EQ(Words(u"%f", {Text(kTwo), Number(1)}), std::nullopt);
  // A refusal anywhere refuses the format, even past the bound.
  EXPECT_EQ(Words(u"%05000d%u", {Number(1), Text(kTwo)}, 10), std::nullopt);
}

TEST(FormatWords, NumbersAndTextsMix) {
  EXPECT_EQ(Words(u"%u=%s (%p)", {Number(3), Text(kTwo), Number(0xBEEF)}), u"3=Two (0000BEEF)");
  EXPECT_EQ(Words(u"%jd %s", {Number(1), Number(1), Text(kTwo)}), u"4294967297 Two");
}

TEST(FormatWords, MissingWordsRefuseTheFormat) {
  EXPECT_EQ(Words(u"%s %s", {Text(kTwo)}), std::nullopt);
  EXPECT_EQ(Words(u"%lld", {Number(1)}), std::nullopt);
  EXPECT_EQ(Words(u"%*s", {Number(4)}), std::nullopt);
  EXPECT_EQ(Words(u"no conversion", {}), u"no conversion");
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

// Fields beyond the formatter's limit show their first characters under a
// bound of at most 4095; the whole text is not made without one.
TEST(FormatWords, HugeFieldsNeedASmallBound) {
  const std::uint32_t one[] = {1};
  EXPECT_EQ(FormatWords(u"%099999d", one, 4095), std::u16string(4095, u'0'));
  EXPECT_EQ(FormatWords(u"%.99999d", one, 20), std::u16string(20, u'0'));
  EXPECT_EQ(FormatWords(u"%099999d", one, 4096), std::nullopt);
  EXPECT_EQ(FormatWords(u"%099999d", one), std::nullopt);
  // A text's padding depends on the text's length, which has no limit.
  EXPECT_EQ(Words(u"%99999s", {Text(kTwo)}, 10), std::nullopt);
  EXPECT_EQ(Words(u"%99999s", {Number(0)}, 10), std::u16string(10, u' '));
  // A '*' width of INT_MIN pads nothing, with or without a bound.
  const std::uint32_t int_min[] = {0x80000000u, 5};
  EXPECT_EQ(FormatWords(u"[%*d]", int_min), u"[5]");
}

}  // namespace
}  // namespace quillon
