#include "render/field_value.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "render_test_db.h"

namespace quillon {
namespace {

FieldRecord Def(std::uint32_t type, std::uint32_t bits, bool hex = false,
                std::int32_t kind = kFieldPlain) {
  FieldRecord f;
  f.id = 1;
  f.name = u"f";
  f.type = type;
  f.bit_size = bits;
  f.hexadecimal = hex;
  f.kind = kind;
  return f;
}

// Keeps its own copy of the definition, which the entry points to.
struct Read {
  Read(const FieldRecord& definition, std::vector<std::uint8_t> payload, std::uint32_t pos = 0,
       const Database* db = nullptr, bool text = true)
      : def(definition), bytes(std::move(payload)) {
    BitReader r(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    r.SetPosition(pos);
    ok = ReadField(db, &def, r, text, field);
    end = r.Position();
  }
  Read(const Read&) = delete;
  FieldRecord def;
  std::vector<std::uint8_t> bytes;
  ParsedField field;
  bool ok = false;
  std::uint32_t end = 0;
};

std::u16string Text(std::uint32_t type, std::uint32_t bits, std::vector<std::uint8_t> bytes,
                    bool hex) {
  const FieldRecord def = Def(type, bits, hex);
  return Read(def, std::move(bytes)).field.value_text;
}

TEST(FieldValue, IntegerTextsDecimalAndHexadecimal) {
  // value bytes, type, bits, decimal, hexadecimal
  struct Case {
    std::uint32_t type;
    std::uint32_t bits;
    std::vector<std::uint8_t> bytes;
    std::u16string dec;
    std::u16string hex;
  };
  const Case cases[] = {
      {kFieldBool, 1, {0x01}, u"1", u"0x01"},
      {kFieldI8, 8, {0xFE}, u"-2", u"0xFE"},
      {kFieldU8, 8, {0xFE}, u"254", u"0xFE"},
      {kFieldI16, 16, {0x00, 0x80}, u"-32768", u"0x8000"},
      {kFieldU16, 16, {0x34, 0x12}, u"4660", u"0x1234"},
      {kFieldI32, 32, {0xFF, 0xFF, 0xFF, 0xFF}, u"-1", u"0xFFFFFFFF"},
      {kFieldU32, 32, {0xFF, 0xFF, 0xFF, 0xFF}, u"4294967295", u"0xFFFFFFFF"},
      {kFieldU32, 12, {0x05, 0x00}, u"5", u"0x00000005"},
      {kFieldI64,
       64,
       {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
       u"-1",
       u"0xFFFFFFFFFFFFFFFF"},
      {kFieldU64,
       64,
       {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
       u"18446744073709551615",
       u"0xFFFFFFFFFFFFFFFF"},
      {kFieldU64, 40, {0x01, 0, 0, 0, 0x01}, u"4294967297", u"0x0000000100000001"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Text(c.type, c.bits, c.bytes, false), c.dec) << "type " << c.type;
    EXPECT_EQ(Text(c.type, c.bits, c.bytes, true), c.hex) << "type " << c.type;
  }
}

TEST(FieldValue, ShortSignedFieldsAreSignExtendedButShowTheirTypeWidthInHex) {
  const FieldRecord def = Def(kFieldI8, 5, true);
  Read r(def, {0x10});  // 0b10000
  ASSERT_TRUE(r.ok);
  EXPECT_EQ(r.field.value_text, u"0xF0");
  EXPECT_EQ(FieldVariant(r.field), Variant::I1(-16));
  EXPECT_EQ(WidenedValue(r.field), -16);
  EXPECT_EQ(Text(kFieldI16, 12, {0x00, 0x08}, false), u"-2048");
  EXPECT_EQ(Text(kFieldI16, 12, {0x00, 0x08}, true), u"0xF800");
}

TEST(FieldValue, BooleanBecomesOneForAnyNonZeroValue) {
  const FieldRecord def = Def(kFieldBool, 4);
  Read r(def, {0x09});
  ASSERT_TRUE(r.ok);
  EXPECT_EQ(r.field.value, 1u);
  EXPECT_EQ(r.field.value_text, u"1");
  EXPECT_EQ(FieldVariant(r.field), Variant::Bool(true));
  EXPECT_EQ(r.end, 4u);
}

TEST(FieldValue, FloatingPointTextsKeepTheirHexadecimalAsymmetries) {
  std::vector<std::uint8_t> one_f(4);
  const float f = 1.0f;
  std::memcpy(one_f.data(), &f, 4);
  EXPECT_EQ(Text(kFieldFloat, 32, one_f, false), u"1.000000");
  EXPECT_EQ(Text(kFieldFloat, 32, one_f, true), u"0x3F800000");
  // A small raw word still shows at least four digits, not eight.
  EXPECT_EQ(Text(kFieldFloat, 32, {0x12, 0, 0, 0}, true), u"0x0012");

  std::vector<std::uint8_t> d_bytes(8);
  const double d = 1.0;
  std::memcpy(d_bytes.data(), &d, 8);
  EXPECT_EQ(Text(kFieldDouble, 64, d_bytes, false), u"1.000000");
  // Only the low 32 bits of a double are shown.
  EXPECT_EQ(Text(kFieldDouble, 64, d_bytes, true), u"0x00000000");
  const double third = -2.5;
  std::memcpy(d_bytes.data(), &third, 8);
  const FieldRecord def = Def(kFieldDouble, 64);
  Read r(def, d_bytes);
  EXPECT_EQ(r.field.value_text, u"-2.500000");
  EXPECT_EQ(FieldVariant(r.field), Variant::R8(-2.5));
  EXPECT_FALSE(WidenedValue(r.field).has_value());
}

TEST(FieldValue, NumbersGetNoTextUnlessAsked) {
  const FieldRecord def = Def(kFieldU8, 8);
  Read r(def, {7}, 0, nullptr, false);
  ASSERT_TRUE(r.ok);
  EXPECT_EQ(r.field.value, 7u);
  EXPECT_TRUE(r.field.value_text.empty());
}

TEST(FieldValue, WidthBeyondTheTypeOrThePayloadIsInvalid) {
  const FieldRecord wide = Def(kFieldU64, 65);
  Read r(wide, std::vector<std::uint8_t>(16, 0xAA));
  EXPECT_FALSE(r.ok);
  EXPECT_FALSE(r.field.valid);
  EXPECT_TRUE(FieldVariant(r.field).IsEmpty());
  EXPECT_TRUE(RawValueText(r.field).empty());

  const FieldRecord word = Def(kFieldU32, 32);
  Read short_read(word, {1, 2, 3});
  EXPECT_FALSE(short_read.ok);
  EXPECT_EQ(short_read.end, 0u);

  const FieldRecord bad_type = Def(15, 8);
  EXPECT_FALSE(Read(bad_type, {1}).ok);
  const FieldRecord bad_kind = Def(kFieldU8, 8, false, 3);
  EXPECT_FALSE(Read(bad_kind, {1}).ok);
}

TEST(FieldValue, VariantTypesFollowTheFieldType) {
  const std::vector<std::uint8_t> bytes(8, 0x81);
  const std::pair<std::uint32_t, VariantType> expected[] = {
      {kFieldBool, VariantType::kBool}, {kFieldI8, VariantType::kI1},
      {kFieldU8, VariantType::kUI1},    {kFieldI16, VariantType::kI2},
      {kFieldU16, VariantType::kUI2},   {kFieldI32, VariantType::kI4},
      {kFieldU32, VariantType::kUI4},   {kFieldI64, VariantType::kI8},
      {kFieldU64, VariantType::kUI8},   {kFieldFloat, VariantType::kR4},
      {kFieldDouble, VariantType::kR8}, {kFieldString8, VariantType::kText},
  };
  for (const auto& [type, vt] : expected) {
    const std::uint32_t bits = type == kFieldBool || type == kFieldI8 || type == kFieldU8 ? 8
                               : type == kFieldI16 || type == kFieldU16                   ? 16
                               : type == kFieldI64 || type == kFieldU64 || type == kFieldDouble
                                   ? 64
                                   : 32;
    const FieldRecord def = Def(type, bits);
    Read r(def, bytes);
    ASSERT_TRUE(r.ok) << type;
    EXPECT_EQ(FieldVariant(r.field).Type(), vt) << type;
  }
  Read i16(Def(kFieldI16, 16), bytes);
  EXPECT_EQ(FieldVariant(i16.field).AsInt64(), static_cast<std::int16_t>(0x8181));
}

TEST(FieldValue, FixedLengthStringsEndAtTheirFirstZero) {
  const FieldRecord s8 = Def(kFieldString8, 48);
  Read r(s8, {'a', 'b', 'c', 0, 'x', 'y', 0xEE});
  ASSERT_TRUE(r.ok);
  EXPECT_EQ(r.field.value_text, u"abc");
  EXPECT_EQ(r.end, 48u);  // the whole fixed length is consumed
  EXPECT_EQ(FieldBitSize(r.field), 24u);
  EXPECT_EQ(FieldVariant(r.field), Variant::Text(u"abc"));

  const FieldRecord s16 = Def(kFieldString16, 64);
  Read w(s16, {'H', 0, 'i', 0, 0x3A, 0x26, 'z', 0});
  ASSERT_TRUE(w.ok);
  EXPECT_EQ(w.field.value_text, u"Hi\u263Az");
  EXPECT_EQ(FieldBitSize(w.field), 64u);

  // ANSI text: 0xE9 is e acute in the Western code page.
  const FieldRecord ansi = Def(kFieldString8, 8);
  EXPECT_EQ(Read(ansi, {0xE9}).field.value_text, u"\u00E9");
  // Strings carry their text even when number texts are not wanted.
  EXPECT_EQ(Read(s8, {'q', 0, 0, 0, 0, 0}, 0, nullptr, false).field.value_text, u"q");
}

TEST(FieldValue, ZeroTerminatedStringsNeedTheirTerminator) {
  const FieldRecord z8 = Def(kFieldZString8, 0);
  Read r(z8, {'o', 'k', 0, 'n', 'o'});
  ASSERT_TRUE(r.ok);
  EXPECT_EQ(r.field.value_text, u"ok");
  EXPECT_EQ(r.end, 24u);  // the terminator is consumed
  EXPECT_EQ(FieldBitSize(r.field), 16u);

  EXPECT_FALSE(Read(z8, {'n', 'o', 'n', 'e'}).ok);

  const FieldRecord z16 = Def(kFieldZString16, 0);
  Read w(z16, {'a', 0, 'b', 0, 0, 0, 'c', 0}, 0);
  ASSERT_TRUE(w.ok);
  EXPECT_EQ(w.field.value_text, u"ab");
  EXPECT_EQ(w.end, 48u);
  EXPECT_FALSE(Read(z16, {'a', 0, 'b'}).ok);  // half a unit is no terminator
}

TEST(FieldValue, StringsLongerThanTheLargestPayloadAreInvalid) {
  std::vector<std::uint8_t> long_text(9001, 'a');
  long_text.back() = 0;
  EXPECT_FALSE(Read(Def(kFieldZString8, 0), long_text).ok);
  EXPECT_FALSE(Read(Def(kFieldString8, 9000 * 8), long_text).ok);
  std::vector<std::uint8_t> fits(8208, 'b');
  EXPECT_TRUE(Read(Def(kFieldString8, 8208 * 8), fits).ok);
}

TEST(FieldValue, EnumerationTextsFallBackToTheSignedNumber) {
  rendertest::TestDb t;
  t.EnumEntry(7, 3, u"Three").EnumEntry(7, 4, u"");
  const Database& db = t.db();
  const FieldRecord u = Def(7, 32, false, kFieldEnumUnsigned);
  Read three(u, {3, 0, 0, 0}, 0, &db);
  EXPECT_EQ(three.field.value_text, u"Three");
  EXPECT_EQ(RawValueText(three.field), u"3");
  EXPECT_EQ(FieldVariant(three.field), Variant::UI4(3));

  // 4000000000 has no text: the number shows, signed even for an unsigned
  // enumeration; the raw text stays unsigned.
  Read big(u, {0x00, 0x28, 0x6B, 0xEE}, 0, &db);
  EXPECT_EQ(big.field.value_text, u"-294967296");
  EXPECT_EQ(RawValueText(big.field), u"4000000000");
  EXPECT_EQ(WidenedValue(big.field), 4000000000LL);

  // An empty name counts as no text.
  EXPECT_EQ(Read(u, {4, 0, 0, 0}, 0, &db).field.value_text, u"4");

  const FieldRecord hex = Def(7, 8, true, kFieldEnumUnsigned);
  Read h(hex, {0x1F}, 0, &db);
  EXPECT_EQ(h.field.value_text, u"0x1F");
  EXPECT_EQ(RawValueText(h.field), u"0x1F");
}

TEST(FieldValue, SignedEnumerationsAreSignExtendedFromTheirBitSize) {
  rendertest::TestDb t;
  t.EnumEntry(9, -2, u"MinusTwo");
  const FieldRecord s = Def(9, 4, false, kFieldEnumSigned);
  Read r(s, {0x0E}, 0, &t.db());
  ASSERT_TRUE(r.ok);
  EXPECT_EQ(r.field.value_text, u"MinusTwo");
  EXPECT_EQ(RawValueText(r.field), u"-2");
  EXPECT_EQ(FieldVariant(r.field), Variant::I4(-2));
  EXPECT_EQ(WidenedValue(r.field), -2);
  const FieldRecord sh = Def(9, 4, true, kFieldEnumSigned);
  EXPECT_EQ(RawValueText(Read(sh, {0x0E}, 0, &t.db()).field), u"0xFFFFFFFE");
  const FieldRecord too_wide = Def(9, 33, false, kFieldEnumSigned);
  EXPECT_FALSE(Read(too_wide, std::vector<std::uint8_t>(8), 0, &t.db()).ok);
}

TEST(FieldValue, WidenedValuesForCountsAndConditions) {
  EXPECT_EQ(WidenedValue(Read(Def(kFieldU16, 16), {0xFF, 0xFF}).field), 65535);
  EXPECT_EQ(WidenedValue(Read(Def(kFieldI16, 16), {0xFF, 0xFF}).field), -1);
  EXPECT_EQ(WidenedValue(Read(Def(kFieldI32, 32), {0xFF, 0xFF, 0xFF, 0xFF}).field), -1);
  EXPECT_EQ(WidenedValue(Read(Def(kFieldU32, 32), {0xFF, 0xFF, 0xFF, 0xFF}).field), 4294967295LL);
  const std::vector<std::uint8_t> top(8, 0xFF);
  EXPECT_EQ(WidenedValue(Read(Def(kFieldI64, 64), top).field), -1);
  EXPECT_FALSE(WidenedValue(Read(Def(kFieldU64, 64), top).field).has_value());
  EXPECT_EQ(WidenedValue(Read(Def(kFieldU64, 63), top).field), INT64_MAX);
  EXPECT_FALSE(WidenedValue(Read(Def(kFieldString8, 8), {'a'}).field).has_value());
  EXPECT_FALSE(WidenedValue(Read(Def(kFieldFloat, 32), {0, 0, 0x80, 0x3F}).field).has_value());
}

}  // namespace
}  // namespace quillon
