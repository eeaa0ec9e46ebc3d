// Tries a device server, for somebody who sets a line up.
#pragma once

#include "services/core/kor_text.h"

namespace kor {

// Connects and returns, in a few words, what the server calls itself or what stands in the way.
// Never connects to a line that a program of this computer uses, and changes no setting. Takes up
// to some seconds. Any thread.
KorText ProbeLine(const KorText& address);

} // namespace kor
