// WaitingLines: the commands that were typed and have not run yet. While what an earlier one has
// asked for is not answered they wait, but for those that may overtake it. Window's thread.
#pragma once

#include <deque>
#include <functional>
#include <optional>

#include "services/core/kor_text.h"

namespace kor {

class WaitingLines {
 public:
  static constexpr std::size_t kMost = 16;

  // Whether an earlier line still awaits its answer.
  using Awaits = std::function<bool()>;
  // Whether the line may be run before one that waits, or, where that is empty, before the answer.
  using MayOvertake = std::function<bool(const KorText& line, const KorText& waiting)>;
  void SetAwaits(Awaits awaitsAnswer, MayOvertake mayOvertake);

  void Add(const KorText& line) { lines.push_back(line); }
  bool IsEmpty() const { return lines.empty(); }
  bool IsFull() const { return lines.size() >= kMost; }
  // Whether there is a line that need not wait. A line may overtake only after a moment, which a
  // script gives its commands to be done in their order.
  bool IsReady(double now) { return Next(now) != lines.end(); } // now: seconds
  std::optional<KorText> Take(double now);                      // the first such line

 private:
  std::deque<KorText>::iterator Next(double now);

  Awaits awaits;
  MayOvertake overtakes;
  std::deque<KorText> lines;
  std::optional<double> awaitsSince; // seconds
};

} // namespace kor
