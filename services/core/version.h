// The version of all programs, as the build files have it.
#pragma once

namespace kor {

extern const char16_t kReleaseVersion[]; // "26.0.0"

} // namespace kor
