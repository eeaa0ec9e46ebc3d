// StatusDisplay: the timer on which the window shows the status. It runs while the board holds
// something that is not shown yet. Owned by DownloadApp. Any thread.
#pragma once

#include <atomic>
#include <functional>

#include "link/status_board.h"
#include "ui/timer_queue.h"

namespace kor {

class StatusDisplay {
 public:
  StatusDisplay(StatusBoard& statusBoard, TimerQueue& timerQueue)
      : board(statusBoard), timers(timerQueue) {}

  // From now on show is called on the window's thread.
  void Begin(std::function<void()> show);
  void End();
  void Keep();  // running, where the board has changed
  void Rest();  // nothing is to be shown until the board changes
  void Pause(); // whatever changes, until Resume
  void Resume();

 private:
  StatusBoard& board;
  TimerQueue& timers;
  std::atomic<bool> running{true};
};

} // namespace kor
