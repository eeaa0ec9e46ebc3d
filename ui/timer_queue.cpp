#include "ui/timer_queue.h"

#include <algorithm>

namespace kor {

TimerQueue::Timer* TimerQueue::Find(const KorText& name) {
  const auto found = std::find_if(timers.begin(), timers.end(),
                                  [&](const Timer& timer) { return timer.name == name; });
  return found == timers.end() ? nullptr : &*found;
}

void TimerQueue::Create(const KorText& name, double period, double now, TimerState state,
                        std::function<void()> action) {
  std::function<void()> notify;
  {
    const Lock lock(mutex);
    std::erase_if(timers, [&](const Timer& timer) { return timer.name == name; });
    timers.push_back({name, period, now + period, state == TimerState::Started, std::move(action)});
    if (state == TimerState::Started) notify = onEarlier;
  }
  if (notify) notify();
}

void TimerQueue::Start(const KorText& name, double now) {
  std::function<void()> notify;
  {
    const Lock lock(mutex);
    if (Timer* timer = Find(name)) {
      timer->due = now + timer->period;
      timer->started = true;
      notify = onEarlier;
    }
  }
  if (notify) notify();
}

void TimerQueue::Stop(const KorText& name) {
  const Lock lock(mutex);
  if (Timer* timer = Find(name)) timer->started = false;
}

void TimerQueue::Delete(const KorText& name) {
  const Lock lock(mutex);
  std::erase_if(timers, [&](const Timer& timer) { return timer.name == name; });
}

bool TimerQueue::IsStarted(const KorText& name) const {
  const Lock lock(mutex);
  return std::any_of(timers.begin(), timers.end(),
                     [&](const Timer& timer) { return timer.name == name && timer.started; });
}

void TimerQueue::RunDue(double now) {
  // The due timers are chosen first, so a timer that an action makes waits its own period.
  std::vector<std::pair<double, std::function<void()>>> due;
  {
    const Lock lock(mutex);
    for (Timer& timer : timers) {
      if (!timer.started || timer.due > now) continue;
      due.emplace_back(timer.due, timer.action);
      timer.due = now + timer.period;
    }
  }
  std::stable_sort(due.begin(), due.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  for (const auto& [when, action] : due)
    if (action) action();
}

std::optional<double> TimerQueue::NextDue() const {
  const Lock lock(mutex);
  std::optional<double> next;
  for (const Timer& timer : timers)
    if (timer.started && (!next || timer.due < *next)) next = timer.due;
  return next;
}

void TimerQueue::SetOnEarlier(std::function<void()> callback) {
  const Lock lock(mutex);
  onEarlier = std::move(callback);
}

} // namespace kor
