// WindowFeed: what the engine has its window show, in order. Nobody waits for the window. A window
// that falls behind takes no memory: only the newest of each kind wait for it. The window gets one
// post for all that waits. Owned by DownloadApp, which outlives what it has posted.
#pragma once

#include <array>
#include <cstddef>
#include <deque>
#include <functional>
#include <optional>

#include "services/core/thread_annotations.h"
#include "ui/form_dialog.h"

namespace kor {

class WindowFeed {
 public:
  enum class Kind : std::size_t { Title, Status, Message, Job, Task };
  // How many of each kind may wait. All tasks do, since they change something. A window lists 1,000
  // jobs.
  static constexpr std::array<std::size_t, 5> kMost{1, 100, 100, 1000,
                                                    static_cast<std::size_t>(-1)};

  explicit WindowFeed(FormDialog& formDialog) : window(formDialog) {}

  void Add(Kind kind, std::function<void()> show); // any thread
  // Shows, on the window's thread, what has come so far.
  void Show();

 private:
  struct Item {
    Kind kind;
    std::function<void()> show;
  };
  void DropOldest(Kind kind) KOR_REQUIRES(mutex);
  std::optional<Item> Take();
  std::size_t& CountOf(Kind kind) KOR_REQUIRES(mutex) {
    return counts[static_cast<std::size_t>(kind)];
  }

  FormDialog& window;
  Mutex mutex;
  std::deque<Item> items KOR_GUARDED_BY(mutex);
  std::array<std::size_t, kMost.size()> counts KOR_GUARDED_BY(mutex){};
  bool isPosted KOR_GUARDED_BY(mutex) = false;
};

} // namespace kor
