// The indexes of the line list: what is written is found again, wherever it came to stand.
#include "services/ini/ini_lines.h"

#include <gtest/gtest.h>

#include "services/ini/ini_items.h"

namespace kor {
namespace {

TEST(IniLines, EachItemFindsWhatThoseBeforeItHaveChanged) {
  iniLines lines;
  for (const char16_t* line : {u"[S]", u"k=1", u"J=1", u"[B]", u"x=1"})
    lines.Append(line);
  const auto leaves = [&](iniStruct&& item, const std::string& expected) {
    item.WriteTo(lines);
    std::string text;
    for (const KorText* line : lines.All())
      text += line->ToBytes() + "|";
    EXPECT_EQ(text, expected);
  };
  KorText one = u"1", two = u"2", three = u"3";
  std::vector<KorText> block = {u"a", u"[T]", u"K=0"};
  leaves(iniString(u"s", u"N", &two), "[S]|N=2|k=1|J=1|[B]|x=1|");
  leaves(iniString(u"S", u"J", &two), "[S]|N=2|k=1|J=2|[B]|x=1|");
  leaves(iniString(u"S", u"M", &one), "[S]|M=1|N=2|k=1|J=2|[B]|x=1|");
  leaves(iniString(u"S", u"n", &three), "[S]|M=1|n=3|k=1|J=2|[B]|x=1|");
  leaves(iniString(u"B", u"x", &two), "[S]|M=1|n=3|k=1|J=2|[B]|x=2|");
  leaves(iniStringList(u"B", &block), "[S]|M=1|n=3|k=1|J=2|[B]|a|[T]|K=0|");
  leaves(iniString(u"t", u"k", &three), "[S]|M=1|n=3|k=1|J=2|[B]|a|[T]|k=3|");
  leaves(iniString(u"T", u"q", &one), "[S]|M=1|n=3|k=1|J=2|[B]|a|[T]|q=1|k=3|");
  block = {u"b=1"};
  leaves(iniStringList(u"T", &block), "[S]|M=1|n=3|k=1|J=2|[B]|a|[T]|b=1|");
  leaves(iniString(u"T", u"b", &two), "[S]|M=1|n=3|k=1|J=2|[B]|a|[T]|b=2|");
  leaves(iniString(u"T", u"k", &three), "[S]|M=1|n=3|k=1|J=2|[B]|a|[T]|k=3|b=2|");
  leaves(iniString(u"B", u"x", &three), "[S]|M=1|n=3|k=1|J=2|[B]|x=3|a|[T]|k=3|b=2|");
  // A key that reads as a header takes over what stands below it.
  leaves(iniString(u"S", u"[X", &one), "[S]|[X=1|M=1|n=3|k=1|J=2|[B]|x=3|a|[T]|k=3|b=2|");
  leaves(iniString(u"S", u"k", &two), "[S]|k=2|[X=1|M=1|n=3|k=1|J=2|[B]|x=3|a|[T]|k=3|b=2|");
  for (const KorText& value : {one, three}) {
    one = value;
    leaves(iniString(u"C", u"c", &one),
           "|[C]|c=" + value.ToBytes() + "|[S]|k=2|[X=1|M=1|n=3|k=1|J=2|[B]|x=3|a|[T]|k=3|b=2|");
  }
}

} // namespace
} // namespace kor
