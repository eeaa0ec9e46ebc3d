#include "bench/paced_relay.h"

#include <algorithm>
#include <deque>
#include <span>
#include <stdexcept>

namespace kor::bench {
namespace {

constexpr auto kSpin = std::chrono::microseconds(80); // a sleep may end that much too late
constexpr auto kCheckStop = std::chrono::milliseconds(50);
constexpr std::size_t kSendBuffer = 4096; // what a serial driver takes before its writer must wait

struct Arrival {
  Clock::time_point due;
  std::uint8_t byte = 0;
};

std::unique_ptr<PseudoTerminal> Open(const std::string& link) {
  KorText error;
  auto terminal = OpenPseudoTerminal(KorText::FromUtf8(link), error);
  if (!terminal) throw std::runtime_error(error.ToUtf8());
  return terminal;
}

} // namespace

void WaitPrecisely(PseudoTerminal& terminal, Clock::time_point until, bool forInput) {
  if (Clock::now() + kSpin < until) {
    terminal.WaitUntil(until - kSpin, forInput, false);
    return; // the caller looks for input and comes again
  }
  while (Clock::now() < until) {
  }
}

PacedRelay::PacedRelay(const std::string& leftLink, const std::string& rightLink,
                       std::chrono::nanoseconds timePerByte)
    : left(Open(leftLink)), right(Open(rightLink)), byteTime(timePerByte) {
  // Reading one way and writing the other way use nothing in common within a terminal.
  threads[0] = std::thread([this] { Carry(*left, *right, counts[0]); });
  threads[1] = std::thread([this] { Carry(*right, *left, counts[1]); });
}

PacedRelay::~PacedRelay() {
  stopping = true;
  for (std::thread& thread : threads)
    thread.join();
}

void PacedRelay::Note(Clock::time_point moment) {
  const std::int64_t now = moment.time_since_epoch().count();
  std::int64_t none = 0;
  first.compare_exchange_strong(none, now);
  if (last < now) last = now;
}

void PacedRelay::StartCounting() {
  first = last = 0;
  counts[0] = counts[1] = 0;
}

double PacedRelay::ActiveSeconds() const {
  return std::chrono::duration<double>(std::chrono::nanoseconds(last - first)).count();
}

void PacedRelay::Carry(PseudoTerminal& from, PseudoTerminal& to,
                       std::atomic<std::uint64_t>& count) {
  std::deque<Arrival> travelling;
  Clock::time_point lineFree = Clock::now();
  std::array<std::uint8_t, 1024> piece{};
  while (!stopping) {
    const Clock::time_point now = Clock::now();
    std::size_t got = 0;
    const std::size_t room = kSendBuffer - std::min(kSendBuffer, travelling.size());
    from.Read(std::span(piece).first(std::min(room, piece.size())), got);
    if (got > 0) lineFree = std::max(lineFree, now);
    for (std::size_t i = 0; i < got; ++i) {
      lineFree += byteTime;
      travelling.push_back({lineFree, piece[i]});
    }
    while (!travelling.empty() && travelling.front().due <= Clock::now()) {
      std::size_t put = 0;
      to.Write(std::span(&travelling.front().byte, 1), put);
      if (put == 0) break;
      Note(Clock::now());
      ++count;
      travelling.pop_front();
    }
    WaitPrecisely(from, travelling.empty() ? now + kCheckStop : travelling.front().due, room > 0);
  }
}

} // namespace kor::bench
