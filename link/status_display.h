// StatusDisplay: the timer on which the window shows the status. The timer runs while the board
// holds a change that the window has not shown. Owned by DownloadApp. Any thread may call it.
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

  // Starts the timer, which calls show on the window's thread.
  void Begin(std::function<void()> show);
  void End();
  void Keep();  // Starts the timer if the board has changed.
  void Rest();  // Stops the timer until the board changes.
  void Pause(); // Stops the timer until Resume, whatever changes.
  void Resume();

 private:
  StatusBoard& board;
  TimerQueue& timers;
  std::atomic<bool> running{true};
};

} // namespace kor
