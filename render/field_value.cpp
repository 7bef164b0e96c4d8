#include "render/field_value.h"

#include <cstring>
#include <string>
#include <string_view>

#include "common/little_endian.h"
#include "common/number_text.h"
#include "common/safe_format.h"
#include "common/text.h"
#include "database/database.h"

namespace quillon {

namespace {

// Read width (bits of the result) and signedness of the numeric types.
struct NumericType {
  std::uint32_t width;
  bool is_signed;
};

constexpr NumericType kNumeric[15] = {
    {8, false}, {8, true},   {8, false}, {16, true},  {16, false},
    {32, true}, {32, false}, {64, true}, {64, false}, {0, false},
    {0, false}, {0, false},  {0, false}, {32, false}, {64, false},
};

constexpr std::uint64_t WidthMask(std::uint32_t width) {
  return width >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << width) - 1;
}

std::int64_t SignExtend(std::uint64_t bits, std::uint32_t width) {
  if (width < 64 && (bits >> (width - 1) & 1u) != 0) bits |= ~WidthMask(width);
  return static_cast<std::int64_t>(bits);
}

// Reads `count` units of `width` bytes and takes them as a zero-terminated
// text: the text ends at the first 0 unit, or after the last one.
bool ReadString(BitReader& reader, std::uint32_t width, std::uint64_t count, ParsedField& out) {
  const std::uint64_t total = count * width;
  if (total > kMaxFieldStringBytes) return false;
  std::uint8_t bytes[kMaxFieldStringBytes];
  for (std::uint64_t i = 0; i < total; ++i) {
    if (reader.Read(8, bytes[i]) != kBitReadOk) return false;
  }
  if (width == 1) {
    const auto* chars = reinterpret_cast<const char*>(bytes);
    const auto* nul =
        static_cast<const char*>(std::memchr(chars, 0, static_cast<std::size_t>(total)));
    const std::size_t len =
        nul != nullptr ? static_cast<std::size_t>(nul - chars) : static_cast<std::size_t>(total);
    out.value_text = FromAnsi(std::string_view(chars, len));
  } else {
    out.value_text.clear();
    for (std::uint64_t i = 0; i + 1 < total; i += 2) {
      const char16_t unit = LoadUtf16LE(&bytes[i]);
      if (unit == 0) break;
      out.value_text.push_back(unit);
    }
  }
  return true;
}

// Counts the units of a zero-terminated string, the terminator included;
// the reader is left where it was.
bool CountTerminated(BitReader& reader, std::uint32_t width, std::uint64_t& count) {
  const std::uint32_t start = reader.Position();
  count = 0;
  bool ok = false;
  for (;;) {
    std::uint64_t unit = 0;
    if (reader.ReadBits(width * 8, width * 8, unit) != kBitReadOk) break;
    ++count;
    if (unit == 0) {
      ok = true;
      break;
    }
  }
  reader.SetPosition(start);
  return ok;
}

bool ReadPlain(const FieldRecord& def, BitReader& reader, bool make_text, ParsedField& out) {
  switch (def.type) {
    case kFieldString8:
    case kFieldString16: {
      const std::uint32_t width = def.type == kFieldString8 ? 1 : 2;
      return ReadString(reader, width, (def.bit_size / 8) / width, out);
    }
    case kFieldZString8:
    case kFieldZString16: {
      const std::uint32_t width = def.type == kFieldZString8 ? 1 : 2;
      std::uint64_t count = 0;
      if (!CountTerminated(reader, width, count)) return false;
      return ReadString(reader, width, count, out);
    }
    default:
      break;
  }
  if (def.type > kFieldDouble) return false;
  const NumericType nt = kNumeric[def.type];
  std::uint64_t bits = 0;
  if (reader.ReadBits(def.bit_size, nt.width, bits) != kBitReadOk) return false;
  if (nt.is_signed) bits = static_cast<std::uint64_t>(SignExtend(bits, def.bit_size));
  if (def.type == kFieldBool && bits > 1) bits = 1;
  out.value = bits & WidthMask(nt.width);
  if (make_text) AppendNumberText(out.value_text, def.type, out.value, def.hexadecimal);
  return true;
}

bool ReadEnum(const Database* db, const FieldRecord& def, BitReader& reader, bool make_text,
              ParsedField& out) {
  const bool is_signed = def.kind == kFieldEnumSigned;
  std::uint64_t bits = 0;
  if (reader.ReadBits(def.bit_size, 32, bits) != kBitReadOk) return false;
  if (is_signed) bits = static_cast<std::uint64_t>(SignExtend(bits, def.bit_size));
  out.value = bits & 0xFFFFFFFFu;
  if (make_text) {
    const auto number = static_cast<std::int32_t>(static_cast<std::uint32_t>(out.value));
    // The number fallback: a value without a text shows the number itself,
    // in signed decimal even for an unsigned enumeration.
    if (db != nullptr) {
      out.value_text = db->GetEnumValueText(def.type, number, true, def.hexadecimal);
    } else if (def.hexadecimal) {
      AppendHexPrefixed(out.value_text, static_cast<std::uint32_t>(number), 1);
    } else {
      AppendSignedDecimal(out.value_text, number);
    }
  }
  return true;
}

}  // namespace

void AppendNumberText(std::u16string& out, std::uint32_t type, std::uint64_t value,
                      bool hexadecimal) {
  switch (type) {
    case kFieldBool:
    case kFieldU8:
      if (hexadecimal) return AppendHexPrefixed(out, value & 0xFF, 2);
      return AppendDecimal(out, value & 0xFF);
    case kFieldI8:
      if (hexadecimal) return AppendHexPrefixed(out, value & 0xFF, 2);
      return AppendSignedDecimal(out, SignExtend(value & 0xFF, 8));
    case kFieldI16:
      if (hexadecimal) return AppendHexPrefixed(out, value & 0xFFFF, 4);
      return AppendSignedDecimal(out, SignExtend(value & 0xFFFF, 16));
    case kFieldU16:
      if (hexadecimal) return AppendHexPrefixed(out, value & 0xFFFF, 4);
      return AppendDecimal(out, value & 0xFFFF);
    case kFieldI32:
      if (hexadecimal) return AppendHexPrefixed(out, value & 0xFFFFFFFFu, 8);
      return AppendSignedDecimal(out, SignExtend(value & 0xFFFFFFFFu, 32));
    case kFieldU32:
      if (hexadecimal) return AppendHexPrefixed(out, value & 0xFFFFFFFFu, 8);
      return AppendDecimal(out, value & 0xFFFFFFFFu);
    case kFieldI64:
      if (hexadecimal) return AppendHexPrefixed(out, value, 16);
      return AppendSignedDecimal(out, static_cast<std::int64_t>(value));
    case kFieldU64:
      if (hexadecimal) return AppendHexPrefixed(out, value, 16);
      return AppendDecimal(out, value);
    case kFieldFloat: {
      const auto word = static_cast<std::uint32_t>(value);
      // "0x%04X": a 32-bit word shown with a minimum of four digits.
      if (hexadecimal) return AppendHexPrefixed(out, word, 4);
      float f;
      std::memcpy(&f, &word, sizeof f);
      out += Format(u"%f", {static_cast<double>(f)});
      return;
    }
    case kFieldDouble: {
      // Only the low 32 bits of a double are shown in hexadecimal.
      if (hexadecimal) return AppendHexPrefixed(out, value & 0xFFFFFFFFu, 8);
      double d;
      std::memcpy(&d, &value, sizeof d);
      out += Format(u"%f", {d});
      return;
    }
    default:
      return;
  }
}

bool ReadField(const Database* db, const FieldRecord* def, BitReader& reader, bool make_text,
               ParsedField& out) {
  out.definition = def;
  out.bit_offset = reader.Position();
  out.value = 0;
  out.value_text.clear();
  out.valid = false;
  if (def == nullptr) return false;
  bool ok = false;
  switch (def->kind) {
    case kFieldPlain:
      ok = ReadPlain(*def, reader, make_text, out);
      break;
    case kFieldEnumUnsigned:
    case kFieldEnumSigned:
      ok = ReadEnum(db, *def, reader, make_text, out);
      break;
    default:
      break;
  }
  if (!ok) {
    out.value = 0;
    out.value_text.clear();
  }
  out.valid = ok;
  return ok;
}

std::u16string RawValueText(const ParsedField& field) {
  std::u16string text;
  if (!field.valid || field.definition == nullptr) return text;
  const FieldRecord& def = *field.definition;
  const auto number = static_cast<std::uint32_t>(field.value);
  switch (def.kind) {
    case kFieldEnumUnsigned:
      if (def.hexadecimal) {
        AppendHexPrefixed(text, number, 1);
      } else {
        AppendDecimal(text, number);
      }
      return text;
    case kFieldEnumSigned:
      if (def.hexadecimal) {
        AppendHexPrefixed(text, number, 1);
      } else {
        AppendSignedDecimal(text, static_cast<std::int32_t>(number));
      }
      return text;
    default:
      return field.value_text;
  }
}

Variant FieldVariant(const ParsedField& field) {
  if (!field.valid || field.definition == nullptr) return {};
  const FieldRecord& def = *field.definition;
  const std::uint64_t v = field.value;
  if (def.kind == kFieldEnumUnsigned) return Variant::UI4(static_cast<std::uint32_t>(v));
  if (def.kind == kFieldEnumSigned) {
    return Variant::I4(static_cast<std::int32_t>(static_cast<std::uint32_t>(v)));
  }
  switch (def.type) {
    case kFieldBool:
      return Variant::Bool(v != 0);
    case kFieldI8:
      return Variant::I1(static_cast<std::int8_t>(static_cast<std::uint8_t>(v)));
    case kFieldU8:
      return Variant::UI1(static_cast<std::uint8_t>(v));
    case kFieldI16:
      return Variant::I2(static_cast<std::int16_t>(static_cast<std::uint16_t>(v)));
    case kFieldU16:
      return Variant::UI2(static_cast<std::uint16_t>(v));
    case kFieldI32:
      return Variant::I4(static_cast<std::int32_t>(static_cast<std::uint32_t>(v)));
    case kFieldU32:
      return Variant::UI4(static_cast<std::uint32_t>(v));
    case kFieldI64:
      return Variant::I8(static_cast<std::int64_t>(v));
    case kFieldU64:
      return Variant::UI8(v);
    case kFieldString8:
    case kFieldString16:
    case kFieldZString8:
    case kFieldZString16:
      return Variant::Text(field.value_text);
    case kFieldFloat: {
      const auto word = static_cast<std::uint32_t>(v);
      float f;
      std::memcpy(&f, &word, sizeof f);
      return Variant::R4(f);
    }
    case kFieldDouble: {
      double d;
      std::memcpy(&d, &v, sizeof d);
      return Variant::R8(d);
    }
    default:
      return {};
  }
}

std::uint32_t FieldBitSize(const ParsedField& field) {
  if (field.definition == nullptr) return 0;
  const FieldRecord& def = *field.definition;
  if (def.kind == kFieldPlain) {
    const auto len = static_cast<std::uint32_t>(field.value_text.size());
    switch (def.type) {
      case kFieldString8:
      case kFieldZString8:
        return len * 8;
      case kFieldString16:
      case kFieldZString16:
        return len * 16;
      default:
        break;
    }
  }
  return def.bit_size;
}

std::optional<std::int64_t> WidenedValue(const ParsedField& field) {
  if (!field.valid || field.definition == nullptr) return std::nullopt;
  const FieldRecord& def = *field.definition;
  const std::uint64_t v = field.value;
  switch (def.kind) {
    case kFieldEnumUnsigned:
      return static_cast<std::int64_t>(v & 0xFFFFFFFFu);
    case kFieldEnumSigned:
      return SignExtend(v & 0xFFFFFFFFu, 32);
    case kFieldPlain:
      break;
    default:
      return std::nullopt;
  }
  switch (def.type) {
    case kFieldBool:
    case kFieldU8:
      return static_cast<std::int64_t>(v & 0xFF);
    case kFieldU16:
      return static_cast<std::int64_t>(v & 0xFFFF);
    case kFieldU32:
      return static_cast<std::int64_t>(v & 0xFFFFFFFFu);
    case kFieldI8:
      return SignExtend(v & 0xFF, 8);
    case kFieldI16:
      return SignExtend(v & 0xFFFF, 16);
    case kFieldI32:
      return SignExtend(v & 0xFFFFFFFFu, 32);
    case kFieldI64:
      return static_cast<std::int64_t>(v);
    case kFieldU64:
      if (v > static_cast<std::uint64_t>(INT64_MAX)) return std::nullopt;
      return static_cast<std::int64_t>(v);
    default:
      return std::nullopt;
  }
}

}  // namespace quillon
