// What the user reads when the program-paths file is not there.
#pragma once

#include "services/core/kor_text.h"

namespace kor {

// Reports "Corrupt Installation". location is the folder of the file; empty when it is not known.
void ReportCorruptInstallation(const KorText& location);

} // namespace kor
