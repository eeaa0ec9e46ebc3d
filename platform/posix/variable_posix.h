// Variables of the process's environment.
#pragma once

#include <cstdlib>

#include "services/core/kor_text.h"

namespace kor {

// Returns an empty text when the variable is not set.
inline KorText EnvironmentVariable(const char* name) {
  const char* value = std::getenv(name);
  return value ? KorText::FromUtf8(value) : KorText();
}

} // namespace kor
