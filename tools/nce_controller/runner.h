// Runner: carries out commands on an open line and reports them, as text or as JSON. Owned by main,
// used by one thread.
#pragma once

#include <istream>
#include <ostream>
#include <string>

#include "services/command_line/json.h"
#include "services/command_line/progress_bar.h"
#include "tools/nce_controller/command.h"
#include "tools/nce_controller/fault_line.h"
#include "tools/nce_controller/line_settings.h"
#include "tools/nce_controller/outcome.h"
#include "tools/nce_controller/session.h"

namespace kor::controller {

struct RunnerSettings {
  bool isJson = false;
  bool showsProgress = false;
  bool readsBack = false; // what send does when it isn't told
  bool knowsSpeed = true; // shares of the line's capacity mean something
  std::uint64_t seed = 1;
  LineSettings line;
};

class Runner {
 public:
  // faults: null without made-up damage. All references outlive the runner.
  Runner(Session& session, Line& line, const FaultLine* faults, const RunnerSettings& settings,
         std::istream& input, std::ostream& output, std::ostream& diagnostics);

  // Carries out the command, prints its report and returns what the program should end with.
  Outcome Run(const Command& command);
  // Waits for the host before the first command, which is reported only when it fails.
  Outcome AwaitHost(double seconds);

 private:
  // What a command's report is made of.
  struct Report {
    Verdict verdict;
    JsonObject json;         // members of this command's own
    std::string text;        // one line for people
    bool isSilent = false;   // nothing to report unless it failed
    bool isExpected = false; // it failed as it was told to
  };
  struct Meter {
    Time time{};
    LineCounts counts;
    std::uint64_t stray = 0, faultsFromHost = 0, faultsToHost = 0;
  };

  Report Perform(const Command& command);
  Report Test();
  Report List();
  Report Fetch(const Command& command);
  Report Send(const Command& command);
  Report Raw(const Command& command);
  Report RunSoak(const Command& command);
  Report Expect(const Command& command);
  Report RunScript(const Command& command);
  Report WaitForHost(const Command& command);
  Report RunTyped();
  void RunTypedLine(const ParsedScript& script, const KorText& typed, Report& report,
                    std::uint64_t& done);
  void RunSteps(const ParsedScript& script, const std::string& path, Report& report,
                std::uint64_t& done);
  static void Compare(const std::string& expected, const std::string& program, Report& report);
  std::string Keep(const Command& command, const std::string& program);

  Session::Progress StartProgress(const Command& command, std::optional<std::uint64_t> total);
  Meter ReadMeter() const;
  void Print(const Command& command, const Report& report, const Meter& before);
  void PrintJson(const Command& command, const Report& report, const Meter& spent, double share);
  void PrintText(const Command& command, const Report& report, const Meter& spent, double share);

  Session& session;
  Line& line;
  const FaultLine* faults;
  const RunnerSettings settings;
  std::istream& input; // commands of the script "-"
  std::ostream& output;
  std::ostream& diagnostics;
  ProgressBar bar;
};

} // namespace kor::controller
