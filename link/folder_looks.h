// FolderLooks: threads that look at folders which may be slow, and the questions that the window
// asks of side threads. Each thread does one thing at a time, so a folder that hangs blocks only
// the thread that looks at it.
//
// A question is answered once: by what the thread finds, or by a refusal after five seconds. Owned
// by DownloadApp and used on the window's thread; any thread may call Add and IsAwaited.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <functional>

#include "link/side_thread.h"
#include "ui/timer_queue.h"

namespace kor {

class FolderLooks {
 public:
  explicit FolderLooks(TimerQueue& timerQueue) : timers(timerQueue) {}

  void Start();
  // Returns false when a thread has not ended by then.
  bool Stop(std::chrono::steady_clock::time_point until);
  void Finish();
  void RunHere();                              // Runs what waits where no thread was started.
  bool Add(const std::function<void()>& look); // Returns false when all are busy.

  // Opens a question. Unless its answer is taken within five seconds, refuse is called.
  int Await(const std::function<void()>& refuse);
  bool Take(int question); // Returns false when it was already taken.
  bool IsAwaited() const { return unanswered > 0; }

 private:
  TimerQueue& timers;
  // Each look counts as one byte, so a busy thread takes no other.
  std::array<SideThread, 3> lookers{SideThread(1), SideThread(1), SideThread(1)};
  std::atomic<int> unanswered{0};
  int questions = 0; // number of the last one
};

} // namespace kor
