// Finds and opens the user guide that is installed with the program. Window's thread.
#pragma once

#include "services/core/kor_text.h"

namespace kor {

// Returns the path of the guide for a program in that folder: the web page where there is one, else
// the text, else an empty path.
KorText FindGuide(const KorText& programFolder);
// Has the desktop open the guide. A message tells the user when there is none.
void OpenGuide();

} // namespace kor
