// SideThread: a thread that does, one after the other, what those who serve must not wait for: it
// writes the logs, or looks at folders that may be slow. What waits is bounded by its size in
// bytes.
//
// Owned by DownloadApp. Any thread, but for Start, Stop and RunHere, which are the owner's.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <future>
#include <thread>

#include "services/core/thread_annotations.h"

namespace kor {

class SideThread {
 public:
  explicit SideThread(std::size_t mostBytes) : most(mostBytes) {}
  ~SideThread() { Finish(); }
  SideThread(const SideThread&) = delete;
  SideThread& operator=(const SideThread&) = delete;

  // Starts the thread. Until then tasks wait, or RunHere does them.
  void Start();
  // Adds a task. False when so many bytes find no room, or after Stop: the task is dropped. After
  // AddQuietly the thread may sleep on until Wake, which costs whoever adds many tasks less.
  bool Add(std::size_t bytes, std::function<void()> task);
  bool AddQuietly(std::size_t bytes, std::function<void()> task);
  void Wake();
  std::size_t WaitingBytes() const { return waiting; }
  void RunHere(); // what waits, where no thread was started

  // Both take nothing more and do what waits before they return; Stop waits at most the given time.
  // Stop is false when work is left: a call of the system holds a task, such as one for a file on a
  // dead network drive.
  void Finish();
  bool Stop(std::chrono::steady_clock::time_point until);

 private:
  struct Task {
    std::size_t bytes;
    std::function<void()> work;
  };

  void Work();
  void Close();
  std::deque<Task> TakeTasks();
  void Do(std::deque<Task>& taken);

  const std::size_t most;
  std::atomic<std::size_t> waiting{0};
  std::atomic<bool> added{false}; // since the thread was last woken
  Mutex mutex;
  std::condition_variable_any changed;
  std::deque<Task> tasks KOR_GUARDED_BY(mutex);
  bool closed KOR_GUARDED_BY(mutex) = false;
  std::promise<void> ended;
  std::future<void> end = ended.get_future();
  std::thread thread;
};

} // namespace kor
