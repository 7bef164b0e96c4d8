// Settings read from INI-style text, so that item configurations can be
// written by hand and loaded on every platform.
//
//   ; comment            # comment
//   [Section Name]
//   Name = value
//
// - Lines end at LF, CR LF or CR. Blank lines and lines whose first
//   non-blank character is ';' or '#' are comments.
// - "[name]" starts a section (the name is trimmed). "name=value" splits at
//   the first '='; name and value are trimmed of blanks (space, tab). The
//   value is kept as written otherwise: quotes stay (the item
//   configuration removes them itself) and a ';' after the value is part
//   of it.
// - Section and value names compare case-insensitively (ASCII letters).
//   When a section or a name appears twice, the first one wins, as with
//   the Windows profile functions. Values before the first section and
//   lines of any other shape are ignored.
// - Files are UTF-8 (with or without a byte-order mark) or UTF-16 (LE
//   with or without a byte-order mark, BE with one).
// - Integers: optional sign, then decimal digits or "0x" and hexadecimal
//   digits, nothing else; values outside the signed 32-bit range are not
//   integers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "items/settings_reader.h"

namespace quillon {

class IniSettings final : public SettingsReader {
 public:
  // Settings files are small; a larger file is not read.
  static constexpr std::uint64_t kMaxFileSize = 16u << 20;

  // An unavailable reader (no file).
  IniSettings() = default;

  // Reads a settings file. A file that cannot be opened or read, or that
  // is larger than kMaxFileSize, gives an unavailable reader; LastError
  // tells why (a Windows error code).
  static IniSettings FromFile(std::u16string_view path);
  // Settings from text already in memory (always available).
  static IniSettings FromText(std::u16string_view text);
  // Settings from file bytes (encoding detected as for files).
  static IniSettings FromBytes(const void* data, std::size_t length);

  std::uint32_t LastError() const { return error_; }

  bool IsAvailable() const override { return available_; }
  bool OpenSection(std::u16string_view section) override;
  std::optional<std::u16string> ReadString(std::u16string_view name) const override;
  std::optional<std::int32_t> ReadInteger(std::u16string_view name) const override;

 private:
  using Section = std::map<std::u16string, std::u16string>;  // folded name -> value

  void Parse(std::u16string_view text);
  const Section* OpenedSection() const;

  bool available_ = false;
  std::uint32_t error_ = 0;
  std::map<std::u16string, Section> sections_;  // by folded name
  std::optional<std::u16string> open_;          // folded name of the open section
};

}  // namespace quillon
