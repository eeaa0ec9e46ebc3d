#include "link/monitor_feed.h"

namespace kor {

void MonitorFeed::SetShown(bool show) {
  shown = show;
}

void MonitorFeed::Add(const KorText& text) {
  if (!shown || text.IsEmpty()) return;
  bool wasEmpty = false;
  {
    const Lock lock(mutex);
    wasEmpty = waiting.IsEmpty();
    if (waiting.Length() + text.Length() > kMaximumWaiting) waiting.Remove(0, waiting.Length() / 2);
    waiting += text;
  }
  if (wasEmpty && wake) wake();
}

KorText MonitorFeed::Take() {
  const Lock lock(mutex);
  KorText taken;
  std::swap(taken, waiting);
  return shown ? taken : KorText();
}

} // namespace kor
