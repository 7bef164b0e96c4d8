// Formats arbitrary message payloads and arbitrary device formats with
// arbitrary 32-bit arguments, and checks the promises of message
// formatting: no crash, no read outside the given bytes (ASan), the
// message text bound holds, and a refused payload leaves an empty line.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "items/message_format.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

// The longest extended line: an 8208-byte file name, the heading's
// columns and the message bound.
constexpr std::size_t kMaxLine = 8208 + 11 + quillon::kMessageTextBound;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  if (input.ConsumeBool()) {
    // The whole rest as a payload, in a buffer of exactly its size.
    std::vector<std::uint8_t> payload = input.ConsumeRemainingBytes<std::uint8_t>();
    if (payload.size() > 8208) payload.resize(8208);
    std::u16string line = u"stale";
    if (quillon::FormatMessagePayload(payload, line)) {
      Check(line.size() >= 25 && line.size() <= kMaxLine);
    } else {
      Check(line.empty());
    }
    return 0;
  }
  std::vector<std::uint32_t> args(input.ConsumeIntegralInRange<std::size_t>(0, 255));
  for (auto& arg : args) arg = input.ConsumeIntegral<std::uint32_t>();
  const std::size_t bound = input.ConsumeBool() ? quillon::kMessageTextBound
                                                : input.ConsumeIntegralInRange<std::size_t>(0, 600);
  std::u16string format;
  while (input.remaining_bytes() >= 2 && format.size() < 4096) {
    format.push_back(input.ConsumeIntegral<char16_t>());
  }
  const std::u16string text = quillon::FormatDeviceMessage(format, args, bound);
  Check(text.size() <= bound);
  return 0;
}
