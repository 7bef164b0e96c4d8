#include <gtest/gtest.h>

#include <cstring>

#include "common/little_endian.h"
#include "ota/ota_capture.h"
#include "tests/ota/ota_vectors.h"
#include "tests/store/isf_test_support.h"

namespace quillon::testing_ota {
namespace {

using Status = OtaBodyStatus;

Octets Pdu(const OtaBody& body) {
  Octets pdu(body.prefix.begin(), body.prefix.end());
  pdu.insert(pdu.end(), body.message.begin(), body.message.end());
  return pdu;
}

// A capture written from `items`, and what the writer counted.
struct Capture {
  Octets bytes;
  OtaCaptureCounts counts;
};
Capture Write(CaptureFormat format, const std::vector<ItemPtr>& items) {
  Capture capture;
  OtaCaptureWriter writer(format, [&](std::span<const std::uint8_t> block) {
    capture.bytes.insert(capture.bytes.end(), block.begin(), block.end());
  });
  for (const ItemPtr& item : items) writer.Add(*item);
  writer.Finish();
  capture.counts = writer.Counts();
  return capture;
}

// The records of a pcap capture: their times and data.
struct Record {
  std::uint32_t seconds, fraction;
  Octets data;
};
std::vector<Record> Records(const Octets& capture) {
  std::vector<Record> records;
  for (std::size_t at = kPcapFileHeaderLength; at + kPcapRecordHeaderLength <= capture.size();) {
    const std::uint32_t length = LoadLE32(&capture[at + 8]);
    const auto data = capture.begin() + static_cast<std::ptrdiff_t>(at + kPcapRecordHeaderLength);
    records.push_back(
        {LoadLE32(&capture[at]), LoadLE32(&capture[at + 4]), Octets(data, data + length)});
    at += kPcapRecordHeaderLength + length;
  }
  return records;
}

std::vector<ItemPtr> VectorItems() {
  std::vector<ItemPtr> items;
  for (std::uint32_t i = 0; i < Vectors().size(); ++i) items.push_back(ItemOf(Vectors()[i], i));
  return items;
}

TEST(OtaBody, EveryVectorGivesItsMessageDissectorAndDirection) {
  for (const Vector& v : Vectors()) {
    const OtaBody body = ParseOtaBody(v.log_code, v.body);
    ASSERT_EQ(body.status, Status::kMessage) << v.name << ": " << body.problem;
    EXPECT_EQ(Octets(body.message.begin(), body.message.end()), v.message) << v.name;
    EXPECT_EQ(Pdu(body), v.pdu) << v.name;
    EXPECT_EQ(body.dissector.name, v.dissector) << v.name;
    EXPECT_EQ(body.direction, v.direction) << v.name;
  }
}

TEST(OtaBody, EveryShorterOrLongerBodyIsMalformed) {
  for (const Vector& v : Vectors()) {
    for (std::size_t size = 0; size < v.body.size(); ++size) {
      const Octets cut(v.body.begin(), v.body.begin() + static_cast<std::ptrdiff_t>(size));
      EXPECT_EQ(ParseOtaBody(v.log_code, cut).status, Status::kMalformed) << v.name << " " << size;
    }
    Octets longer = v.body;
    longer.push_back(0);
    EXPECT_EQ(ParseOtaBody(v.log_code, longer).status, Status::kMalformed) << v.name;
  }
}

TEST(OtaBody, WhatTheLayoutsDoNotCover) {
  const struct {
    std::uint32_t log_code;
    Octets body;
    Status status;
    const char* problem;
  } cases[] = {
      {0x412F, {0x0B, 0, 1, 0, 0x29}, Status::kMalformed, "unknown channel type 0x0B"},
      {0x412F, {0x8A, 0, 1, 0, 0, 0, 0, 0, 0x29}, Status::kMalformed, "unknown channel type 0x8A"},
      {0x412F, {0xFE, 0, 2, 0, 31, 0x29}, Status::kMalformed, "unknown SIB type 31"},
      {0x512F, {0x09, 0, 1, 0x29}, Status::kMalformed, "unknown channel type 0x09"},
      {0x713A, {0x02, 1, 0, 0, 0, 0x29}, Status::kMalformed, "unknown direction 0x02"},
      {0x512F, {0x82, 0, 1, 0x29}, Status::kNoMessage, ""},
      {0x512F, {0x08, 0, 1, 0x29}, Status::kNoMessage, ""},
      {0x1004, {0, 0, 0, 0}, Status::kNoLayout, ""},
      {0x1076, {}, Status::kNoLayout, ""},
  };
  for (const auto& c : cases) {
    const OtaBody body = ParseOtaBody(c.log_code, c.body);
    EXPECT_EQ(body.status, c.status) << c.problem;
    EXPECT_EQ(body.problem, c.problem);
  }
}

TEST(OtaCaptureWriter, RecordsMatchTheReferenceCaptureAndCarryTheItemTimes) {
  const Octets reference =
      testing::ReadBytes(std::filesystem::path(QUILLON_TEST_DATA) / "ota-vectors" / "vectors.pcap");
  const Capture capture = Write(CaptureFormat::kExportedPdu, VectorItems());
  EXPECT_EQ(LoadLE32(&capture.bytes[20]), kLinkTypeUpperPdu);
  const std::vector<Record> written = Records(capture.bytes);
  const std::vector<Record> expected = Records(reference);
  ASSERT_EQ(written.size(), Vectors().size());
  for (std::size_t i = 0; i < written.size(); ++i) {
    EXPECT_EQ(written[i].data, expected[i].data) << Vectors()[i].name;
    EXPECT_EQ(written[i].seconds, kUnixTime2024 + i);
    EXPECT_EQ(written[i].fraction, 0u);
  }
}

TEST(OtaCaptureWriter, SkippedItemsAreCountedAndWriteNothing) {
  std::vector<ItemPtr> items;
  items.push_back(LogItem(0x1076, Octets(8)));           // HDR
  items.push_back(LogItem(0x1004, Octets(8)));           // CDMA, a LOG without a database
  items.push_back(LogItem(0x512F, {0x02, 0, 1, 0x7F}));  // RACH
  items.push_back(LogItem(0x412F, {0, 0, 2, 0, 0x29}));  // length one too large
  items.push_back(LogItem(0x11EB, Octets(4)));           // a plain log
  items.push_back(testing_items::Make(kItemDiagTx, Bytes().U8(75)));  // not a log
  const Capture capture = Write(CaptureFormat::kExportedPdu, items);
  EXPECT_EQ(capture.bytes.size(), kPcapFileHeaderLength);
  const OtaCaptureCounts& c = capture.counts;
  EXPECT_EQ(std::tie(c.records, c.no_layout, c.no_message, c.malformed, c.not_ota),
            std::make_tuple(0u, 2u, 1u, 1u, 2u));
}

TEST(OtaCaptureWriter, GsmtapRecordIsLoopbackUdpToPort4729WithTheUplinkFlag) {
  const Vector& uplink = Vectors()[0];  // UL-CCCH RRC Connection Request
  std::vector<ItemPtr> items;
  items.push_back(ItemOf(uplink));
  const Capture capture = Write(CaptureFormat::kGsmtap, items);
  EXPECT_EQ(LoadLE32(&capture.bytes[20]), kLinkTypeIpv4);
  const Octets data = Records(capture.bytes).at(0).data;
  const Octets expected_headers = {0x45,     0,
                                   0,        static_cast<std::uint8_t>(44 + uplink.pdu.size()),
                                   0,        0,
                                   0x40,     0,
                                   64,       17,  // IPv4
                                   data[10], data[11],
                                   127,      0,
                                   0,        1,
                                   127,      0,
                                   0,        1,  //
                                   0x12,     0x79,
                                   0x12,     0x79,
                                   0,        static_cast<std::uint8_t>(24 + uplink.pdu.size()),
                                   0,        0,  // UDP
                                   2,        4,
                                   0x0C,     0,
                                   0x40,     0,
                                   0,        0,
                                   0,        0,
                                   0,        0,
                                   3,        0,
                                   0,        0};  // GSMTAP
  ASSERT_EQ(data.size(), expected_headers.size() + uplink.pdu.size());
  EXPECT_EQ(Octets(data.begin(), data.begin() + 44), expected_headers);
  std::uint32_t sum = 0;  // the IPv4 header checksum adds up to 0xFFFF
  for (std::size_t i = 0; i < 20; i += 2)
    sum += static_cast<std::uint32_t>(data[i] << 8 | data[i + 1]);
  EXPECT_EQ((sum & 0xFFFF) + (sum >> 16), 0xFFFFu);
}

}  // namespace
}  // namespace quillon::testing_ota
