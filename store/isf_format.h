// Byte layout of item store files (.isf) and the pure encode/decode helpers
// shared by the file classes.
//
// Layout: a 4-byte magic, then blocks. Each block is an index of 8192
// seven-byte entries, the u64 offset of the next block and the u64 base time
// (ms since 1601) of its first item; the block's records follow it back to
// back. A closed file ends with a 16-byte trailer: 8 zero bytes, the u32 item
// count and the magic. All integers are little-endian.
#pragma once

#include <cstddef>
#include <cstdint>

#include "common/little_endian.h"

namespace quillon::isf {

inline constexpr std::uint32_t kMagic = 0xAB603107;
inline constexpr std::uint32_t kMagicSize = 4;
inline constexpr std::uint32_t kItemsPerBlock = 8192;
inline constexpr std::uint32_t kBlockShift = 13;  // log2(kItemsPerBlock)
inline constexpr std::uint32_t kEntrySize = 7;
inline constexpr std::uint32_t kIndexSize = kItemsPerBlock * kEntrySize;  // 57344
inline constexpr std::uint32_t kBlockTailSize = 16;                       // next offset + base time
inline constexpr std::uint32_t kBlockSize = kIndexSize + kBlockTailSize;  // 57360
inline constexpr std::uint32_t kTrailerSize = 16;

// Fields of a block, from the block's start: after the index, the u64 offset
// of the next block (0 while there is none), then the u64 base time.
inline constexpr std::uint32_t kBlockNextLinkOffset = kIndexSize;
inline constexpr std::uint32_t kBlockBaseTimeOffset = kIndexSize + 8;
// The same two fields from the start of the block tail.
inline constexpr std::uint32_t kTailNextLinkOffset = kBlockNextLinkOffset - kIndexSize;
inline constexpr std::uint32_t kTailBaseTimeOffset = kBlockBaseTimeOffset - kIndexSize;
// Fields of the trailer, from its start (its first 8 bytes are zero).
inline constexpr std::uint32_t kTrailerCountOffset = 8;
inline constexpr std::uint32_t kTrailerMagicOffset = 12;
// Fields of a 7-byte index entry: flags, u32 record offset (from the block's
// records area), u16 payload length.
inline constexpr std::uint32_t kEntryFlagsOffset = 0;
inline constexpr std::uint32_t kEntryRecordOffset = 1;
inline constexpr std::uint32_t kEntryLengthOffset = 5;
inline constexpr std::uint32_t kMinTerminatedSize = 24;
inline constexpr std::uint32_t kMaxPayload = 8208;
inline constexpr std::uint32_t kMaxRecord = 8224;
inline constexpr std::uint64_t kFirstBlockOffset = kMagicSize;
// Progress notifications go out after every this many blocks walked.
inline constexpr std::uint32_t kProgressInterval = 64;

// The older layout's closed-file marker: second u32 of its 8-byte trailer.
inline constexpr std::uint32_t kOlderTrailerMark = 0x2101;
inline constexpr std::uint32_t kOlderTrailerSize = 8;

// Entry flag bits.
inline constexpr std::uint8_t kFlagTypeMask = 0x1F;
inline constexpr std::uint8_t kFlagTimeShift = 5;
inline constexpr std::uint8_t kFlagTimeMask = 0x60;
inline constexpr std::uint8_t kFlagAux = 0x80;

enum class TimeEncoding : std::uint8_t {
  kDelta8 = 0,    // 1-byte delta from the block's base time
  kDelta16 = 1,   // 2-byte delta
  kDelta32 = 2,   // 4-byte delta
  kAbsolute = 3,  // 8-byte absolute milliseconds since 1601
};

// One decoded index entry.
struct Entry {
  std::uint8_t flags = 0;
  std::uint32_t offset = 0;  // relative to the block's records area
  std::uint16_t length = 0;  // payload length

  constexpr std::uint32_t TypeCode() const { return flags & kFlagTypeMask; }
  constexpr TimeEncoding Encoding() const {
    return static_cast<TimeEncoding>((flags & kFlagTimeMask) >> kFlagTimeShift);
  }
  constexpr bool HasAux() const { return (flags & kFlagAux) != 0; }
};

// Size in bytes of the time field for an encoding: 1, 2, 4 or 8.
constexpr std::uint32_t TimeFieldSize(TimeEncoding encoding) {
  return std::uint32_t{1} << static_cast<std::uint32_t>(encoding);
}
// Record header size for entry flags: time field plus 4 when bit 7 is set.
constexpr std::uint32_t RecordHeaderSize(std::uint8_t flags) {
  const Entry entry{flags, 0, 0};
  return TimeFieldSize(entry.Encoding()) + (entry.HasAux() ? 4u : 0u);
}
// Header plus payload bytes of the record an entry describes.
[[nodiscard]] constexpr std::uint32_t RecordSize(const Entry& entry) {
  return RecordHeaderSize(entry.flags) + entry.length;
}
// Whether an entry can describe a record at all: a payload of 1..kMaxPayload
// bytes in a record of at most kMaxRecord bytes. Every reader decides through
// this before it trusts an entry (where the record lies is its own check).
[[nodiscard]] constexpr bool IsPlausibleEntry(const Entry& entry) {
  return entry.length != 0 && entry.length <= kMaxPayload && RecordSize(entry) <= kMaxRecord;
}

// The encoding for an item stored `ms` ms since 1601 in a block whose base
// time is `base_ms`: earlier than the base or a delta above 0xFFFFFFFE is
// absolute; otherwise the smallest delta field whose bound (255, 65535,
// 0xFFFFFFFF, all exclusive) the delta stays below.
TimeEncoding ChooseTimeEncoding(std::uint64_t ms, std::uint64_t base_ms);

// Writes the record header (time field, then the aux value when `flags`
// has bit 7) into `out`, which must hold RecordHeaderSize(flags) bytes.
// Returns the number of bytes written.
std::uint32_t EncodeRecordHeader(std::uint8_t flags, std::uint64_t ms, std::uint64_t base_ms,
                                 std::uint32_t aux, std::uint8_t* out);
// Decodes the time of a record header (which holds at least
// RecordHeaderSize(flags) bytes) to milliseconds since 1601.
std::uint64_t DecodeRecordTime(std::uint8_t flags, std::uint64_t base_ms, const std::uint8_t* in);

void EncodeEntry(const Entry& entry, std::uint8_t* out);  // 7 bytes
// 7 bytes; inline, since every read decodes one.
inline Entry DecodeEntry(const std::uint8_t* in) {
  return Entry{in[kEntryFlagsOffset], LoadLE32(in + kEntryRecordOffset),
               LoadLE16(in + kEntryLengthOffset)};
}

}  // namespace quillon::isf
