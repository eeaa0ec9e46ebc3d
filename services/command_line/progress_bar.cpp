#include "services/command_line/progress_bar.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

namespace kor {
namespace {

using namespace std::chrono_literals;

constexpr ProgressBar::Time kRedrawTime = 100ms;
constexpr std::size_t kBarWidth = 24;

std::string Bar(double share) {
  const auto filled = static_cast<std::size_t>(share * static_cast<double>(kBarWidth));
  return "[" + std::string(filled, '#') + std::string(kBarWidth - filled, '-') + "]";
}

std::string Print(const char* format, double first, double second) {
  std::array<char, 80> buffer{};
  std::snprintf(buffer.data(), buffer.size(), format, first, second);
  return buffer.data();
}

} // namespace

void ProgressBar::Start(const std::string& name, std::optional<std::uint64_t> bytes, Time now) {
  label = name;
  total = bytes;
  started = now;
  drawn = now - kRedrawTime;
  width = 0;
}

void ProgressBar::Update(std::uint64_t bytes, Time now) {
  if (!isShown || now - drawn < kRedrawTime) return;
  drawn = now;
  const double seconds = std::chrono::duration<double>(now - started).count();
  const double rate = seconds > 0 ? static_cast<double>(bytes) / seconds : 0;
  std::string text = label + "  ";
  if (total && *total > 0) {
    const double share = std::min(1.0, static_cast<double>(bytes) / static_cast<double>(*total));
    const double left = rate > 0 ? static_cast<double>(*total) * (1 - share) / rate : 0;
    text += Bar(share) + Print(" %3.0f %% %5.0f s left", share * 100, left);
  }
  text += Print(" %9.1f KiB %8.2f KiB/s", static_cast<double>(bytes) / 1024, rate / 1024);
  to << '\r' << text << std::string(width > text.size() ? width - text.size() : 0, ' ')
     << std::flush;
  width = text.size();
}

void ProgressBar::Finish() {
  if (width > 0) to << '\r' << std::string(width, ' ') << '\r' << std::flush;
  width = 0;
}

} // namespace kor
