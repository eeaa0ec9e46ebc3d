#include "ui/console/console_inbox.h"

#include <utility>

namespace kor {

void ConsoleInbox::Post(Task task) {
  const Lock lock(mutex);
  if (closed) return;
  tasks.push_back(std::move(task));
  changed.notify_one();
}

void ConsoleInbox::Quit() {
  const Lock lock(mutex);
  quit = true;
  changed.notify_one();
}

// A second interrupt ends the loop, whatever the window's thread is doing.
void ConsoleInbox::Interrupt() {
  const Lock lock(mutex);
  if (closed) return;
  if (question && !asked) {
    asked = true;
    tasks.push_back(question);
  } else {
    quit = true;
  }
  changed.notify_one();
}

bool ConsoleInbox::AddInput(std::string_view bytes) {
  const Lock lock(mutex);
  while (!closed && input.size() >= kMostInput)
    room.wait(mutex);
  if (closed) return false;
  input += bytes;
  inputEnded = bytes.empty();
  changed.notify_one();
  return true;
}

void ConsoleInbox::Wait(For what, Time until) {
  const Lock lock(mutex);
  while (!quit && tasks.empty() && (what == For::Task || (input.empty() && !inputEnded)))
    if (changed.wait_until(mutex, until) == std::cv_status::timeout) return;
}

bool ConsoleInbox::IsQuitting() {
  const Lock lock(mutex);
  return quit;
}

std::deque<ConsoleInbox::Task> ConsoleInbox::TakeTasks() {
  const Lock lock(mutex);
  return std::exchange(tasks, {});
}

bool ConsoleInbox::HasInput() {
  const Lock lock(mutex);
  return !input.empty() || inputEnded;
}

std::string ConsoleInbox::TakeInput() {
  const Lock lock(mutex);
  const std::size_t end = input.find_first_of("\r\n");
  std::string bytes = input.substr(0, end == std::string::npos ? end : end + 1);
  input.erase(0, bytes.size());
  if (input.empty() && std::exchange(inputEnded, false)) bytes += '\n';
  room.notify_one();
  return bytes;
}

void ConsoleInbox::SetQuestion(Task newQuestion) {
  const Lock lock(mutex);
  question = std::move(newQuestion);
  asked = asked && question != nullptr;
}

void ConsoleInbox::Close() {
  const Lock lock(mutex);
  closed = true;
  tasks.clear();
  room.notify_all();
}

} // namespace kor
