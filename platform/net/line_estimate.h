// LineEstimate: how much of what a server was handed is still on its way over the serial line
// behind it, reckoned from the rate, since no server tells. It also says how much may be handed
// over now: little, because what a server has leaves it whatever holds the line on this side.
//
// Plain state on the caller's clock; used by one thread.
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
  // Of bytes just handed over. more: the sender has some that found no room.
  void Add(std::size_t count, bool more, Time now);
  void SetHeld(bool isHeld, Time now); // the line stands still meanwhile
  // Bytes that may be handed over: what fits into the lead and the jitter, at least one, and none
  // until half of the lead is through.
  std::size_t Room(Time now);
  std::size_t Backlog(Time now); // bytes that have not left yet
  // How late this program was to hand over more, at worst, lately: the line idled meanwhile.
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

// Start, data, parity and stop bits of a byte.
LineEstimate::Span ByteTime(const DeviceControlBlock& block);

} // namespace kor
