// The parser libraries and protocol revisions as a store serves them.
#include <gtest/gtest.h>

#include "common/mis_exception.h"
#include "tests/parsers/parser_test_support.h"

namespace quillon {
namespace {

using namespace testing_parsers;

constexpr std::uint32_t kCdmaLog = 0x1004;
constexpr std::uint32_t kGsmLog = 0x713A;

class StoreParsersTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto file = std::make_unique<ItemStoreFile>();
    file->Create(temp.u16());
    ASSERT_TRUE(store.AttachFile(std::move(file), 0, u""));
    store.SetNotificationHandler([this](StoreNotification n) { notifications.push_back(n); });
  }
  // Appends an item and fetches it back as a client would.
  ItemPtr AddAndFetch(ItemPtr item) { return store.GetItem(store.AddItem(std::move(item))); }
  std::uint32_t RevisionOfFetched(std::uint32_t index) {
    return store.GetItem(index)->ProtocolRevision();
  }
  std::size_t ChangeCount() const { return notifications.size(); }

  TempFile temp{"parsers"};
  ItemStore store{CdmaOtaCodes()};
  std::vector<StoreNotification> notifications;
  std::vector<ParserErrorRecord> errors;
};

template <class F>
std::pair<std::uint32_t, std::uint32_t> FailureOf(F&& f) {
  try {
    f();
  } catch (const cMISException& e) {
    return {e.Category(), e.Code()};
  }
  return {0, 0};
}

TEST_F(StoreParsersTest, OverridesAcceptTheirRangesOnly) {
  struct Case {
    bool cdma;
    std::uint32_t value;
    bool accepted;
  };
  const Case cases[] = {
      {true, 0, true},          {true, 11, true},          {true, 12, false},
      {true, 0x7FFFFFFF, true}, {true, 0x7FFFFFFE, false}, {false, 4, true},
      {false, 5, false},        {false, 0x7FFFFFFF, true}, {false, 0xFFFFFFFF, false}};
  for (const Case& c : cases) {
    const std::size_t before = ChangeCount();
    const auto failure = FailureOf([&] {
      c.cdma ? store.SetCDMAProtocolRevision(c.value) : store.SetWCDMAProtocolRevision(c.value);
    });
    const auto expected = c.accepted ? std::pair<std::uint32_t, std::uint32_t>{0, 0}
                                     : std::pair<std::uint32_t, std::uint32_t>{1, 160};
    EXPECT_EQ(failure, expected) << c.value;
    EXPECT_EQ(ChangeCount() - before, c.accepted ? 1u : 0u) << c.value;
  }
}

TEST_F(StoreParsersTest, FetchedOtaItemsAreStampedWithTheOverrideInForce) {
  const std::uint32_t cdma = store.AddItem(Log(kCdmaLog));
  const std::uint32_t rrc = store.AddItem(Log(kWcdmaRrcLogCode));
  const std::uint32_t gsm = store.AddItem(Log(kGsmLog));
  const std::uint32_t event =
      store.AddItem(Make(kItemEvent, testing_items::EventPayload(257, 0, {})));
  ASSERT_EQ(store.GetItem(cdma)->TypeCode(), kItemOtaLog);
  const ItemPtr before = store.GetItem(cdma);

  store.SetCDMAProtocolRevision(11);
  store.SetWCDMAProtocolRevision(4);
  EXPECT_EQ(RevisionOfFetched(cdma), 11u);
  EXPECT_EQ(RevisionOfFetched(rrc), 0x0406u);
  EXPECT_EQ(RevisionOfFetched(gsm), kNoProtocolRevision);
  EXPECT_EQ(RevisionOfFetched(event), kNoProtocolRevision);
  EXPECT_EQ(before->ProtocolRevision(), kNoProtocolRevision);  // fetched before

  store.SetWCDMAProtocolRevision(0);
  EXPECT_EQ(RevisionOfFetched(rrc), 0x6300u);
  store.SetCDMAProtocolRevision(0x7FFFFFFF);
  EXPECT_EQ(RevisionOfFetched(cdma), kNoProtocolRevision);
}

TEST_F(StoreParsersTest, LoadAndUnloadNotifyAndReportThroughTheStore) {
  EXPECT_TRUE(store.LoadParser(Plugin("good_a"), errors));
  EXPECT_FALSE(store.LoadParser(Plugin("null_register"), errors));
  EXPECT_EQ(errors.size(), 1u);
  store.UnloadParsers();
  EXPECT_EQ(notifications,
            std::vector<StoreNotification>(3, StoreNotification::kConfigurationChanged));
}

TEST_F(StoreParsersTest, AfterACrashingLibraryTheStoreStillCountsFetchesAndParses) {
  store.AddItem(DiagRequest());
  const ItemRenderServices services = store.RenderServices();
  EXPECT_EQ(services.database, nullptr);
  ASSERT_EQ(services.parsers, &store);
  for (const char* crashing : {"segfault", "throws", "divide"}) {
    ASSERT_TRUE(store.LoadParser(Plugin(crashing), errors)) << crashing;
    std::u16string text;
    EXPECT_FALSE(services.parsers->ParseToText(*store.GetItem(0), text)) << crashing;
    store.UnloadParsers();
  }
  store.AddItem(DiagRequest());
  EXPECT_EQ(store.GetItemCount(), 2u);
  ASSERT_TRUE(store.LoadParser(Plugin("good_a"), errors));
  std::u16string text;
  EXPECT_TRUE(services.parsers->ParseToText(*store.GetItem(1), text));
  EXPECT_EQ(Utf8(text), "good_a 3 request 32768");
}

}  // namespace
}  // namespace quillon
