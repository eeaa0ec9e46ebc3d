#include "ui/wx/timer_pump.h"

#include <algorithm>
#include <cmath>

#include <wx/app.h>

#include "services/core/app_interface.h"

namespace kor {

namespace {

constexpr double kLongestWait = 0.5; // seconds; so late, at most, is a post in a loop of Windows

} // namespace

TimerPump::TimerPump(TimerQueue& timerQueue, const std::function<void(std::function<void()>)>& post)
    : timers(timerQueue) {
  timers.SetOnEarlier([this, post] { post([this] { Plan(); }); });
  Plan();
}

TimerPump::~TimerPump() {
  End();
}

void TimerPump::End() {
  timers.SetOnEarlier({});
  Stop();
  ended = true;
}

// Windows runs its own loops while a file is chosen or the window is moved; these know timers but
// no posts. A post may open a window with its own loop, so the next call is planned first.
void TimerPump::Notify() {
  timers.RunDue(App().HighResolutionSeconds());
  Plan();
  wxTheApp->ProcessPendingEvents();
}

void TimerPump::Plan() {
  if (ended) return;
  const auto due = timers.NextDue();
  const double wait = due ? *due - App().HighResolutionSeconds() : kLongestWait;
  StartOnce(static_cast<int>(std::ceil(std::clamp(wait, 0.001, kLongestWait) * 1000)));
}

} // namespace kor
