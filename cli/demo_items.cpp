#include "cli/demo_items.h"

#include <cstring>
#include <string>
#include <string_view>

#include "common/item_key.h"
#include "common/item_timestamp.h"
#include "common/little_endian.h"
#include "store/item_string.h"

namespace quillon {

namespace {

// 2024-03-01 09:30:00 UTC as a file time: the start of the demo capture.
constexpr std::uint64_t kStartFileTime = 133537590000000000ULL;

// Little-endian payload builder.
class Payload {
 public:
  Payload& U8(std::uint32_t v) {
    bytes_.push_back(static_cast<std::uint8_t>(v));
    return *this;
  }
  Payload& U16(std::uint32_t v) { return Le(v, 2); }
  Payload& U32(std::uint32_t v) { return Le(v, 4); }
  Payload& U64(std::uint64_t v) { return Le(v, 8); }
  Payload& F64(double d) {
    std::uint64_t v;
    std::memcpy(&v, &d, sizeof v);
    return Le(v, 8);
  }
  // Zero-terminated 8-bit text.
  Payload& Text(std::string_view s) {
    bytes_.insert(bytes_.end(), s.begin(), s.end());
    bytes_.push_back(0);
    return *this;
  }
  // Exactly `size` bytes of zero-padded text.
  Payload& Fixed(std::string_view s, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
      bytes_.push_back(i < s.size() ? static_cast<std::uint8_t>(s[i]) : 0);
    }
    return *this;
  }
  std::vector<std::uint8_t> Take() { return std::move(bytes_); }

 private:
  Payload& Le(std::uint64_t v, int n) {
    bytes_.resize(bytes_.size() + static_cast<std::size_t>(n));
    StoreLE(&bytes_[bytes_.size() - static_cast<std::size_t>(n)], v, static_cast<std::size_t>(n));
    return *this;
  }
  std::vector<std::uint8_t> bytes_;
};

// A small deterministic generator (xorshift32): the same numbers on every
// platform, unlike the standard distributions.
class Random {
 public:
  std::uint32_t Next() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 17;
    state_ ^= state_ << 5;
    return state_;
  }
  std::uint32_t Below(std::uint32_t n) { return Next() % n; }

 private:
  std::uint32_t state_ = 0x5EED1234u;
};

class DemoCapture {
 public:
  std::vector<DemoRecord> Take() { return std::move(records_); }

  // The device stamps an item a little before the tool receives it.
  std::uint64_t DeviceTime() const { return ItemTimestamp::FromFileTime(now_ - 250000).Raw(); }

  void Add(std::uint32_t type, std::vector<std::uint8_t> payload) {
    records_.push_back({type, ItemTimestamp::FromFileTime(now_).Raw(), std::move(payload)});
    // 3.7 ms to 40 ms between items.
    now_ += 37000 + static_cast<std::uint64_t>(random_.Below(363)) * 1000;
  }

  Random& random() { return random_; }

  // Requests and responses ------------------------------------------------

  void VersionInfo() {
    Add(kItemDiagTx, Payload().U8(0x00).Take());
    Add(kItemDiagRx, Payload()
                         .U8(0x00)
                         .Fixed("Feb 27 2024", 11)
                         .Fixed("17:42:10", 8)
                         .Fixed("Feb 12 2024", 11)
                         .Fixed("11:05:33", 8)
                         .Fixed("QL1.4.2", 8)
                         .U8(1)     // station class mark
                         .U8(6)     // air interface revision
                         .U8(0x8D)  // model
                         .U16(0x0412)
                         .U8(2)  // slot cycle index
                         .U8(4)
                         .U8(1)
                         .Take());
  }

  void Status() {
    Add(kItemDiagTx, Payload().U8(0x0C).Take());
    Payload rsp;
    rsp.U8(0x0C).U8(0).U16(0).U32(0x1234ABCD).U16(2).U16(1).U16(4).U16(283).U16(4387).U16(12);
    Add(kItemDiagRx, rsp.Take());
  }

  void TimeQuery() {
    Add(kItemDiagTx, Payload().U8(0x1D).Take());
    Add(kItemDiagRx, Payload().U8(0x1D).U64(DeviceTime()).Take());
  }

  // Log mask configuration: operation 3 (set mask) for one equipment ID.
  void LogConfig(std::uint32_t equipment, std::uint32_t last_item) {
    const std::uint32_t mask_bytes = (last_item + 8) / 8;
    Payload req;
    req.U8(0x73).U8(0).U8(0).U8(0).U32(3).U32(equipment).U32(last_item);
    for (std::uint32_t i = 0; i < mask_bytes; ++i) req.U8(i % 3 == 0 ? 0xFF : 0x0F);
    Add(kItemDiagTx, req.Take());
    Payload rsp;
    rsp.U8(0x73).U8(0).U8(0).U8(0).U32(3).U32(0).U32(equipment).U32(last_item);
    for (std::uint32_t i = 0; i < mask_bytes; ++i) rsp.U8(i % 3 == 0 ? 0xFF : 0x0F);
    Add(kItemDiagRx, rsp.Take());
  }

  // A request the device does not know, answered with "bad command".
  void BadCommand() {
    Add(kItemDiagTx, Payload().U8(0xF9).U8(1).U8(2).Take());
    Add(kItemDiagRx, Payload().U8(19).U8(0xF9).U8(1).U8(2).Take());
  }

  // Subsystem commands ------------------------------------------------------

  void SubsysPair(std::uint32_t subsystem, std::uint32_t command, std::uint32_t body_words) {
    Payload req;
    req.U8(0x4B).U8(subsystem).U16(command);
    for (std::uint32_t i = 0; i < body_words; ++i) req.U32(random_.Next());
    Add(kItemSubsysTx, req.Take());
    Payload rsp;
    rsp.U8(0x4B).U8(subsystem).U16(command).U32(0);
    for (std::uint32_t i = 0; i < body_words; ++i) rsp.U32(random_.Next());
    Add(kItemSubsysRx, rsp.Take());
  }

  // A version-2 command answered now and again later (delayed response).
  void DelayedPair(std::uint32_t status) {
    Add(kItemSubsysTx, Payload().U8(0x80).U8(0x32).U16(0x0203).U32(0).Take());
    Add(kItemSubsysRx, Payload().U8(0x80).U8(0x32).U16(0x0203).U32(0).U16(0x0101).U16(0).Take());
    Add(kItemSubsysRx,
        Payload().U8(0x80).U8(0x32).U16(0x0203).U32(status).U16(0x0101).U16(0x8001).U32(7).Take());
  }

  // Events --------------------------------------------------------------------

  void Event(std::uint32_t id, const std::vector<std::uint8_t>& data) {
    const std::uint32_t length_code =
        data.size() <= 2 ? static_cast<std::uint32_t>(data.size()) : 3;
    const std::size_t rest = 2 + 8 + (length_code == 3 ? 1 : 0) + data.size();
    Payload p;
    p.U8(0x60).U16(static_cast<std::uint32_t>(rest)).U16(id | length_code << 13).U64(DeviceTime());
    if (length_code == 3) p.U8(static_cast<std::uint32_t>(data.size()));
    for (auto b : data) p.U8(b);
    Add(kItemEvent, p.Take());
  }

  // A handoff event: its payload is a 16-bit pilot value.
  void Handoff(std::uint32_t id, std::uint32_t pilot) {
    Event(id, {static_cast<std::uint8_t>(pilot), static_cast<std::uint8_t>(pilot >> 8)});
  }

  // Log packets -----------------------------------------------------------------

  void Log(std::uint32_t code, const std::vector<std::uint8_t>& body) {
    const auto length = static_cast<std::uint32_t>(12 + body.size());
    Payload p;
    p.U8(0x10).U8(0).U16(length).U16(length).U16(code).U64(DeviceTime());
    for (auto b : body) p.U8(b);
    Add(kItemLog, p.Take());
  }

  // CDMA pilot logs: u16 channel at byte 1, u16 pilot PN at byte 3.
  void PilotLog(std::uint32_t code, std::uint32_t channel, std::uint32_t pn) {
    Log(code, Payload().U8(1).U16(channel).U16(pn).U16(random_.Below(64)).U8(0).Take());
  }

  // NAS signalling: direction at byte 0, u32 message length at byte 1.
  void NasLog(bool uplink, std::uint32_t message_length) {
    Payload body;
    body.U8(uplink ? 1 : 0).U32(message_length);
    for (std::uint32_t i = 0; i < message_length; ++i) body.U8(random_.Below(256));
    Log(0x713A, body.Take());
  }

  // WCDMA RRC signalling: radio bearer at byte 1, u16 length at byte 2.
  void RrcLog(std::uint32_t bearer, std::uint32_t message_length) {
    Payload body;
    body.U8(0x02).U8(bearer).U16(message_length);
    for (std::uint32_t i = 0; i < message_length; ++i) body.U8(random_.Below(256));
    Log(0x412F, body.Take());
  }

  void PlainLog(std::uint32_t code, std::uint32_t words) {
    Payload body;
    for (std::uint32_t i = 0; i < words; ++i) body.U32(random_.Next());
    Log(code, body.Take());
  }

  // Debug messages ------------------------------------------------------------

  void Message(std::uint32_t subsystem, std::uint32_t level, std::string_view format,
               const std::vector<std::uint32_t>& args, std::string_view file, std::uint32_t line) {
    Payload p;
    p.U8(0x79).U8(0).U8(static_cast<std::uint32_t>(args.size())).U8(0).U64(DeviceTime());
    p.U16(line).U16(subsystem).U32(1u << level);
    for (auto a : args) p.U32(a);
    p.Text(format).Text(file);
    Add(kItemMsg, p.Take());
  }

  void LegacyMessage(std::uint32_t level, std::string_view format, std::uint32_t a, std::uint32_t b,
                     std::uint32_t c) {
    Payload p;
    p.U8(0x1F).U16(1).U32(0).U32(1).U8(level).Fixed("mccdma.c", 13).U16(1517);
    p.Fixed(format, 40).U32(a).U32(b).U32(c).U64(DeviceTime());
    Add(kItemMsg, p.Take());
  }

  // GPS and text --------------------------------------------------------------

  void Gps(double latitude, double longitude, double utc_time, std::int32_t satellites) {
    Payload p;
    p.F64(latitude).F64(longitude).F64(42.5).F64(87.0).F64(24.3).F64(utc_time);
    p.U32(static_cast<std::uint32_t>(satellites)).U32(1);
    Add(kItemGps, p.Take());
  }

  void String(std::u16string_view text, std::uint32_t color, std::uint32_t type) {
    Payload p;
    p.U32(MakeStringHeaderWord(color, type));
    for (char16_t c : text) p.U16(c);
    p.U16(0);
    Add(kItemString, p.Take());
  }

 private:
  std::vector<DemoRecord> records_;
  std::uint64_t now_ = kStartFileTime;
  Random random_;
};

}  // namespace

std::vector<DemoRecord> MakeDemoItems() {
  DemoCapture c;
  c.String(u"Demo capture: drive test, route 7", 0x40C0FF, 0);
  c.VersionInfo();
  c.Status();
  c.TimeQuery();
  c.LogConfig(1, 0x5FF);
  c.LogConfig(4, 0x7FF);
  c.SubsysPair(0x13, 0x0000, 1);  // file system hello
  c.BadCommand();
  c.LegacyMessage(2, "Pilot %d strength %d set %d", 168, 14, 1);

  const std::uint32_t pilots[] = {168, 204, 12, 96, 432};
  double latitude = 48.13712;
  double longitude = 11.57538;
  double utc = 93001.0;
  for (std::uint32_t round = 0; round < 16; ++round) {
    Random& r = c.random();
    const std::uint32_t pilot = pilots[round % 5];
    c.PilotLog(0x1076 + round % 4, 283, pilot);
    c.Event(0x01F, {});
    c.Message(21, round % 5, "Searcher: pilot %d energy %d", {pilot, 900 + r.Below(400)},
              "srch_main.c", 812);
    c.PlainLog(0x119C, 6 + round % 5);
    c.Handoff(276 + round % 3, pilot);
    c.Message(5, 1, "RSSI %d dBm, Ec/Io %d",
              {static_cast<std::uint32_t>(-75 - static_cast<int>(r.Below(20))), r.Below(31)},
              "rf_cdma.c", 2047);
    c.NasLog(round % 2 == 0, 12 + r.Below(40));
    c.RrcLog(1 + round % 4, 20 + r.Below(60));
    c.Event(639, {static_cast<std::uint8_t>(pilot), static_cast<std::uint8_t>(pilot >> 8)});
    c.Event(0x0B5, {1, 2, 3, static_cast<std::uint8_t>(round)});
    c.Gps(latitude, longitude, utc, 6 + static_cast<std::int32_t>(round % 4));
    c.SubsysPair(0x12, 0x0021 + round % 3, 2);
    c.PlainLog(0x4179, 4);
    c.Message(1000 + round % 2, 0, "call state %d -> %d", {round % 4, (round + 1) % 4}, "cm_call.c",
              330);
    c.Log(0x5226, {1, 0, static_cast<std::uint8_t>(round), 0, 0, 0x20, 0x11, 0x22});
    c.Log(0x1085, {0, 0x1B, 0x01, static_cast<std::uint8_t>(pilot), 0});
    if (round % 3 == 0) c.TimeQuery();
    if (round % 4 == 1)
      c.Message(13, 3, "Access failure: reason %d", {r.Below(8)}, "mcc_acc.c", 91);
    if (round == 5) c.DelayedPair(0);
    if (round == 9) c.DelayedPair(0x0C);
    if (round == 6) c.String(u"Marker: entering tunnel", 0x2020E0, 1);
    if (round == 7) c.Message(0, 4, "Fatal: watchdog %s", {0xDEAD}, "dog.c", 77);
    if (round == 8) c.Event(0x2A0, std::vector<std::uint8_t>(9, 0x5A));
    latitude += 0.00031;
    longitude += 0.00047;
    utc += 5.0;
  }
  c.Handoff(278, 432);
  c.Log(0x512F, {0, 1, 0, 8, 0, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, 0x01, 0x02});
  c.Log(0x5230, {1, 4, 0, 0x11, 0x22, 0x33, 0x44});
  c.Log(0x107C, {0, 0x1B, 0x01, 0xA8, 0});
  c.Log(0x1086, {0, 0x1B, 0x01, 0xCC, 0});
  c.Log(0x1079, {0, 0x1B, 0x01, 0x60, 0});
  c.Message(21, 2, "Searcher done: %d pilots in %u ms", {5, 1200}, "srch_main.c", 901);
  c.String(u"End of route 7", 0, 2);
  // A response whose body broke off after its command code: kept as MALFORMED.
  c.Add(kItemMalformed, Payload().U8(0x60).U8(0x0D).Take());
  c.Status();
  return c.Take();
}

}  // namespace quillon
