// PacedRelay: joins two pseudo-terminals like a cable between two computers. What one program
// writes to one far end comes out at the other, no faster than a line of the given speed carries
// it. Owned by the benchmark; a thread per direction does the work.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "platform/terminals.h"

namespace kor::bench {

using Clock = std::chrono::steady_clock;

// Waits until the moment, to within a few microseconds. Sleeps until shortly before it and then
// spins.
void WaitPrecisely(PseudoTerminal& terminal, Clock::time_point until, bool forInput);

class PacedRelay {
 public:
  // Throws std::runtime_error when a pseudo-terminal can't be had.
  PacedRelay(const std::string& leftLink, const std::string& rightLink,
             std::chrono::nanoseconds byteTime);
  ~PacedRelay();
  PacedRelay(const PacedRelay&) = delete;
  PacedRelay& operator=(const PacedRelay&) = delete;

  void StartCounting(); // forgets what has passed
  // Returns the seconds from the arrival of the first byte to that of the last, in both directions
  // together.
  double ActiveSeconds() const;
  std::uint64_t BytesToRight() const { return counts[0]; }
  std::uint64_t BytesToLeft() const { return counts[1]; }

 private:
  void Carry(PseudoTerminal& from, PseudoTerminal& to, std::atomic<std::uint64_t>& count);
  void Note(Clock::time_point moment);

  std::unique_ptr<PseudoTerminal> left, right;
  std::chrono::nanoseconds byteTime;
  std::atomic<bool> stopping{false};
  std::array<std::atomic<std::uint64_t>, 2> counts{};
  std::atomic<std::int64_t> first{0}, last{0}; // nanoseconds of Clock, 0 = none yet
  std::array<std::thread, 2> threads;
};

} // namespace kor::bench
