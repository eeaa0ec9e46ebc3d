// Format: makes texts with printf's formats, for what the demonstrations write. Any thread.
#pragma once

#include <array>
#include <cstdio>
#include <string>

namespace kor::demo {

// Returns at most 255 characters.
inline std::string Format(const char* format, auto... values) {
  std::array<char, 256> text{};
  std::snprintf(text.data(), text.size(), format, values...);
  return text.data();
}

} // namespace kor::demo
