#include "link/side_thread.h"

#include <utility>

namespace kor {

void SideThread::Start() {
  thread = std::thread([this] { Work(); });
}

bool SideThread::Add(std::size_t bytes, std::function<void()> task) {
  if (!AddQuietly(bytes, std::move(task))) return false;
  Wake();
  return true;
}

bool SideThread::AddQuietly(std::size_t bytes, std::function<void()> task) {
  const Lock lock(mutex);
  if (closed || waiting + bytes > most) return false;
  waiting += bytes;
  tasks.push_back({bytes, std::move(task)});
  added = true;
  return true;
}

void SideThread::Wake() {
  if (added.exchange(false)) changed.notify_all();
}

// Empty: nothing more will come.
std::deque<SideThread::Task> SideThread::TakeTasks() {
  const Lock lock(mutex);
  while (tasks.empty() && !closed)
    changed.wait(mutex);
  return std::exchange(tasks, {});
}

void SideThread::Do(std::deque<Task>& taken) {
  for (Task& task : taken) {
    task.work();
    task.work = nullptr;
    waiting -= task.bytes;
  }
}

void SideThread::Work() {
  for (std::deque<Task> taken = TakeTasks(); !taken.empty(); taken = TakeTasks())
    Do(taken);
  ended.set_value();
}

void SideThread::RunHere() {
  if (thread.joinable()) return;
  std::deque<Task> taken;
  {
    const Lock lock(mutex);
    taken.swap(tasks);
  }
  Do(taken);
}

void SideThread::Close() {
  const Lock lock(mutex);
  closed = true;
  changed.notify_all();
}

void SideThread::Finish() {
  Close();
  RunHere();
  if (thread.joinable()) thread.join();
}

bool SideThread::Stop(std::chrono::steady_clock::time_point until) {
  Close();
  RunHere();
  return !thread.joinable() || end.wait_until(until) == std::future_status::ready;
}

} // namespace kor
