// NetSerialPort: SerialPort on a serial device server, under the names of platform/port_address.h.
// Owned by the program's main through LinePort; threads as SerialPort says.
//
// Opening and setting up take several calls. Until the server has answered they fail with
// PortTrouble::NotYet; call them again with the same arguments when WaitReadable returns. A setting
// that the server doesn't answer costs one warning. When the server has set another rate or format,
// setting up has failed.
//
// What a server has been handed goes out even when the line is held on this side, so it gets only a
// little more than the line has carried (line_estimate.h). That estimate is the count of unsent
// bytes. After a Write was cut short the count is 0 as soon as the next piece may go, or the line
// would idle between the pieces.
//
// The server's XOFF handling stays off: the bytes 17 and 19 come through, and this class obeys
// them.
#pragma once

#include <memory>
#include <optional>
#include <set>

#include "link/port/serial_port.h"
#include "platform/net/com_port_client.h"
#include "platform/net/line_estimate.h"
#include "platform/net/line_socket.h"
#include "platform/port_address.h"
#include "services/core/user_texts.h"

namespace kor {

class NetSerialPort : public SerialPort {
 public:
  NetSerialPort() = default;
  ~NetSerialPort() override;
  NetSerialPort(const NetSerialPort&) = delete;
  NetSerialPort& operator=(const NetSerialPort&) = delete;

  bool Open(const KorText& address) override;
  bool IsOpen() const override { return stage == Stage::Greeted || stage == Stage::Serving; }
  bool SetQueueSizes(std::uint32_t input, std::uint32_t output) override;
  bool GetControlBlock(DeviceControlBlock& block) override;
  bool BuildControlBlock(const KorText& text, DeviceControlBlock& block) override;
  bool SetControlBlock(const DeviceControlBlock& block) override;
  bool SetTimeouts(const PortTimeouts& timeouts) override;
  bool GetStatus(LineStatus& status) override;
  bool Read(std::span<std::uint8_t> to, std::size_t& readCount) override;
  bool Write(std::span<const std::uint8_t> from, std::size_t& writtenCount) override;
  bool PurgeTransmit() override;
  bool PurgeReceive() override;
  bool Close() override;
  KorText LastErrorText() const override { return errorText; }
  bool IsGone() const override { return trouble == PortTrouble::NoServer; }
  PortTrouble Trouble() const override { return trouble; }
  void WaitReadable(std::chrono::microseconds atMost) override;
  void Interrupt() override { socket.Interrupt(); }

  // Asks the server of an open port what it calls itself, and waits up to a second for the answer.
  // Empty when it doesn't tell.
  KorText AskSignature();

 private:
  enum class Stage {
    Closed,
    Connecting,
    Greeting, // connected, and the server is asked whether it speaks the protocol, or may refuse
    Greeted,
    Setting, // the line's settings are with the server
    Serving
  };
  using Time = std::chrono::steady_clock::time_point;
  using Scheme = PortAddress::Scheme;

  static Time Now() { return std::chrono::steady_clock::now(); }
  bool Fail(PortTrouble kind, const KorText& text);
  void EndAsTheSocket();
  bool FailNotOpen();
  bool NotYet();
  bool Begin(const KorText& text);
  bool IsReady() const { return stage >= Stage::Greeted; }
  bool IsComPort() const { return address.scheme == Scheme::Rfc2217; }
  bool IsPaced() const { return address.scheme != Scheme::Listen; }
  // Does what has become due. False when the connection has ended; the error is set then.
  bool Pump(Time now);
  bool TakeReceived(Time now);
  void MoveOn(Time now); // to the next stage, where it is time
  void Flush();
  void Warn(const UserText& warning, const KorText& detail);
  void WarnOfSettings();
  std::uint32_t Holds() const;
  std::size_t Room(Time now);
  std::uint32_t OutQueue(Time now);
  void WatchXoff(std::span<const std::uint8_t> bytes);
  void LookForTheEnd(Time now);
  void End(PortTrouble kind, const KorText& text);

  LineSocket socket;
  LineClaim claim;
  std::shared_ptr<void> timers;          // holds them precise while the port is open
  std::unique_ptr<ComPortClient> client; // of this connection; Rfc2217 only
  LineEstimate estimate;
  Stage stage = Stage::Closed;
  KorText name; // as given to Open
  PortAddress address;
  DeviceControlBlock current; // as last set or asked for
  std::string received;
  std::string greetingText; // what a server says before the line serves, such as that it is busy
  bool isSilent = true;     // this connection has brought nothing yet
  bool xoffReceived = false;
  bool cutShort = false; // the last Write found no room for everything
  struct Ending {
    PortTrouble kind;
    KorText text;
  };
  std::optional<Ending> ending; // of the connection; every operation fails with it
  Time settled{};               // of a raw line's greeting
  Time silenceLooked{};
  PortTrouble trouble = PortTrouble::Other;
  KorText errorText;
  std::set<KorText> warned;
};

} // namespace kor
