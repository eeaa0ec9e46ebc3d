// Mnemonics: gives each label of a window its own letter, which is reached with Alt. Window's
// thread.
#pragma once

#include <set>

#include <wx/string.h>

#include "services/core/kor_text.h"

namespace kor {

class Mnemonics {
 public:
  // Returns the label with "&" before the first letter or digit that is still free; letters that
  // begin a word are tried first. A label in Chinese or Japanese stays as it is, even one with a
  // Latin letter, because a letter in brackets behind each would take room that narrow windows
  // don't have.
  wxString Label(const KorText& text);

 private:
  std::set<char16_t> taken; // folded
};

} // namespace kor
