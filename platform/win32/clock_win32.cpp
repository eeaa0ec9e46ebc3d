#include "platform/win32/clock_win32.h"

#include "platform/win32/system_time_win32.h"
#include "services/core/app_interface.h"

namespace kor {

namespace {

constexpr FileTime kTicksPerMillisecond = 10000;

SystemTime FromSystem(const SYSTEMTIME& time) {
  return {time.wYear,   time.wMonth,  time.wDay,          time.wHour,
          time.wMinute, time.wSecond, time.wMilliseconds, time.wDayOfWeek};
}

} // namespace

FileTime Win32Clock::Utc() {
  FILETIME now{};
  GetSystemTimePreciseAsFileTime(&now);
  return (static_cast<FileTime>(now.dwHighDateTime) << 32) | now.dwLowDateTime;
}

// With the daylight saving that held at that time. What is finer than milliseconds stays as it is.
FileTime Win32Clock::ToLocal(FileTime utc) {
  const SYSTEMTIME universal = ToSystem(AppInterface::FileTimeToSystemTime(utc));
  SYSTEMTIME local{};
  if (!SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local)) return utc;
  return AppInterface::SystemTimeToFileTime(FromSystem(local)) + utc % kTicksPerMillisecond;
}

std::uint32_t Win32Clock::Ticks() {
  return GetTickCount();
}

double Win32Clock::Seconds() {
  static const double frequency = [] {
    LARGE_INTEGER perSecond{};
    QueryPerformanceFrequency(&perSecond);
    return static_cast<double>(perSecond.QuadPart);
  }();
  LARGE_INTEGER count{};
  QueryPerformanceCounter(&count);
  return static_cast<double>(count.QuadPart) / frequency;
}

void Win32Clock::SleepMilliseconds(std::uint32_t milliseconds) {
  Sleep(milliseconds);
}

} // namespace kor
