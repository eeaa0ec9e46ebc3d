#include "link/task_queue.h"

#include <utility>

namespace kor {

namespace {

constexpr std::size_t kMostTasks = 1000;

} // namespace

bool TaskQueue::Add(std::function<void()> task) {
  const Lock lock(mutex);
  if (closed) return false;
  tasks.push_back(std::move(task));
  waiting = true;
  return true;
}

bool TaskQueue::Run() {
  if (!waiting.exchange(false)) return false;
  std::deque<std::function<void()>> now;
  {
    const Lock lock(mutex);
    now.swap(tasks);
  }
  for (const auto& task : now)
    task();
  return !now.empty();
}

void TaskQueue::Close() {
  const Lock lock(mutex);
  closed = true;
}

bool TaskQueue::IsBehind() {
  const Lock lock(mutex);
  return tasks.size() >= kMostTasks;
}

} // namespace kor
