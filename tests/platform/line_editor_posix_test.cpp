// The line editor of a POSIX terminal: what keys, whole and in pieces, make of a line.
#include <gtest/gtest.h>

#include "platform/posix/line_editor_posix.h"

namespace kor {
namespace {

const std::string kUp = "\x1b[A", kLeft = "\x1b[D", kHome = "\x1bOH";

// The line with "|" at the cursor.
std::string Shown(const LineEditor& editor) {
  std::string text = editor.Text();
  return text.insert(editor.Cursor(), "|");
}

TEST(LineEditorPosixTest, EditsAndRecallsLinesInWholeCharacters) {
  const auto editor = MakeSystemLineEditor();
  ASSERT_TRUE(editor);
  const auto keys = [&](const std::string& pressed, const char* shown,
                        const std::vector<std::string>& expected = {}) {
    std::vector<std::string> lines;
    for (const char c : pressed) // a slow line brings the bytes of a key one by one
      for (std::string& line : editor->Take(std::string_view(&c, 1)))
        lines.push_back(std::move(line));
    EXPECT_EQ(lines, expected) << shown;
    EXPECT_EQ(Shown(*editor), shown);
  };
  keys("stätus 日本", "stätus 日本|");
  keys(kLeft + kLeft + "\x7fX", "stätusX|日本");
  keys(kHome + "\x1b[3~" + "S", "S|tätusX日本");
  keys("\x1b[1;5C", "StätusX日本|");
  keys("\r", "|", {"StätusX日本"});
  keys("help\nquit\n", "|", {"help", "quit"});
  keys(kUp + kUp, "help|");
  keys(kUp, "StätusX日本|");
  keys("\x1b[B", "help|");
  keys("\x15"
       "a\tb\x16\x12\x18\x1b[5~\x1b[24~\x1bq\xff\x03",
       "a b|"); // keys that do nothing here
  keys("\x17\x15", "|");
  keys("\x04\n", "|", {""}); // no end of the input
  keys(kUp, "quit|");
}

TEST(LineEditorPosixTest, ALineWithoutEndIsCut) {
  const auto editor = MakeSystemLineEditor();
  ASSERT_TRUE(editor);
  EXPECT_TRUE(editor->Take(std::string(100'000, 'x')).empty());
  EXPECT_EQ(editor->Take("\n"),
            std::vector<std::string>{std::string(LineEditor::kLongestLine, 'x')});
}

} // namespace
} // namespace kor
