// The program's command line: options for the line and the output, then one command.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "services/core/kor_text.h"
#include "tools/nce_controller/command.h"
#include "tools/nce_controller/line_settings.h"

namespace kor::controller {

enum class ProgressMode { OnTerminal, Always, Never };

struct Options {
  std::optional<KorText> port; // one of the two
  std::optional<KorText> pseudoTerminal;
  LineSettings line;
  bool isPaced = true;
  double timeout = 10;        // seconds
  std::optional<int> retries; // without: 0, or 10 with made-up damage
  double errorRate = 0;       // chance per byte
  std::uint64_t seed = 1;
  bool verify = false;
  std::optional<double> waitHost; // seconds; without: 30 on a pseudo-terminal, 0 on a port
  std::optional<KorText> record;  // file that keeps what travels
  bool isJson = false;
  ProgressMode progress = ProgressMode::OnTerminal;
  bool wantsHelp = false;
  bool wantsVersion = false;
  Command command;

  int Retries() const { return retries.value_or(errorRate > 0 ? 10 : 0); }
  double WaitHost() const { return waitHost.value_or(pseudoTerminal ? 30 : 0); }
};

struct ParsedOptions {
  Options options;
  std::string error; // empty: good
};

ParsedOptions ParseOptions(const std::vector<KorText>& arguments);
std::string_view HelpText();

} // namespace kor::controller
