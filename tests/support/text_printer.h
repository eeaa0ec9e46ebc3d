// Makes GoogleTest show a KorText as text instead of as bytes.
#pragma once

#include <ostream>

#include "services/core/kor_text.h"

namespace kor {

inline void PrintTo(const KorText& text, std::ostream* stream) {
  *stream << '"' << text.ToUtf8() << '"';
}

} // namespace kor
