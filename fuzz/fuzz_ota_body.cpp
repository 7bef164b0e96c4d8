// Feeds arbitrary log item payloads to the OTA body layouts and the capture
// writer, and checks their promises: no crash or read outside the payload,
// a message lies inside the body, a malformed body explains itself, and
// every message becomes exactly one record whose length fields agree.
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "common/little_endian.h"
#include "ota/ota_capture.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // An owned copy, so that ASan sees a read past the payload.
  const std::vector<std::uint8_t> payload(data, data + size);
  const quillon::OtaBody body = quillon::ParseOtaLogPayload(payload);
  if (body.status == quillon::OtaBodyStatus::kMalformed) Check(!body.problem.empty());
  if (body.status != quillon::OtaBodyStatus::kMessage) return 0;
  Check(body.message.data() >= payload.data() + quillon::kOtaBodyOffset);
  Check(body.message.data() + body.message.size() == payload.data() + payload.size());
  Check(!body.dissector.name.empty());
  for (const auto format :
       {quillon::CaptureFormat::kExportedPdu, quillon::CaptureFormat::kGsmtap}) {
    std::vector<std::uint8_t> record;
    quillon::AppendPcapRecord(record, format, body, quillon::ItemTimestamp(0));
    Check(record.size() > quillon::kPcapRecordHeaderLength);
    const std::uint32_t length = quillon::LoadLE32(&record[8]);
    Check(length == record.size() - quillon::kPcapRecordHeaderLength);
    Check(quillon::LoadLE32(&record[12]) == length);
  }
  return 0;
}
