// LineEstimate: estimates how much of what a server was handed is still on its way over the serial
// line behind it. No server reports that, so it is computed from the rate. The estimate also says
// how much may be handed over now. That is little, because what a server has goes out even when the
// line is held on this side.
//
// Holds plain state and uses the caller's clock; used by one thread.
#pragma once

#include <chrono>
#include <cstddef>

#include "link/port/serial_port.h"

namespace kor {

class LineEstimate {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Span = std::chrono::nanoseconds;

  static constexpr Span kLead = std::chrono::milliseconds(10); // of line time
  static constexpr Span kMostJitter = std::chrono::milliseconds(20);

  void SetLine(const DeviceControlBlock& block);
  void Clear(Time now); // nothing is on its way
  // Counts bytes that were just handed over. more: the sender has bytes that found no room.
  void Add(std::size_t count, bool more, Time now);
  void SetHeld(bool isHeld, Time now); // the line stands still meanwhile
  // Returns how many bytes may be handed over: what fits into the lead and the jitter, at least
  // one, and none until half of the lead has gone out.
  std::size_t Room(Time now);
  std::size_t Backlog(Time now); // bytes that have not left yet
  // Returns the longest recent delay of this program in handing over more; the line idled
  // meanwhile.
  Span Jitter() const { return jitter; }

 private:
  void Advance(Time now);

  Span byteTime = std::chrono::milliseconds(1);
  Span ahead{}; // line time of what has not left, at the moment asOf
  Span jitter{};
  Time asOf{};
  bool held = false;
  bool wantsMore = false;
};

// Returns the time of a byte on the line, with its start, data, parity and stop bits.
LineEstimate::Span ByteTime(const DeviceControlBlock& block);

} // namespace kor
