// How each kind of item turns texts into values and back.
#include "services/ini/ini_items.h"

#include <gtest/gtest.h>

#include <limits>

namespace kor {
namespace {

template <class Item> std::string Written(const Item& item) {
  return item.ValueText().ToBytes();
}

TEST(IniItems, Integers) {
  struct Case {
    const char16_t* text; // null: the key is missing
    std::int32_t value;
  };
  constexpr Case kCases[] = {{nullptr, 7},
                             {u"", 0},
                             {u"5", 5},
                             {u"-12", -12},
                             {u"12ab", 12},
                             {u"ab", 0},
                             {u"99999999999", std::numeric_limits<std::int32_t>::max()}};
  for (const Case& test : kCases) {
    const KorText text = test.text;
    std::int32_t value = 99;
    std::uint32_t unsignedValue = 99;
    iniInteger(u"S", u"K", &value, 7).SetFromText(test.text ? &text : nullptr);
    iniInteger(u"S", u"K", &unsignedValue, 7u).SetFromText(test.text ? &text : nullptr);
    EXPECT_EQ(value, test.value) << text.ToBytes();
    EXPECT_EQ(static_cast<std::int32_t>(unsignedValue), test.value) << text.ToBytes();
  }
  std::uint32_t highest = 0xFFFFFFFF;
  EXPECT_EQ(Written(iniInteger(u"S", u"K", &highest)), "-1");
}

TEST(IniItems, RealsHaveOneToEightDecimals) {
  struct Case {
    double value;
    const char* text;
  };
  constexpr Case kCases[] = {{0, "0.0"},
                             {-0.0, "0.0"},
                             {1.5, "1.5"},
                             {-2, "-2.0"},
                             {0.1 + 0.2, "0.3"},
                             {1.234567894, "1.23456789"},
                             {-1e-12, "0.0"},
                             {1e20, "100000000000000000000.0"},
                             {std::numeric_limits<double>::infinity(), "0.0"},
                             {std::numeric_limits<double>::quiet_NaN(), "0.0"}};
  for (const Case& test : kCases) {
    double value = test.value;
    EXPECT_EQ(Written(iniReal(u"S", u"K", &value)), test.text);
  }
  double value = 0;
  iniReal item(u"S", u"K", &value, 2.5);
  const KorText text = u"3.25mm", comma = u"3,25";
  item.SetFromText(&text);
  EXPECT_EQ(value, 3.25);
  item.SetFromText(&comma);
  EXPECT_EQ(value, 3);
  item.SetFromText(nullptr);
  EXPECT_EQ(value, 2.5);
}

TEST(IniItems, OptionsAreKeptAsTheirIndex) {
  const std::vector<KorText> options = {u"Off", u"On", u"ON", u"Auto"};
  std::int32_t index = 0;
  iniStrOpt item(u"S", u"K", &index, options, 3);
  struct Case {
    const char16_t* text;
    std::int32_t index;
  };
  for (const Case& test : {Case{u"OFF", 0}, Case{u"on", 2}, Case{u"none", 3}, Case{u"", 3}}) {
    const KorText text = test.text;
    item.SetFromText(&text);
    EXPECT_EQ(index, test.index) << text.ToBytes();
  }
  item.SetFromText(nullptr);
  EXPECT_EQ(index, 3);
  for (const auto& [stored, text] : {std::pair(0, "Off"), {3, "Auto"}, {4, ""}, {-1, ""}}) {
    index = stored;
    EXPECT_EQ(Written(item), text) << stored;
  }
  iniStrOpt wrongDefault(u"S", u"K", &index, options, 4), empty(u"S", u"K", &index, {}, 2);
  wrongDefault.SetFromText(nullptr);
  EXPECT_EQ(index, 0);
  EXPECT_EQ(Written(empty), "");
}

TEST(IniItems, ColoursAreThreeNumbers) {
  std::uint32_t colour = 0;
  iniColor item(u"S", u"K", &colour, 0x010203);
  struct Case {
    const char16_t* text;
    std::uint32_t colour;
    const char* written;
  };
  constexpr Case kCases[] = {{u"1 2 3", 0x030201, "1 2 3"},
                             {u"255  255\t255", 0xFFFFFF, "255 255 255"},
                             {u"7", 7, "7 0 0"},
                             {u"red", 0, "0 0 0"},
                             {u"1 x 3", 1, "1 0 0"},
                             {u"256 -1 2", 0x02FF00, "0 255 2"}};
  for (const Case& test : kCases) {
    const KorText text = test.text;
    item.SetFromText(&text);
    EXPECT_EQ(colour, test.colour) << text.ToBytes();
    EXPECT_EQ(Written(item), test.written);
  }
  item.SetFromText(nullptr);
  EXPECT_EQ(colour, 0x010203u);
}

TEST(IniItems, HexadecimalTakesCapitalsBeyondF) {
  std::uint32_t value = 0;
  iniHex item(u"S", u"K", &value, 0xABC);
  struct Case {
    const char16_t* text;
    std::uint32_t value;
    const char* written;
  };
  constexpr Case kCases[] = {
      {u"1F", 0x1F, "1F"},
      {u"1f", 0x1F, "1F"},
      {u"G", 16, "10"},
      {u"1Z", 0x10 | 35, "33"},
      {u"g", 0, "0"},
      {u"", 0, "0"},
      {u"12 34", 0x12, "12"},
      {u"0x12", 0, "0"},
      {u"00000000000000012", 1, "1"}, // the 17th character isn't looked at
      {u"123456789", 0x23456789, "23456789"},
  };
  for (const Case& test : kCases) {
    const KorText text = test.text;
    item.SetFromText(&text);
    EXPECT_EQ(value, test.value) << text.ToBytes();
    EXPECT_EQ(Written(item), test.written);
  }
  item.SetFromText(nullptr);
  EXPECT_EQ(value, 0xABCu);
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
