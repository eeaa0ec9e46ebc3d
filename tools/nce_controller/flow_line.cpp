#include "tools/nce_controller/flow_line.h"

#include "link/port/serial_port.h"

namespace kor::controller {
namespace {

constexpr std::size_t kPiece = 16;

} // namespace

LineState FlowLine::Take(Time until) {
  std::string raw;
  const LineState state = inner.Read(raw, until);
  for (const char byte : raw) {
    const auto code = static_cast<std::uint8_t>(byte);
    if (code == kXoff || code == kXon)
      isHeld = code == kXoff;
    else
      pending += byte;
  }
  return state;
}

LineState FlowLine::Read(std::string& to, Time until) {
  LineState state = LineState::Open;
  while (pending.empty() && state == LineState::Open) {
    state = Take(until);
    if (inner.Now() >= until) break;
  }
  to += pending;
  pending.clear();
  return state;
}

LineState FlowLine::Write(std::string_view bytes, Time until, std::size_t& written) {
  written = 0;
  LineState state = LineState::Open;
  while (written < bytes.size()) {
    state = Take(isHeld ? until : Time::min());
    if (state != LineState::Open) return state;
    if (isHeld) {
      if (inner.Now() < until) continue;
      isHeld = false;
      return state;
    }
    std::size_t sent = 0;
    const std::string_view piece = bytes.substr(written, kPiece);
    state = inner.Write(piece, until, sent);
    written += sent;
    if (state != LineState::Open || sent < piece.size()) return state;
  }
  return state;
}

} // namespace kor::controller
