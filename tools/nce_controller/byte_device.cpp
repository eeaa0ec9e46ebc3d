#include "tools/nce_controller/byte_device.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "link/port/serial_port.h"
#include "platform/terminals.h"

namespace kor::controller {
namespace {

using Clock = std::chrono::steady_clock;

Time ClockNow() {
  return std::chrono::duration_cast<Time>(Clock::now().time_since_epoch());
}

class PortDevice : public ByteDevice {
 public:
  explicit PortDevice(std::unique_ptr<SerialPort> toUse) : port(std::move(toUse)) {}
  ~PortDevice() override {
    if (port->IsOpen()) port->Close();
  }

  bool Open(const KorText& name, const LineSettings& settings, std::string& error) {
    if (Finish([&] { return port->Open(name); }) && SetUp(settings)) return true;
    error = name.ToUtf8() + ": " + FailureText();
    return false;
  }

  Time Now() override { return ClockNow(); }
  bool Read(std::span<std::uint8_t> to, std::size_t& readCount) override {
    return port->Read(to, readCount);
  }
  bool Write(std::span<const std::uint8_t> from, std::size_t& writtenCount) override {
    return port->Write(from, writtenCount);
  }
  // A port can't be asked to wait until it takes more bytes; its queue moves on within 1 ms.
  void WaitUntil(Time until, bool, bool forOutput) override {
    auto wait = std::chrono::duration_cast<std::chrono::microseconds>(until - Now());
    if (forOutput) wait = std::min(wait, std::chrono::microseconds(1000));
    if (wait.count() > 0) port->WaitReadable(wait);
  }
  void Abandon() override { port->PurgeTransmit(); }
  std::string FailureText() const override { return port->LastErrorText().ToUtf8(); }

 private:
  // A line over the network takes its time for some operations.
  bool Finish(const std::function<bool()>& operation) {
    while (!operation()) {
      if (port->Trouble() != PortTrouble::NotYet) return false;
      port->WaitReadable(std::chrono::milliseconds(100));
    }
    return true;
  }

  bool SetUp(const LineSettings& settings) {
    DeviceControlBlock block;
    if (!port->SetQueueSizes(4000, 4000) || !port->GetControlBlock(block)) return false;
    const bool hardware = settings.flow == FlowControl::Hardware;
    const bool software = settings.flow == FlowControl::XonXoff;
    block.baudRate = settings.baud;
    block.dataBits = settings.dataBits;
    block.parity = settings.parity;
    block.stopBits = settings.stopBits;
    block.outxCtsFlow = hardware;
    block.outxDsrFlow = false;
    block.dsrSensitivity = false;
    block.dtrControl = LineControl::Enable;
    block.rtsControl = hardware ? LineControl::Handshake : LineControl::Enable;
    block.outX = software;
    block.inX = software;
    PortTimeouts timeouts;
    timeouts.writeConstant = 1000;
    return Finish([&] { return port->SetControlBlock(block); }) && port->SetTimeouts(timeouts) &&
           port->PurgeTransmit() && port->PurgeReceive();
  }

  std::unique_ptr<SerialPort> port;
};

class PseudoTerminalDevice : public ByteDevice {
 public:
  explicit PseudoTerminalDevice(std::unique_ptr<PseudoTerminal> toUse)
      : terminal(std::move(toUse)) {}

  Time Now() override { return ClockNow(); }
  bool Read(std::span<std::uint8_t> to, std::size_t& readCount) override {
    return terminal->Read(to, readCount);
  }
  bool Write(std::span<const std::uint8_t> from, std::size_t& writtenCount) override {
    return terminal->Write(from, writtenCount);
  }
  void WaitUntil(Time until, bool forInput, bool forOutput) override {
    const Clock::time_point moment{std::chrono::duration_cast<Clock::duration>(until)};
    terminal->WaitUntil(moment, forInput, forOutput);
  }
  void Abandon() override { terminal->Abandon(); }
  std::string FailureText() const override { return terminal->LastErrorText().ToUtf8(); }

 private:
  std::unique_ptr<PseudoTerminal> terminal;
};

} // namespace

std::unique_ptr<ByteDevice> OpenPortDevice(std::unique_ptr<SerialPort> port, const KorText& name,
                                           const LineSettings& settings, std::string& error) {
  auto device = std::make_unique<PortDevice>(std::move(port));
  if (!device->Open(name, settings, error)) return nullptr;
  return device;
}

std::unique_ptr<ByteDevice> MakePseudoTerminalDevice(std::unique_ptr<PseudoTerminal> terminal) {
  return std::make_unique<PseudoTerminalDevice>(std::move(terminal));
}

} // namespace kor::controller
