// ConsoleInbox: what other threads hand to the console's loop: tasks, the bytes of standard input,
// and the wish to end. It is shared with the reading thread and outlives the front end while that
// thread is stuck in a read that never ends. Any thread, except for the loop's own operations.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <string>
#include <string_view>

#include "services/core/thread_annotations.h"

namespace kor {

class ConsoleInbox {
 public:
  static constexpr std::size_t kMostInput = 4096; // bytes that are read ahead

  using Task = std::function<void()>;
  using Time = std::chrono::steady_clock::time_point;

  void Post(Task task); // is dropped once the inbox is closed
  void Quit();
  // Quits, unless there is a question that was not asked yet; then the loop gets that question as a
  // task.
  void Interrupt();
  // Adds what was read once there is room for it; nothing read is the end of the input. False when
  // the inbox was closed.
  bool AddInput(std::string_view bytes);

  // --- For the loop ---
  enum class For { Task, TaskOrInput };
  // Waits until there is something of that kind, or the loop is to end.
  void Wait(For what, Time until);
  bool IsQuitting();
  std::deque<Task> TakeTasks();
  bool HasInput(); // its end counts
  // Returns the input up to a line end, or all of it where it holds none. At the end of the input a
  // last line without its end gets one.
  std::string TakeInput();
  // Sets what Interrupt asks at first. An empty question ends that.
  void SetQuestion(Task question);
  void Close();

 private:
  Mutex mutex;
  std::condition_variable_any changed;
  std::condition_variable_any room; // in the input, or closed
  std::deque<Task> tasks KOR_GUARDED_BY(mutex);
  std::string input KOR_GUARDED_BY(mutex); // read and not yet taken
  bool inputEnded KOR_GUARDED_BY(mutex) = false;
  bool quit KOR_GUARDED_BY(mutex) = false;
  bool closed KOR_GUARDED_BY(mutex) = false;
  Task question KOR_GUARDED_BY(mutex);
  bool asked KOR_GUARDED_BY(mutex) = false;
};

} // namespace kor
