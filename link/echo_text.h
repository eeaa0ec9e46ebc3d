// How a byte of the line is shown in the monitor and written to the trace.
#pragma once

#include <cstdint>

#include "services/core/kor_text.h"

namespace kor {

// Appends a byte of 32 to 127 as itself, and any other as two hexadecimal digits in brackets:
// "[0d]".
void AppendEcho(KorText& to, std::uint8_t c);

} // namespace kor
