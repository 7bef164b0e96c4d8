#include "ota/ota_capture.h"

#include <cassert>

#include "common/item_key.h"
#include "common/little_endian.h"
#include "common/mis_exception.h"
#include "parsers/protocol_revisions.h"

namespace quillon {

namespace {

constexpr std::uint32_t kPcapMagicNanoseconds = 0xA1B23C4D;
constexpr std::uint16_t kPcapVersionMajor = 2;
constexpr std::uint16_t kPcapVersionMinor = 4;
constexpr std::uint32_t kPcapSnapLength = 0x40000;

// Exported-PDU tags.
constexpr std::uint16_t kTagEnd = 0;
constexpr std::uint16_t kTagDissectorName = 12;
constexpr std::uint16_t kTagP2pDirection = 35;

constexpr std::size_t kIpv4HeaderLength = 20;
constexpr std::size_t kUdpHeaderLength = 8;
constexpr std::size_t kGsmtapHeaderLength = 16;
constexpr std::uint8_t kGsmtapVersion = 2;
constexpr std::uint16_t kGsmtapUplinkFlag = 0x4000;
constexpr std::uint8_t kIpProtocolUdp = 17;
constexpr std::uint8_t kLoopback[4] = {127, 0, 0, 1};

// 100 ns units from 1601-01-01 to 1970-01-01.
constexpr std::uint64_t kUnixEpochFileTime = 116444736000000000ULL;
constexpr std::uint64_t kFileTimeUnitsPerSecond = 10000000;

constexpr std::size_t kFlushThreshold = 64 * 1024;

void AppendLE16(std::vector<std::uint8_t>& out, std::uint16_t v) {
  std::uint8_t bytes[2];
  StoreLE16(bytes, v);
  out.insert(out.end(), bytes, bytes + 2);
}
void AppendLE32(std::vector<std::uint8_t>& out, std::uint32_t v) {
  std::uint8_t bytes[4];
  StoreLE32(bytes, v);
  out.insert(out.end(), bytes, bytes + 4);
}
// Network byte order (the exported-PDU tags, IPv4, UDP and GSMTAP).
void AppendBE16(std::vector<std::uint8_t>& out, std::uint16_t v) {
  out.push_back(static_cast<std::uint8_t>(v >> 8));
  out.push_back(static_cast<std::uint8_t>(v));
}
void AppendBE32(std::vector<std::uint8_t>& out, std::uint32_t v) {
  AppendBE16(out, static_cast<std::uint16_t>(v >> 16));
  AppendBE16(out, static_cast<std::uint16_t>(v));
}
void AppendBytes(std::vector<std::uint8_t>& out, std::span<const std::uint8_t> bytes) {
  out.insert(out.end(), bytes.begin(), bytes.end());
}

struct PcapTime {
  std::uint32_t seconds = 0;
  std::uint32_t nanoseconds = 0;
};

PcapTime ToPcapTime(ItemTimestamp time) {
  const std::uint64_t file_time = time.ToFileTime();
  if (file_time < kUnixEpochFileTime) return {};
  const std::uint64_t since = file_time - kUnixEpochFileTime;
  const std::uint64_t seconds = since / kFileTimeUnitsPerSecond;
  if (seconds > 0xFFFFFFFF) return {0xFFFFFFFF, 0};
  return {static_cast<std::uint32_t>(seconds),
          static_cast<std::uint32_t>(since % kFileTimeUnitsPerSecond * 100)};
}

std::uint16_t Ipv4Checksum(const std::uint8_t* header) {
  std::uint32_t sum = 0;
  for (std::size_t i = 0; i < kIpv4HeaderLength; i += 2) {
    sum += static_cast<std::uint32_t>(header[i] << 8 | header[i + 1]);
  }
  while (sum >> 16) sum = (sum & 0xFFFF) + (sum >> 16);
  return static_cast<std::uint16_t>(~sum);
}

void AppendExportedPdu(std::vector<std::uint8_t>& out, const OtaBody& body) {
  const std::string_view name = body.dissector.name;
  AppendBE16(out, kTagDissectorName);
  AppendBE16(out, static_cast<std::uint16_t>(name.size()));
  out.insert(out.end(), name.begin(), name.end());
  AppendBE16(out, kTagP2pDirection);
  AppendBE16(out, 4);
  AppendBE32(out, static_cast<std::uint32_t>(body.direction));
  AppendBE16(out, kTagEnd);
  AppendBE16(out, 0);
}

void AppendGsmtapHeaders(std::vector<std::uint8_t>& out, const OtaBody& body,
                         std::size_t pdu_length) {
  const auto gsmtap_length = kGsmtapHeaderLength + pdu_length;
  const auto udp_length = static_cast<std::uint16_t>(kUdpHeaderLength + gsmtap_length);
  const std::size_t ip_start = out.size();
  out.push_back(0x45);  // version 4, 5 words
  out.push_back(0);
  AppendBE16(out, static_cast<std::uint16_t>(kIpv4HeaderLength + udp_length));
  AppendBE16(out, 0);       // identification
  AppendBE16(out, 0x4000);  // don't fragment
  out.push_back(64);        // time to live
  out.push_back(kIpProtocolUdp);
  AppendBE16(out, 0);  // checksum, filled below
  out.insert(out.end(), kLoopback, kLoopback + 4);
  out.insert(out.end(), kLoopback, kLoopback + 4);
  const std::uint16_t checksum = Ipv4Checksum(&out[ip_start]);
  out[ip_start + 10] = static_cast<std::uint8_t>(checksum >> 8);
  out[ip_start + 11] = static_cast<std::uint8_t>(checksum);

  AppendBE16(out, kGsmtapUdpPort);
  AppendBE16(out, kGsmtapUdpPort);
  AppendBE16(out, udp_length);
  AppendBE16(out, 0);  // no UDP checksum

  out.push_back(kGsmtapVersion);
  out.push_back(static_cast<std::uint8_t>(kGsmtapHeaderLength / 4));
  out.push_back(body.dissector.gsmtap_type);
  out.push_back(0);                                                                  // timeslot
  AppendBE16(out, body.direction == OtaDirection::kUplink ? kGsmtapUplinkFlag : 0);  // ARFCN
  out.push_back(0);                                                                  // signal level
  out.push_back(0);    // signal/noise ratio
  AppendBE32(out, 0);  // frame number
  out.push_back(body.dissector.gsmtap_subtype);
  out.push_back(0);  // antenna
  out.push_back(0);  // sub-slot
  out.push_back(0);  // reserved
}

}  // namespace

void AppendPcapFileHeader(std::vector<std::uint8_t>& out, CaptureFormat format) {
  AppendLE32(out, kPcapMagicNanoseconds);
  AppendLE16(out, kPcapVersionMajor);
  AppendLE16(out, kPcapVersionMinor);
  AppendLE32(out, 0);  // time zone
  AppendLE32(out, 0);  // accuracy
  AppendLE32(out, kPcapSnapLength);
  AppendLE32(out, format == CaptureFormat::kGsmtap ? kLinkTypeIpv4 : kLinkTypeUpperPdu);
}

void AppendPcapRecord(std::vector<std::uint8_t>& out, CaptureFormat format, const OtaBody& body,
                      ItemTimestamp time) {
  assert(body.status == OtaBodyStatus::kMessage);
  const PcapTime stamp = ToPcapTime(time);
  AppendLE32(out, stamp.seconds);
  AppendLE32(out, stamp.nanoseconds);
  const std::size_t lengths_at = out.size();
  AppendLE32(out, 0);  // included length, filled below
  AppendLE32(out, 0);  // original length
  const std::size_t pdu_length = body.prefix.size() + body.message.size();
  if (format == CaptureFormat::kGsmtap) {
    AppendGsmtapHeaders(out, body, pdu_length);
  } else {
    AppendExportedPdu(out, body);
  }
  AppendBytes(out, body.prefix);
  AppendBytes(out, body.message);
  const auto length = static_cast<std::uint32_t>(out.size() - lengths_at - 8);
  StoreLE32(&out[lengths_at], length);
  StoreLE32(&out[lengths_at + 4], length);
}

OtaCaptureWriter::OtaCaptureWriter(CaptureFormat format, Sink sink)
    : format_(format), sink_(std::move(sink)) {
  buffer_.reserve(2 * kFlushThreshold);  // a record is at most about 8.3 KB
  AppendPcapFileHeader(buffer_, format_);
}

void OtaCaptureWriter::Add(const ItemRecord& item) {
  if (item.TypeCode() != kItemOtaLog && item.TypeCode() != kItemLog) {
    ++counts_.not_ota;
    return;
  }
  const OtaBody body =
      ParseOtaLogPayload({item.GetPayload(), static_cast<std::size_t>(item.GetPayloadLength())});
  // A CDMA OTA log is a plain LOG item unless the database lists its code.
  if (item.TypeCode() == kItemLog && !IsCdmaOtaLogCode(body.log_code)) {
    ++counts_.not_ota;
    return;
  }
  switch (body.status) {
    case OtaBodyStatus::kMessage:
      AppendPcapRecord(buffer_, format_, body, item.Timestamp());
      ++counts_.records;
      if (buffer_.size() >= kFlushThreshold) Finish();
      break;
    case OtaBodyStatus::kNoLayout:
      ++counts_.no_layout;
      break;
    case OtaBodyStatus::kNoMessage:
      ++counts_.no_message;
      break;
    case OtaBodyStatus::kMalformed:
      ++counts_.malformed;
      break;
  }
}

void OtaCaptureWriter::Finish() {
  if (buffer_.empty()) return;
  sink_(buffer_);
  buffer_.clear();
}

CaptureFile::CaptureFile(std::u16string path) : path_(std::move(path)) {
  if (const std::uint32_t error = file_.Open(path_, platform::FileAccess::kReadWrite,
                                             platform::FileDisposition::kCreateAlways)) {
    throw cMISException(cMISException(kMisCategorySystem, error), u"cannot create " + path_);
  }
}

void CaptureFile::Write(std::span<const std::uint8_t> bytes) {
  if (const std::uint32_t error = file_.WriteAt(offset_, bytes.data(), bytes.size())) {
    throw cMISException(cMISException(kMisCategorySystem, error), u"cannot write " + path_);
  }
  offset_ += bytes.size();
}

}  // namespace quillon
