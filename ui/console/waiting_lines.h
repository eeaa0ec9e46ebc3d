// WaitingLines: the commands that were typed and have not run yet. They wait while an earlier
// command has not been answered, except for those that may overtake it. Window's thread.
#pragma once

#include <deque>
#include <functional>
#include <optional>

#include "services/core/kor_text.h"

namespace kor {

class WaitingLines {
 public:
  static constexpr std::size_t kMost = 16;

  // Returns whether an earlier line still awaits its answer.
  using Awaits = std::function<bool()>;
  // Returns whether the line may run before one that waits, or, where that one is empty, before the
  // answer.
  using MayOvertake = std::function<bool(const KorText& line, const KorText& waiting)>;
  void SetAwaits(Awaits awaitsAnswer, MayOvertake mayOvertake);

  void Add(const KorText& line) { lines.push_back(line); }
  bool IsEmpty() const { return lines.empty(); }
  bool IsFull() const { return lines.size() >= kMost; }
  // Returns whether there is a line that need not wait. A line may overtake only after a moment, so
  // that the commands of a script are normally done in their order.
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
