// The indexes of the line list: after every change it finds and writes what a list just read would.
#include "services/ini/ini_lines.h"

#include <gtest/gtest.h>

#include <random>

#include "services/ini/ini_items.h"

namespace kor {
namespace {

std::string Joined(const iniLines& lines) {
  std::string text;
  for (const KorText* line : lines.All())
    text += line->ToBytes() + "|";
  return text;
}

// Few names and odd lines, so that doubles, headers without end and lines without "=" are frequent.
constexpr const char16_t* kLines[] = {u"",   u"[A]",   u"[a]", u"[B]",  u"[",
                                      u"[B", u"K=1",   u"k=2", u"Kx",   u"=5",
                                      u"x",  u"l = 3", u"L=4", u" K=6", u"[K=7"};
constexpr const char16_t* kSections[] = {u"a", u"B", u"C", u""};
constexpr const char16_t* kKeys[] = {u"k", u"L", u"", u"l ", u"[K", u"K=1"};

// What every key of every section is read as.
std::string Values(iniLines& lines) {
  std::string values;
  for (const char16_t* section : kSections)
    for (const char16_t* key : kKeys) {
      KorText value;
      iniString(section, key, &value, u"none").ReadFrom(lines);
      values += value.ToBytes() + "|";
    }
  return values;
}

TEST(IniLines, KeepsItsIndexesThroughEveryChange) {
  for (unsigned seed = 1; seed <= 400; ++seed) {
    std::minstd_rand random(seed);
    const auto pick = [&](const auto& from) { return from[random() % std::size(from)]; };
    iniLines lines;
    for (std::size_t left = random() % 12; left > 0; --left)
      lines.Append(pick(kLines));
    for (int step = 0; step < 6; ++step) {
      SCOPED_TRACE(Joined(lines));
      iniLines fresh;
      for (const KorText* line : lines.All())
        fresh.Append(*line);
      ASSERT_EQ(Values(lines), Values(fresh)) << "seed " << seed;
      KorText value = pick(kLines);
      std::vector<KorText> block(random() % 4, value);
      iniString key(pick(kSections), pick(kKeys), &value);
      iniStringList list(pick(kSections), &block);
      iniStruct& change = random() % 3 == 0 ? static_cast<iniStruct&>(list) : key;
      change.WriteTo(lines);
      change.WriteTo(fresh);
      ASSERT_EQ(Joined(lines), Joined(fresh)) << "seed " << seed << " step " << step;
    }
  }
}

} // namespace
} // namespace kor
