// Read access to named settings sections: what an item configuration needs
// to load itself. Where the sections live (an INI file, a registry, a
// table in memory) is the implementation's business.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillon {

class SettingsReader {
 public:
  virtual ~SettingsReader() = default;

  // False when the store behind the reader could not be reached at all.
  virtual bool IsAvailable() const = 0;
  // Makes `section` the section that the reads below look in. False (and
  // no section open) when there is no such section.
  virtual bool OpenSection(std::u16string_view section) = 0;
  // A value of the open section; nothing when no section is open, the
  // value does not exist, or (integers) it is not an integer.
  virtual std::optional<std::u16string> ReadString(std::u16string_view name) const = 0;
  virtual std::optional<std::int32_t> ReadInteger(std::u16string_view name) const = 0;
};

}  // namespace quillon
