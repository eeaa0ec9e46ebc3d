// TaskQueue: what other threads want done on the worker. It takes tasks in order and runs them
// between two polls. Owned by DownloadApp. Any thread, but for Run, which is the worker's.
#pragma once

#include <atomic>
#include <deque>
#include <functional>

#include "services/core/thread_annotations.h"

namespace kor {

class TaskQueue {
 public:
  bool Add(std::function<void()> task); // false after Close: the task is dropped
  bool Run();                           // runs what has been added so far; true when there was any
  void Close();                         // what has been added is still run
  bool IsWaiting() const { return waiting; }
  // Whether so many tasks wait that no more should be added for the time being.
  bool IsBehind();

 private:
  std::atomic<bool> waiting{false};
  Mutex mutex;
  std::deque<std::function<void()>> tasks KOR_GUARDED_BY(mutex);
  bool closed KOR_GUARDED_BY(mutex) = false;
};

} // namespace kor
