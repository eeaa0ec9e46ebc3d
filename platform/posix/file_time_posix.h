// Conversions between file times and those of POSIX.
#pragma once

#include "services/core/file_time.h"

namespace kor {

inline constexpr FileTime kUnixEpoch = 116444736000000000; // 1970-01-01 in file time
inline constexpr FileTime kTicksPerSecond = 10000000;

} // namespace kor
