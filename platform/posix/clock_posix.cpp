#include "platform/posix/clock_posix.h"

#include <chrono>
#include <ctime>
#include <thread>

#include "platform/posix/file_time_posix.h"

namespace kor {

namespace {

std::chrono::nanoseconds Monotonic() {
  return std::chrono::steady_clock::now().time_since_epoch();
}

} // namespace

PosixClock::PosixClock() {
  ::tzset(); // localtime_r may leave it out
}

FileTime PosixClock::Utc() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return kUnixEpoch + static_cast<FileTime>(now.tv_sec) * kTicksPerSecond +
         static_cast<FileTime>(now.tv_nsec / 100);
}

FileTime PosixClock::ToLocal(FileTime utc) {
  const auto ticks = static_cast<std::int64_t>(utc - kUnixEpoch);
  const time_t seconds = ticks / static_cast<std::int64_t>(kTicksPerSecond);
  tm local{};
  if (!::localtime_r(&seconds, &local)) return utc;
  return utc + static_cast<FileTime>(local.tm_gmtoff) * kTicksPerSecond;
}

std::uint32_t PosixClock::Ticks() {
  return static_cast<std::uint32_t>(Monotonic() / std::chrono::milliseconds(1));
}

double PosixClock::Seconds() {
  return std::chrono::duration<double>(Monotonic()).count();
}

void PosixClock::SleepMilliseconds(std::uint32_t milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

} // namespace kor
