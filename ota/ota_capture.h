// Capture files that Wireshark reads: pcap with one record per OTA
// message, in one of two forms.
//
//   kExportedPdu  link type 252 (Wireshark upper PDU). Each record: the
//                 tags (big-endian u16 tag, u16 length, value) 12 dissector
//                 name, 35 P2P direction (u32: 0 uplink, 1 downlink), 0 end,
//                 then the PDU (prefix and message).
//   kGsmtap       link type 228 (raw IPv4). Each record: an IPv4 header
//                 (127.0.0.1 to itself), a UDP header to port 4729, a
//                 GSMTAP version 2 header (payload type, sub-type, the
//                 uplink flag 0x4000 in the ARFCN field) and the PDU.
//
// The file header is little-endian with nanosecond time stamps (magic
// 0xA1B23C4D); record times are the item times in UTC, times before 1970
// as 1970 and times past 2106 as the last second that fits.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "common/item_record.h"
#include "common/item_timestamp.h"
#include "ota/ota_message.h"
#include "platform/file.h"

namespace quillon {

enum class CaptureFormat { kExportedPdu, kGsmtap };

inline constexpr std::uint32_t kLinkTypeUpperPdu = 252;
inline constexpr std::uint32_t kLinkTypeIpv4 = 228;
inline constexpr std::uint16_t kGsmtapUdpPort = 4729;
inline constexpr std::size_t kPcapFileHeaderLength = 24;
inline constexpr std::size_t kPcapRecordHeaderLength = 16;

// Appends the 24-byte pcap file header of `format`.
void AppendPcapFileHeader(std::vector<std::uint8_t>& out, CaptureFormat format);

// Appends one record carrying `body`'s message. Requires: body.status is
// OtaBodyStatus::kMessage.
void AppendPcapRecord(std::vector<std::uint8_t>& out, CaptureFormat format, const OtaBody& body,
                      ItemTimestamp time);

// What a capture writer did with the items it was given.
struct OtaCaptureCounts {
  std::uint64_t records = 0;     // messages written
  std::uint64_t no_layout = 0;   // OTA items of a log code without a public layout (CDMA, HDR)
  std::uint64_t no_message = 0;  // OTA LOG items that carry no message (GSM RACH)
  std::uint64_t malformed = 0;   // OTA LOG items whose body contradicts its layout
  std::uint64_t not_ota = 0;     // items of every other type
};

// Writes a capture of the OTA LOG items it is given, buffering the bytes
// and handing them to `sink` in blocks of about 64 KB.
class OtaCaptureWriter {
 public:
  using Sink = std::function<void(std::span<const std::uint8_t>)>;

  // The file header goes out with the first block. `sink` may throw; the
  // exception passes through Add or Finish.
  OtaCaptureWriter(CaptureFormat format, Sink sink);

  // One record for an OTA LOG item (type 8) whose body holds a message,
  // with the item's time (ItemRecord::Timestamp); counts every other item
  // (a LOG item of a CDMA OTA log code counts as an OTA item without a
  // layout: such logs are OTA LOG items only where the database says so).
  void Add(const ItemRecord& item);
  // Hands what is buffered to the sink (the file header at least).
  void Finish();

  const OtaCaptureCounts& Counts() const { return counts_; }

 private:
  CaptureFormat format_;
  Sink sink_;
  std::vector<std::uint8_t> buffer_;
  OtaCaptureCounts counts_;
};

// A capture file created (or replaced) at `path`, written front to back:
// the sink of an OtaCaptureWriter. Throws cMISException naming the file
// ("cannot create x.pcap: ...", "cannot write x.pcap: ...").
class CaptureFile {
 public:
  explicit CaptureFile(std::u16string path);
  void Write(std::span<const std::uint8_t> bytes);

 private:
  std::u16string path_;
  platform::File file_;
  std::uint64_t offset_ = 0;
};

}  // namespace quillon
