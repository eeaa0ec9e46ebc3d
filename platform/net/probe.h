// A look at a device server, for somebody who sets a line up.
#pragma once

#include "services/core/kor_text.h"

namespace kor {

// Connects and tells what the server calls itself or what stands in the way, in a few words. Never
// to a line that a program of this computer uses, and no setting is touched. Takes up to some
// seconds; any thread.
KorText ProbeLine(const KorText& address);

} // namespace kor
