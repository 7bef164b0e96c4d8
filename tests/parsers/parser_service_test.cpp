#include <gtest/gtest.h>

#include <fstream>

#include "common/mis_exception.h"
#include "parsers/parser_registration.h"
#include "tests/parsers/parser_test_support.h"

namespace quillon {
namespace {

using namespace testing_parsers;

class ParserServiceTest : public ::testing::Test {
 protected:
  // Loads the named test libraries in order; each must load.
  void LoadAll(std::initializer_list<const char*> names) {
    for (const char* name : names) {
      ASSERT_TRUE(service.Load(Plugin(name), errors)) << name;
      EXPECT_TRUE(errors.empty());
    }
  }
  std::string TextOf(const ItemRecord& item) {
    std::u16string text = u"untouched";
    return service.ParseToText(item, text) ? Utf8(text) : "no text: " + Utf8(text);
  }
  std::string SummaryOf(const ItemRecord& item) {
    std::u16string text = u"untouched";
    return service.ParseToSummary(item, text) ? Utf8(text) : "no summary: " + Utf8(text);
  }

  ParserService service{nullptr};
  std::vector<ParserErrorRecord> errors{{ParserErrorCategory::kNoService, 1, u"stale", u""}};
};

TEST(ParserRegistrationTest, KindsNumberBasesAndIgnoredEntries) {
  const ParserRegistration r =
      ParseRegistration(u"6/0x412F,5/257,4/18/3,7/5,3/18,,1/ 12x,2/9/99,6/010,6/16,0/1,5,/,//");
  EXPECT_EQ(r.Of(RegistrationKind::kLogCode),
            (std::set<ItemKey>{{5, 8}, {5, 16}, {5, 0x412F}}));  // 010 is octal
  EXPECT_EQ(r.Of(RegistrationKind::kEvent), (std::set<ItemKey>{{4, 257}}));
  EXPECT_EQ(r.Of(RegistrationKind::kSubsysRequest), (std::set<ItemKey>{{10, 18, 3}}));
  EXPECT_TRUE(r.Of(RegistrationKind::kSubsysResponse).empty());  // 3/18 lacks its command
  EXPECT_EQ(r.Of(RegistrationKind::kDiagResponse), (std::set<ItemKey>{{1, 12}}));
  EXPECT_EQ(r.Of(RegistrationKind::kDiagRequest), (std::set<ItemKey>{{2, 9}}));
}

TEST_F(ParserServiceTest, RegisteredItemsAreTakenAndOthersAreNot) {
  LoadAll({"good_a"});
  const ParserEntry& entry = service.Entries().at(0);
  EXPECT_TRUE(entry.loaded_here);
  EXPECT_TRUE(entry.can_text && entry.can_summary);
  // 7/5 and 3/18 are ignored; the rest registered and their types enabled.
  EXPECT_EQ(entry.accepted.EnabledTypes(), (std::set<std::uint32_t>{1, 2, 4, 5, 10}));
  EXPECT_FALSE(entry.accepted.AcceptUnknowns());

  struct Case {
    const char* what;
    ItemPtr item;
    std::string text;
  };
  const Case cases[] = {
      {"DIAG request: the request flag", DiagRequest(), "good_a 3 request 32768"},
      {"DIAG response", DiagResponse(), "good_a 3 other 32768"},
      {"subsystem request 18/3", SubsysRequest(18, 3), "good_a 5 other 32768"},
      {"LOG 4660", Log(4660), "good_a 20 other 32768"},
      {"OTA LOG 0x412F, registered as a log code", Log(0x412F), "good_a 20 other 32768"},
      {"unregistered command", DiagRequest(76), "no text: untouched"},
      {"unregistered subsystem command", SubsysRequest(18, 4), "no text: untouched"},
      {"unregistered log", Log(0x1235), "no text: untouched"},
  };
  for (const Case& c : cases) {
    ASSERT_TRUE(c.item) << c.what;
    EXPECT_EQ(TextOf(*c.item), c.text) << c.what;
  }
  EXPECT_EQ(Log(0x412F)->TypeCode(), kItemOtaLog);
  EXPECT_EQ(SummaryOf(*DiagRequest()), "good_a summary good_a 3 request 256");
}

TEST_F(ParserServiceTest, FirstLoadedWinsUntilUnloadedAndReloadedInTheOtherOrder) {
  LoadAll({"good_a", "good_b"});
  EXPECT_EQ(TextOf(*DiagRequest()), "good_a 3 request 32768");
  service.UnloadAll();
  EXPECT_TRUE(service.Entries().empty());
  EXPECT_EQ(TextOf(*DiagRequest()), "no text: untouched");
  LoadAll({"good_b", "good_a"});
  EXPECT_EQ(TextOf(*DiagRequest()), "good_b 3 request 32768");
}

TEST_F(ParserServiceTest, LoadFailuresReportCategoryAndFreeTheLibrary) {
  struct Case {
    const char* library;
    ParserErrorCategory category;
    std::uint32_t code;
  };
  const Case cases[] = {
      {"no_such_library", ParserErrorCategory::kSystemError, platform::error::kModuleNotFound},
      {"no_register", ParserErrorCategory::kMissingExport, mis::kCannotComplete},
      {"twin_only", ParserErrorCategory::kMissingExport, mis::kCannotComplete},
      {"null_register", ParserErrorCategory::kRegistrationRefused, mis::kCannotComplete},
  };
  for (const Case& c : cases) {
    const std::u16string path = Plugin(c.library);
    EXPECT_FALSE(service.Load(path, errors)) << c.library;
    ASSERT_EQ(errors.size(), 1u) << c.library;
    EXPECT_EQ(errors[0].category, c.category) << c.library;
    EXPECT_EQ(errors[0].code, c.code) << c.library;
    EXPECT_EQ(errors[0].text, path) << c.library;
    EXPECT_FALSE(IsMapped(path)) << c.library;
  }
  EXPECT_TRUE(service.Entries().empty());
}

TEST_F(ParserServiceTest, AFileThatIsNoLibraryIsASystemError) {
  TempFile file(u"not_a_library");
  { std::ofstream(file.path()) << "plain text"; }
  EXPECT_FALSE(service.Load(file.u16(), errors));
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].category, ParserErrorCategory::kSystemError);
  EXPECT_NE(errors[0].code, 0u);
}

TEST_F(ParserServiceTest, OnlyTheUtf16SummaryNameGivesSummariesAtLoad) {
  LoadAll({"summary_twin"});
  EXPECT_FALSE(service.Entries()[0].can_summary);
  EXPECT_EQ(SummaryOf(*DiagRequest()), "no summary: untouched");
  EXPECT_EQ(TextOf(*DiagRequest()), "summary_twin 3 request 32768");
}

TEST_F(ParserServiceTest, TheSdkExampleParsesWhatItRegistered) {
  LoadAll({"example_parser"});
  EXPECT_EQ(TextOf(*DiagRequest()), "Request 3 bytes:\r\n4B 01 02");
  EXPECT_EQ(SummaryOf(*DiagResponse()), "Response or event, 3 bytes");
  EXPECT_EQ(TextOf(*Log(4660)), "no text: untouched");
}

TEST_F(ParserServiceTest, ALibraryMappedElsewhereIsUsedButNotFreed) {
  const std::u16string path = Plugin("good_a");
  const platform::LibraryOpenResult own =
      platform::OpenLibrary(path, platform::LibraryLoadMode::kFull);
  ASSERT_NE(own.module, nullptr);
  LoadAll({"good_a"});
  EXPECT_FALSE(service.Entries()[0].loaded_here);
  service.UnloadAll();
  EXPECT_TRUE(IsMapped(path));
  platform::CloseLibrary(own.module);
  EXPECT_FALSE(IsMapped(path));
}

TEST_F(ParserServiceTest, FaultsAndThrowsInAParseCallAreFailures) {
  // Each crashing library alone, then behind it a good one that takes over
  // nothing (the crashing one accepts the item first): every call fails.
  for (const char* crashing : {"segfault", "throws", "divide"}) {
    LoadAll({crashing, "good_a"});
    for (int attempt = 0; attempt < 2; ++attempt) {
      EXPECT_EQ(TextOf(*DiagRequest()), "no text: untouched") << crashing;
    }
    // Its summary function is sound and still answers.
    EXPECT_EQ(SummaryOf(*DiagRequest()),
              std::string(crashing) + " summary " + crashing + " 3 request 256");
    service.UnloadAll();
    LoadAll({"good_a"});
    EXPECT_EQ(TextOf(*DiagRequest()), "good_a 3 request 32768") << crashing;
    service.UnloadAll();
  }
}

}  // namespace
}  // namespace quillon
