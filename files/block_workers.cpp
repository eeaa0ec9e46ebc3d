#include "files/block_workers.h"

#include <algorithm>
#include <system_error>

namespace kor {

BlockWorkers::BlockWorkers(std::size_t count, Step work, Room room)
    : step(work), slots(std::max<std::size_t>(count, 1)) {
  if (slots.size() > 1) slots.resize(Reserve(room));
  if (slots.size() > 1) slots.resize(StartThreads());
}

// How many workers have room; the first one takes it as it needs it.
std::size_t BlockWorkers::Reserve(Room room) {
  std::size_t count = 0;
  while (count < slots.size() && slots[count].input.Reserve(room.input) &&
         slots[count].output.Reserve(room.output))
    ++count;
  return std::max<std::size_t>(count, 1);
}

std::size_t BlockWorkers::StartThreads() {
  threads.reserve(slots.size());
  try {
    for (Slot& slot : slots)
      threads.emplace_back([this, &slot] { Run(slot); });
  } catch (const std::system_error&) { // there are no more
  }
  return std::max<std::size_t>(threads.size(), 1);
}

BlockWorkers::~BlockWorkers() {
  {
    Lock lock(mutex);
    stopping = true;
  }
  changed.notify_all();
  for (std::thread& thread : threads)
    thread.join();
}

void BlockWorkers::Run(Slot& slot) {
  while (WaitForWork(slot))
    Report(slot, step(slot.input.Bytes(), slot.output));
}

bool BlockWorkers::WaitForWork(const Slot& slot) {
  Lock lock(mutex);
  while (!stopping && slot.state != State::Started)
    changed.wait(mutex);
  return !stopping;
}

void BlockWorkers::Report(Slot& slot, bool good) {
  {
    Lock lock(mutex);
    slot.good = good;
    slot.state = State::Finished;
  }
  changed.notify_all();
}

void BlockWorkers::Start(std::uint64_t block) {
  {
    Lock lock(mutex);
    slots[block % Count()].state = State::Started;
  }
  changed.notify_all();
}

bool BlockWorkers::Finish(std::uint64_t block) {
  Slot& slot = slots[block % Count()];
  if (threads.empty()) Report(slot, step(slot.input.Bytes(), slot.output));
  Lock lock(mutex);
  while (slot.state != State::Finished)
    changed.wait(mutex);
  slot.state = State::Idle;
  return slot.good;
}

} // namespace kor
