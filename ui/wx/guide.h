// The user guide that is installed with the program. Window's thread.
#pragma once

#include "services/core/kor_text.h"

namespace kor {

// The path of the guide for a program in that folder: as a page where there is one, else as text;
// empty when there is none.
KorText FindGuide(const KorText& programFolder);
// Has the desktop open it; a message when there is none.
void OpenGuide();

} // namespace kor
