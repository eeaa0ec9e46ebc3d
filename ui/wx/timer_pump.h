// TimerPump: has the engine's timers run as they fall due, on the toolkit's loop; between them it
// wakes twice a second. Window's thread.
#pragma once

#include <functional>

#include <wx/timer.h>

#include "ui/timer_queue.h"

namespace kor {

class TimerPump : public wxTimer {
 public:
  // post runs a task on the window's thread; it may be called from any thread.
  TimerPump(TimerQueue& timerQueue, const std::function<void(std::function<void()>)>& post);
  ~TimerPump() override;
  // Runs no timer any more. What was posted before may still come: this has to outlive it.
  void End();

  void Notify() override; // the toolkit's
 private:
  void Plan();

  TimerQueue& timers;
  bool ended = false;
};

} // namespace kor
