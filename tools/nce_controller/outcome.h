// What became of a command, and the exit code that tells it.
#pragma once

#include <string>
#include <utility>

namespace kor::controller {

// The values are the program's exit codes.
enum class Outcome : int {
  Done = 0,
  SystemFailed = 1, // a device or file of this computer
  Usage = 2,        // command line, script or input that can't be carried out
  Refused = 3,      // the host answered "%%..."
  TimedOut = 4,     // the host fell silent
  Fault = 5,        // the host, or the line, broke the protocol
  Mismatch = 6,     // a comparison or expectation failed
  Stopped = 130,    // ended from outside
};

struct Verdict {
  Outcome outcome = Outcome::Done;
  std::string message;   // UTF-8, one line; empty when done
  bool mayRetry = false; // damage on the line can be the reason: another attempt is worth its time

  bool IsDone() const { return outcome == Outcome::Done; }
  static Verdict Failed(Outcome outcome, std::string message) {
    const bool mayRetry = outcome == Outcome::TimedOut || outcome == Outcome::Fault;
    return {outcome, std::move(message), mayRetry};
  }
};

} // namespace kor::controller
