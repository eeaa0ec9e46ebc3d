// LinePort: the serial port that a name stands for, which is a device of this computer or a line
// over the network. Owned by the program's main; threads as SerialPort says.
#pragma once

#include "platform/net/net_serial_port.h"
#include "platform/serial_port.h"

namespace kor {

class LinePort : public SerialPort {
 public:
  bool Open(const KorText& name) override;
  bool IsOpen() const override { return active->IsOpen(); }
  bool SetQueueSizes(std::uint32_t input, std::uint32_t output) override {
    return active->SetQueueSizes(input, output);
  }
  bool GetControlBlock(DeviceControlBlock& block) override {
    return active->GetControlBlock(block);
  }
  bool BuildControlBlock(const KorText& text, DeviceControlBlock& block) override {
    return active->BuildControlBlock(text, block);
  }
  bool SetControlBlock(const DeviceControlBlock& block) override {
    return active->SetControlBlock(block);
  }
  bool SetTimeouts(const PortTimeouts& timeouts) override { return active->SetTimeouts(timeouts); }
  bool GetStatus(LineStatus& status) override { return active->GetStatus(status); }
  bool Read(std::span<std::uint8_t> to, std::size_t& readCount) override {
    return active->Read(to, readCount);
  }
  bool Write(std::span<const std::uint8_t> from, std::size_t& writtenCount) override {
    return active->Write(from, writtenCount);
  }
  bool PurgeTransmit() override { return active->PurgeTransmit(); }
  bool PurgeReceive() override { return active->PurgeReceive(); }
  bool Close() override { return active->Close(); }
  KorText LastErrorText() const override { return active->LastErrorText(); }
  bool IsGone() const override { return active->IsGone(); }
  PortTrouble Trouble() const override { return active->Trouble(); }
  void WaitReadable(std::chrono::microseconds atMost) override { active->WaitReadable(atMost); }
  void Interrupt() override; // both: which one waits is the other thread's

 private:
  PlatformSerialPort device;
  NetSerialPort network;
  SerialPort* active = &device; // the one last opened
};

} // namespace kor
