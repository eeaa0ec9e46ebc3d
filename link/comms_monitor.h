// CommsMonitor: the worker thread that polls the port until it is told to stop.
#pragma once

#include <atomic>
#include <functional>
#include <thread>

namespace kor {

class CommsMonitor {
 public:
  // poll: one pass, true when it should be called again at once. wait: the pause after an idle pass;
  // it ends when wakeUp is called from another thread.
  CommsMonitor(std::function<bool()> poll, std::function<void()> wait,
               std::function<void()> wakeUp);
  ~CommsMonitor() { Stop(); }
  CommsMonitor(const CommsMonitor&) = delete;
  CommsMonitor& operator=(const CommsMonitor&) = delete;

  // Asks the thread to stop and waits for it; a second call does nothing.
  void Stop();

 private:
  std::function<void()> wakeUp;
  std::atomic<bool> stopRequested{false};
  std::thread thread;
};

} // namespace kor
