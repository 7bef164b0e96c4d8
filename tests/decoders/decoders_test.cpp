// The decoder libraries and the tshark runs behind them, with Debian's
// tshark on the PATH (scripts/setup.sh installs it). WithoutTshark runs as
// its own ctest with a PATH that has no tshark.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <thread>

#include "decoders/tshark_decoder.h"
#include "ota/ota_capture.h"
#include "parsers/ota_parsing.h"
#include "platform/text_codec.h"
#include "tests/ota/ota_vectors.h"

namespace quillon::testing_ota {
namespace {

using decoders::DecodeStatus;
using decoders::TsharkDecoder;

// The decoder libraries as built, bound the way the core binds them.
OtaLibraries& Decoders() {
  static OtaLibraries libraries(
      {.weft = platform::Utf8ToUtf16(QUILLON_DECODER_DIR "/WEFTServer.so"),
       .rrc = platform::Utf8ToUtf16(QUILLON_DECODER_DIR "/UMTS-RRC-Decoder.so")});
  return libraries;
}

// The parsed text of an item through the decoder libraries; "(none)" when
// nothing was appended.
std::string ParsedText(const ItemRecord& item) {
  std::u16string text;
  if (!Decoders().AppendParsedText(item, nullptr, text)) return "(none)";
  return platform::Utf16ToUtf8(text);
}

void ExpectVectorTexts(const Vector& v, const std::string& text) {
  for (const std::string& expect : v.expect) {
    EXPECT_NE(text.find(expect), std::string::npos) << v.name << ": no \"" << expect << "\"";
  }
  // The message's tree only: no frame or exported-PDU header.
  EXPECT_EQ(text.find("Frame "), std::string::npos) << v.name;
  EXPECT_EQ(text.find("P2P direction"), std::string::npos) << v.name;
}

TEST(DecoderLibraries, EveryVectorItemHasWiresharksTree) {
  ASSERT_TRUE(Decoders().HasFunction(OtaFunction::kGsm));
  for (const Vector& v : Vectors()) ExpectVectorTexts(v, ParsedText(*ItemOf(v)));
}

TEST(DecoderLibraries, WhatCannotBeDecodedSaysSoOrGivesNoText) {
  const struct {
    std::uint32_t log_code;
    Octets body;
    const char* text;
  } cases[] = {
      {0x1004, Octets(8), "(none)"},  // CDMA
      {0x1076, Octets(8), "(none)"},  // HDR
      {0x512F, {0x02, 0, 1, 0x7F}, "OTA log 0x512F: a random access burst, no layer-3 message"},
      {0x412F,
       {0, 0, 2, 0, 0x29},
       "OTA log 0x412F: the length field says 2 message bytes, the body holds 1"},
  };
  for (const auto& c : cases) EXPECT_EQ(ParsedText(*LogItem(c.log_code, c.body)), c.text);
}

TEST(DecoderLibraries, ItemsRenderedOnSeveralThreadsGetTheirOwnText) {
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (const Vector& v : Vectors()) {
        if (ParsedText(*ItemOf(v)).find(v.expect[0]) == std::string::npos) ++wrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST(TsharkDecoder, AKilledChildCostsOneMessageAndIsReapedAndRestarted) {
  TsharkDecoder decoder;
  const OtaBody body = ParseOtaBody(Vectors()[0].log_code, Vectors()[0].body);
  std::string text;
  ASSERT_EQ(decoder.Decode(body, {}, text), DecodeStatus::kDecoded);
  const int first = decoder.ChildProcessId();
  ASSERT_EQ(kill(first, SIGKILL), 0);
  // Writing to the dead child raises no SIGPIPE (which would end this test).
  EXPECT_EQ(decoder.Decode(body, {}, text), DecodeStatus::kFailed);
  EXPECT_EQ(waitpid(first, nullptr, WNOHANG), -1) << "not reaped";
  ASSERT_EQ(decoder.Decode(body, {}, text), DecodeStatus::kDecoded);
  EXPECT_NE(decoder.ChildProcessId(), first);
  ExpectVectorTexts(Vectors()[0], text);
}

// Every vector as stored items, exported and decoded by one tshark run.
TEST(DecodeCapture, ExportedItemsDecodeWithTheirTexts) {
  std::vector<std::uint8_t> capture;
  OtaCaptureWriter writer(CaptureFormat::kExportedPdu, [&](std::span<const std::uint8_t> block) {
    capture.insert(capture.end(), block.begin(), block.end());
  });
  for (const Vector& v : Vectors()) writer.Add(*ItemOf(v));
  writer.Finish();
  std::vector<std::string> texts;
  ASSERT_EQ(decoders::DecodeCapture(capture, Vectors().size(), texts), DecodeStatus::kDecoded);
  for (std::size_t i = 0; i < texts.size(); ++i) ExpectVectorTexts(Vectors()[i], texts[i]);
}

TEST(WithoutTshark, ItemsHaveNoTextAndNothingFails) {
  for (const Vector& v : Vectors()) EXPECT_EQ(ParsedText(*ItemOf(v)), "(none)") << v.name;
  EXPECT_TRUE(TsharkDecoder::Process().GaveUp());
  std::vector<std::string> texts;
  EXPECT_EQ(decoders::DecodeCapture({}, 0, texts), DecodeStatus::kUnavailable);
}

}  // namespace
}  // namespace quillon::testing_ota
