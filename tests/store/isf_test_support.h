// Helpers for the item store file and item store tests: temporary paths,
// items with chosen times, raw file bytes, and the items of the committed
// small.isf fixture.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <system_error>
#include <vector>

#include "common/item_buffer.h"
#include "common/item_database_view.h"
#include "common/item_record.h"
#include "common/item_timestamp.h"
#include "common/mis_exception.h"
#include "store/isf_format.h"
#include "store/item_factory.h"
#include "tests/support/temp_path.h"

namespace quillon::testing {

// The start of block 0's records area.
inline constexpr std::size_t kRecords = 4 + isf::kBlockSize;

// The error code thrown by `f`, 0 if none.
template <typename F>
std::uint32_t CodeOf(F&& f) {
  try {
    f();
  } catch (const cMISException& e) {
    return e.Code();
  }
  return 0;
}

// The what() text of the exception thrown by `f`, empty if none.
template <typename F>
std::string WhatOf(F&& f) {
  try {
    f();
  } catch (const cMISException& e) {
    return e.what();
  }
  return {};
}

// A temporary item store file path.
class TempFile : public testsupport::TempPath {
 public:
  explicit TempFile(std::u16string_view stem = u"store") : TempPath(stem, u".isf") {}
};

inline std::vector<std::uint8_t> ReadBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void WriteBytes(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::streamsize>(bytes.size()));
}

// ---- Words for what a test reads from or does to an item store file's
// bytes. `block` is the offset of a block (block 0 follows the magic).
using FileBytes = std::vector<std::uint8_t>;
inline constexpr std::size_t kBlock0 = isf::kFirstBlockOffset;

inline std::uint8_t* EntryBytes(FileBytes& b, std::uint32_t slot, std::size_t block = kBlock0) {
  return &b[block + std::size_t{slot} * isf::kEntrySize];
}
inline isf::Entry EntryAt(const FileBytes& b, std::uint32_t slot, std::size_t block = kBlock0) {
  return isf::DecodeEntry(&b[block + std::size_t{slot} * isf::kEntrySize]);
}
inline void SetEntryLength(FileBytes& b, std::uint32_t slot, std::uint16_t length) {
  StoreLE16(EntryBytes(b, slot) + isf::kEntryLengthOffset, length);
}
inline void SetEntryOffset(FileBytes& b, std::uint32_t slot, std::uint32_t offset) {
  StoreLE32(EntryBytes(b, slot) + isf::kEntryRecordOffset, offset);
}
inline std::uint64_t NextLinkOf(const FileBytes& b, std::size_t block = kBlock0) {
  return LoadLE64(&b[block + isf::kBlockNextLinkOffset]);
}
inline void SetNextLink(FileBytes& b, std::uint64_t next, std::size_t block = kBlock0) {
  StoreLE64(&b[block + isf::kBlockNextLinkOffset], next);
}
inline std::uint64_t BaseTimeOf(const FileBytes& b, std::size_t block = kBlock0) {
  return LoadLE64(&b[block + isf::kBlockBaseTimeOffset]);
}
inline void SetBaseTime(FileBytes& b, std::uint64_t ms, std::size_t block = kBlock0) {
  StoreLE64(&b[block + isf::kBlockBaseTimeOffset], ms);
}
inline std::uint32_t TrailerCountOf(const FileBytes& b) {
  return LoadLE32(&b[b.size() - isf::kTrailerSize + isf::kTrailerCountOffset]);
}
inline void SetTrailerCount(FileBytes& b, std::uint32_t count) {
  StoreLE32(&b[b.size() - isf::kTrailerSize + isf::kTrailerCountOffset], count);
}
inline void CutTrailer(FileBytes& b) { b.resize(b.size() - isf::kTrailerSize); }
inline void AddTrailer(FileBytes& b, std::uint32_t count) {
  b.resize(b.size() + isf::kTrailerSize, 0);
  SetTrailerCount(b, count);
  StoreLE32(&b[b.size() - isf::kTrailerSize + isf::kTrailerMagicOffset], isf::kMagic);
}
// A file of `blocks` empty blocks, each linked to the next.
inline FileBytes EmptyBlocks(std::uint32_t blocks) {
  FileBytes b(kBlock0 + std::size_t{blocks} * isf::kBlockSize, 0);
  StoreLE32(b.data(), isf::kMagic);
  for (std::uint32_t k = 0; k + 1 < blocks; ++k) {
    const std::size_t at = kBlock0 + std::size_t{k} * isf::kBlockSize;
    SetNextLink(b, at + isf::kBlockSize, at);
  }
  return b;
}

// A temporary file holding `bytes`.
inline std::unique_ptr<TempFile> FileOf(const std::vector<std::uint8_t>& bytes) {
  auto temp = std::make_unique<TempFile>();
  WriteBytes(temp->path(), bytes);
  return temp;
}

inline std::vector<std::uint8_t> PayloadOf(const ItemRecord& item) {
  return {item.GetPayload(), item.GetPayload() + item.GetPayloadLength()};
}

// An item made by the factory (with validation) from raw bytes.
inline ItemPtr MakeItem(std::uint32_t type_code, ItemTimestamp timestamp,
                        const std::vector<std::uint8_t>& payload) {
  return CreateItem({type_code, timestamp}, ItemBufferRef::Make(payload.data(), payload.size()),
                    true, NullItemDatabaseView::Instance());
}

// A timestamp half a millisecond into `ms`, so that no conversion rounds
// across the millisecond boundary.
inline ItemTimestamp TimeAtMs(std::uint64_t ms) {
  return ItemTimestamp::FromFileTime(ms * 10000 + 5000);
}

inline constexpr std::uint64_t kSomeMs = 13069000000000ULL;

// A small DIAG TX item: command byte 0x0C and one varying byte.
inline ItemPtr DiagTx(ItemTimestamp timestamp, std::uint8_t tag = 0) {
  return MakeItem(kItemDiagTx, timestamp, {0x0C, tag});
}

// ---- the items of tests/data/small.isf (see tests/data/make_small_isf.py)

struct FixtureItem {
  std::uint32_t type_code;
  ItemTimestamp timestamp;
  std::vector<std::uint8_t> payload;
};

inline constexpr std::uint64_t kFixtureBaseTicks = 1110000000000ULL;

inline std::vector<std::uint8_t> FixturePayload(std::uint32_t type_code, std::uint8_t i) {
  switch (type_code) {
    case kItemDiagTx:
      return {0x0C, i};
    case kItemDiagRx:
      return {0x0C, i, 0x00, 0x01};
    case kItemLog:
      return {0x10, 0x00, 0x14, 0x00, 0x14, 0x00, 0xEB, 0x11, 0xBC, 0x9A,
              0x78, 0x56, 0x34, 0x12, 0x00, 0x00, i,    1,    2,    3};
    case kItemString: {
      const std::uint32_t word = 0xC0000000u | (0x00FF00u << 6) | 1u;
      std::vector<std::uint8_t> bytes;
      for (int b = 0; b < 4; ++b) bytes.push_back(static_cast<std::uint8_t>(word >> (8 * b)));
      const std::string text = "note " + std::to_string(i);
      for (char c : text) {
        bytes.push_back(static_cast<std::uint8_t>(c));
        bytes.push_back(0);
      }
      bytes.push_back(0);
      bytes.push_back(0);
      return bytes;
    }
    case kItemSubsysTx:
      return {0x4B, 0x12, 0x34, 0x00, i};
    case kItemSubsysRx:
      return {0x4B, 0x12, 0x34, 0x00, 0x00, i};
    default:
      return {0xFF, i};
  }
}

inline std::vector<FixtureItem> SmallFixtureItems() {
  const std::uint32_t types[] = {kItemDiagTx,   kItemDiagRx,   kItemLog,      kItemString,
                                 kItemSubsysTx, kItemSubsysRx, kItemMalformed};
  const std::int64_t deltas[] = {0,      5,  250,     255,          1000, 65530, 65535,
                                 100000, -5, 3600000, 0xFFFFFFFFLL, 10,   20,    30,
                                 40,     50, 60,      70,           80,   90};
  std::vector<FixtureItem> items;
  for (std::uint8_t i = 0; i < 20; ++i) {
    const std::uint32_t type = types[i % 7];
    const std::uint64_t ticks = static_cast<std::uint64_t>(
        static_cast<std::int64_t>(kFixtureBaseTicks) + deltas[i] * 4 / 5);
    const std::uint64_t fraction = i == 12 ? 0x8000 : 0;
    items.push_back({type, ItemTimestamp((ticks << 16) | fraction), FixturePayload(type, i)});
  }
  return items;
}

inline std::filesystem::path FixturePath(const char* name) {
  return std::filesystem::path(QUILLON_TEST_DATA) / name;
}

}  // namespace quillon::testing
