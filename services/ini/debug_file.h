// The debug file: debug modes kept as lines "name" or "name=value" of the section "DEBUG_MODES".
//
// A name without a folder is looked for in the start-in folder, the settings folder and the program
// folder, in this order; the first file that exists is the one. Use it on the main thread, after
// the modes were added and debugging was enabled: only modes that are active then are read and
// written.
#pragma once

#include "services/core/kor_text.h"

namespace kor {

inline constexpr char16_t kDebugFileName[] = u"Debug.ini";

// Returns the debug file that would be read, or an empty text.
KorText FindDebugFile(const KorText& name = kDebugFileName);
// Sets the modes that the file names; unknown names are ignored. False when there is no such file.
bool LoadDebugFile(const KorText& name = kDebugFileName);
// Writes the active modes into the file that would be read, else into the settings folder. Modes of
// value 0 are written only when the file already names them; lines of other modes stay. False when
// the file could not be saved (reported as a warning).
bool SaveDebugFile(const KorText& name = kDebugFileName);

} // namespace kor
