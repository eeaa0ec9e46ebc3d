#include "link/comms_monitor.h"

#include <utility>

namespace kor {

CommsMonitor::CommsMonitor(std::function<bool()> poll, std::function<void()> wait,
                           std::function<void()> wakeUpWait, std::function<void()> last)
    : wakeUp(std::move(wakeUpWait)),
      thread([this, poll = std::move(poll), wait = std::move(wait), last = std::move(last)] {
        while (!stopRequested)
          if (!poll() && !stopRequested) wait();
        last();
        ended.set_value();
      }) {}

CommsMonitor::~CommsMonitor() {
  stopRequested = true;
  wakeUp();
  thread.join();
}

bool CommsMonitor::Stop(std::chrono::milliseconds atMost) {
  stopRequested = true;
  wakeUp();
  return end.wait_for(atMost) == std::future_status::ready;
}

} // namespace kor
