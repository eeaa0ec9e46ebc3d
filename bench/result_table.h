// The table of benchmarks that scripts/bench shows: a row for each value, with its target and
// whether the target is met. Owned by the benchmark's main; one thread.
#pragma once

#include <string>

namespace kor::bench {

// The limit that a value has to keep, above 0; 0 means none.
struct Target {
  double most = 0;
  double least = 0;
};

class ResultTable {
 public:
  // Prints the row at once.
  void Row(const std::string& what, double value, const std::string& unit, Target target = {});
  // Prints a row for what failed, which counts as a missed target.
  void Failure(const std::string& what, const std::string& reason);
  // Prints a row for a value without a target that could not be measured.
  void NotMeasured(const std::string& what, const std::string& reason);
  bool AllTargetsMet() const { return allTargetsMet; }

 private:
  bool allTargetsMet = true;
};

} // namespace kor::bench
