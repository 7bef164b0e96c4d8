// The dispatch maps, the module's counts and start-up, and the value model.
#include <gtest/gtest.h>

#include <set>

#include "automation/auto_event_service.h"
#include "automation/auto_item_store_files.h"
#include "automation/module.h"
#include "tests/automation/automation_test_support.h"

namespace quillon::testing {
namespace {

TEST(DispatchMapTest, ClassesHaveDistinctDispidsAndNamesFoundWithoutCase) {
  const std::size_t counts[] = {11, 2, 22, 11};  // ItemStoreFiles, EventService, ColorItem, fields
  for (std::size_t k = 0; k < AllAutoClasses().size(); ++k) {
    const AutoClass& c = *AllAutoClasses()[k];
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.methods.size(), counts[k]);
    std::set<std::int32_t> dispids;
    for (const AutoMethod& m : c.methods) {
      EXPECT_TRUE(dispids.insert(m.dispid).second) << m.name;
      std::u16string lower(m.name.begin(), m.name.end());
      for (char16_t& ch : lower) ch = (ch >= u'A' && ch <= u'Z') ? ch + 32 : ch;
      EXPECT_EQ(c.FindMethod(lower), &m);
      EXPECT_EQ(c.FindMethod(m.dispid), &m);
    }
    EXPECT_EQ(c.FindMethod(u"NoSuchMethod"), nullptr);
  }
  EXPECT_EQ(ItemStoreFilesClass().FindMethod(7)->help,
            "Get a color item form a previously opened file store");
  EXPECT_EQ(ColorItemClass().FindMethod(u"GetNamedItemFields")->help, "");
}

TEST(DispatchMapTest, InvokeReturnsDeclaredTypesAndObjects) {
  UseRepositoryDatabase();
  CAutoItemStoreFiles files;
  const AutoClass& c = files.Class();
  const AutoVariant path = AutoVariant::Bstr(SamplePath());
  const AutoVariant h = files.Invoke(*c.FindMethod(u"LoadItemStore"), {&path, 1});
  ASSERT_EQ(h.Type(), kVtUI4);
  const AutoVariant args[] = {h, AutoVariant::UI4(kSampleLog)};
  const AutoVariant item = files.Invoke(*c.FindMethod(u"GetItem"), args);
  ASSERT_EQ(item.Type(), kVtDispatch);
  ASSERT_NE(item.AsObject(), nullptr);
  EXPECT_EQ(&item.AsObject()->Class(), &ColorItemClass());
  const AutoVariant closed = files.Invoke(*c.FindMethod(u"CloseItemStore"), {&h, 1});
  EXPECT_EQ(closed.Type(), kVtBool);
  EXPECT_EQ(static_cast<std::int16_t>(closed.RawBits()), kAutoTrue);
  const AutoVariant again = files.Invoke(*c.FindMethod(u"CloseItemStore"), {&h, 1});
  EXPECT_EQ(static_cast<std::int16_t>(again.RawBits()), kAutoFalse);
  const AutoVariant none = files.Invoke(*c.FindMethod(u"GetItem"), args);
  EXPECT_EQ(none.Type(), kVtDispatch);
  EXPECT_EQ(none.AsObject(), nullptr);
}

TEST(ModuleTest, CreatableObjectsLockTheModule) {
  const std::uint32_t objects = automation::LiveObjectCount();
  const std::uint32_t locks = automation::LockCount();
  {
    CAutoEventService events;
    CAutoItemStoreFiles files;
    UseRepositoryDatabase();
    auto item = files.GetItem(files.LoadItemStore(SamplePath()), 0);
    EXPECT_EQ(automation::LiveObjectCount(), objects + 3);
    EXPECT_EQ(automation::LockCount(), locks + 2);
    EXPECT_FALSE(automation::CanUnloadNow());
  }
  EXPECT_EQ(automation::LiveObjectCount(), objects);
  EXPECT_EQ(automation::LockCount(), locks);
}

TEST(ModuleTest, DatabaseLoadsOnceFromTheFirstDirectory) {
  UseRepositoryDatabase();
  EXPECT_FALSE(automation::LoadProcessDatabase(u"/elsewhere"));
  EXPECT_EQ(automation::ProcessDatabaseDirectory(), RepoPath("Database"));
  // Messages are kept for the application, nothing fails.
  for (const auto& m : automation::StartupMessages()) EXPECT_LE(m.severity, DbSeverity::kError);
}

TEST(AutoVariantTest, FieldValuesKeepTheirTypeNumbers) {
  EXPECT_EQ(AutoVariant::FromValue(Variant::I1(-3)).Type(), kVtI1);
  EXPECT_EQ(static_cast<std::int64_t>(AutoVariant::FromValue(Variant::I1(-3)).RawBits()), -3);
  EXPECT_EQ(AutoVariant::FromValue(Variant::Bool(true)).RawBits(), 0xFFFFu);
  EXPECT_EQ(AutoVariant::FromValue(Variant::Text(u"ab")).AsText(), u"ab");
  EXPECT_EQ(AutoVariant::FromValue(Variant::R4(1.5f)).AsFloat(), 1.5f);
  EXPECT_TRUE(AutoVariant::FromValue(Variant()).IsEmpty());
  const AutoVariant bytes = AutoVariant::ByteArray(nullptr, 0);
  const AutoVariant ref = AutoVariant::ByRef(&bytes);
  const AutoVariant ref_ref = AutoVariant::ByRef(&ref);
  EXPECT_EQ(ref_ref.Deref().Type(), kVtArray | kVtUI1);
  EXPECT_NE(ref_ref.PayloadBytes(), nullptr);
}

}  // namespace
}  // namespace quillon::testing
