#include "ui/console/console_output.h"

#include <chrono>
#include <thread>

namespace kor {

namespace {

constexpr std::chrono::milliseconds kPatience(300);

} // namespace

ConsoleOutput::ConsoleOutput(std::shared_ptr<Terminal> terminal) {
  std::thread([state = shared, terminal = std::move(terminal)] { Run(state, terminal); }).detach();
}

ConsoleOutput::~ConsoleOutput() {
  Flush();
  const std::lock_guard lock(shared->mutex);
  shared->closed = true;
  shared->changed.notify_all();
}

void ConsoleOutput::Add(std::string_view text, bool isError) {
  const std::lock_guard lock(shared->mutex);
  shared->waiting.push_back({std::string(text), isError});
  shared->size += text.size();
  while (shared->size > kMostWaiting) {
    shared->size -= shared->waiting.front().bytes.size();
    shared->waiting.pop_front();
  }
  shared->changed.notify_all();
}

void ConsoleOutput::Flush() {
  std::unique_lock lock(shared->mutex);
  const auto isTaken = [this] { return shared->waiting.empty() && !shared->writing; };
  if (!hasStopped) hasStopped = !shared->changed.wait_for(lock, kPatience, isTaken);
}

void ConsoleOutput::Run(const std::shared_ptr<Shared>& shared,
                        const std::shared_ptr<Terminal>& terminal) {
  std::unique_lock lock(shared->mutex);
  for (;;) {
    shared->changed.wait(lock, [&] { return shared->closed || !shared->waiting.empty(); });
    if (shared->closed) return;
    const Text text = std::move(shared->waiting.front());
    shared->waiting.pop_front();
    shared->size -= text.bytes.size();
    shared->writing = true;
    lock.unlock();
    if (text.isError)
      terminal->WriteError(text.bytes);
    else
      terminal->Write(text.bytes);
    lock.lock();
    shared->writing = false;
    shared->changed.notify_all();
  }
}

} // namespace kor
