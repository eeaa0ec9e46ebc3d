// The characters of a text as the bytes that files and ports take.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace kor {

// The view is valid as long as the text is.
inline std::span<const std::uint8_t> AsBytes(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

} // namespace kor
