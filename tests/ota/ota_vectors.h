// Vocabulary of the OTA tests: the vectors of tests/data/ota-vectors
// (vectors.json) and the stored items that carry them.
#pragma once

#include <cstdint>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "common/item_record.h"
#include "ota/ota_message.h"
#include "tests/store/item_test_payloads.h"

namespace quillon::testing_ota {

using testing_items::Bytes;
using Octets = std::vector<std::uint8_t>;

inline Octets FromHex(const std::string& hex) {
  Octets out;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    out.push_back(static_cast<std::uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
  }
  return out;
}

struct Vector {
  std::string name;
  std::uint32_t log_code = 0;
  Octets body, message, pdu;  // pdu: the bytes the dissector gets
  std::string dissector;
  OtaDirection direction = OtaDirection::kUplink;
  std::vector<std::string> expect;
};

// The vectors that have a log body (the LTE one has none), in file order.
inline const std::vector<Vector>& Vectors() {
  static const std::vector<Vector> vectors = [] {
    std::ifstream in(std::string(QUILLON_TEST_DATA) + "/ota-vectors/vectors.json");
    const nlohmann::json json = nlohmann::json::parse(in);
    std::vector<Vector> out;
    for (const auto& v : json["vectors"]) {
      if (v["body_hex"].is_null()) continue;
      Vector vec;
      vec.name = v["name"];
      vec.log_code =
          static_cast<std::uint32_t>(std::stoul(v["log_code"].get<std::string>(), nullptr, 16));
      vec.body = FromHex(v["body_hex"]);
      vec.message = FromHex(v["message_hex"]);
      vec.pdu = v.contains("pdu_hex") ? FromHex(v["pdu_hex"]) : vec.message;
      vec.dissector = v["dissector"];
      vec.direction = v["direction"] == 1 ? OtaDirection::kDownlink : OtaDirection::kUplink;
      vec.expect = v["expect"].get<std::vector<std::string>>();
      out.push_back(std::move(vec));
    }
    return out;
  }();
  return vectors;
}

// 2024-01-01 00:00:00 UTC + `seconds`, as an item time.
inline ItemTimestamp VectorTime(std::uint32_t seconds) {
  constexpr std::uint64_t kFileTime2024 = 133485408000000000ULL;
  return ItemTimestamp::FromFileTime(kFileTime2024 + seconds * 10000000ULL);
}
inline constexpr std::uint32_t kUnixTime2024 = 1704067200;

// A log item payload: envelope and log header, then `body`.
inline Octets LogPayloadWith(std::uint32_t log_code, const Octets& body) {
  const auto length = static_cast<std::uint32_t>(12 + body.size());
  Octets bytes = Bytes().U8(0x10).U8(0).U16(length).U16(length).U16(log_code).U64(0);
  bytes.insert(bytes.end(), body.begin(), body.end());
  return bytes;
}

// A stored log item of `log_code` and `body` (an OTA LOG for the OTA log
// codes), stamped VectorTime(seconds).
inline ItemPtr LogItem(std::uint32_t log_code, const Octets& body, std::uint32_t seconds = 0) {
  ItemPtr item = testing_items::Make(kItemLog, LogPayloadWith(log_code, body));
  item->SetTimestamp(VectorTime(seconds));
  return item;
}
inline ItemPtr ItemOf(const Vector& vector, std::uint32_t seconds = 0) {
  return LogItem(vector.log_code, vector.body, seconds);
}

}  // namespace quillon::testing_ota
