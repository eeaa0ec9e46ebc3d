#include "ui/console/console_output.h"

#include <thread>

namespace kor {

ConsoleOutput::ConsoleOutput(std::shared_ptr<Terminal> terminal) {
  std::thread([state = shared, terminal = std::move(terminal)] { Run(state, terminal); }).detach();
}

ConsoleOutput::~ConsoleOutput() {
  Flush();
  const Lock lock(shared->mutex);
  shared->closed = true;
  shared->changed.notify_all();
}

void ConsoleOutput::Add(std::string_view text, bool isError) {
  const Lock lock(shared->mutex);
  shared->waiting.push_back({std::string(text), isError});
  shared->size += text.size();
  while (shared->size > kMostWaiting) {
    shared->size -= shared->waiting.front().bytes.size();
    shared->waiting.pop_front();
  }
  shared->changed.notify_all();
}

void ConsoleOutput::Flush(std::chrono::milliseconds atMost) {
  if (hasStopped) return;
  const auto until = std::chrono::steady_clock::now() + atMost;
  const Lock lock(shared->mutex);
  while (!shared->waiting.empty() || shared->writing)
    if (shared->changed.wait_until(shared->mutex, until) == std::cv_status::timeout) break;
  hasStopped = !shared->waiting.empty() || shared->writing;
}

std::optional<ConsoleOutput::Text> ConsoleOutput::Take(Shared& shared) {
  const Lock lock(shared.mutex);
  shared.writing = false;
  shared.changed.notify_all();
  while (!shared.closed && shared.waiting.empty())
    shared.changed.wait(shared.mutex);
  if (shared.closed) return std::nullopt;
  Text text = std::move(shared.waiting.front());
  shared.waiting.pop_front();
  shared.size -= text.bytes.size();
  shared.writing = true;
  return text;
}

void ConsoleOutput::Run(const std::shared_ptr<Shared>& shared,
                        const std::shared_ptr<Terminal>& terminal) {
  while (const std::optional<Text> text = Take(*shared)) {
    if (text->isError)
      terminal->WriteError(text->bytes);
    else
      terminal->Write(text->bytes);
  }
}

} // namespace kor
