// ProgressBar: one line on a terminal, drawn over itself at most ten times a second. Used by one
// thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

namespace kor {

class ProgressBar {
 public:
  using Time = std::chrono::nanoseconds; // on any steady clock

  ProgressBar(std::ostream& toUse, bool isWanted) : to(toUse), isShown(isWanted) {}
  // Without a total the bar shows bytes and rate only.
  void Start(const std::string& label, std::optional<std::uint64_t> total, Time now);
  void Update(std::uint64_t bytes, Time now);
  void Finish(); // wipes the line

 private:
  std::ostream& to;
  const bool isShown;
  std::string label;
  std::optional<std::uint64_t> total;
  Time started{};
  Time drawn{};
  std::size_t width = 0; // characters that stand on the line
};

} // namespace kor
