// LineEditor: the line that is being typed. It takes keys and says what the line looks like; it
// draws nothing, so that whoever draws can keep other text beside it. Owned by the front end; one
// thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kor {

class LineEditor {
 public:
  static constexpr std::size_t kLongestLine = 4096; // bytes of a command; the rest is dropped

  virtual ~LineEditor() = default;

  // Takes what was typed, as bytes come from the terminal, in pieces of any size. Returns the lines
  // that the bytes complete, UTF-8 without line end.
  virtual std::vector<std::string> Take(std::string_view bytes) = 0;
  virtual std::string Text() const = 0;   // the unfinished line, UTF-8
  virtual std::size_t Cursor() const = 0; // where the next key goes, in bytes of Text
};

} // namespace kor
