// MonitorFeed: carries the echo of the line from the worker to the window's monitor pane. The
// worker never waits for the window: it adds text here, and a wake-up is posted when the window has
// none pending. So a window thread that waits for the worker can't deadlock with it.
#pragma once

#include <atomic>
#include <functional>

#include "services/core/kor_text.h"
#include "services/core/thread_annotations.h"

namespace kor {

class MonitorFeed {
 public:
  // The most text that waits for a window that doesn't come; beyond it the oldest half is dropped.
  static constexpr std::size_t kMaximumWaiting = 1 << 20; // characters

  // wake is called on the worker's thread, once until the window has taken the text.
  explicit MonitorFeed(std::function<void()> wakeWindow) : wake(std::move(wakeWindow)) {}

  void SetShown(bool show);      // any thread; hidden: text is discarded
  void Add(const KorText& text); // worker
  KorText Take();                // window

 private:
  std::function<void()> wake;
  std::atomic<bool> shown{true};
  Mutex mutex;
  KorText waiting KOR_GUARDED_BY(mutex);
};

} // namespace kor
