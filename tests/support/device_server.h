// DeviceServer: a small device server for tests, on a real socket of this computer: bytes by RFC
// 2217, and whatever a server may do wrong. The test turns it; used by one thread.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform/net/line_socket.h"
#include "platform/net/telnet_stream.h"
#include "services/core/as_bytes.h"
#include "tests/support/tcp_port.h"

namespace kor {

// One connection at a time. It answers every setting, unless told otherwise.
class DeviceServer : public TelnetSink {
 public:
  static inline const std::uint16_t kPort = support::OwnTcpPort();
  using Clock = std::chrono::steady_clock;

  static std::string Command(std::uint8_t command, std::string_view value) {
    std::string out;
    AppendSubNegotiation(out, telnet::kComPort,
                         std::string(1, static_cast<char>(command)) += value);
    return out;
  }

  DeviceServer() { Listen(); }
  void Listen() {
    wasUp = false;
    listener.Open({PortAddress::Scheme::Listen, "127.0.0.1", kPort}, Clock::now());
  }
  void Hang() { listener.Close(); }
  void Turn() {
    const bool isUp = listener.Pump(Clock::now()) == LineSocket::State::Up;
    if (isUp && !wasUp) decoder = {};
    wasUp = isUp;
    if (isUp && reads) Hear(std::exchange(listener.Received(), {}));
  }
  virtual void Hear(const std::string& bytes) { decoder.Decode(AsBytes(bytes), *this); }
  virtual void Say(std::string_view bytes) { listener.Send(bytes); }
  void SayModemState(int state) { Say(Command(107, std::string(1, static_cast<char>(state)))); }

  void OnData(std::span<const std::uint8_t> bytes) override {
    data.append(bytes.begin(), bytes.end());
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
  bool hangsUp = false; // at the first setting

 private:
  LineSocket listener;
  TelnetDecoder decoder;
  bool wasUp = false;
};

} // namespace kor
