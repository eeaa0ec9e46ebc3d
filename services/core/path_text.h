// The parts of a path as text; "/" and "\" both count as separators on every system. Pure
// functions.
#pragma once

#include "services/core/kor_text.h"

namespace kor {

KorText FolderOfPath(const KorText& path);   // with the separator; empty for a bare name
KorText FileNameOfPath(const KorText& path); // after the last separator
// So that a file name can be joined to the folder as it stands; empty stays empty: the working
// folder.
KorText WithTrailingSlash(KorText folder);

} // namespace kor
