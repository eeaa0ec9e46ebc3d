// Mnemonics: gives each label of a window a letter of its own, reached with Alt. Window's thread.
#pragma once

#include <set>

#include <wx/string.h>

#include "services/core/kor_text.h"

namespace kor {

class Mnemonics {
 public:
  // The label with "&" before the first letter or digit that is still free, those that begin a word
  // first. A label without one, as in Chinese, stays as it is.
  wxString Label(const KorText& text);

 private:
  std::set<char16_t> taken; // folded
};

} // namespace kor
