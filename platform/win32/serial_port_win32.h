// Win32SerialPort: SerialPort on the system's communications functions, one to one. Owned by the
// program's main; threads as SerialPort says.
//
// Names are given to CreateFileW as they stand. COM10 and above are no device names there: when the
// system finds no such file the name is tried again as "\\.\COM10", so that the settings need not
// carry the prefix.
//
// Write hands the system one piece, 10 ms of line time, and none while the line is held. When a
// hold begins in the middle of it the system gives up after 20 ms and tells exactly how much went
// out; a write that is cancelled would not tell. The write time-out of SetTimeouts is the system's
// until the first write: no write comes near it.
//
// Without overlapped calls the system can't say when bytes arrive. WaitReadable looks every
// millisecond for a second after the last byte and every 10 ms after that; while a port is open the
// system's timer runs at 1 ms.
#pragma once

#include <memory>

#include "link/port/serial_port.h"

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
  PortTrouble Trouble() const override;
  void WaitReadable(std::chrono::microseconds atMost) override;
  void Interrupt() override;

 private:
  struct State; // the system's types stay out of this header

  bool Succeed(bool success); // keeps the system's error of a failed call; returns success
  bool IsHeld();
  std::size_t PieceSize() const;

  std::unique_ptr<State> state;
};

} // namespace kor
