#include "ui/console/waiting_lines.h"

#include <algorithm>
#include <utility>

namespace kor {

namespace {

constexpr double kGrace = 0.3; // seconds until a line may overtake

} // namespace

void WaitingLines::SetAwaits(Awaits awaitsAnswer, MayOvertake mayOvertake) {
  awaits = std::move(awaitsAnswer);
  overtakes = std::move(mayOvertake);
}

std::optional<KorText> WaitingLines::Take(double now) {
  const auto next = Next(now);
  if (next == lines.end()) return std::nullopt;
  KorText line = std::move(*next);
  lines.erase(next);
  return line;
}

std::deque<KorText>::iterator WaitingLines::Next(double now) {
  if (!awaits || !awaits())
    awaitsSince.reset();
  else if (!awaitsSince)
    awaitsSince = now;
  if (!awaitsSince) return lines.begin();
  if (now < *awaitsSince + kGrace) return lines.end();
  for (auto line = lines.begin(); line != lines.end(); ++line) {
    const auto waits = [&](const KorText& other) { return !overtakes(*line, other); };
    if (!waits({}) && std::none_of(lines.begin(), line, waits)) return line;
  }
  return lines.end();
}

} // namespace kor
