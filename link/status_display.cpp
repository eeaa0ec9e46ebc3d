#include "link/status_display.h"

#include <utility>

#include "services/core/app_interface.h"

namespace kor {

namespace {

constexpr const char16_t* kTimer = u"DownloadApp::DisplayStatus";
constexpr double kPeriod = 0.1; // seconds

} // namespace

void StatusDisplay::Begin(std::function<void()> show) {
  timers.Create(kTimer, kPeriod, App().HighResolutionSeconds(), TimerState::Started,
                std::move(show));
}

void StatusDisplay::End() {
  timers.Delete(kTimer);
}

void StatusDisplay::Keep() {
  if (board.IsChanged() && !running.exchange(true))
    timers.Start(kTimer, App().HighResolutionSeconds());
}

void StatusDisplay::Rest() {
  timers.Stop(kTimer);
  running = false;
  Keep(); // of what has changed since
}

void StatusDisplay::Pause() {
  timers.Stop(kTimer);
}

void StatusDisplay::Resume() {
  running = true;
  timers.Start(kTimer, App().HighResolutionSeconds());
}

} // namespace kor
