#include "items/ini_settings.h"

#include <limits>
#include <vector>

#include "common/little_endian.h"
#include "platform/file.h"
#include "platform/text_codec.h"

namespace quillon {

namespace {

bool IsBlank(char16_t c) { return c == u' ' || c == u'\t'; }

std::u16string_view Trim(std::u16string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::u16string Fold(std::u16string_view name) {
  std::u16string folded(name);
  for (char16_t& c : folded) {
    if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c - u'A' + u'a');
  }
  return folded;
}

std::u16string Utf16FromBytes(const std::uint8_t* p, std::size_t length, bool big_endian) {
  std::u16string text(length / 2, u'\0');
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t unit = LoadUtf16LE(&p[2 * i]);
    text[i] = big_endian ? static_cast<char16_t>((unit >> 8) | (unit << 8)) : unit;
  }
  return text;
}

std::u16string Decode(const std::uint8_t* p, std::size_t length) {
  if (length >= 2 && p[0] == 0xFF && p[1] == 0xFE) return Utf16FromBytes(p + 2, length - 2, false);
  if (length >= 2 && p[0] == 0xFE && p[1] == 0xFF) return Utf16FromBytes(p + 2, length - 2, true);
  if (length >= 3 && p[0] == 0xEF && p[1] == 0xBB && p[2] == 0xBF) {
    return platform::Utf8ToUtf16(
        std::string_view(reinterpret_cast<const char*>(p) + 3, length - 3));
  }
  if (platform::LooksLikeUtf16(p, length)) return Utf16FromBytes(p, length, false);
  return platform::Utf8ToUtf16(std::string_view(reinterpret_cast<const char*>(p), length));
}

// Optional sign, then decimal digits or "0x" and hex digits, nothing else.
std::optional<std::int32_t> ParseInteger(std::u16string_view text) {
  bool negative = false;
  if (!text.empty() && (text[0] == u'+' || text[0] == u'-')) {
    negative = text[0] == u'-';
    text.remove_prefix(1);
  }
  unsigned base = 10;
  if (text.size() > 2 && text[0] == u'0' && (text[1] == u'x' || text[1] == u'X')) {
    base = 16;
    text.remove_prefix(2);
  }
  if (text.empty()) return std::nullopt;
  std::int64_t value = 0;
  for (const char16_t c : text) {
    unsigned digit;
    if (c >= u'0' && c <= u'9') {
      digit = static_cast<unsigned>(c - u'0');
    } else if (base == 16 && c >= u'a' && c <= u'f') {
      digit = static_cast<unsigned>(c - u'a' + 10);
    } else if (base == 16 && c >= u'A' && c <= u'F') {
      digit = static_cast<unsigned>(c - u'A' + 10);
    } else {
      return std::nullopt;
    }
    value = value * base + digit;
    if (value > std::int64_t{1} << 31) return std::nullopt;
  }
  if (negative) value = -value;
  if (value > std::numeric_limits<std::int32_t>::max()) return std::nullopt;
  return static_cast<std::int32_t>(value);
}

}  // namespace

IniSettings IniSettings::FromFile(std::u16string_view path) {
  IniSettings settings;
  platform::File file;
  std::uint64_t size = 0;
  std::uint32_t error =
      file.Open(path, platform::FileAccess::kRead, platform::FileDisposition::kOpenExisting);
  if (error == 0) error = file.Size(size);
  if (error == 0 && size > kMaxFileSize) error = platform::error::kNotEnoughMemory;
  std::vector<std::uint8_t> bytes;
  if (error == 0) {
    bytes.resize(static_cast<std::size_t>(size));
    if (!bytes.empty()) error = file.ReadAt(0, bytes.data(), bytes.size());
  }
  if (error != 0) {
    settings.error_ = error;
    return settings;
  }
  settings = FromBytes(bytes.data(), bytes.size());
  return settings;
}

IniSettings IniSettings::FromText(std::u16string_view text) {
  IniSettings settings;
  settings.available_ = true;
  settings.Parse(text);
  return settings;
}

IniSettings IniSettings::FromBytes(const void* data, std::size_t length) {
  if (data == nullptr) length = 0;
  return FromText(Decode(static_cast<const std::uint8_t*>(data), length));
}

void IniSettings::Parse(std::u16string_view text) {
  Section* current = nullptr;
  std::size_t at = 0;
  while (at < text.size()) {
    std::size_t end = text.find_first_of(u"\r\n", at);
    if (end == std::u16string_view::npos) end = text.size();
    const std::u16string_view line = Trim(text.substr(at, end - at));
    at = end + (text.substr(end).starts_with(u"\r\n") ? 2 : 1);

    if (line.empty() || line[0] == u';' || line[0] == u'#') continue;
    if (line[0] == u'[' && line.back() == u']' && line.size() >= 2) {
      const auto it = sections_.try_emplace(Fold(Trim(line.substr(1, line.size() - 2)))).first;
      // A repeated section adds only names the first one lacks.
      current = &it->second;
      continue;
    }
    const std::size_t equals = line.find(u'=');
    if (current == nullptr || equals == std::u16string_view::npos) continue;
    const std::u16string_view name = Trim(line.substr(0, equals));
    if (name.empty()) continue;
    // try_emplace keeps the first value of a name.
    current->try_emplace(Fold(name), Trim(line.substr(equals + 1)));
  }
}

const IniSettings::Section* IniSettings::OpenedSection() const {
  if (!open_) return nullptr;
  const auto it = sections_.find(*open_);
  return it == sections_.end() ? nullptr : &it->second;
}

bool IniSettings::OpenSection(std::u16string_view section) {
  open_.reset();
  if (!available_) return false;
  std::u16string folded = Fold(section);
  if (sections_.find(folded) == sections_.end()) return false;
  open_ = std::move(folded);
  return true;
}

std::optional<std::u16string> IniSettings::ReadString(std::u16string_view name) const {
  const Section* section = OpenedSection();
  if (section == nullptr) return std::nullopt;
  const auto it = section->find(Fold(name));
  if (it == section->end()) return std::nullopt;
  return it->second;
}

std::optional<std::int32_t> IniSettings::ReadInteger(std::u16string_view name) const {
  const auto text = ReadString(name);
  if (!text) return std::nullopt;
  return ParseInteger(*text);
}

}  // namespace quillon
