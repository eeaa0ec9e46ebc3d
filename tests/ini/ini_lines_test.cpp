// The indexed line list against the plain one that it stands for: a flat list searched from the top.
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

class FlatLines {
 public:
  std::vector<KorText> lines;

  std::size_t Header(const KorText& name) const {
    std::size_t at = 0;
    while (at < lines.size() && !lines[at].EqualsNoCase(u"[" + KorText(name) + u"]"))
      ++at;
    return at;
  }
  std::size_t BodyEnd(std::size_t header) const {
    std::size_t at = header + 1;
    while (at < lines.size() && !lines[at].StartsWith(u"["))
      ++at;
    return at;
  }
  // The place of the key's line, or the end of the body.
  std::size_t KeyLine(std::size_t header, const KorText& key) const {
    std::size_t at = header + 1;
    for (; at < BodyEnd(header); ++at) {
      const std::size_t equals = lines[at].Find(u'=');
      const std::size_t length = equals != KorText::kNone ? equals
                                 : lines[at].IsEmpty()    ? 0
                                                          : lines[at].Length() - 1;
      if (lines[at].Left(length).EqualsNoCase(key)) break;
    }
    return at;
  }
  // The value of the key, or "none".
  KorText Value(const KorText& section, const KorText& key) const {
    const std::size_t header = Header(section);
    if (header == lines.size()) return u"none";
    const std::size_t at = KeyLine(header, key);
    if (at == BodyEnd(header)) return u"none";
    const std::size_t equals = lines[at].Find(u'=');
    return equals == KorText::kNone ? KorText() : lines[at].Mid(equals + 1).Trimmed();
  }
  std::string Joined() const {
    std::string text;
    for (const KorText& line : lines)
      text += line.ToBytes() + "|";
    return text;
  }
  void Insert(std::size_t at, const KorText& line) {
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(at), line);
  }
  void WriteKey(const KorText& section, const KorText& key, const KorText& line) {
    std::size_t header = Header(section);
    if (header == lines.size()) {
      Insert(0, u"");
      Insert(1, u"[" + KorText(section) + u"]");
      header = 1;
    } else if (const std::size_t at = KeyLine(header, key); at < BodyEnd(header)) {
      lines[at] = line;
      return;
    }
    Insert(header + 1, line);
  }
  void WriteBlock(const KorText& section, const std::vector<KorText>& block) {
    std::size_t header = Header(section);
    if (header == lines.size()) {
      Insert(0, u"[" + KorText(section) + u"]");
      Insert(1, u"");
      header = 0;
    } else {
      const auto first = lines.begin() + static_cast<std::ptrdiff_t>(header + 1);
      lines.erase(first, lines.begin() + static_cast<std::ptrdiff_t>(BodyEnd(header)));
      if (header + 1 < lines.size()) Insert(header + 1, u"");
    }
    for (std::size_t i = 0; i < block.size(); ++i)
      Insert(header + 1 + i, block[i]);
  }
};

// Few names and odd lines, so that doubles, headers without end and lines without "=" are frequent.
class OddTexts {
 public:
  explicit OddTexts(unsigned seed) : random(seed) {}
  KorText Line() {
    return Pick({u"", u"[A]", u"[a]", u"[B]", u"[", u"[B", u"K=1", u"k=2", u"Kx", u"=5", u"x",
                 u"l = 3", u"L=4", u" K=6", u"[K=7"});
  }
  KorText Section() { return Pick({u"a", u"B", u"C", u""}); }
  KorText Key() { return Pick({u"k", u"L", u"", u"l ", u"[K", u"K=1"}); }
  std::size_t Number(std::size_t below) { return random() % below; }

 private:
  KorText Pick(std::initializer_list<const char16_t*> from) {
    return *(from.begin() + static_cast<std::ptrdiff_t>(Number(from.size())));
  }
  std::minstd_rand random;
};

TEST(IniLines, BehavesAsAFlatListSearchedFromTheTop) {
  for (unsigned seed = 1; seed <= 1500; ++seed) {
    OddTexts texts(seed);
    FlatLines flat;
    iniLines lines;
    for (std::size_t i = texts.Number(12); i > 0; --i) {
      flat.lines.push_back(texts.Line());
      lines.Append(flat.lines.back());
    }
    for (int step = 0; step < 6; ++step) {
      const KorText section = texts.Section(), key = texts.Key();
      KorText readBack = u"none";
      iniString read(section, key, &readBack, u"none");
      read.ReadFrom(lines);
      ASSERT_EQ(readBack.ToBytes(), flat.Value(section, key).ToBytes()) << "seed " << seed;
      if (texts.Number(3) == 0) {
        std::vector<KorText> block;
        for (std::size_t i = texts.Number(4); i > 0; --i)
          block.push_back(texts.Line() + u"+");
        flat.WriteBlock(section, block);
        iniStringList(section, &block).WriteTo(lines);
      } else {
        KorText value = texts.Line();
        flat.WriteKey(section, key, key + u"=" + value);
        iniString(section, key, &value).WriteTo(lines);
      }
      ASSERT_EQ(Joined(lines), flat.Joined()) << "seed " << seed << " step " << step;
    }
  }
}

} // namespace
} // namespace kor
