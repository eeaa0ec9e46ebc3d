// Carries out the examples of docs/formats/ini-dialect.md and program-paths.md line by line and
// compares every byte and answer with the page.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "app/program_paths.h"
#include "services/ini/ini_file.h"
#include "tests/support/format_page.h"
#include "tests/support/test_app.h"

namespace kor {
namespace {

// A line of an example: a command, and with "file" the bytes of the lines below it.
struct Step {
  std::string command;
  std::string bytes;
};

std::vector<Step> ReadSteps(const std::string& page, const std::string& word) {
  std::vector<Step> steps;
  for (const PageExample& example : ReadExamples(page, word))
    for (const std::string& line : example.lines)
      if (line.find('|') != line.npos)
        steps.back().bytes += ShownBytes(line);
      else
        steps.push_back({line, {}});
  return steps;
}

// The words up to a count; the last one takes the rest.
std::vector<KorText> Words(const std::string& line, std::size_t count) {
  std::vector<KorText> words = Split(KorText::FromBytes(line), u' ');
  for (; words.size() > count; words.pop_back())
    words[words.size() - 2] += u" " + words.back();
  words.resize(count);
  return words;
}

TEST(IniFormats, TheDialectsExampleHolds) {
  TestApp app;
  const KorText path = app.Path(u"example.ini");
  bool written = false;
  std::size_t checks = 0;
  for (const Step& step : ReadSteps("ini-dialect.md", "ini")) {
    const std::vector<KorText> words = Words(step.command, 4);
    iniFile file(path);
    KorText value;
    if (words[0] == u"file" && !written) {
      app.Put(path, KorText::FromBytes(step.bytes));
    } else if (words[0] == u"file") {
      EXPECT_EQ(app.Content(path).value_or(u"").ToBytes(), step.bytes);
      ++checks;
    } else if (words[0] == u"read") {
      file.Add<iniString>(words[1], words[2], &value, u"(default)");
      file.Read();
      EXPECT_EQ(u"= " + value, words[3]) << step.command;
      ++checks;
    } else {
      value = words[3];
      file.Add<iniString>(words[1], words[2], &value);
      file.Write();
      written = true;
    }
  }
  EXPECT_EQ(checks, 4u);
}

// The page's /srv/nc/ is the start-in folder here.
TEST(IniFormats, TheProgramPathsExampleHolds) {
  TestApp app;
  const KorText startIn = app.Path(u"srv/nc/");
  app.SetApplicationPropertyPath(kStartInFolder, startIn);
  ProgramPaths paths;
  std::size_t checks = 0;
  for (const Step& step : ReadSteps("program-paths.md", "paths")) {
    if (step.command == "file") {
      app.Put(startIn + kPathsFileName, KorText::FromBytes(step.bytes));
      continue;
    }
    const std::vector<KorText> words = Words(step.command, 3);
    KorText expected = words[2].Mid(2);
    if (expected.StartsWith(u"/")) expected = app.Root() + expected.Mid(1);
    EXPECT_EQ(paths.GetFolder(words[1].ToInteger()).ToBytes(), expected.ToBytes());
    ++checks;
  }
  EXPECT_EQ(checks, 4u);
}

// Each kind with a key stands in the page's table, with its key and its default.
TEST(IniFormats, TheProgramPathsTableIsComplete) {
  const std::vector<std::string> page = ReadPage("program-paths.md");
  int kinds = 0;
  for (int kind = 0; kind < kFolderKinds; ++kind) {
    const std::string name = ProgramPaths::DisplayName(kind).ToBytes();
    if (name == "ERROR") continue;
    ++kinds;
    const std::string folder = ProgramPaths::DefaultSubFolder(kind).ToBytes();
    const std::string row = "| " + std::to_string(kind) + " | `" + name + "` | " +
                            (folder.empty() ? "the folder of KOR.INI" : folder) + " |";
    EXPECT_EQ(std::ranges::count(page, row), 1) << row;
  }
  EXPECT_EQ(kinds, 20);
}

} // namespace
} // namespace kor
