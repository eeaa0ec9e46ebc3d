#include "bench/result_table.h"

#include <array>
#include <cstdio>

namespace kor::bench {

void ResultTable::Row(const std::string& what, double value, const std::string& unit,
                      Target target) {
  const bool hasTarget = target.most > 0 || target.least > 0;
  const bool isMet =
      (target.most <= 0 || value <= target.most) && (target.least <= 0 || value >= target.least);
  allTargetsMet = allTargetsMet && isMet;
  std::array<char, 64> limit{};
  if (hasTarget)
    std::snprintf(limit.data(), limit.size(), target.most > 0 ? "<= %g" : ">= %g",
                  target.most > 0 ? target.most : target.least);
  const char* verdict = !hasTarget ? "" : isMet ? "ok" : "MISSED";
  std::printf("%-58s %10.3f %-5s %-9s %s\n", what.c_str(), value, unit.c_str(), limit.data(),
              verdict);
  std::fflush(stdout);
}

void ResultTable::Failure(const std::string& what, const std::string& reason) {
  allTargetsMet = false;
  std::printf("%-58s FAILED: %s\n", what.c_str(), reason.c_str());
  std::fflush(stdout);
}

void ResultTable::NotMeasured(const std::string& what, const std::string& reason) {
  const std::string line = reason.substr(0, reason.find_first_of("\r\n"));
  std::printf("%-58s not measured: %s\n", what.c_str(), line.c_str());
  std::fflush(stdout);
}

} // namespace kor::bench
