// Finds and opens the user guide that is installed with the program. Window's thread.
#pragma once

#include <functional>

#include "services/core/kor_text.h"

namespace kor {

// Has openFile show the guide of a program in that folder, by its absolute path: the page where
// there is one, else the text. Returns what to tell the user where it isn't shown; else nothing.
KorText OpenGuideWith(const KorText& programFolder,
                      const std::function<bool(const KorText&)>& openFile);
// Has the desktop show this program's guide, or says in a message why it doesn't.
void OpenGuide();

} // namespace kor
