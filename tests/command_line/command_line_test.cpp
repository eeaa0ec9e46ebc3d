// What all tools' command lines have in common.
#include <gtest/gtest.h>

#include "services/command_line/command_line.h"

namespace kor {
namespace {

// What a tool with these options understood, or what it answered.
std::string Understood(const char* typed, bool hasWords, bool endsAtWord) {
  bool quiet = false;
  KorText words, target;
  CommandLine line(u"tool", u"the help");
  line.Flag(u"-q --quiet", quiet);
  line.Value(u"-o --output", u"a file", target);
  line.Value(u"--level", u"a number",
             [](const KorText& value) { return value == u"1" ? KorText() : u"not " + value; });
  if (hasWords)
    line.Words([&words](const KorText& word) {
      words += u"[" + word + u"]";
      return word == u"bad" ? KorText(u"a bad word") : KorText();
    });
  if (endsAtWord) line.EndOptionsAtFirstWord();
  const CommandLineAnswer answer =
      line.Read(typed[0] == '\0' ? std::vector<KorText>() : Split(KorText::FromUtf8(typed), u' '),
                [&target] { return target == u"never" ? u"never that" : KorText(); });
  if (answer.kind != CommandLineAnswer::Kind::GoOn) return answer.text.ToUtf8();
  return (words + (quiet ? u" quiet" : u"") + (target.IsEmpty() ? u"" : u" to " + target)).ToUtf8();
}

TEST(CommandLine, ReadsOptionsAndWordsInAnyOrder) {
  const struct {
    const char* typed;
    const char* understood;
    bool hasWords = true;
    bool endsAtWord = false;
  } cases[] = {
      {"", ""},
      {"a -q b -o x", "[a][b] quiet to x"},
      {"--output=x=y --quiet -", "[-] quiet to x=y"},
      {"-o -q a", "[a] to -q"},
      {"-- -q --help", "[-q][--help]"},
      {"-q run -q --help", "[run][-q][--help] quiet", true, true},
      {"-o never", "tool: never that; tool --help lists what there is"},
      {"bad", "tool: a bad word; tool --help lists what there is"},
      {"-o", "tool: -o needs a file; tool --help lists what there is"},
      {"--output= a", "tool: --output needs a file; tool --help lists what there is"},
      {"--level=2", "tool: --level: not 2; tool --help lists what there is"},
      {"--quiet=1", "tool: --quiet takes no value; tool --help lists what there is"},
      {"--quite", "tool: there is no option --quite; tool --help lists what there is"},
      {"-x", "tool: there is no option -x; tool --help lists what there is"},
      {"--", "tool: there is no option --; tool --help lists what there is", false},
      {"a", "tool: \"a\" is not understood; tool --help lists what there is", false},
      {"-q --help --quite", "the help"},
      {"-h", "the help", false},
      {"--version", "tool " NCEDL_VERSION, false},
  };
  for (const auto& c : cases)
    EXPECT_EQ(Understood(c.typed, c.hasWords, c.endsAtWord), c.understood) << c.typed;
}

} // namespace
} // namespace kor
