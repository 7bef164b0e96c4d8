// OTA export and decoding: 100,000 OTA LOG items (the test vectors, round
// robin) written as a capture in memory and from an item store file, and
// the decoded text of single items through the decoder libraries and their
// long-lived tshark child (after its start-up), and of captures decoded by
// one tshark run. Decoding rates are per wall-clock second: tshark works in
// another process.
#include <benchmark/benchmark.h>

#include <filesystem>

#include "decoders/tshark_decoder.h"
#include "ota/ota_capture.h"
#include "parsers/ota_parsing.h"
#include "platform/text_codec.h"
#include "store/mapped_item_store_file.h"
#include "tests/ota/ota_vectors.h"

namespace quillon {
namespace {

using testing_ota::ItemOf;
using testing_ota::Vectors;

constexpr std::uint32_t kItems = 100000;

const std::vector<ItemPtr>& OtaItems() {
  static const std::vector<ItemPtr> items = [] {
    std::vector<ItemPtr> out;
    for (std::uint32_t i = 0; i < kItems; ++i) {
      out.push_back(ItemOf(Vectors()[i % Vectors().size()], i));
    }
    return out;
  }();
  return items;
}

void BM_CaptureInMemory(benchmark::State& state) {
  const auto format = static_cast<CaptureFormat>(state.range(0));
  std::uint64_t bytes = 0;
  for (auto _ : state) {
    OtaCaptureWriter writer(format, [&](std::span<const std::uint8_t> b) { bytes += b.size(); });
    for (const ItemPtr& item : OtaItems()) writer.Add(*item);
    writer.Finish();
  }
  state.SetItemsProcessed(state.iterations() * kItems);
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
}
BENCHMARK(BM_CaptureInMemory)
    ->Arg(static_cast<int>(CaptureFormat::kExportedPdu))
    ->Arg(static_cast<int>(CaptureFormat::kGsmtap))
    ->Unit(benchmark::kMillisecond);

// What `quillon export --format pcap` does, but for the output: read every
// item of a mapped item store file and write its record.
void BM_ExportFromFile(benchmark::State& state) {
  const std::filesystem::path path =
      std::filesystem::temp_directory_path() / "quillon_bench_ota.isf";
  {
    ItemStoreFile file;
    file.Create(path.u16string());
    for (const ItemPtr& item : OtaItems()) file.AppendItem(item.get());
    file.Close();
  }
  for (auto _ : state) {
    MappedItemStoreFile file;
    file.Open(path.u16string(), true, nullptr);
    OtaCaptureWriter writer(CaptureFormat::kExportedPdu, [](std::span<const std::uint8_t> b) {
      benchmark::DoNotOptimize(b.data());
    });
    for (std::uint32_t i = 0, n = file.GetItemCount(); i < n; ++i) writer.Add(*file.ReadItem(i));
    writer.Finish();
  }
  state.SetItemsProcessed(state.iterations() * kItems);
  std::filesystem::remove(path);
}
BENCHMARK(BM_ExportFromFile)->Unit(benchmark::kMillisecond);

OtaLibraries& Decoders() {
  static OtaLibraries libraries(
      {.weft = platform::Utf8ToUtf16(QUILLON_DECODER_DIR "/WEFTServer.so"),
       .rrc = platform::Utf8ToUtf16(QUILLON_DECODER_DIR "/UMTS-RRC-Decoder.so")});
  return libraries;
}

// The parsed text of one item after another through the long-lived child.
void BM_DecodeSingleItems(benchmark::State& state) {
  std::u16string text;
  if (!Decoders().AppendParsedText(*OtaItems()[0], nullptr, text)) {  // starts the child
    return state.SkipWithError("no decoded text: are the decoders built and tshark installed?");
  }
  std::size_t i = 0;
  for (auto _ : state) {
    text.clear();
    Decoders().AppendParsedText(*OtaItems()[i++ % Vectors().size()], nullptr, text);
    benchmark::DoNotOptimize(text.data());
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_DecodeSingleItems)->Unit(benchmark::kMicrosecond)->MinTime(3.0)->UseRealTime();

// A capture of N items decoded by one tshark run (start-up included).
void BM_DecodeCapture(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  std::vector<std::uint8_t> capture;
  OtaCaptureWriter writer(CaptureFormat::kExportedPdu, [&](std::span<const std::uint8_t> b) {
    capture.insert(capture.end(), b.begin(), b.end());
  });
  for (std::size_t i = 0; i < count; ++i) writer.Add(*OtaItems()[i]);
  writer.Finish();
  std::vector<std::string> texts;
  for (auto _ : state) {
    if (decoders::DecodeCapture(capture, count, texts) != decoders::DecodeStatus::kDecoded) {
      return state.SkipWithError("tshark did not decode the capture");
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}
BENCHMARK(BM_DecodeCapture)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace quillon
BENCHMARK_MAIN();
