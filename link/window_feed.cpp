#include "link/window_feed.h"

#include <algorithm>
#include <utility>

namespace kor {

void WindowFeed::DropOldest(Kind kind) {
  items.erase(std::ranges::find(items, kind, &Item::kind));
  --CountOf(kind);
}

void WindowFeed::Add(Kind kind, std::function<void()> show) {
  {
    const Lock lock(mutex);
    if (CountOf(kind) == kMost[static_cast<std::size_t>(kind)]) DropOldest(kind);
    items.push_back({kind, std::move(show)});
    ++CountOf(kind);
    if (std::exchange(isPosted, true)) return;
  }
  window.Post([this] { Show(); });
}

std::optional<WindowFeed::Item> WindowFeed::Take() {
  const Lock lock(mutex);
  if (items.empty()) return std::nullopt;
  Item next = std::move(items.front());
  items.pop_front();
  --CountOf(next.kind);
  return next;
}

// Takes one at a time: an item may open a window with a loop of its own that shows the rest. What
// comes meanwhile has a post of its own, so that the window turns to other things, too.
void WindowFeed::Show() {
  std::size_t left = 0;
  {
    const Lock lock(mutex);
    isPosted = false;
    left = items.size();
  }
  for (; left > 0; --left)
    if (const auto item = Take()) item->show();
}

} // namespace kor
