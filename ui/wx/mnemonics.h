// Mnemonics: gives each label of a window a letter of its own, reached with Alt. Window's thread.
#pragma once

#include <set>

#include <wx/string.h>

#include "services/core/kor_text.h"

namespace kor {

class Mnemonics {
 public:
  // The label with "&" before the first letter or digit that is still free, those that begin a word
  // first. A label in Chinese or Japanese stays as it is, also one with a Latin letter: a letter in
  // brackets behind each would take room that narrow windows don't have.
  wxString Label(const KorText& text);

 private:
  std::set<char16_t> taken; // folded
};

} // namespace kor
