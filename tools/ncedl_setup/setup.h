// ncedl-setup: writes the program-paths file, registers a configuration, names the serial devices and
// stores the language. The work apart from the process, so that tests can call it.
#pragma once

#include <functional>
#include <vector>

#include "services/core/kor_text.h"

namespace kor {

// What the exit codes say.
enum class SetupResult : int { Done = 0, Failed = 1, Usage = 2 };

struct SetupOutput {
  std::function<void(const KorText&)> print;    // a line, without its end
  std::function<void(const KorText&)> complain; // the same, for failures and warnings
};

// App() is set and started. The words are those after the program's name. What can't be done is told
// with a remedy, and the rest is done all the same.
SetupResult RunSetup(const std::vector<KorText>& words, const SetupOutput& output);

} // namespace kor
