// HostLine: a cable from a controller's session to the real host in the same process, on the host's
// clock, which is moved by hand. One byte of one direction, chosen by its place, may be spoiled.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "tests/support/nce_link.h"
#include "tools/nce_controller/line.h"

namespace kor::controller {

class HostLine : public Line {
 public:
  explicit HostLine(NceLink& toReach) : host(toReach) {}

  Time Now() override {
    return Time(static_cast<Time::rep>(host.app.HighResolutionSeconds() * 1e9 + 0.5));
  }
  LineState Read(std::string& to, Time until) override {
    if (arrived.empty() && until > Now()) {
      Advance(until - Now());
      Exchange({});
    }
    to += arrived;
    arrived.clear();
    return LineState::Open;
  }
  LineState Write(std::string_view bytes, Time, std::size_t& written) override {
    written = bytes.size();
    Exchange(Spoil(bytes, true));
    return LineState::Open;
  }
  void Abandon() override {}
  LineCounts Counts() const override { return counts; }
  std::string FailureText() const override { return {}; }

  static constexpr Time kByteTime = std::chrono::microseconds(87); // 115200 baud
  // Does the damage to the byte at a place of what passes.
  std::function<void(std::string&, std::size_t)> spoil;
  bool isToHost = true;
  std::uint64_t place = 0; // of the byte, counted from the start

 private:
  void Advance(Time span) {
    host.app.Advance(std::chrono::duration<double>(span + Time(1)).count());
  }
  void Exchange(const std::string& bytes) {
    const std::string answer = Spoil(host.Send(bytes), false);
    arrived += answer;
    Advance(static_cast<Time::rep>(bytes.size() + answer.size()) * kByteTime);
  }
  std::string Spoil(std::string_view bytes, bool towardsHost) {
    std::uint64_t& passed = towardsHost ? counts.toHost : counts.fromHost;
    std::string result(bytes);
    if (spoil && towardsHost == isToHost && place >= passed && place < passed + bytes.size())
      spoil(result, static_cast<std::size_t>(place - passed));
    passed += bytes.size();
    return result;
  }

  NceLink& host;
  std::string arrived;
  LineCounts counts;
};

} // namespace kor::controller
