// The parts of a path as text; "/" and "\" both count as separators on every system. Pure
// functions.
#pragma once

#include "services/core/kor_text.h"

namespace kor {

KorText FolderOfPath(const KorText& path);   // with the separator; empty for a bare name
KorText FileNameOfPath(const KorText& path); // after the last separator
// Adds a trailing "/", so that a file name can be joined to the folder as it stands. An empty text,
// the working folder, stays empty.
KorText WithTrailingSlash(KorText folder);

} // namespace kor
