#include "platform/win32/serial_port_win32.h"

#include <windows.h>

#include <mmsystem.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "services/core/app_interface.h"

namespace kor {

namespace {

const wchar_t* Wide(const KorText& text) {
  static_assert(sizeof(wchar_t) == sizeof(char16_t));
  return reinterpret_cast<const wchar_t*>(text.CStr());
}

HANDLE OpenDevice(const KorText& name) {
  return ::CreateFileW(Wide(name), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

bool IsComName(const KorText& name) {
  return name.StartsWithNoCase(u"COM") && IsNumber(name.Mid(3));
}

constexpr std::uint32_t kStall = 20; // milliseconds that a piece of a write may take

constexpr DWORD kErrorNoSuchDevice = 433; // not in every compiler's headers

// Whether drivers answer so once the adapter is out of its socket. ERROR_OPERATION_ABORTED is not
// among these: a line error gives it on a port that is set to stop at errors.
bool MeansGone(DWORD error) {
  constexpr std::array<DWORD, 10> kGone = {
      ERROR_FILE_NOT_FOUND,       ERROR_ACCESS_DENIED, ERROR_NOT_READY,    ERROR_BAD_COMMAND,
      ERROR_GEN_FAILURE,          ERROR_DEV_NOT_EXIST, kErrorNoSuchDevice, ERROR_IO_DEVICE,
      ERROR_DEVICE_NOT_CONNECTED, ERROR_DEVICE_REMOVED};
  return std::ranges::find(kGone, error) != kGone.end();
}

void ToSystem(const DeviceControlBlock& block, DCB& dcb) {
  dcb.BaudRate = block.baudRate;
  dcb.ByteSize = block.dataBits;
  dcb.Parity = static_cast<BYTE>(block.parity);
  dcb.StopBits = static_cast<BYTE>(block.stopBits);
  dcb.fOutxCtsFlow = block.outxCtsFlow;
  dcb.fOutxDsrFlow = block.outxDsrFlow;
  dcb.fDsrSensitivity = block.dsrSensitivity;
  dcb.fDtrControl = static_cast<DWORD>(block.dtrControl) & 3;
  dcb.fRtsControl = static_cast<DWORD>(block.rtsControl) & 3;
  dcb.fOutX = block.outX;
  dcb.fInX = block.inX;
  dcb.XonChar = static_cast<char>(block.xonChar);
  dcb.XoffChar = static_cast<char>(block.xoffChar);
}

DeviceControlBlock FromSystem(const DCB& dcb) {
  DeviceControlBlock block;
  block.baudRate = dcb.BaudRate;
  block.dataBits = dcb.ByteSize;
  block.parity = static_cast<Parity>(dcb.Parity);
  block.stopBits = static_cast<StopBits>(dcb.StopBits);
  block.outxCtsFlow = dcb.fOutxCtsFlow != 0;
  block.outxDsrFlow = dcb.fOutxDsrFlow != 0;
  block.dsrSensitivity = dcb.fDsrSensitivity != 0;
  block.dtrControl = static_cast<LineControl>(dcb.fDtrControl);
  block.rtsControl = static_cast<LineControl>(dcb.fRtsControl); // 3, toggle, passes unchanged
  block.outX = dcb.fOutX != 0;
  block.inX = dcb.fInX != 0;
  block.xonChar = static_cast<std::uint8_t>(dcb.XonChar);
  block.xoffChar = static_cast<std::uint8_t>(dcb.XoffChar);
  return block;
}

DCB EmptyBlock() {
  DCB dcb{};
  dcb.DCBlength = sizeof(DCB);
  dcb.fBinary = TRUE; // the only mode that the system has
  return dcb;
}

std::uint32_t HoldsOf(const COMSTAT& line) {
  std::uint32_t holds = 0;
  if (line.fCtsHold) holds |= kCtsHold;
  if (line.fDsrHold) holds |= kDsrHold;
  if (line.fRlsdHold) holds |= kRlsdHold;
  if (line.fXoffHold) holds |= kXoffHold;
  if (line.fXoffSent) holds |= kXoffSent;
  return holds;
}

void Add(DWORD bits, LineErrors& errors) {
  errors.overflow += (bits & CE_RXOVER) != 0;
  errors.overrun += (bits & CE_OVERRUN) != 0;
  errors.parity += (bits & CE_RXPARITY) != 0;
  errors.framing += (bits & CE_FRAME) != 0;
  errors.breaks += (bits & CE_BREAK) != 0;
}

// Windows 11 keeps a timer's resolution only while a window of the program can be seen, unless it
// is told otherwise.
void WaitPreciselyUnseen() {
  PROCESS_POWER_THROTTLING_STATE state{};
  state.Version = PROCESS_POWER_THROTTLING_CURRENT_VERSION;
  state.ControlMask = PROCESS_POWER_THROTTLING_IGNORE_TIMER_RESOLUTION;
  ::SetProcessInformation(::GetCurrentProcess(), ProcessPowerThrottling, &state, sizeof state);
}

} // namespace

struct Win32SerialPort::State {
  HANDLE device = INVALID_HANDLE_VALUE;
  HANDLE wake = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
  DCB dcb = EmptyBlock();
  LineErrors newErrors; // for the next GetStatus
  DWORD lastError = 0;
  bool gone = false;
  COMMTIMEOUTS timeouts{};
  bool writesAreShort = false; // the system has the time-out of a piece
  std::chrono::steady_clock::time_point lastInput{};

  ~State() { ::CloseHandle(wake); }

  // The system forgets its error bits once it has told them.
  bool Look(COMSTAT& line) {
    DWORD errors = 0;
    if (!::ClearCommError(device, &errors, &line)) return false;
    Add(errors, newErrors);
    return true;
  }
};

Win32SerialPort::Win32SerialPort() : state(std::make_unique<State>()) {}

Win32SerialPort::~Win32SerialPort() {
  Close();
}

bool Win32SerialPort::Succeed(bool success) {
  if (success) return true;
  state->lastError = ::GetLastError();
  state->gone = MeansGone(state->lastError);
  return false;
}

KorText Win32SerialPort::LastErrorText() const {
  return App().ErrorText(state->lastError & 0xFFFF);
}

// A port that another program has open denies access; nothing else does.
PortTrouble Win32SerialPort::Trouble() const {
  if (state->lastError == ERROR_ACCESS_DENIED && !state->gone) return PortTrouble::InUse;
  return SerialPort::Trouble();
}

bool Win32SerialPort::IsGone() const {
  return state->gone;
}

// --- Opening and closing ---

bool Win32SerialPort::Open(const KorText& name) {
  Close();
  HANDLE device = OpenDevice(name);
  if (device == INVALID_HANDLE_VALUE && ::GetLastError() == ERROR_FILE_NOT_FOUND && IsComName(name))
    device = OpenDevice(KorText(u"\\\\.\\") + name);
  if (!Succeed(device != INVALID_HANDLE_VALUE)) {
    // In use by another program; only on an open port does it tell of a pulled adapter.
    if (state->lastError == ERROR_ACCESS_DENIED) state->gone = false;
    return false;
  }
  state->device = device;
  state->dcb = EmptyBlock();
  state->newErrors = {};
  state->timeouts = {};
  state->writesAreShort = false;
  state->gone = false;
  ::timeBeginPeriod(1);
  WaitPreciselyUnseen();
  return true;
}

bool Win32SerialPort::IsOpen() const {
  return state->device != INVALID_HANDLE_VALUE;
}

bool Win32SerialPort::Close() {
  if (!IsOpen()) return true;
  ::timeEndPeriod(1);
  // The system would wait in CloseHandle for bytes that a held line doesn't take.
  ::PurgeComm(state->device, PURGE_TXABORT | PURGE_TXCLEAR | PURGE_RXABORT | PURGE_RXCLEAR);
  return Succeed(::CloseHandle(std::exchange(state->device, INVALID_HANDLE_VALUE)));
}

// --- Settings ---

bool Win32SerialPort::SetQueueSizes(std::uint32_t input, std::uint32_t output) {
  return Succeed(::SetupComm(state->device, input, output));
}

bool Win32SerialPort::GetControlBlock(DeviceControlBlock& block) {
  DCB dcb = EmptyBlock();
  if (!Succeed(::GetCommState(state->device, &dcb))) return false;
  state->dcb = dcb;
  block = FromSystem(dcb);
  return true;
}

bool Win32SerialPort::BuildControlBlock(const KorText& text, DeviceControlBlock& block) {
  DCB dcb = state->dcb;
  ToSystem(block, dcb);
  if (!Succeed(::BuildCommDCBW(Wide(text), &dcb))) return false;
  state->dcb = dcb;
  block = FromSystem(dcb);
  return true;
}

bool Win32SerialPort::SetControlBlock(const DeviceControlBlock& block) {
  DCB dcb = state->dcb;
  ToSystem(block, dcb);
  if (!Succeed(::SetCommState(state->device, &dcb))) return false;
  state->dcb = dcb;
  return true;
}

bool Win32SerialPort::SetTimeouts(const PortTimeouts& timeouts) {
  state->timeouts = {timeouts.readInterval, timeouts.readMultiplier, timeouts.readConstant,
                     timeouts.writeMultiplier, timeouts.writeConstant};
  state->writesAreShort = false;
  return Succeed(::SetCommTimeouts(state->device, &state->timeouts));
}

// --- Traffic ---

bool Win32SerialPort::GetStatus(LineStatus& status) {
  COMSTAT line{};
  if (!Succeed(state->Look(line))) return false;
  status.errors = std::exchange(state->newErrors, {});
  status.holds = HoldsOf(line);
  status.inQueue = line.cbInQue;
  status.outQueue = line.cbOutQue;
  return true;
}

bool Win32SerialPort::Read(std::span<std::uint8_t> to, std::size_t& readCount) {
  DWORD count = 0;
  readCount = 0;
  if (!Succeed(
          ::ReadFile(state->device, to.data(), static_cast<DWORD>(to.size()), &count, nullptr)))
    return false;
  readCount = count;
  if (count > 0) state->lastInput = std::chrono::steady_clock::now();
  return true;
}

std::size_t Win32SerialPort::PieceSize() const {
  constexpr std::size_t kPerSecond = 100;
  constexpr std::size_t kBitsPerByte = 10; // start, 8 data, stop
  return std::max<std::size_t>(state->dcb.BaudRate / kBitsPerByte / kPerSecond, 1);
}

// Not when the device doesn't answer: the write then says so.
bool Win32SerialPort::IsHeld() {
  COMSTAT line{};
  return state->Look(line) && (HoldsOf(line) & (kCtsHold | kDsrHold | kXoffHold)) != 0;
}

bool Win32SerialPort::Write(std::span<const std::uint8_t> from, std::size_t& writtenCount) {
  writtenCount = 0;
  if (from.empty() || IsHeld()) return true;
  if (!state->writesAreShort) {
    COMMTIMEOUTS brief = state->timeouts;
    brief.WriteTotalTimeoutMultiplier = 0;
    brief.WriteTotalTimeoutConstant = kStall;
    if (!Succeed(::SetCommTimeouts(state->device, &brief))) return false;
    state->writesAreShort = true;
  }
  DWORD count = 0;
  const auto piece = static_cast<DWORD>(std::min(PieceSize(), from.size()));
  if (!Succeed(::WriteFile(state->device, from.data(), piece, &count, nullptr))) return false;
  writtenCount = count;
  return true;
}

bool Win32SerialPort::PurgeTransmit() {
  if (!Succeed(::PurgeComm(state->device, PURGE_TXCLEAR))) return false;
  ::EscapeCommFunction(state->device, SETXON); // as if XON had been received
  return true;
}

bool Win32SerialPort::PurgeReceive() {
  return Succeed(::PurgeComm(state->device, PURGE_RXCLEAR));
}

// --- Waiting ---

void Win32SerialPort::WaitReadable(std::chrono::microseconds atMost) {
  using namespace std::chrono_literals;
  const auto until = std::chrono::steady_clock::now() + atMost;
  for (;;) {
    COMSTAT line{};
    const bool answers = IsOpen() && state->Look(line);
    if (answers && line.cbInQue > 0) return;
    const auto now = std::chrono::steady_clock::now();
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - now);
    if (left <= 0ms) return;
    const bool isBusy = answers && now - state->lastInput < 1s;
    const auto pause = IsOpen() ? std::min(left, isBusy ? 1ms : 10ms) : left;
    if (::WaitForSingleObject(state->wake, static_cast<DWORD>(pause.count())) == WAIT_OBJECT_0)
      return;
    if (IsOpen() && !answers) return; // the caller has to see that; not without a pause
  }
}

void Win32SerialPort::Interrupt() {
  ::SetEvent(state->wake);
}

} // namespace kor
