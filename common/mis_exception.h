// The core's one exception type: a category and a Windows error code.
#pragma once

#include <cstdint>
#include <exception>

namespace quillon {

// Categories of a cMISException.
enum MisCategory : std::uint32_t {
  kMisCategorySystem = 0,    // a file or system error
  kMisCategoryCaller = 1,    // a caller's error (bad index, bad argument)
  kMisCategoryInternal = 2,  // an internal failure (memory, broken state)
};

// Windows error codes raised by the core.
namespace mis {
inline constexpr std::uint32_t kOutOfMemory = 8;
inline constexpr std::uint32_t kInvalidData = 13;
inline constexpr std::uint32_t kBadLength = 24;
inline constexpr std::uint32_t kGenFailure = 31;
inline constexpr std::uint32_t kNotSupported = 50;
inline constexpr std::uint32_t kBadArguments = 160;
inline constexpr std::uint32_t kInvalidAddress = 487;
inline constexpr std::uint32_t kCannotComplete = 1003;
}  // namespace mis

class cMISException : public std::exception {
 public:
  cMISException(std::uint32_t category, std::uint32_t code) noexcept
      : category_(category), code_(code) {}

  std::uint32_t Category() const noexcept { return category_; }
  std::uint32_t Code() const noexcept { return code_; }
  // "category C, error N" (ASCII); for logs and the command-line tool.
  const char* what() const noexcept override;

 private:
  std::uint32_t category_;
  std::uint32_t code_;
  mutable char text_[48] = {};
};

}  // namespace quillon
