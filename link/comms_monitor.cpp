#include "link/comms_monitor.h"

#include <utility>

namespace kor {

CommsMonitor::CommsMonitor(std::function<bool()> poll, std::function<void()> wait,
                           std::function<void()> wakeUpWait)
    : wakeUp(std::move(wakeUpWait)), thread([this, poll = std::move(poll), wait = std::move(wait)] {
        while (!stopRequested)
          if (!poll() && !stopRequested) wait();
      }) {}

void CommsMonitor::Stop() {
  stopRequested = true;
  wakeUp();
  if (thread.joinable()) thread.join();
}

} // namespace kor
