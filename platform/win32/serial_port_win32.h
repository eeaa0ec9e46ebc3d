// Win32SerialPort: SerialPort on the system's communications functions, one to one. Owned by the program's
// main; threads as SerialPort says.
//
// Names are given to CreateFileW as they stand. COM10 and above are no device names there: when the
// system finds no such file the name is tried again as "\\.\COM10", so that the settings need not carry
// the prefix.
//
// Write hands the system about 50 ms of line time at once and ends, with an exact count, when the line is
// held, when a piece stalls for half a second, when Interrupt is called or when the write time-out has
// passed. The system is given no longer time-out than that half second: a write that waits in there
// can only be cancelled, and then nobody knows how much of it went out. WaitReadable looks every
// millisecond; while a port is open the system's timer runs at 1 ms.
//
// Error bits are the system's (CE_RXOVER 1, CE_OVERRUN 2, CE_RXPARITY 4, CE_FRAME 8, CE_BREAK 16).
#pragma once

#include <memory>

#include "link/serial_port.h"

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

  bool Succeed(bool success); // keeps the system's error of a failed call; returns success
  bool HasInput();
  bool IsHeld();
  bool TakeInterrupt();
  std::size_t PieceSize() const;

  std::unique_ptr<State> state;
};

} // namespace kor
