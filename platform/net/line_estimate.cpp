#include "platform/net/line_estimate.h"

#include <algorithm>

namespace kor {

LineEstimate::Span ByteTime(const DeviceControlBlock& block) {
  const auto parityBits = block.parity == Parity::None ? 0 : 1;
  const auto stopHalves = 2 + static_cast<int>(block.stopBits);
  const std::int64_t halfBits = 2 * (1 + block.dataBits + parityBits) + stopHalves;
  return LineEstimate::Span(halfBits * 500'000'000 / std::max<std::int64_t>(block.baudRate, 1));
}

void LineEstimate::SetLine(const DeviceControlBlock& block) {
  byteTime = ByteTime(block);
}

void LineEstimate::Clear(Time now) {
  ahead = {};
  asOf = now;
  wantsMore = false;
}

void LineEstimate::Advance(Time now) {
  const Span passed = std::max(std::chrono::duration_cast<Span>(now - asOf), Span::zero());
  asOf = std::max(asOf, now);
  if (held) return;
  if (wantsMore && passed > ahead) {
    jitter = std::clamp(passed - ahead, jitter, kMostJitter);
    wantsMore = false; // the same delay isn't measured twice
  }
  ahead = std::max(ahead - passed, Span::zero());
}

void LineEstimate::Add(std::size_t count, bool more, Time now) {
  Advance(now);
  ahead += static_cast<std::int64_t>(count) * byteTime;
  wantsMore = more && !held;
  jitter -= jitter / 64;
}

void LineEstimate::SetHeld(bool isHeld, Time now) {
  if (isHeld == held) return;
  Advance(now);
  held = isHeld;
  wantsMore = false;
}

std::size_t LineEstimate::Room(Time now) {
  Advance(now);
  if (ahead > kLead / 2 + jitter) return 0;
  return std::max<std::size_t>(static_cast<std::size_t>((kLead + jitter - ahead) / byteTime), 1);
}

std::size_t LineEstimate::Backlog(Time now) {
  Advance(now);
  return static_cast<std::size_t>((ahead + byteTime - Span(1)) / byteTime);
}

} // namespace kor
