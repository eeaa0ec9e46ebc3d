// What all tools' command lines have in common.
#include <gtest/gtest.h>

#include "services/command_line/command_line.h"

namespace kor {
namespace {

// What a tool with these options understood, or what it answered.
std::string Understood(const char* typed, bool hasWords = true, bool endsAtWord = false) {
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
  KorText shown, complaint;
  const std::optional<int> code = answer.Tell(
      {[&](const KorText& text) { shown = text; }, [&](const KorText& text) { complaint = text; }});
  EXPECT_EQ(code.value_or(0), complaint.IsEmpty() ? 0 : kWrongCommandLine);
  if (code) return (shown + complaint).ToUtf8();
  return (words + (quiet ? u" quiet" : u"") + (target.IsEmpty() ? u"" : u" to " + target)).ToUtf8();
}

TEST(CommandLine, ReadsOptionsAndWordsInAnyOrder) {
  EXPECT_EQ(Understood(""), "");
  EXPECT_EQ(Understood("a -q b -o x"), "[a][b] quiet to x");
  EXPECT_EQ(Understood("--output=x=y --quiet -"), "[-] quiet to x=y");
  EXPECT_EQ(Understood("-o -q a"), "[a] to -q");
  EXPECT_EQ(Understood("-- -q --help"), "[-q][--help]");
  EXPECT_EQ(Understood("-q run -q --help", true, true), "[run][-q][--help] quiet");
  const auto complains = [](const char* typed, const std::string& of, bool hasWords = true) {
    EXPECT_EQ(Understood(typed, hasWords), "tool: " + of + "; tool --help lists what there is");
  };
  complains("-o never", "never that");
  complains("bad", "a bad word");
  complains("-o", "-o needs a file");
  complains("--output= a", "--output needs a file");
  complains("--level=2", "--level: not 2");
  complains("--quiet=1", "--quiet takes no value");
  complains("--quite", "there is no option --quite");
  complains("-x", "there is no option -x");
  complains("--", "there is no option --", false);
  complains("a", "\"a\" is not understood", false);
  EXPECT_EQ(Understood("-q --help --quite"), "the help");
  EXPECT_EQ(Understood("-h", false), "the help");
  EXPECT_EQ(Understood("--version", false), "tool " NCEDL_VERSION);
}

} // namespace
} // namespace kor
