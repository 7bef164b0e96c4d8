#include "render/field_value.h"

#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "render_test_db.h"

namespace quillon {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Reads one field of the given definition from `bytes`.
struct Read {
  Read(std::uint32_t type, std::uint32_t bits, Bytes payload, bool hex = false,
       std::int32_t kind = kFieldPlain, const Database* db = nullptr, bool text = true)
      : bytes(std::move(payload)) {
    def.id = 1;
    def.name = u"f";
    def.type = type;
    def.bit_size = bits;
    def.hexadecimal = hex;
    def.kind = kind;
    BitReader r(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    ok = ReadField(db, &def, r, text, field);
    end = r.Position();
  }
  Read(const Read&) = delete;
  FieldRecord def;  // the entry points to it
  Bytes bytes;
  ParsedField field;
  bool ok = false;
  std::uint32_t end = 0;
};

template <typename T>
Bytes Raw(T v) {
  Bytes b(sizeof v);
  std::memcpy(b.data(), &v, sizeof v);
  return b;
}

TEST(FieldValue, NumberTextsDecimalAndHexadecimal) {
  const Bytes ones(8, 0xFF);
  const struct {
    std::uint32_t type, bits;
    Bytes bytes;
    std::u16string dec, hex;
  } cases[] = {
      {kFieldBool, 1, {0x01}, u"1", u"0x01"},
      {kFieldBool, 4, {0x09}, u"1", u"0x01"},  // any non-zero value is 1
      {kFieldI8, 8, {0xFE}, u"-2", u"0xFE"},
      {kFieldI8, 5, {0x10}, u"-16", u"0xF0"},  // sign-extended, shown at type width
      {kFieldU8, 8, {0xFE}, u"254", u"0xFE"},
      {kFieldI16, 16, {0x00, 0x80}, u"-32768", u"0x8000"},
      {kFieldI16, 12, {0x00, 0x08}, u"-2048", u"0xF800"},
      {kFieldU16, 16, {0x34, 0x12}, u"4660", u"0x1234"},
      {kFieldI32, 32, ones, u"-1", u"0xFFFFFFFF"},
      {kFieldU32, 32, ones, u"4294967295", u"0xFFFFFFFF"},
      {kFieldU32, 12, {0x05, 0x00}, u"5", u"0x00000005"},
      {kFieldI64, 64, ones, u"-1", u"0xFFFFFFFFFFFFFFFF"},
      {kFieldU64, 64, ones, u"18446744073709551615", u"0xFFFFFFFFFFFFFFFF"},
      {kFieldU64, 40, {0x01, 0, 0, 0, 0x01}, u"4294967297", u"0x0000000100000001"},
      {kFieldFloat, 32, Raw(1.0f), u"1.000000", u"0x3F800000"},
      {kFieldFloat, 32, {0x12, 0, 0, 0}, u"0.000000", u"0x0012"},  // at least four digits
      {kFieldDouble, 64, Raw(-2.5), u"-2.500000", u"0x00000000"},  // the low 32 bits only
  };
  for (const auto& c : cases) {
    Read dec(c.type, c.bits, c.bytes);
    EXPECT_TRUE(dec.ok);
    EXPECT_EQ(dec.end, c.bits);
    EXPECT_EQ(dec.field.value_text, c.dec) << "type " << c.type << " bits " << c.bits;
    EXPECT_EQ(Read(c.type, c.bits, c.bytes, true).field.value_text, c.hex) << "type " << c.type;
  }
  Read quiet(kFieldU8, 8, {7}, false, kFieldPlain, nullptr, false);
  EXPECT_EQ(quiet.field.value, 7u);
  EXPECT_TRUE(quiet.field.value_text.empty());  // numbers get no text unless asked
}

TEST(FieldValue, VariantsAndWidenedValues) {
  const Bytes ones(8, 0xFF);
  const struct {
    std::uint32_t type, bits;
    Bytes bytes;
    Variant variant;
    std::optional<std::int64_t> widened;
  } cases[] = {
      {kFieldBool, 4, {0x09}, Variant::Bool(true), 1},
      {kFieldI8, 5, {0x10}, Variant::I1(-16), -16},
      {kFieldU8, 8, {0x81}, Variant::UI1(0x81), 0x81},
      {kFieldI16, 16, ones, Variant::I2(-1), -1},
      {kFieldU16, 16, ones, Variant::UI2(0xFFFF), 65535},
      {kFieldI32, 32, ones, Variant::I4(-1), -1},
      {kFieldU32, 32, ones, Variant::UI4(0xFFFFFFFF), 4294967295LL},
      {kFieldI64, 64, ones, Variant::I8(-1), -1},
      {kFieldU64, 64, ones, Variant::UI8(~0ull), std::nullopt},
      {kFieldU64, 63, ones, Variant::UI8(INT64_MAX), INT64_MAX},
      {kFieldFloat, 32, Raw(1.0f), Variant::R4(1.0f), std::nullopt},
      {kFieldDouble, 64, Raw(-2.5), Variant::R8(-2.5), std::nullopt},
      {kFieldString8, 8, {'a'}, Variant::Text(u"a"), std::nullopt},
  };
  for (const auto& c : cases) {
    Read r(c.type, c.bits, c.bytes);
    EXPECT_EQ(FieldVariant(r.field), c.variant) << "type " << c.type << " bits " << c.bits;
    EXPECT_EQ(WidenedValue(r.field), c.widened) << "type " << c.type << " bits " << c.bits;
  }
}

TEST(FieldValue, WidthBeyondTheTypeOrThePayloadIsInvalid) {
  Read wide(kFieldU64, 65, Bytes(16, 0xAA));
  EXPECT_FALSE(wide.ok);
  EXPECT_FALSE(wide.field.valid);
  EXPECT_TRUE(FieldVariant(wide.field).IsEmpty());
  EXPECT_TRUE(RawValueText(wide.field).empty());
  Read short_read(kFieldU32, 32, {1, 2, 3});
  EXPECT_FALSE(short_read.ok);
  EXPECT_EQ(short_read.end, 0u);
  EXPECT_FALSE(Read(15, 8, {1}).ok);                  // no such type
  EXPECT_FALSE(Read(kFieldU8, 8, {1}, false, 3).ok);  // no such kind
  EXPECT_FALSE(Read(9, 33, Bytes(8), false, kFieldEnumSigned).ok);
}

TEST(FieldValue, Strings) {
  // Fixed lengths end at their first zero but consume the whole length;
  // zero-terminated strings consume their terminator and need one. 8-bit
  // text is in the Western code page. {type, bits, bytes, text, end, size}
  // clang-format off
  const std::tuple<std::uint32_t, std::uint32_t, Bytes, std::u16string, std::uint32_t, std::uint32_t> rows[] = {
      {kFieldString8, 48, {'a', 'b', 'c', 0, 'x', 'y', 0xEE}, u"abc", 48, 24},
      {kFieldString16, 64, {'H', 0, 'i', 0, 0x3A, 0x26, 'z', 0}, u"Hi\u263Az", 64, 64},
      {kFieldString8, 8, {0xE9}, u"\u00E9", 8, 8},
      {kFieldZString8, 0, {'o', 'k', 0, 'n', 'o'}, u"ok", 24, 16},
      {kFieldZString16, 0, {'a', 0, 'b', 0, 0, 0, 'c', 0}, u"ab", 48, 32}};
  // clang-format on
  for (const auto& [type, bits, bytes, text, end, size] : rows) {
    Read r(type, bits, bytes);
    EXPECT_EQ(std::tuple(r.ok, r.field.value_text, r.end, FieldBitSize(r.field)),
              std::tuple(true, text, end, size))
        << type;
  }
  // Strings carry their text even when number texts are not wanted.
  EXPECT_EQ(Read(kFieldString8, 48, {'q', 0, 0, 0, 0, 0}, false, kFieldPlain, nullptr, false)
                .field.value_text,
            u"q");
  // No terminator, half a unit, longer than the largest payload.
  Bytes long_text(9001, 'a');
  long_text.back() = 0;
  EXPECT_FALSE(Read(kFieldZString8, 0, {'n', 'o', 'n', 'e'}).ok);
  EXPECT_FALSE(Read(kFieldZString16, 0, {'a', 0, 'b'}).ok);
  EXPECT_FALSE(Read(kFieldZString8, 0, long_text).ok);
  EXPECT_FALSE(Read(kFieldString8, 9000 * 8, long_text).ok);
  EXPECT_TRUE(Read(kFieldString8, 8208 * 8, Bytes(8208, 'b')).ok);
}

TEST(FieldValue, EnumerationTextsFallBackToTheSignedNumber) {
  rendertest::TestDb t;
  t.EnumEntry(7, 3, u"Three").EnumEntry(7, 4, u"").EnumEntry(9, -2, u"MinusTwo");
  const Database* db = &t.db();
  const auto u = kFieldEnumUnsigned;
  Read three(7, 32, {3, 0, 0, 0}, false, u, db);
  EXPECT_EQ(three.field.value_text, u"Three");
  EXPECT_EQ(RawValueText(three.field), u"3");
  EXPECT_EQ(FieldVariant(three.field), Variant::UI4(3));
  // 4000000000 has no text: the number shows signed; the raw text does not.
  Read big(7, 32, {0x00, 0x28, 0x6B, 0xEE}, false, u, db);
  EXPECT_EQ(big.field.value_text, u"-294967296");
  EXPECT_EQ(RawValueText(big.field), u"4000000000");
  EXPECT_EQ(WidenedValue(big.field), 4000000000LL);
  EXPECT_EQ(Read(7, 32, {4, 0, 0, 0}, false, u, db).field.value_text, u"4");  // empty name
  Read hex(7, 8, {0x1F}, true, u, db);
  EXPECT_EQ(hex.field.value_text, u"0x1F");
  EXPECT_EQ(RawValueText(hex.field), u"0x1F");

  // Signed enumerations are sign-extended from their bit size.
  Read s(9, 4, {0x0E}, false, kFieldEnumSigned, db);
  EXPECT_EQ(s.field.value_text, u"MinusTwo");
  EXPECT_EQ(RawValueText(s.field), u"-2");
  EXPECT_EQ(FieldVariant(s.field), Variant::I4(-2));
  EXPECT_EQ(WidenedValue(s.field), -2);
  EXPECT_EQ(RawValueText(Read(9, 4, {0x0E}, true, kFieldEnumSigned, db).field), u"0xFFFFFFFE");
}

}  // namespace
}  // namespace quillon
