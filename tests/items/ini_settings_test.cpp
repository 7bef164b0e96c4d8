#include "items/ini_settings.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "items/item_config.h"
#include "tests/support/temp_path.h"

namespace quillon {
namespace {

std::optional<std::u16string> Read(IniSettings& ini, std::u16string_view section,
                                   std::u16string_view name) {
  if (!ini.OpenSection(section)) return std::nullopt;
  return ini.ReadString(name);
}

TEST(IniSettings, SectionsNamesAndValues) {
  IniSettings ini = IniSettings::FromText(
      u"; a comment\n# another\norphan=ignored\n[ First ]\n  Name  =  some value  \nEmpty=\n"
      u"Eq=a=b\nQuoted=\"1,2\" ; kept\nno equals sign\n=no name\n[Second]\r\nA=1\r\nB=2\rC=3\n\n"
      u"\r\nD=4\nA=dup\n[T]\n[second]\nA=3\nE=5");
  EXPECT_TRUE(ini.IsAvailable());
  EXPECT_EQ(ini.ReadString(u"Name"), std::nullopt);  // nothing open yet
  EXPECT_EQ(Read(ini, u"First", u"Name"), u"some value");
  EXPECT_EQ(Read(ini, u"FIRST", u"name"), u"some value");  // names ignore case
  EXPECT_EQ(Read(ini, u"First", u"Empty"), u"");
  EXPECT_EQ(Read(ini, u"First", u"Eq"), u"a=b");
  EXPECT_EQ(Read(ini, u"First", u"Quoted"), u"\"1,2\" ; kept");
  for (std::u16string_view missing : {u"orphan", u"no equals sign", u"", u"A"}) {
    EXPECT_EQ(Read(ini, u"First", missing), std::nullopt);
  }
  // Every line ending; the first section and the first name win.
  for (const auto& [name, value] :
       {std::pair{u"A", u"1"}, {u"B", u"2"}, {u"C", u"3"}, {u"D", u"4"}, {u"E", u"5"}}) {
    EXPECT_EQ(Read(ini, u"Second", name), value);
  }
  EXPECT_FALSE(ini.OpenSection(u"Third"));
  EXPECT_EQ(ini.ReadString(u"A"), std::nullopt);  // a failed open closes
  EXPECT_FALSE(IniSettings().IsAvailable());
  EXPECT_FALSE(IniSettings().OpenSection(u"S"));
}

TEST(IniSettings, Integers) {
  const std::optional<std::int32_t> none;
  // clang-format off
  const std::vector<std::pair<std::u16string, std::optional<std::int32_t>>> rows = {
      {u"42", 42}, {u"-7", -7}, {u"0x1F", 31}, {u"+3", 3}, {u"12abc", none}, {u"", none},
      {u"2147483647", 2147483647}, {u"2147483648", none}, {u"-2147483648", -2147483647 - 1},
      {u"0x", none}, {u" 5 ", 5}, {u"0XfF", 255}};
  // clang-format on
  for (const auto& [value, number] : rows) {
    IniSettings ini = IniSettings::FromText(u"[S]\nN=" + value + u"\n");
    ASSERT_TRUE(ini.OpenSection(u"S"));
    EXPECT_EQ(ini.ReadInteger(u"N"), number) << testing::PrintToString(value);
    EXPECT_EQ(ini.ReadInteger(u"Missing"), none);
  }
}

std::string Utf16Bytes(std::u16string_view text, bool big_endian) {
  std::string bytes;
  for (char16_t c : text) {
    const char lo = static_cast<char>(c & 0xFF), hi = static_cast<char>(c >> 8);
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
  for (const std::string& bytes :
       {utf8, "\xEF\xBB\xBF" + utf8, "\xFF\xFE" + Utf16Bytes(text, false),
        "\xFE\xFF" + Utf16Bytes(text, true), Utf16Bytes(text, false)}) {
    IniSettings ini = IniSettings::FromBytes(bytes.data(), bytes.size());
    EXPECT_EQ(Read(ini, u"S\u00E9ction", u"N\u00E4me"), u"v\u20AC");
  }
  IniSettings empty = IniSettings::FromBytes(nullptr, 10);
  EXPECT_TRUE(empty.IsAvailable());
  EXPECT_FALSE(empty.OpenSection(u"S"));
}

TEST(IniSettings, Files) {
  const testsupport::TempPath temp(u"items", u".ini");
  const std::filesystem::path& path = temp.path();
  IniSettings missing = IniSettings::FromFile(path.u16string());
  EXPECT_FALSE(missing.IsAvailable());
  EXPECT_EQ(missing.LastError(), 2u);

  std::ofstream(path, std::ios::binary) << "; by hand\r\n[Searcher]\r\nItems = \"5,1\"\r\n";
  IniSettings ini = IniSettings::FromFile(path.u16string());
  ASSERT_TRUE(ini.IsAvailable());
  EXPECT_EQ(ini.LastError(), 0u);
  ItemConfig config(nullptr);
  config.Load(u"searcher", &ini);
  EXPECT_EQ(config.EnabledTypes(), (std::set<std::uint32_t>{1, 5}));
}

}  // namespace
}  // namespace quillon
