#include "tools/nce_controller/device_line.h"

#include <algorithm>
#include <array>

#include "services/core/as_bytes.h"

namespace kor::controller {
namespace {

using namespace std::chrono_literals;

constexpr Time kStopCheck = 100ms;
constexpr Time kGroupTime = 1ms;
constexpr std::size_t kLargestGroup = 4096;
constexpr std::size_t kVisibleLimit = 1U << 16;
// How late this program may run and still count a moment as kept. What waits at the device by then
// is taken to have followed without a gap, and an answer to have been given at once.
constexpr Time kLateWakeUp = 5ms;

std::size_t GroupSize(const LineSettings& settings) {
  const auto byteTime = settings.BytesTime(1);
  return std::clamp<std::size_t>(static_cast<std::size_t>(kGroupTime / byteTime), 1, kLargestGroup);
}

} // namespace

Time DeviceLine::Lane::Pass(Time ready, std::size_t count) {
  if (ready > FreeAt()) {
    runStart = ready;
    runBytes = 0;
  }
  runBytes += count;
  return FreeAt();
}

DeviceLine::DeviceLine(ByteDevice& toUse, const LineSettings& settings, bool isPaced,
                       const std::atomic<bool>& stop)
    : device(toUse), pacing(settings), stopWanted(stop),
      groupSize(isPaced ? GroupSize(settings) : kLargestGroup), inLane(isPaced ? &pacing : nullptr),
      outLane(isPaced ? &pacing : nullptr) {}

LineState DeviceLine::Read(std::string& to, Time until) {
  for (;;) {
    if (stopWanted) return LineState::Stopped;
    const bool isGood = Advance();
    if (!visible.empty()) {
      to += visible;
      visible.clear();
      return LineState::Open;
    }
    if (!isGood) return LineState::Gone;
    const Time now = device.Now();
    if (now >= until) return LineState::Open;
    Wait(now, until);
  }
}

LineState DeviceLine::Write(std::string_view bytes, Time until, std::size_t& written) {
  const std::uint64_t before = counts.toHost;
  outQueue = bytes;
  isOutRunning = false;
  LineState state = LineState::Open;
  for (;;) {
    if (stopWanted)
      state = LineState::Stopped;
    else if (!Advance())
      state = LineState::Gone;
    if (state != LineState::Open || (outQueue.empty() && outFlight.empty())) break;
    const Time now = device.Now();
    if (now >= until) break;
    Wait(now, until);
  }
  outQueue.clear();
  outFlight.clear();
  written = static_cast<std::size_t>(counts.toHost - before);
  return state;
}

bool DeviceLine::Advance() {
  const Time now = device.Now();
  return TakeInput(now) && SendOutput(now);
}

bool DeviceLine::TakeInput(Time now) {
  while (visible.size() < kVisibleLimit) {
    if (!inFlight.empty()) {
      if (now < inDue) return true;
      visible += inFlight;
      counts.fromHost += inFlight.size();
      inFlight.clear();
      lastVisible = inDue;
      isInRunning = now - inDue < kLateWakeUp;
    }
    std::array<std::uint8_t, kLargestGroup> buffer;
    std::size_t count = 0;
    if (!device.Read(std::span(buffer).first(groupSize), count)) return false;
    if (count == 0) {
      isInRunning = false;
      return true;
    }
    inFlight.assign(reinterpret_cast<const char*>(buffer.data()), count);
    inDue = inLane.Pass(isInRunning ? inLane.FreeAt() : now, count);
  }
  return true;
}

bool DeviceLine::SendOutput(Time now) {
  while (!outFlight.empty() || !outQueue.empty()) {
    if (outFlight.empty()) {
      outFlight = outQueue.substr(0, groupSize);
      outQueue.erase(0, outFlight.size());
      outDue = outLane.Pass(isOutRunning ? outLane.FreeAt() : OutputReady(now), outFlight.size());
      isOutRunning = true;
    }
    if (now < outDue) return true;
    std::size_t count = 0;
    if (!device.Write(AsBytes(outFlight), count)) return false;
    counts.toHost += count;
    outFlight.erase(0, count);
    isOutBlocked = !outFlight.empty();
    if (isOutBlocked) {
      isOutRunning = false;
      return true;
    }
  }
  return true;
}

// A controller answers at the moment its line brought the last bit, and goes on at the moment its
// own last bit left, not when this computer's scheduler has woken the program for it.
Time DeviceLine::OutputReady(Time now) const {
  const Time earliest = now - kLateWakeUp;
  const Time last = std::max(lastVisible, outLane.FreeAt());
  return last > earliest ? std::min(last, now) : now;
}

void DeviceLine::Wait(Time now, Time until) {
  Time next = std::min(until, now + kStopCheck);
  if (!inFlight.empty()) next = std::min(next, inDue);
  const bool isOutput = !outFlight.empty();
  if (isOutput && !isOutBlocked) next = std::min(next, outDue);
  device.WaitUntil(next, inFlight.empty(), isOutput && isOutBlocked);
}

} // namespace kor::controller
