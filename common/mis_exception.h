// The core's one exception type: a category and a Windows error code, the
// text of that code, and the operation it interrupted.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace quillon {

// Categories of a cMISException.
enum MisCategory : std::uint32_t {
  kMisCategorySystem = 0,    // a file or system error
  kMisCategoryCaller = 1,    // a caller's error (bad index, bad argument)
  kMisCategoryInternal = 2,  // an internal failure (memory, broken state)
};

// Windows error codes raised by the core, each with its text. The system
// codes that file operations pass through unchanged have a text here too,
// so that every code a surface can meet explains itself.
namespace mis {
inline constexpr std::uint32_t kOutOfMemory = 8;
inline constexpr std::uint32_t kInvalidData = 13;
inline constexpr std::uint32_t kBadLength = 24;
inline constexpr std::uint32_t kGenFailure = 31;
inline constexpr std::uint32_t kNotSupported = 50;
inline constexpr std::uint32_t kBadArguments = 160;
inline constexpr std::uint32_t kInvalidAddress = 487;
inline constexpr std::uint32_t kCannotComplete = 1003;

struct CodeText {
  std::uint32_t code;
  const char* text;
};
inline constexpr CodeText kCodeTexts[] = {
    {kOutOfMemory, "not enough memory"},
    {kInvalidData, "the data is invalid or corrupt"},
    {kBadLength, "the block table disagrees with the item count"},
    {kGenFailure, "a general failure"},
    {kNotSupported, "the request is not supported"},
    {kBadArguments, "an argument or an item index is not correct"},
    {kInvalidAddress, "an invalid address was used"},
    {kCannotComplete, "the item index lies beyond the block table"},
    // System codes passed through from file operations.
    {2, "the file was not found"},
    {3, "the path was not found"},
    {5, "access is denied"},
    {6, "the handle is invalid"},
    {19, "the medium is write protected"},
    {32, "the file is in use by another process"},
    {38, "the end of the file was reached"},
    {80, "the file exists"},
    {87, "a parameter is not correct"},
    {112, "there is not enough space on the disk"},
    {183, "the file already exists"},
    {206, "the file name is too long"},
};

// The text of `code`; "an unknown error" for a code not listed. Never null.
[[nodiscard]] const char* CodeTextOf(std::uint32_t code) noexcept;
}  // namespace mis

class cMISException : public std::exception {
 public:
  cMISException(std::uint32_t category, std::uint32_t code) noexcept
      : category_(category), code_(code) {}
  // With the operation that failed (`context`, "cannot append item 7 to
  // x.isf") and, where this case knows better than the code's text, why
  // (`reason`, "the file was opened read-only"). When memory is short the
  // texts are dropped; the code stays.
  cMISException(std::uint32_t category, std::uint32_t code, std::u16string_view context,
                std::u16string_view reason = {}) noexcept;
  // `other` (category, code, reason) interrupting the operation `context`.
  cMISException(const cMISException& other, std::u16string_view context) noexcept;

  std::uint32_t Category() const noexcept { return category_; }
  std::uint32_t Code() const noexcept { return code_; }
  // The interrupted operation; empty when none was given.
  std::u16string_view Context() const noexcept;
  // The reason, or else the code's own text.
  std::u16string Reason() const;
  // "<context>: <reason or code text> (error N)", without "<context>: " when
  // there is no context. UTF-8; valid while the exception lives.
  const char* what() const noexcept override;

 private:
  struct Detail {
    std::u16string context;
    std::u16string reason;
    std::string text;  // what()
  };

  std::uint32_t category_;
  std::uint32_t code_;
  std::shared_ptr<const Detail> detail_;  // null without context and reason
  mutable char text_[112] = {};
};

// For a catch handler: rethrows the exception being handled, `e`, with
// `context` added when it has none yet (the innermost operation names
// itself).
[[noreturn]] void RethrowWithContext(const cMISException& e, std::u16string_view context);

}  // namespace quillon
