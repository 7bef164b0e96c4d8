// Feeds arbitrary formats to the safe formatter, with a fixed mixed
// argument list or with arguments taken from the input, and checks the
// formatter's promises: no crash, the capacity holds, the count is right,
// and a failure leaves the output exactly as it was.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "common/safe_format.h"

namespace {

using quillon::FormatArgument;

void Check(bool condition) {
  if (!condition) std::abort();
}

std::u16string TakeUtf16(FuzzedDataProvider& input, std::size_t max_units) {
  std::u16string text;
  while (text.size() < max_units && input.remaining_bytes() >= 2) {
    text.push_back(input.ConsumeIntegral<char16_t>());
  }
  return text;
}

// Arguments described by the input; texts are kept alive in `texts`.
std::vector<FormatArgument> TakeArguments(FuzzedDataProvider& input,
                                          std::vector<std::u16string>& wide,
                                          std::vector<std::string>& narrow) {
  std::vector<FormatArgument> args;
  const std::size_t count = input.ConsumeIntegralInRange<std::size_t>(0, 16);
  wide.reserve(count);
  narrow.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    switch (input.ConsumeIntegralInRange(0, 5)) {
      case 0:
        args.emplace_back(input.ConsumeIntegral<int>());
        break;
      case 1:
        args.emplace_back(input.ConsumeIntegral<unsigned long long>());
        break;
      case 2:
        args.emplace_back(input.ConsumeIntegral<long long>());
        break;
      case 3: {
        // Raw bits, so NaN payloads and subnormals show up.
        const auto bits = input.ConsumeIntegral<std::uint64_t>();
        double value;
        static_assert(sizeof(value) == sizeof(bits));
        __builtin_memcpy(&value, &bits, sizeof(bits));
        args.emplace_back(value);
        break;
      }
      case 4:
        wide.push_back(TakeUtf16(input, input.ConsumeIntegralInRange<std::size_t>(0, 64)));
        args.emplace_back(std::u16string_view(wide.back()));
        break;
      default:
        narrow.push_back(input.ConsumeRandomLengthString(64));
        args.push_back(FormatArgument::Narrow(narrow.back()));
        break;
    }
  }
  return args;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const bool own_arguments = input.ConsumeBool();
  const bool bounded = input.ConsumeBool();
  const std::size_t capacity =
      bounded ? input.ConsumeIntegralInRange<std::size_t>(0, 4096) : quillon::kUnboundedFormat;

  static const std::u16string kWide = u"wide text";
  static const FormatArgument kFixed[] = {
      FormatArgument(-1),
      FormatArgument(0x80000000u),
      FormatArgument(1.5),
      FormatArgument(std::u16string_view(kWide)),
      FormatArgument::Narrow("narrow \xE9"),
      FormatArgument(-1234567890123LL),
      FormatArgument(65),
      FormatArgument(-0.0),
      FormatArgument(1e300),
      FormatArgument(7),
  };
  std::vector<std::u16string> wide;
  std::vector<std::string> narrow;
  std::vector<FormatArgument> own;
  if (own_arguments) own = TakeArguments(input, wide, narrow);
  const std::u16string format = TakeUtf16(input, 4096);

  const std::u16string before = u"prefix";
  std::u16string out = before;
  quillon::FormatArgumentList args(own_arguments ? std::span<const FormatArgument>(own)
                                                 : std::span<const FormatArgument>(kFixed));
  const quillon::FormatResult result = quillon::FormatAppend(out, format, args, capacity);
  if (result.ok()) {
    Check(out.compare(0, before.size(), before) == 0);
    Check(result.written == out.size() - before.size());
    Check(result.written <= capacity);
  } else {
    Check(out == before);
    Check(result.written == 0);
  }
  return 0;
}
