// Win32SerialPort: SerialPort on the system's communications functions, one to one. Owned by the program's
// main; threads as SerialPort says.
//
// Names are given to CreateFileW as they stand. COM10 and above are no device names there: when the
// system finds no such file the name is tried again as "\\.\COM10", so that the settings need not carry
// the prefix.
//
// Write waits while the line is held, at most for the write time-out; Interrupt ends it, and then the
// bytes that went out are not known: 0 is returned. (Wine can't cancel a write; there Interrupt gives up
// after 0.1 s and the time-out ends it.) It stays one call to the system, not many with short
// time-outs: drivers of USB adapters may miscount the bytes of a write that times out. WaitReadable looks every millisecond; while a port
// is open the system's timer runs at 1 ms.
//
// Error bits are the system's (CE_RXOVER 1, CE_OVERRUN 2, CE_RXPARITY 4, CE_FRAME 8, CE_BREAK 16).
#pragma once

#include <memory>

#include "link/serial_port.h"
#include "services/core/thread_annotations.h"

namespace kor {

class Win32SerialPort : public SerialPort {
 public:
  Win32SerialPort();
  ~Win32SerialPort() override;
  Win32SerialPort(const Win32SerialPort&) = delete;
  Win32SerialPort& operator=(const Win32SerialPort&) = delete;

  bool Open(const KorText& name) override;
  bool IsOpen() const override;
  bool SetQueueSizes(std::uint32_t input, std::uint32_t output) override;
  // The members of the system's block that DeviceControlBlock doesn't have are kept here, from the
  // last GetControlBlock or BuildControlBlock to SetControlBlock.
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
  KorText LastErrorText() const override;
  bool IsGone() const override;
  void WaitReadable(std::chrono::microseconds atMost) override;
  void Interrupt() override;

 private:
  struct State; // the system's types stay out of this header
  class WriterMark;

  bool Succeed(bool success); // keeps the system's error of a failed call; returns success
  bool HasInput();

  std::unique_ptr<State> state;
};

} // namespace kor
