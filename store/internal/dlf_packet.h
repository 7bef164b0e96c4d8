// Writing the legacy log-file (DLF) packet form of an item.
//
// A DLF packet is a 12-byte header followed by data, all little-endian:
// u16 total packet length (header included), u16 packet code, u64
// timestamp (ItemTimestamp). Log packets already are DLF packets and are
// copied without a new header.
#pragma once

#include <cstdint>
#include <span>

namespace quillon {

inline constexpr std::uint32_t kDlfHeaderSize = 12;

// DLF packet codes of the item types that have one.
inline constexpr std::uint16_t kDlfCodeResponse = 0x1FF0;         // DIAG RX, SUBSYS RX
inline constexpr std::uint16_t kDlfCodeRequest = 0x1FEA;          // DIAG TX, SUBSYS TX
inline constexpr std::uint16_t kDlfCodeEvent = 0x1FFB;            // EVENT
inline constexpr std::uint16_t kDlfCodeExtendedMessage = 0x1FEB;  // MSG, command 0x79
inline constexpr std::uint16_t kDlfCodeMessage = 0x1FEC;          // MSG, other commands
// Quillon's own codes for the items the legacy format has no packet for,
// beside the codes above; readers that do not know them skip the packet by
// its length.
inline constexpr std::uint16_t kDlfCodeGps = 0x1FE8;     // GPS
inline constexpr std::uint16_t kDlfCodeString = 0x1FE9;  // STRING

// Writes header and data into `out`. Returns the total length, or 0 (and
// writes nothing) when `out` is null or the packet does not fit `capacity`.
std::uint32_t WriteDlfPacket(std::uint8_t* out, std::uint32_t capacity, std::uint16_t code,
                             std::uint64_t timestamp, std::span<const std::uint8_t> data);

// Copies `data` as it is (a payload that is a DLF packet already); 0 when
// it does not fit.
std::uint32_t WriteDlfRaw(std::uint8_t* out, std::uint32_t capacity,
                          std::span<const std::uint8_t> data);

}  // namespace quillon
