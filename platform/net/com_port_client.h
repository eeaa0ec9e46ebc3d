// ComPortClient: the client's side of RFC 2217 on one connection, without the sockets. It offers
// the options, has the server set up its port, and keeps what the server reports: answers, modem
// lines, line errors, and a request to stop sending.
//
// Holds plain state and uses the caller's clock; used by one thread.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "link/port/serial_port.h"
#include "platform/net/telnet_stream.h"

namespace kor {

class ComPortClient : private TelnetSink {
 public:
  using Time = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::seconds kPatience{1}; // for all answers of one asking

  enum class Answer {
    Awaited,
    Given,
    Refused // the server doesn't speak the protocol, or has set something else
  };

  void Start(Time now); // offers the options
  // Takes bytes from the server. False when they are no telnet stream.
  bool Receive(std::span<const std::uint8_t> bytes, Time now);
  void Send(std::span<const std::uint8_t> bytes) { AppendEscaped(out, bytes); }
  std::string TakeOutput() { return std::exchange(out, {}); }
  std::string& Data() { return data; } // received, for the caller to take

  Answer Greeting(Time now) const;

  // Holds() reports what the server doesn't do by itself, such as to obey two lines at once.
  void SetLine(const DeviceControlBlock& block, Time now);
  Answer LineAnswer(Time now) const;
  KorText Difference() const { return difference; } // of a refused line: both values
  // Once the answer is given, these tell which commands of SetLine the server has left unanswered,
  // by their names, and whether it can't obey all lines that the block names.
  KorText Unanswered() const;
  bool ObeysLess() const { return obeysLess; }

  void PurgeTransmit();
  void PurgeReceive(Time now); // what arrives before its answer is dropped

  void AskSignature();
  const std::optional<std::string>& Signature() const { return signature; }

  std::uint32_t Holds() const; // HoldBit values under the block set
  LineErrors TakeErrors() { return std::exchange(errors, {}); }
  // Returns the moment at which an awaited answer counts as missing, or std::nullopt when none is
  // awaited.
  std::optional<Time> Deadline(Time now) const;

 private:
  struct Awaited {
    std::uint8_t command = 0;
    std::uint32_t value = 0;
  };

  void OnData(std::span<const std::uint8_t> bytes) override;
  void OnNegotiation(std::uint8_t verb, std::uint8_t option) override;
  void OnSubNegotiation(std::uint8_t option, std::string_view payload) override;
  void OnAnswer(std::uint8_t command, std::string_view value);
  void OnSignature(std::string_view value);
  bool IsDsrOff() const; // as far as the server tells its lines
  void OnLineState(std::uint8_t state);
  void OnModemState(std::uint8_t state);
  void Command(std::uint8_t command, std::string_view value);
  void Await(std::uint8_t command, std::uint32_t value);
  void Check(const Awaited& asked, std::uint32_t set);

  std::string out, data;
  TelnetDecoder decoder;
  TelnetOptions options{out};
  DeviceControlBlock line;
  std::vector<Awaited> awaited; // of SetLine
  KorText difference;
  bool obeysLess = false;
  Time greetingEnd{}, lineEnd{}, purgeEnd{};
  bool purging = false;
  std::optional<std::uint8_t> modemState; // as last told
  bool carrierSeen = false;
  bool suspended = false;
  LineErrors errors;
  std::optional<std::string> signature;
  bool hasSigned = false;
};

} // namespace kor
