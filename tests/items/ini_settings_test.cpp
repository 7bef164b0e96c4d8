#include "items/ini_settings.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>

#include "items/item_config.h"

namespace quillon {
namespace {

std::optional<std::u16string> Read(IniSettings& ini, std::u16string_view section,
                                   std::u16string_view name) {
  if (!ini.OpenSection(section)) return std::nullopt;
  return ini.ReadString(name);
}

TEST(IniSettings, SectionsNamesAndValues) {
  IniSettings ini = IniSettings::FromText(
      u"; a comment\n"
      u"# another\n"
      u"orphan=ignored\n"
      u"[ First ]\n"
      u"  Name  =  some value  \n"
      u"Empty=\n"
      u"Eq=a=b\n"
      u"Quoted=\"1,2\" ; kept\n"
      u"no equals sign\n"
      u"=no name\n"
      u"[Second]\n"
      u"Name=two\n");
  EXPECT_TRUE(ini.IsAvailable());
  EXPECT_EQ(Read(ini, u"First", u"Name"), u"some value");
  EXPECT_EQ(Read(ini, u"First", u"Empty"), u"");
  EXPECT_EQ(Read(ini, u"First", u"Eq"), u"a=b");
  EXPECT_EQ(Read(ini, u"First", u"Quoted"), u"\"1,2\" ; kept");
  EXPECT_EQ(Read(ini, u"First", u"orphan"), std::nullopt);
  EXPECT_EQ(Read(ini, u"First", u"no equals sign"), std::nullopt);
  EXPECT_EQ(Read(ini, u"First", u""), std::nullopt);
  EXPECT_EQ(Read(ini, u"Second", u"Name"), u"two");
  EXPECT_EQ(Read(ini, u"Second", u"Empty"), std::nullopt);
}

TEST(IniSettings, NamesIgnoreCase) {
  IniSettings ini = IniSettings::FromText(u"[Log Parser]\nAccept Unknowns=1\n");
  EXPECT_EQ(Read(ini, u"LOG PARSER", u"accept unknowns"), u"1");
}

TEST(IniSettings, FirstSectionAndFirstNameWin) {
  IniSettings ini = IniSettings::FromText(u"[S]\nA=1\nA=2\n[T]\n[s]\nA=3\nB=4\n");
  EXPECT_EQ(Read(ini, u"S", u"A"), u"1");
  EXPECT_EQ(Read(ini, u"S", u"B"), u"4");
}

TEST(IniSettings, LineEndings) {
  IniSettings ini = IniSettings::FromText(u"[S]\r\nA=1\r\nB=2\rC=3\n\n\r\nD=4");
  EXPECT_EQ(Read(ini, u"S", u"A"), u"1");
  EXPECT_EQ(Read(ini, u"S", u"B"), u"2");
  EXPECT_EQ(Read(ini, u"S", u"C"), u"3");
  EXPECT_EQ(Read(ini, u"S", u"D"), u"4");
}

TEST(IniSettings, OpenSectionSelectsAndFailsCleanly) {
  IniSettings ini = IniSettings::FromText(u"[S]\nA=1\n");
  EXPECT_EQ(ini.ReadString(u"A"), std::nullopt);  // nothing open yet
  ASSERT_TRUE(ini.OpenSection(u"S"));
  EXPECT_EQ(ini.ReadString(u"A"), u"1");
  EXPECT_FALSE(ini.OpenSection(u"T"));
  EXPECT_EQ(ini.ReadString(u"A"), std::nullopt);  // a failed open closes
}

TEST(IniSettings, Integers) {
  IniSettings ini = IniSettings::FromText(
      u"[S]\nA=42\nB=-7\nC=0x1F\nD=+3\nE=12abc\nF=\nG=2147483647\nH=2147483648\n"
      u"I=-2147483648\nJ=0x\nK= 5 \nL=0XfF\n");
  ASSERT_TRUE(ini.OpenSection(u"S"));
  EXPECT_EQ(ini.ReadInteger(u"A"), 42);
  EXPECT_EQ(ini.ReadInteger(u"B"), -7);
  EXPECT_EQ(ini.ReadInteger(u"C"), 31);
  EXPECT_EQ(ini.ReadInteger(u"D"), 3);
  EXPECT_EQ(ini.ReadInteger(u"E"), std::nullopt);
  EXPECT_EQ(ini.ReadInteger(u"F"), std::nullopt);
  EXPECT_EQ(ini.ReadInteger(u"G"), 2147483647);
  EXPECT_EQ(ini.ReadInteger(u"H"), std::nullopt);
  EXPECT_EQ(ini.ReadInteger(u"I"), -2147483647 - 1);
  EXPECT_EQ(ini.ReadInteger(u"J"), std::nullopt);
  EXPECT_EQ(ini.ReadInteger(u"K"), 5);
  EXPECT_EQ(ini.ReadInteger(u"L"), 255);
  EXPECT_EQ(ini.ReadInteger(u"Missing"), std::nullopt);
}

TEST(IniSettings, UnavailableReader) {
  IniSettings ini;
  EXPECT_FALSE(ini.IsAvailable());
  EXPECT_FALSE(ini.OpenSection(u"S"));
}

std::string Utf16Bytes(std::u16string_view text, bool big_endian) {
  std::string bytes;
  for (char16_t c : text) {
    const char lo = static_cast<char>(c & 0xFF);
    const char hi = static_cast<char>(c >> 8);
    bytes += big_endian ? hi : lo;
    bytes += big_endian ? lo : hi;
  }
  return bytes;
}

TEST(IniSettings, Encodings) {
  const std::u16string text = u"[S\u00E9ction]\nN\u00E4me=v\u20AC\n";
  const std::string utf8 =
      "[S\xC3\xA9"
      "ction]\nN\xC3\xA4me=v\xE2\x82\xAC\n";
  const std::string cases[] = {
      utf8,
      "\xEF\xBB\xBF" + utf8,
      "\xFF\xFE" + Utf16Bytes(text, false),
      "\xFE\xFF" + Utf16Bytes(text, true),
      Utf16Bytes(text, false),
  };
  for (const std::string& bytes : cases) {
    IniSettings ini = IniSettings::FromBytes(bytes.data(), bytes.size());
    EXPECT_EQ(Read(ini, u"S\u00E9ction", u"N\u00E4me"), u"v\u20AC");
  }
  IniSettings empty = IniSettings::FromBytes(nullptr, 10);
  EXPECT_TRUE(empty.IsAvailable());
  EXPECT_FALSE(empty.OpenSection(u"S"));
}

class IniFile : public ::testing::Test {
 protected:
  void SetUp() override {
    static std::atomic<int> counter{0};
    path_ = std::filesystem::temp_directory_path() /
            ("quillon_items_ini_" + std::to_string(counter++) + ".ini");
  }
  void TearDown() override {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
  void Write(const std::string& bytes) {
    std::ofstream out(path_, std::ios::binary | std::ios::trunc);
    out << bytes;
  }
  std::filesystem::path path_;
};

TEST_F(IniFile, MissingFileIsUnavailable) {
  IniSettings ini = IniSettings::FromFile(path_.u16string());
  EXPECT_FALSE(ini.IsAvailable());
  EXPECT_EQ(ini.LastError(), 2u);
}

TEST_F(IniFile, HandWrittenConfigurationLoads) {
  Write(
      "; written by hand\r\n"
      "[Searcher]\r\n"
      "Items = \"5,1\"\r\n"
      "Log Codes = 0x108A, 0x1234\r\n"
      "DIAG Responses = 019\r\n"
      "Accept Unknowns = 0\r\n");
  IniSettings ini = IniSettings::FromFile(path_.u16string());
  ASSERT_TRUE(ini.IsAvailable());
  EXPECT_EQ(ini.LastError(), 0u);
  ItemConfig config(nullptr);
  config.Load(u"searcher", &ini);
  EXPECT_EQ(config.EnabledTypes(), (std::set<std::uint32_t>{1, 5}));
  EXPECT_EQ(config.CategoryText(kItemLog), u"0x108A,0x1234");
  EXPECT_EQ(config.CategoryText(kItemDiagRx), u"019");
  EXPECT_FALSE(config.AcceptUnknowns());
}

TEST_F(IniFile, EmptyFileHasNoSections) {
  Write("");
  IniSettings ini = IniSettings::FromFile(path_.u16string());
  EXPECT_TRUE(ini.IsAvailable());
  EXPECT_FALSE(ini.OpenSection(u"S"));
}

}  // namespace
}  // namespace quillon
