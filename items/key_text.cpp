#include "items/key_text.h"

#include <limits>

#include "common/safe_format.h"

namespace quillon {

namespace {

// Appends one formatted piece, bounded by what is left of the 64-character
// buffer. False when the piece would overflow it.
bool AppendBounded(std::u16string& out, std::u16string_view format,
                   std::initializer_list<FormatArgument> args) {
  if (out.size() > kKeyTextCapacity) return false;
  FormatArgumentList list(std::span<const FormatArgument>(args.begin(), args.size()));
  return FormatAppend(out, format, list, kKeyTextCapacity - out.size()).ok();
}

bool FormatKey(const ItemKey& key, std::u16string& out) {
  switch (key[0]) {
    case kItemMalformed:
      if (key.size() < 2) return AppendBounded(out, u"-", {});
      return AppendBounded(out, u"%03u", {key[1]});
    case kItemDiagRx:
    case kItemDiagTx:
      return AppendBounded(out, u"%03u", {key[1]});
    case kItemGps:
      return AppendBounded(out, u"-", {});
    case kItemEvent:
      return AppendBounded(out, u"%05u", {key[1]});
    case kItemLog:
      return AppendBounded(out, u"0x%04X", {key[1]});
    case kItemMsg:
      return AppendBounded(out, u"%05u/%02u", {key[1], key[2]});
    case kItemString:
      return AppendBounded(out, u"%u", {key[1]});
    case kItemOtaLog:
      if (!AppendBounded(out, u"0x%04X", {key[1]})) return false;
      for (std::size_t i = 2; i < key.size(); ++i) {
        if (!AppendBounded(out, u"/%03u", {key[i]})) return false;
      }
      return true;
    case kItemSubsysRx:
    case kItemSubsysTx:
      return AppendBounded(out, u"%04u/%04u", {key[1], key[2]});
    default:
      return false;
  }
}

bool IsSpace(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }

int DigitValue(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'z') return c - u'a' + 10;
  if (c >= u'A' && c <= u'Z') return c - u'A' + 10;
  return 99;
}

// Reads one number from the start of `text` as the Windows wcstoul(text,
// 0, base) does with a 32-bit unsigned long; base 0 picks 16 for "0x", 8
// for a leading "0", else 10. A "0x" prefix is taken whole even when no
// hexadecimal digit follows it, so "0x" alone holds no number. Nothing when
// no digit is found.
std::optional<std::uint32_t> ReadNumber(std::u16string_view text, int base) {
  std::size_t i = 0;
  while (i < text.size() && IsSpace(text[i])) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == u'+' || text[i] == u'-')) {
    negative = text[i] == u'-';
    ++i;
  }
  if (base == 0) {
    if (i + 1 < text.size() && text[i] == u'0' && (text[i + 1] == u'x' || text[i + 1] == u'X')) {
      base = 16;
      i += 2;
    } else if (i < text.size() && text[i] == u'0') {
      base = 8;
    } else {
      base = 10;
    }
  }
  const std::uint64_t limit = std::numeric_limits<std::uint32_t>::max();
  std::uint64_t value = 0;
  bool any = false;
  bool saturated = false;
  for (; i < text.size(); ++i) {
    int d = DigitValue(text[i]);
    if (d >= base) break;
    any = true;
    value = value * static_cast<std::uint64_t>(base) + static_cast<std::uint64_t>(d);
    if (value > limit) {
      saturated = true;
      value = limit;
    }
  }
  if (!any) return std::nullopt;
  if (saturated) return static_cast<std::uint32_t>(limit);
  auto v = static_cast<std::uint32_t>(value);
  return negative ? static_cast<std::uint32_t>(0u - v) : v;
}

}  // namespace

bool KeyText(const ItemKey& key, std::u16string& out) {
  out.clear();
  if (!key.IsValid() || !FormatKey(key, out)) {
    out.clear();
    return false;
  }
  return true;
}

std::u16string KeyText(const ItemKey& key) {
  std::u16string out;
  KeyText(key, out);
  return out;
}

std::u16string BracketedKeyText(const ItemKey& key) {
  std::u16string text = KeyText(key);
  if (text.empty()) text = kMissingKeyText;
  return Format(u"[%s]", {text});
}

std::optional<ItemKey> ParseKeyText(std::u16string_view text, std::uint32_t type_code) {
  if (type_code >= kItemTypeCount) return std::nullopt;
  ItemKey key{type_code};
  auto append = [&key](std::u16string_view from, int base) {
    auto v = ReadNumber(from, base);
    if (v) key.Append(*v);
    return v.has_value();
  };
  switch (type_code) {
    case kItemDiagRx:
    case kItemDiagTx:
    case kItemEvent:
    case kItemString:
      if (!append(text, 10)) return std::nullopt;
      break;
    case kItemLog:
      if (!append(text, 0)) return std::nullopt;
      break;
    case kItemMsg:
    case kItemSubsysRx:
    case kItemSubsysTx: {
      auto first = ReadNumber(text, 10);
      if (!first) return std::nullopt;
      std::size_t slash = text.find(u'/');
      if (slash != std::u16string_view::npos) {
        auto second = ReadNumber(text.substr(slash + 1), 10);
        if (!second) return std::nullopt;
        key.Append(*first);
        key.Append(*second);
      }
      break;
    }
    case kItemOtaLog: {
      if (!append(text, 0)) return std::nullopt;
      for (std::size_t slash = text.find(u'/'); slash != std::u16string_view::npos;
           slash = text.find(u'/', slash + 1)) {
        if (!append(text.substr(slash + 1), 10)) return std::nullopt;
      }
      break;
    }
    default:  // MALFORMED and GPS carry no numbers in their key text.
      break;
  }
  if (!key.IsValid()) return std::nullopt;
  return key;
}

namespace {

template <typename Range>
std::u16string Join(const Range& keys, char16_t separator) {
  std::u16string result;
  std::u16string text;
  bool first = true;
  for (const ItemKey& key : keys) {
    if (KeyText(key, text) && !text.empty()) {
      if (!first) result.push_back(separator);
      result += text;
    }
    first = false;
  }
  return result;
}

}  // namespace

std::u16string JoinKeyTexts(std::span<const ItemKey> keys, char16_t separator) {
  return Join(keys, separator);
}

std::u16string JoinKeyTexts(const std::set<ItemKey>& keys, char16_t separator) {
  return Join(keys, separator);
}

}  // namespace quillon
