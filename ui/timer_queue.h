// TimerQueue: the engine's named timers. The front end calls RunDue on the window's thread, at the
// time that NextDue gives or earlier. The time is handed in, so tests move it by hand.
//
// Threads: any thread may create and delete timers. Actions run on the thread that calls RunDue,
// without the queue's lock, and may create and delete timers themselves. Deleting a timer
// guarantees only that it does not start again.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "services/core/kor_text.h"
#include "services/core/thread_annotations.h"

namespace kor {

enum class TimerState { Stopped, Started };

class TimerQueue {
 public:
  // Creates or replaces the timer of that name. period and now in seconds; the first action is due
  // one period after now.
  void Create(const KorText& name, double period, double now, TimerState state,
              std::function<void()> action);
  void Start(const KorText& name, double now); // due one period after now
  void Stop(const KorText& name);
  void Delete(const KorText& name);
  bool IsStarted(const KorText& name) const;
  // Runs the actions that are due at now, oldest first. A timer that is late by several periods
  // runs once and is due again one period after now.
  void RunDue(double now);
  std::optional<double> NextDue() const;
  // Sets what is called when a timer was started, on the thread that started it: the front end asks
  // NextDue again and shortens its wait.
  void SetOnEarlier(std::function<void()> callback);

 private:
  struct Timer {
    KorText name;
    double period = 0;
    double due = 0;
    bool started = false;
    std::function<void()> action;
  };
  Timer* Find(const KorText& name) KOR_REQUIRES(mutex);
  mutable Mutex mutex;
  std::vector<Timer> timers KOR_GUARDED_BY(mutex);
  std::function<void()> onEarlier KOR_GUARDED_BY(mutex);
};

} // namespace kor
