// ToolOutput: receives the lines that a program prints, without line ends. Tests collect them.
#pragma once

#include <functional>

#include "services/core/kor_text.h"

namespace kor {

struct ToolOutput {
  std::function<void(const KorText&)> print;
  std::function<void(const KorText&)> complain;
};

// Standard output and standard error, as UTF-8.
ToolOutput StandardOutput();

} // namespace kor
