// Builders of item payloads for the item class tests.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "common/item_database_view.h"
#include "store/item_factory.h"

namespace quillon::testing_items {

// Little-endian payload bytes, appended in order.
class Bytes {
 public:
  Bytes& U8(std::uint32_t v) {
    b_.push_back(static_cast<std::uint8_t>(v));
    return *this;
  }
  Bytes& U16(std::uint32_t v) { return Le(v, 2); }
  Bytes& U32(std::uint32_t v) { return Le(v, 4); }
  Bytes& U64(std::uint64_t v) { return Le(v, 8); }
  Bytes& F64(double d) {
    std::uint64_t v;
    std::memcpy(&v, &d, 8);
    return Le(v, 8);
  }
  // The text and its terminating zero.
  Bytes& Text(const std::string& s) {
    b_.insert(b_.end(), s.begin(), s.end());
    b_.push_back(0);
    return *this;
  }
  // Exactly `size` bytes: the text, zero-padded (or cut).
  Bytes& Fixed(const std::string& s, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i)
      b_.push_back(i < s.size() ? static_cast<std::uint8_t>(s[i]) : 0);
    return *this;
  }
  Bytes& Fill(std::size_t count, std::uint8_t v = 0) {
    b_.insert(b_.end(), count, v);
    return *this;
  }
  operator const std::vector<std::uint8_t>&() const { return b_; }

 private:
  Bytes& Le(std::uint64_t v, int n) {
    for (int i = 0; i < n; ++i) b_.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
    return *this;
  }
  std::vector<std::uint8_t> b_;
};

inline constexpr std::uint64_t kHeaderTime = 0x0000123456780000ull;

inline ItemPtr Make(std::uint32_t type, const std::vector<std::uint8_t>& payload,
                    bool validate = true,
                    const ItemDatabaseView& db = NullItemDatabaseView::Instance()) {
  ItemRecord::Header h;
  h.type_code = type;
  h.timestamp = ItemTimestamp(kHeaderTime);
  return CreateItem(h, ItemBufferRef::Make(payload.data(), payload.size()), validate, db);
}

// An event report holding one event with a full time.
inline Bytes EventPayload(std::uint32_t id, std::uint64_t time, std::vector<std::uint8_t> data) {
  std::uint32_t code = data.size() <= 2 ? static_cast<std::uint32_t>(data.size()) : 3;
  Bytes b;
  const std::size_t rest = 2 + 8 + (code == 3 ? 1 : 0) + data.size();
  b.U8(0x60).U16(static_cast<std::uint32_t>(rest)).U16(id | code << 13).U64(time);
  if (code == 3) b.U8(static_cast<std::uint32_t>(data.size()));
  for (auto x : data) b.U8(x);
  return b;
}

// A log packet: response envelope and 16-byte header, then `body`.
inline Bytes LogPayload(std::uint32_t code, std::uint64_t time, std::size_t body = 4) {
  Bytes b;
  const auto length = static_cast<std::uint32_t>(12 + body);
  b.U8(0x10).U8(0).U16(length).U16(length).U16(code).U64(time).Fill(body, 0xAB);
  return b;
}

// An extended message with arguments, format and file name.
inline Bytes ExtendedMessage(std::uint32_t ss_id, std::uint32_t ss_mask, std::uint64_t time,
                             std::vector<std::uint32_t> args, const std::string& format,
                             const std::string& file, std::uint32_t line = 7) {
  Bytes b;
  b.U8(0x79).U8(0).U8(static_cast<std::uint32_t>(args.size())).U8(0).U64(time);
  b.U16(line).U16(ss_id).U32(ss_mask);
  for (auto a : args) b.U32(a);
  b.Text(format).Text(file);
  return b;
}

// A legacy (fixed-layout) message.
inline Bytes LegacyMessage(std::uint32_t level, std::uint64_t time) {
  Bytes b;
  b.U8(0x1F).U16(1).U32(0).U32(1).U8(level).Fixed("main.c", 13).U16(42);
  b.Fixed("value %d %d %d", 40).U32(1).U32(2).U32(3).U64(time);
  return b;
}

inline Bytes GpsPayload(double utc_time) {
  Bytes b;
  b.F64(-33.5).F64(151.25).F64(12.0).F64(90.0).F64(3.5).F64(utc_time).U32(7).U32(1);
  return b;
}

// A database that lists extra over-the-air log codes.
class OtaCodeDatabase final : public ItemDatabaseView {
 public:
  explicit OtaCodeDatabase(std::vector<std::uint32_t> codes) : codes_(std::move(codes)) {}
  bool IsOtaLogCode(std::uint32_t code) const override {
    for (auto c : codes_) {
      if (c == code) return true;
    }
    return false;
  }
  std::optional<std::uint32_t> FindUserItemColor(const ItemKey&) const override {
    return std::nullopt;
  }

 private:
  std::vector<std::uint32_t> codes_;
};

}  // namespace quillon::testing_items
