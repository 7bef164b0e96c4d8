// The OTA decoders' routing, revisions and text merging, end to end through
// the stand-in libraries of tests/plugins, which echo the function called
// and the revision, length and capacity they received.
#include "parsers/ota_parsing.h"

#include <gtest/gtest.h>

#include "tests/parsers/parser_test_support.h"

namespace quillon {
namespace {

using namespace testing_parsers;

constexpr std::uint32_t kNone = kNoProtocolRevision;
constexpr std::uint32_t kFailWithText = 0xE0;  // the stand-ins fail, with "<fn> error"
constexpr std::uint32_t kFailSilently = 0xE1;  // the stand-ins fail without text

// A fetched OTA item carrying `revision`, its parsed text through the item
// class ("-" when it has none).
std::string ParsedText(std::uint32_t log_code, std::uint32_t revision,
                       const ItemParserService* parsers = nullptr, std::size_t body = 4) {
  ItemPtr item = Log(log_code, body);
  if (!item) return "no item";
  item->SetProtocolRevision(revision);
  std::u16string text;
  return item->GetParsedText(text, parsers) ? Utf8(text) : "-";
}

TEST(OtaParsingTest, LogCodesRouteToTheirDecoderWithTheirRevision) {
  ASSERT_TRUE(OtaLibraries::Instance().HasOtaLibrary());
  struct Case {
    std::uint32_t log_code;
    std::uint32_t revision;
    const char* text;
  };
  const Case cases[] = {
      {0x1004, 11, "CDMA rev=0xB len=20 cap=32768"},
      {0x1004, 12, "CDMA rev=0x6 len=20 cap=32768"},
      {0x10D8, 0x7FFFFFFF, "CDMA rev=0x7FFFFFFF len=20 cap=32768"},
      {0x1091, kNone, "CDMA rev=0x6 len=20 cap=32768"},
      {0x1085, 12, "HDRMAC rev=0xC len=20 cap=32768"},
      {0x107C, kNone, "HDR rev=0xFFFFFFFF len=20 cap=32768"},
      {0x5226, 3, "GSM rev=0x3 len=20 cap=32768"},
      {0x713A, 3, "GSM rev=0x3 len=20 cap=32768"},
      {0x412F, kNone, "RRC rev=0x406 len=20 cap=131072"},
      {0x412F, 0x6312, "RRC rev=0x6312 len=20 cap=131072"},
      {0x412F, 0x0106, "RRC rev=0x106 len=20 cap=131072"},
      {0x412F, 0x0305, "-"},   // no decoder slot for this revision code
      {0x412F, 0x10406, "-"},  // nor above 16 bits
      {0x1234, 0, "-"},        // not an OTA log
      {0x713A, kFailWithText, "GSM error"},
      {0x713A, kFailSilently, "-"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ParsedText(c.log_code, c.revision), c.text) << std::hex << c.log_code;
  }
}

TEST(OtaParsingTest, OnlyPayloadsUpTo8208BytesExist) {
  EXPECT_EQ(ParsedText(0x1004, 0, nullptr, 8208 - 16), "CDMA rev=0x0 len=8208 cap=32768");
  EXPECT_EQ(ParsedText(0x1004, 0, nullptr, 8209 - 16), "no item");
}

TEST(OtaParsingTest, DynamicParsersComeFirstAndTextIsAppended) {
  ParserService service(nullptr);
  std::vector<ParserErrorRecord> errors;
  ASSERT_TRUE(service.Load(Plugin("good_a"), errors));
  // good_a registered log code 0x412F; 0x1004 is left to the decoders.
  EXPECT_EQ(ParsedText(0x412F, kNone, &service), "good_a 20 other 32768");
  std::u16string text = u"before: ";
  ASSERT_TRUE(Log(0x1004)->GetParsedText(text, &service));
  EXPECT_EQ(Utf8(text), "before: CDMA rev=0x6 len=20 cap=32768");
  // A DIAG request has no log code: the libraries or nothing.
  text.clear();
  EXPECT_TRUE(DiagRequest()->GetParsedText(text, &service));
  EXPECT_FALSE(DiagRequest(76)->GetParsedText(text, &service));
}

TEST(OtaParsingTest, MissingLibrariesGiveNoTextAndSlotsStayFailed) {
  OtaLibraries missing({.weft = platform::SharedLibraryFileName(u"NoSuchOta"),
                        .rrc = platform::SharedLibraryFileName(u"NoSuchRrc")});
  EXPECT_FALSE(missing.HasOtaLibrary());
  const ItemPtr item = Log(0x1004);
  std::u16string text;
  EXPECT_FALSE(missing.AppendParsedText(*item, nullptr, text));
  for (int attempt = 0; attempt < 2; ++attempt) {
    EXPECT_EQ(missing.DecodeRrc(item->GetPayload(), item->GetPayloadLength(), 0x0406, text),
              kOtaUnavailable);
  }
  EXPECT_TRUE(text.empty());
}

TEST(OtaParsingTest, StoreOverridesSteerTheDecoders) {
  TempFile temp("ota");
  ItemStore store(CdmaOtaCodes());
  auto file = std::make_unique<ItemStoreFile>();
  file->Create(temp.u16());
  ASSERT_TRUE(store.AttachFile(std::move(file), 0, u""));
  const std::uint32_t rrc = store.AddItem(Log(0x412F));
  const std::uint32_t cdma = store.AddItem(Log(0x1005));
  store.SetWCDMAProtocolRevision(4);
  store.SetCDMAProtocolRevision(3);
  const auto text_of = [&](std::uint32_t index) {
    std::u16string text;
    store.GetItem(index)->GetParsedText(text, store.RenderServices().parsers);
    return Utf8(text);
  };
  EXPECT_EQ(text_of(rrc), "RRC rev=0x406 len=20 cap=131072");
  EXPECT_EQ(text_of(cdma), "CDMA rev=0x3 len=20 cap=32768");
  store.SetWCDMAProtocolRevision(0);
  EXPECT_EQ(text_of(rrc), "RRC rev=0x6300 len=20 cap=131072");
}

}  // namespace
}  // namespace quillon
