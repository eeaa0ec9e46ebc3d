// FakeClock: a clock that is moved by hand; it starts on the first of January 2026 and sleeps by
// moving on. Any thread.
#pragma once

#include <atomic>
#include <cmath>

#include "services/core/app_interface.h"

namespace kor {

class FakeClock : public OsClock {
 public:
  void Advance(double seconds) { // every clock; negative: back
    monotonicNanoseconds += std::llround(seconds * 1e9);
    wallClock += static_cast<FileTime>(std::llround(seconds * 1e7));
  }
  void SetUtc(FileTime utc) { wallClock = utc; }
  void SetUtc(const SystemTime& utc) { wallClock = AppInterface::SystemTimeToFileTime(utc); }
  void SetZoneMinutes(int minutes) { zoneMinutes = minutes; } // east of UTC; 0 at start

  FileTime Utc() override { return wallClock; }
  FileTime ToLocal(FileTime utc) override {
    return utc + static_cast<FileTime>(std::int64_t{zoneMinutes} * 60 * 10'000'000);
  }
  double Seconds() override { return static_cast<double>(monotonicNanoseconds) / 1e9; }
  std::uint32_t Ticks() override {
    return static_cast<std::uint32_t>(monotonicNanoseconds / 1'000'000);
  }
  void SleepMilliseconds(std::uint32_t milliseconds) override { Advance(milliseconds / 1000.0); }

 private:
  std::atomic<FileTime> wallClock = AppInterface::SystemTimeToFileTime({.year = 2026});
  std::atomic<std::int64_t> monotonicNanoseconds = 1'000'000'000;
  std::atomic<int> zoneMinutes = 0;
};

} // namespace kor
