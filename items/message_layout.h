// Field positions of the two debug message packet forms (the extended
// message, command 0x79, and the fixed-layout legacy message, command
// 0x1F), shared by the message item class and the message formatter. The
// full layouts are described in store/item_message.h.
#pragma once

#include <cstdint>

namespace quillon {

inline constexpr std::uint8_t kExtendedMessageCommand = 0x79;
inline constexpr std::uint8_t kLegacyMessageCommand = 0x1F;

// Legacy message field positions.
inline constexpr std::uint32_t kLegacyMessageLength = 87;
inline constexpr std::uint32_t kLegacyMessageLevelOffset = 11;
inline constexpr std::uint32_t kLegacyMessageFileOffset = 12;
inline constexpr std::uint32_t kLegacyMessageFileSize = 13;
inline constexpr std::uint32_t kLegacyMessageLineOffset = 25;
inline constexpr std::uint32_t kLegacyMessageFormatOffset = 27;
inline constexpr std::uint32_t kLegacyMessageFormatSize = 40;
inline constexpr std::uint32_t kLegacyMessageArgsOffset = 67;
inline constexpr std::uint32_t kLegacyMessageArgCount = 3;
inline constexpr std::uint32_t kLegacyMessageTimeOffset = 79;

// Extended message field positions.
inline constexpr std::uint32_t kExtendedMessageArgCountOffset = 2;
inline constexpr std::uint32_t kExtendedMessageTimeOffset = 4;
inline constexpr std::uint32_t kExtendedMessageLineOffset = 12;
inline constexpr std::uint32_t kExtendedMessageSubsystemOffset = 14;
inline constexpr std::uint32_t kExtendedMessageMaskOffset = 16;
inline constexpr std::uint32_t kExtendedMessageArgsOffset = 20;

// Message levels, as in the key.
enum MessageLevel : std::uint32_t {
  kMessageLow = 0,
  kMessageMedium = 1,
  kMessageHigh = 2,
  kMessageError = 3,
  kMessageFatal = 4,
};

}  // namespace quillon
