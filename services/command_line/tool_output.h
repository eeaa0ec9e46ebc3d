// ToolOutput: where a program's lines go, without their ends. Tests keep them.
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
