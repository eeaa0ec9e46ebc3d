// The program's command line: options for the line and the output, then one command.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "services/command_line/command_line.h"
#include "tools/nce_controller/command.h"
#include "tools/nce_controller/line_settings.h"

namespace kor::controller {

enum class ProgressMode { OnTerminal, Always, Never };

struct Options {
  KorText port; // one of the two
  KorText pseudoTerminal;
  LineSettings line;
  bool isPaced = true;
  double timeout = 10;        // seconds
  std::optional<int> retries; // without: 0, or 10 with made-up damage
  double errorRate = 0;       // chance per byte
  std::uint64_t seed = 1;
  bool verify = false;
  std::optional<double> waitHost; // seconds; without: 30 on a pseudo-terminal, 0 on a port
  KorText record;                 // file that keeps what travels; empty: none
  bool isJson = false;
  ProgressMode progress = ProgressMode::OnTerminal;
  Command command;

  int Retries() const { return retries.value_or(errorRate > 0 ? 10 : 0); }
  // Whether the host's end is made here, and with it what the bytes travel through.
  bool IsCable() const {
    return !pseudoTerminal.IsEmpty() || port.StartsWithNoCase(u"tcp-listen://");
  }
  double WaitHost() const { return waitHost.value_or(IsCable() ? 30 : 0); }
};

CommandLineAnswer ReadOptions(const std::vector<KorText>& arguments, Options& options);

} // namespace kor::controller
