// ConsoleOutput: writes to a terminal or pipe on a thread of its own. A reader that has stopped,
// such as a pager or a terminal on hold, then stops only the output.
//
// Owned by the console front end; Write and WriteError are called on the window's thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "services/core/thread_annotations.h"
#include "ui/terminal.h"

namespace kor {

class ConsoleOutput {
 public:
  // The length of the text that may wait for a reader; beyond that the oldest is dropped.
  static constexpr std::size_t kMostWaiting = 1 << 20; // bytes
  static constexpr std::chrono::milliseconds kPatience{300};

  explicit ConsoleOutput(std::shared_ptr<Terminal> terminal);
  // Gives the reader kPatience to take what is left.
  ~ConsoleOutput();
  ConsoleOutput(const ConsoleOutput&) = delete;
  ConsoleOutput& operator=(const ConsoleOutput&) = delete;

  void Write(std::string_view text) { Add(text, false); }
  void WriteError(std::string_view text) { Add(text, true); }
  void Flush(std::chrono::milliseconds atMost = kPatience);

 private:
  struct Text {
    std::string bytes;
    bool isError = false;
  };
  // The shared part outlives the object while the thread is stuck in a write.
  struct Shared {
    Mutex mutex;
    std::condition_variable_any changed;
    std::deque<Text> waiting KOR_GUARDED_BY(mutex);
    std::size_t size KOR_GUARDED_BY(mutex) = 0; // bytes waiting
    bool writing KOR_GUARDED_BY(mutex) = false;
    bool closed KOR_GUARDED_BY(mutex) = false;
  };

  void Add(std::string_view text, bool isError);
  // Waits for the oldest text and returns it; returns none when the output is closed.
  static std::optional<Text> Take(Shared& shared);
  static void Run(const std::shared_ptr<Shared>& shared, const std::shared_ptr<Terminal>& terminal);

  bool hasStopped = false; // the reader was waited for in vain: not once more
  std::shared_ptr<Shared> shared = std::make_shared<Shared>();
};

} // namespace kor
