// PlainLineEditor: takes the lines of a pipe and, where the system has no editor, those of a
// keyboard with backspace and Ctrl-U.
#pragma once

#include "ui/line_editor.h"

namespace kor {

class PlainLineEditor : public LineEditor {
 public:
  explicit PlainLineEditor(bool fromKeyboard) : keyboard(fromKeyboard) {}

  std::vector<std::string> Take(std::string_view bytes) override;
  std::string Text() const override { return line; }
  std::size_t Cursor() const override { return line.size(); }

 private:
  void TakeKey(char c);
  bool IsEscape(char c);

  const bool keyboard;
  std::string line;
  std::string escape; // of a key that sends several characters
};

} // namespace kor
