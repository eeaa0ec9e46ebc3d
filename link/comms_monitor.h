// CommsMonitor: the worker thread that polls the port until it is told to stop.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

namespace kor {

class CommsMonitor {
 public:
  // poll runs one pass and returns true when it should be called again at once. wait is the pause
  // after an idle pass, which ends when wakeUp is called from another thread. last is what the
  // thread does before it ends.
  CommsMonitor(std::function<bool()> poll, std::function<void()> wait, std::function<void()> wakeUp,
               std::function<void()> last);
  ~CommsMonitor(); // waits for the thread however long it takes
  CommsMonitor(const CommsMonitor&) = delete;
  CommsMonitor& operator=(const CommsMonitor&) = delete;

  // Asks the thread to stop and waits for it. False when the thread has not ended by then: a call
  // of the system holds it, such as one for a file on a dead network drive.
  bool Stop(std::chrono::milliseconds atMost);

 private:
  std::function<void()> wakeUp;
  std::atomic<bool> stopRequested{false};
  std::promise<void> ended;
  std::future<void> end = ended.get_future();
  std::thread thread;
};

} // namespace kor
