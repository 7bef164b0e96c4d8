// Helpers shared by the POSIX implementation: UTF-16 paths to native
// (UTF-8) paths and errno to Windows error codes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillon::platform::posix {

// The UTF-8 form of a path, or nothing for a path that cannot name a file
// (empty or containing U+0000).
std::optional<std::string> NativePath(std::u16string_view path);

// The Windows error code for an errno value.
std::uint32_t WindowsError(int err);

// The Windows code for an ENOENT on `path`: 3 (path not found) when the
// folder that should hold it is missing too, 2 (file not found) otherwise.
std::uint32_t MissingPathError(const std::string& path);

// Checks for a path refused by NativePath, with the code Windows gives.
std::uint32_t BadPathError(std::u16string_view path);

}  // namespace quillon::platform::posix
