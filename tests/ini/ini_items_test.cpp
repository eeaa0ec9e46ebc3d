// How each kind of item turns texts into values and back.
#include "services/ini/ini_items.h"

#include <gtest/gtest.h>

#include <limits>

namespace kor {
namespace {

std::string Written(const iniStruct& item) {
  return item.ValueText().ToBytes();
}

// What an item holds, written again, after each text was read; null: the key is missing.
void ExpectReadAs(iniStruct& item,
                  std::initializer_list<std::pair<const char16_t*, const char*>> cases) {
  for (const auto& [text, held] : cases) {
    const KorText given = text;
    item.SetFromText(text ? &given : nullptr);
    EXPECT_EQ(Written(item), held) << given.ToBytes();
  }
}

TEST(IniItems, ReadNumbersByTheirKind) {
  std::int32_t value = 99;
  std::uint32_t unsignedValue = 0, colour = 0, hex = 0;
  iniInteger integer(u"S", u"K", &value, 7), wrapped(u"S", u"K", &unsignedValue, 7u);
  for (iniInteger* item : {&integer, &wrapped})
    ExpectReadAs(*item, {{nullptr, "7"},
                         {u"", "0"},
                         {u"5", "5"},
                         {u"12ab", "12"},
                         {u"ab", "0"},
                         {u"99999999999", "2147483647"},
                         {u"-12", "-12"}});
  EXPECT_EQ(value, -12);
  EXPECT_EQ(unsignedValue, 0xFFFFFFF4);

  iniColor coloured(u"S", u"K", &colour, 0x010203);
  ExpectReadAs(coloured, {{u"255  255\t255", "255 255 255"},
                          {u"7", "7 0 0"},
                          {u"red", "0 0 0"},
                          {u"1 x 3", "1 0 0"},
                          {u"256 -1 2", "0 255 2"},
                          {nullptr, "3 2 1"},
                          {u"1 2 3", "1 2 3"}});
  EXPECT_EQ(colour, 0x030201u);

  iniHex hexadecimal(u"S", u"K", &hex, 0xABC);
  ExpectReadAs(hexadecimal, {{nullptr, "ABC"},
                             {u"1F", "1F"},
                             {u"1f", "1F"},
                             {u"G", "10"}, // capitals go on behind F
                             {u"1Z", "33"},
                             {u"g", "0"},
                             {u"", "0"},
                             {u"12 34", "12"},
                             {u"0x12", "0"},
                             {u"00000000000000012", "1"}, // the 17th character isn't looked at
                             {u"123456789", "23456789"}});
  EXPECT_EQ(hex, 0x23456789u);
}

TEST(IniItems, RealsHaveOneToEightDecimals) {
  const std::pair<double, const char*> cases[] = {
      {0, "0.0"},
      {-0.0, "0.0"},
      {-2, "-2.0"},
      {0.1 + 0.2, "0.3"},
      {1.234567894, "1.23456789"},
      {-1e-12, "0.0"},
      {1e20, "100000000000000000000.0"},
      {std::numeric_limits<double>::infinity(), "0.0"},
      {std::numeric_limits<double>::quiet_NaN(), "0.0"}};
  double value = 0;
  iniReal item(u"S", u"K", &value, 2.5);
  for (const auto& [number, text] : cases) {
    value = number;
    EXPECT_EQ(Written(item), text);
  }
  ExpectReadAs(item, {{u"3.25mm", "3.25"}, {u"3,25", "3.0"}, {nullptr, "2.5"}});
}

TEST(IniItems, OptionsAreKeptAsTheirIndex) {
  const std::vector<KorText> options = {u"Off", u"On", u"ON", u"Auto"};
  std::int32_t index = 0;
  iniStrOpt item(u"S", u"K", &index, options, 3);
  ExpectReadAs(item, {{u"OFF", "Off"}, {u"none", "Auto"}, {u"on", "ON"}, {nullptr, "Auto"}});
  EXPECT_EQ(index, 3);
  for (const auto& [stored, text] : {std::pair(0, "Off"), {4, ""}, {-1, ""}}) {
    index = stored;
    EXPECT_EQ(Written(item), text) << stored;
  }
  iniStrOpt wrongDefault(u"S", u"K", &index, options, 4), empty(u"S", u"K", &index, {}, 2);
  wrongDefault.SetFromText(nullptr);
  EXPECT_EQ(index, 0);
  EXPECT_EQ(Written(empty), "");
}

iniLines LinesOf(std::initializer_list<const char16_t*> texts) {
  iniLines lines;
  for (const char16_t* text : texts)
    lines.Append(text);
  return lines;
}

TEST(IniItems, BlocksTakeEveryLineThatIsNotEmpty) {
  iniLines lines =
      LinesOf({u"[Block]", u"", u" a=1 ", u"; note", u" = 2", u"b", u"c = 3=4", u"[X]"});
  std::vector<KorText> list = {u"old"}, keys = {u"old"}, values = {u"old", u"old"};
  KorTextArray array = {u"old"};
  iniStringList(u"block", &list).ReadFrom(lines);
  iniStringArray(u"BLOCK", &array).ReadFrom(lines);
  iniEquBlock(u"Block", &keys, &values, u"A", u"1").ReadFrom(lines);
  const std::vector<KorText> expected = {u"a=1", u"; note", u"= 2", u"b", u"c = 3=4"};
  EXPECT_EQ(list, expected);
  EXPECT_EQ(array, KorTextArray(expected.begin(), expected.end()));
  EXPECT_EQ(keys, (std::vector<KorText>{u"a", u"c"}));
  EXPECT_EQ(values, (std::vector<KorText>{u"1", u"3=4"}));
}

TEST(IniItems, AMissingOrEmptyBlockTakesItsDefault) {
  iniLines lines = LinesOf({u"[Empty]", u"", u"  "});
  std::vector<KorText> keys, values, list = {u"old"};
  for (const char16_t* section : {u"Missing", u"Empty"}) {
    iniEquBlock(section, &keys, &values, u"A", u"1").ReadFrom(lines);
    EXPECT_EQ(keys, std::vector<KorText>{u"A"});
    EXPECT_EQ(values, std::vector<KorText>{u"1"});
    iniEquBlock(section, &keys, &values).ReadFrom(lines);
    EXPECT_TRUE(keys.empty() && values.empty());
    iniStringList(section, &list).ReadFrom(lines);
    EXPECT_TRUE(list.empty());
  }
}

} // namespace
} // namespace kor
