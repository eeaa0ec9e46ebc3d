// FolderLooks: threads that look at folders which may be slow, and the questions that are asked of
// side threads. Each thread does one thing at a time, so that none waits for a folder that hangs.
//
// A question is answered by whoever takes the answer first: the thread's finding, or the refusal
// after five seconds. Owned by DownloadApp. Its thread is the window's; Add and IsAwaited: any.
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
  bool Stop(std::chrono::steady_clock::time_point until); // false when one has not ended by then
  void Finish();
  void RunHere();                              // what waits, where no thread was started
  bool Add(const std::function<void()>& look); // false when all are busy

  // refuse is called after five seconds, unless the answer to this question was taken by then.
  int Await(const std::function<void()>& refuse);
  bool Take(int question); // false when it has been taken
  bool IsAwaited() const { return unanswered > 0; }

 private:
  TimerQueue& timers;
  // What a thread does counts as one byte.
  std::array<SideThread, 3> lookers{SideThread(1), SideThread(1), SideThread(1)};
  std::atomic<int> unanswered{0};
  int questions = 0; // so many were asked
};

} // namespace kor
