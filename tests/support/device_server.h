// DeviceServer: a small device server for tests, on a real socket of this computer: bytes by RFC
// 2217, and whatever a server may do wrong. The test turns it; used by one thread.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "platform/net/line_socket.h"
#include "platform/net/telnet_stream.h"
#include "tests/support/tcp_port.h"

namespace kor {

// One connection at a time. It answers every setting, unless told otherwise.
class DeviceServer : public TelnetSink {
 public:
  static inline const std::uint16_t kPort = support::OwnTcpPort();
  using Clock = std::chrono::steady_clock;
  enum class Stop { Never, Cut, Hold };

  static std::string Command(std::uint8_t command, std::string_view value) {
    std::string out;
    AppendSubNegotiation(out, telnet::kComPort,
                         std::string(1, static_cast<char>(command)) += value);
    return out;
  }

  DeviceServer() { Listen(); }
  void Listen() {
    travelled = 0;
    wasUp = false;
    held.clear();
    unheard.clear();
    listener.Open({PortAddress::Scheme::Listen, "127.0.0.1", kPort}, Clock::now());
  }
  void Hang() { listener.Close(); }
  // When so many bytes have travelled, in both directions together.
  void StopAt(std::size_t bytes, Stop how) {
    stopAt = bytes;
    stop = how;
  }
  void Resume() {
    stop = Stop::Never;
    Say(std::exchange(held, {}));
  }
  bool IsStopped() const { return stop == Stop::Hold && !(held.empty() && unheard.empty()); }
  std::size_t Travelled() const { return travelled; }

  void Turn() {
    const bool isUp = listener.Pump(Clock::now()) == LineSocket::State::Up;
    if (isUp && !wasUp) decoder = {};
    wasUp = isUp;
    if (!isUp || !reads) return;
    unheard += std::exchange(listener.Received(), {});
    const std::size_t count = Room(unheard.size());
    const std::string bytes = unheard.substr(0, count);
    unheard.erase(0, count);
    travelled += count;
    decoder.Decode({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}, *this);
    if (!unheard.empty() && stop == Stop::Cut) Hang();
  }
  void Say(std::string_view bytes) {
    const std::size_t count = Room(bytes.size());
    travelled += count;
    listener.Send(bytes.substr(0, count));
    if (count == bytes.size()) return;
    held += bytes.substr(count);
    if (stop == Stop::Cut) Hang();
  }
  void SayModemState(int state) { Say(Command(107, std::string(1, static_cast<char>(state)))); }

  void OnData(std::span<const std::uint8_t> bytes) override {
    data.append(bytes.begin(), bytes.end());
    if (!echoes) return;
    std::string out;
    AppendEscaped(out, bytes);
    Say(out);
  }
  void OnNegotiation(std::uint8_t verb, std::uint8_t option) override {
    const auto answer = [option](char with) {
      return std::string("\xFF") + with + static_cast<char>(option);
    };
    if (verb == telnet::kWill && greets) Say(answer('\xFD'));
    if (verb == telnet::kDo) Say(answer('\xFB'));
  }
  void OnSubNegotiation(std::uint8_t, std::string_view payload) override {
    const auto command = static_cast<std::uint8_t>(payload[0]);
    if (command == 5) controls += payload[1];
    const bool lies = command == 1 && !rate.empty();
    Say(Command(static_cast<std::uint8_t>(command + 100), lies ? rate : payload.substr(1)));
    if (!hangsUp) return;
    Say(lastWords);
    Hang();
  }

  std::string data, controls;
  std::string rate;      // what it answers to SET-BAUDRATE instead
  std::string lastWords; // before it hangs up
  bool greets = true;
  bool reads = true;
  bool echoes = false;
  bool hangsUp = false; // at the first setting

 private:
  std::size_t Room(std::size_t wanted) const {
    return stop == Stop::Never ? wanted : std::min(wanted, stopAt - std::min(stopAt, travelled));
  }

  LineSocket listener;
  TelnetDecoder decoder;
  bool wasUp = false;
  Stop stop = Stop::Never;
  std::size_t stopAt = 0, travelled = 0;
  std::string held, unheard; // beyond the stop
};

} // namespace kor
