// TimerPump: runs the engine's timers on the toolkit's loop as they fall due. Between them it wakes
// twice a second. Window's thread.
#pragma once

#include <functional>

#include <wx/timer.h>

#include "ui/timer_queue.h"

namespace kor {

class TimerPump : public wxTimer {
 public:
  // post runs a task on the window's thread. Any thread may call post.
  TimerPump(TimerQueue& timerQueue, const std::function<void(std::function<void()>)>& post);
  ~TimerPump() override;
  // Stops running timers. Tasks that were posted before may still come, so this object has to
  // outlive them.
  void End();

  void Notify() override; // the toolkit's
 private:
  void Plan();

  TimerQueue& timers;
  bool ended = false;
};

} // namespace kor
