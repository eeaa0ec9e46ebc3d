#include "tools/nce_controller/fault_line.h"

#include <algorithm>
#include <chrono>

namespace kor::controller {

double Chance::Fraction() {
  return static_cast<double>(numbers.Next() >> 11) / static_cast<double>(1ULL << 53);
}

FaultLine::FaultLine(Line& toSpoil, double chance, std::uint64_t seed)
    : inner(toSpoil), rate(chance), chanceIn(seed), chanceOut(~seed) {}

FaultLine::Fate FaultLine::Decide(char byte, Chance& chance, FaultCounts& counts) const {
  Fate fate;
  fate.bytes[0] = byte;
  if (chance.Fraction() >= rate) return fate;
  switch (chance.Below(4)) {
  case 0:
    fate.bytes[0] = static_cast<char>(static_cast<unsigned char>(byte) ^ (1 + chance.Below(255)));
    ++counts.damaged;
    break;
  case 1:
    fate.count = 0;
    ++counts.dropped;
    break;
  case 2:
    fate.bytes[1] = byte;
    fate.count = 2;
    ++counts.doubled;
    break;
  default:
    fate.delay = std::chrono::microseconds(1 + chance.Below(50'000));
    ++counts.delayed;
  }
  return fate;
}

LineState FaultLine::Read(std::string& to, Time until) {
  for (;;) {
    const Time wake = arrivals.empty() ? until : std::min(until, arrivals.front().due);
    const LineState state = Fill(wake);
    const Time now = inner.Now();
    const std::size_t before = to.size();
    for (; !arrivals.empty() && arrivals.front().due <= now; arrivals.pop_front())
      to += arrivals.front().byte;
    if (to.size() > before || state != LineState::Open || now >= until) return state;
  }
}

LineState FaultLine::Fill(Time until) {
  std::string raw;
  const LineState state = inner.Read(raw, until);
  const Time now = inner.Now();
  for (const char byte : raw) {
    const Fate fate = Decide(byte, chanceIn, fromHost);
    const Time earliest = arrivals.empty() ? now : std::max(now, arrivals.back().due);
    for (std::size_t at = 0; at < fate.count; ++at)
      arrivals.push_back({fate.bytes[at], earliest + fate.delay});
  }
  return state;
}

LineState FaultLine::Write(std::string_view bytes, Time until, std::size_t& written) {
  written = 0;
  std::string piece;
  std::size_t pieceSource = 0; // bytes of the caller that piece stands for
  const auto send = [&]() {
    std::size_t sent = 0;
    const LineState state = inner.Write(piece, until, sent);
    if (sent == piece.size()) written += pieceSource;
    piece.clear();
    pieceSource = 0;
    return state;
  };
  for (const char byte : bytes) {
    const Fate fate = Decide(byte, chanceOut, toHost);
    if (fate.delay > Time::zero()) {
      LineState state = send();
      if (state == LineState::Open) state = Delay(inner.Now() + fate.delay);
      if (state != LineState::Open) return state;
    }
    piece.append(fate.bytes.data(), fate.count);
    ++pieceSource;
  }
  return send();
}

LineState FaultLine::Delay(Time until) {
  LineState state = LineState::Open;
  while (state == LineState::Open && inner.Now() < until)
    state = Fill(until);
  return state;
}

} // namespace kor::controller
