// KorText to and from the wide texts of Windows' calls: the same 16 bits under another type. The
// functions copy, so that neither type is read through the other.
#pragma once

#include <string>
#include <string_view>

#include "services/core/kor_text.h"

namespace kor {

inline std::wstring ToWide(std::u16string_view text) {
  return {text.begin(), text.end()};
}

inline KorText FromWide(std::wstring_view wide) {
  return KorText(std::u16string(wide.begin(), wide.end()));
}

} // namespace kor
