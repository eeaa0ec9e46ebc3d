// BlockWorkers: a few threads, each with an input and an output buffer of its own, that do one step
// on block after block. The owner fills inputs and takes outputs in block order, so that results
// don't depend on the number of threads; block n belongs to the buffers number n modulo that
// number.
//
// One owner on one thread. With one worker there is no thread: Finish does the step itself. There
// are fewer workers than asked for where the system has no memory or no threads for all of them.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <span>
#include <thread>
#include <vector>

#include "files/void_buffer.h"
#include "services/core/thread_annotations.h"

namespace kor {

class BlockWorkers {
 public:
  // Returns false when the block's data is no good. Steps run on several threads at once.
  using Step = bool (*)(std::span<const std::uint8_t> input, VoidBuffer& output);

  struct Room { // bytes of each worker's buffers
    std::size_t input = 0, output = 0;
  };

  BlockWorkers(std::size_t count, Step work, Room room);
  ~BlockWorkers(); // waits for the steps that are under way
  BlockWorkers(const BlockWorkers&) = delete;
  BlockWorkers& operator=(const BlockWorkers&) = delete;

  std::size_t Count() const { return slots.size(); }
  // The input buffer of a block that is not started; all earlier blocks of its slot are finished.
  VoidBuffer& Input(std::uint64_t block) { return slots[block % Count()].input; }
  void Start(std::uint64_t block);
  // Waits for the block and returns what its step returned.
  bool Finish(std::uint64_t block);
  // Valid once Finish(block) has returned.
  const VoidBuffer& Output(std::uint64_t block) const { return slots[block % Count()].output; }

 private:
  enum class State { Idle, Started, Finished };
  // The buffers belong to the owner or to the worker, as the state says. The state changes under
  // the lock.
  struct Slot {
    VoidBuffer input, output;
    State state = State::Idle;
    bool good = false;
  };

  std::size_t Reserve(Room room);
  std::size_t StartThreads();
  void Run(Slot& slot);
  bool WaitForWork(const Slot& slot);
  void Report(Slot& slot, bool good);

  const Step step;
  std::vector<Slot> slots;
  Mutex mutex; // of the slots' states
  std::condition_variable_any changed;
  bool stopping KOR_GUARDED_BY(mutex) = false;
  std::vector<std::thread> threads;
};

} // namespace kor
