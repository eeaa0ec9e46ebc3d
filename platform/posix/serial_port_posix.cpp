#include "platform/posix/serial_port_posix.h"

#include <fcntl.h>
#include <linux/serial.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <string>
#include <utility>

#include "platform/posix/serial_names.h"
#include "platform/posix/serial_rate_posix.h"
#include "services/core/app_interface.h"

namespace kor {

namespace {

constexpr std::chrono::milliseconds kLinesAge{20}; // how old the modem lines' state may be
constexpr std::chrono::milliseconds kPiece{10};    // line time that an adapter is given ahead

struct Rate {
  std::uint32_t rate;
  speed_t code;
};
constexpr std::array<Rate, 19> kRates = {{{50, B50},
                                          {75, B75},
                                          {110, B110},
                                          {134, B134},
                                          {150, B150},
                                          {200, B200},
                                          {300, B300},
                                          {600, B600},
                                          {1200, B1200},
                                          {1800, B1800},
                                          {2400, B2400},
                                          {4800, B4800},
                                          {9600, B9600},
                                          {19200, B19200},
                                          {38400, B38400},
                                          {57600, B57600},
                                          {115200, B115200},
                                          {230400, B230400},
                                          {460800, B460800}}};

std::optional<speed_t> RateCode(std::uint32_t rate) {
  auto known = std::ranges::find(kRates, rate, &Rate::rate);
  return known == kRates.end() ? std::nullopt : std::optional(known->code);
}

std::uint32_t RateOf(speed_t code) {
  auto known = std::ranges::find(kRates, code, &Rate::code);
  return known == kRates.end() ? 0 : known->rate;
}

bool IsWithinTolerance(std::uint32_t actual, std::uint32_t wanted) {
  const std::uint64_t difference = actual > wanted ? actual - wanted : wanted - actual;
  return difference * 100 <= std::uint64_t{wanted} * 3;
}

constexpr tcflag_t kCharacterFlags = CSIZE | CSTOPB | PARENB | PARODD | CMSPAR | CRTSCTS;

tcflag_t CharacterFlags(const DeviceControlBlock& block) {
  constexpr std::array<tcflag_t, 4> kSizes = {CS5, CS6, CS7, CS8};
  constexpr std::array<tcflag_t, 5> kParities = {0, PARENB | PARODD, PARENB,
                                                 PARENB | PARODD | CMSPAR, PARENB | CMSPAR};
  tcflag_t flags = kSizes[static_cast<std::size_t>(std::clamp<int>(block.dataBits, 5, 8) - 5)];
  flags |= kParities[static_cast<std::size_t>(block.parity)];
  if (block.stopBits != StopBits::One) flags |= CSTOPB;
  if (block.outxCtsFlow || block.rtsControl == LineControl::Handshake) flags |= CRTSCTS;
  return flags;
}

Parity ParityOf(tcflag_t flags) {
  if ((flags & PARENB) == 0) return Parity::None;
  const bool odd = (flags & PARODD) != 0;
  if ((flags & CMSPAR) != 0) return odd ? Parity::Mark : Parity::Space;
  return odd ? Parity::Odd : Parity::Even;
}

std::uint8_t DataBitsOf(tcflag_t flags) {
  switch (flags & CSIZE) {
  case CS5:
    return 5;
  case CS6:
    return 6;
  case CS7:
    return 7;
  default:
    return 8;
  }
}

// Bytes come and go as they are, at once, and the modem lines neither stop nor end the connection.
// VMIN is 1, so that a read of 0 bytes can only be a hang-up.
void SetRaw(termios& line) {
  line.c_iflag = 0;
  line.c_oflag = 0;
  line.c_lflag = 0;
  line.c_cflag |= CREAD | CLOCAL | HUPCL;
  line.c_cc[VMIN] = 1;
  line.c_cc[VTIME] = 0;
}

bool MeansGone(int error) {
  return error == EIO || error == ENXIO || error == ENODEV || error == ENOENT;
}

} // namespace

// --- Descriptor ---

PosixSerialPort::Descriptor& PosixSerialPort::Descriptor::operator=(Descriptor&& other) noexcept {
  Reset();
  number = std::exchange(other.number, -1);
  return *this;
}

bool PosixSerialPort::Descriptor::Reset() {
  if (number < 0) return true;
  return ::close(std::exchange(number, -1)) == 0;
}

// --- Errors ---

bool PosixSerialPort::Fail(int error) {
  lastError = error;
  gone = MeansGone(error);
  return false;
}

bool PosixSerialPort::RequireOpen() {
  return device.IsValid() || Fail(EBADF);
}

PortTrouble PosixSerialPort::Trouble() const {
  if (lastError == EBUSY || lastError == EWOULDBLOCK) return PortTrouble::InUse;
  if (lastError == EACCES) return PortTrouble::NotAllowed;
  if (lastError == EPERM) return PortTrouble::Forbidden;
  return SerialPort::Trouble();
}

KorText PosixSerialPort::LastErrorText() const {
  if (Trouble() == PortTrouble::InUse) return u"In use by another program";
  return App().ErrorText(static_cast<std::uint32_t>(lastError));
}

// --- Opening and closing ---

PosixSerialPort::PosixSerialPort(std::filesystem::path systemFolder)
    : system(std::move(systemFolder)), wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

PosixSerialPort::~PosixSerialPort() {
  Close();
}

bool PosixSerialPort::Open(const KorText& name) {
  Close();
  const std::string path = SerialDevicePath(name).ToUtf8();
  Descriptor opened(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  if (!opened.IsValid()) return Fail(errno);
  if (!Claim(opened) || !MakeRaw(opened)) return false;
  device = std::move(opened);
  current = {};
  hasModemLines = hasCounts = true;
  linesRead = {};
  lineFree = {};
  newErrors = {};
  xoffReceived = gone = hungUp = false;
  outputStopped = true; // a killed program may have left it so
  UpdateOutputStop();
  RefreshLines();
  newErrors = {}; // what the counters held before is none of this connection's
  if (!isPseudoTerminal) ShortenLatency();
  return true;
}

// A pseudo-terminal would keep the exclusive mark of a killed program for as long as its other end
// lives. There the lock, which ends with its holder, has to do.
bool PosixSerialPort::Claim(const Descriptor& opened) {
  struct stat info {};
  if (::fstat(opened.Get(), &info) != 0) return Fail(errno);
  if (!::isatty(opened.Get())) return Fail(errno);
  if (::flock(opened.Get(), LOCK_EX | LOCK_NB) != 0) return Fail(errno);
  driver = SerialDriverOf(info.st_rdev, system);
  const unsigned kind = major(info.st_rdev);
  isPseudoTerminal = kind >= 136 && kind <= 143;
  if (!isPseudoTerminal && ::ioctl(opened.Get(), TIOCEXCL) != 0) return Fail(errno);
  return true;
}

bool PosixSerialPort::MakeRaw(const Descriptor& opened) {
  termios line{};
  if (::tcgetattr(opened.Get(), &line) != 0) return Fail(errno);
  SetRaw(line);
  return ::tcsetattr(opened.Get(), TCSANOW, &line) == 0 || Fail(errno);
}

// Adapters collect received bytes for up to 16 ms by default; a request would wait that long. Where
// the system doesn't allow the change the port works all the same, only slower.
void PosixSerialPort::ShortenLatency() {
  struct stat info {};
  if (::fstat(device.Get(), &info) == 0)
    std::ofstream("/sys/dev/char/" + std::to_string(major(info.st_rdev)) + ":" +
                  std::to_string(minor(info.st_rdev)) + "/device/latency_timer")
        << "1\n";
  serial_struct serial{};
  if (::ioctl(device.Get(), TIOCGSERIAL, &serial) != 0) return;
  serial.flags |= ASYNC_LOW_LATENCY;
  ::ioctl(device.Get(), TIOCSSERIAL, &serial);
}

bool PosixSerialPort::Close() {
  if (!device.IsValid()) return true;
  SpeedUpClose();
  ::ioctl(device.Get(), TIOCNXCL); // the mark outlives this descriptor while another one is open
  return device.Reset() || Fail(errno);
}

// The kernel waits in close for unsent bytes, up to 30 s. Drop them and lift every hold. Nothing
// can drop bytes that sit in the hardware, so tell the kernel not to wait for those either. An
// adapter then sends what a hold has left in it, no more than a piece, to the controller that
// holds.
void PosixSerialPort::SpeedUpClose() {
  ::tcflush(device.Get(), TCOFLUSH);
  xoffReceived = false;
  current = {};
  UpdateOutputStop();
  termios line{};
  if (isPseudoTerminal || ::tcgetattr(device.Get(), &line) != 0) return;
  line.c_cflag &= ~static_cast<tcflag_t>(CRTSCTS);
  ::tcsetattr(device.Get(), TCSANOW, &line);
  unsigned lineState = 0;
  if (::ioctl(device.Get(), TIOCSERGETLSR, &lineState) == 0 && (lineState & TIOCSER_TEMT)) return;
  serial_struct serial{};
  if (::ioctl(device.Get(), TIOCGSERIAL, &serial) != 0) return;
  serial.closing_wait = ASYNC_CLOSING_WAIT_NONE;
  ::ioctl(device.Get(), TIOCSSERIAL, &serial);
}

// --- Settings ---

bool PosixSerialPort::SetQueueSizes(std::uint32_t, std::uint32_t) {
  return RequireOpen();
}

bool PosixSerialPort::SetTimeouts(const PortTimeouts&) {
  return RequireOpen();
}

bool PosixSerialPort::GetControlBlock(DeviceControlBlock& block) {
  termios line{};
  if (!RequireOpen()) return false;
  if (::tcgetattr(device.Get(), &line) != 0) return Fail(errno);
  const bool sameStop = ((line.c_cflag & CSTOPB) != 0) == (current.stopBits != StopBits::One);
  block = current;
  block.baudRate = LineRate(device.Get()).value_or(RateOf(::cfgetospeed(&line)));
  block.dataBits = DataBitsOf(line.c_cflag);
  block.parity = ParityOf(line.c_cflag);
  if (!sameStop) block.stopBits = (line.c_cflag & CSTOPB) ? StopBits::Two : StopBits::One;
  return true;
}

bool PosixSerialPort::BuildControlBlock(const KorText& text, DeviceControlBlock& block) {
  return ParseControlText(text, block) || Fail(EINVAL);
}

bool PosixSerialPort::SetControlBlock(const DeviceControlBlock& block) {
  termios before{};
  if (!RequireOpen()) return false;
  if (block.baudRate == 0) return Fail(EINVAL); // would hang up
  if (block.baudRate < driver.lowestRate) return Fail(EINVAL);
  if (::tcgetattr(device.Get(), &before) != 0) return Fail(errno);
  termios line = before;
  SetRaw(line);
  line.c_cflag = (line.c_cflag & ~kCharacterFlags) | CharacterFlags(block);
  if (block.inX) line.c_iflag |= IXOFF;
  line.c_cc[VSTART] = block.xonChar;
  line.c_cc[VSTOP] = block.xoffChar;
  const std::optional<speed_t> code = RateCode(block.baudRate);
  if (code) ::cfsetspeed(&line, *code);
  if (::tcsetattr(device.Get(), TCSANOW, &line) != 0) return Fail(errno);
  if ((!code && !SetLineRate(device.Get(), block.baudRate)) || !LineTook(block)) {
    ::tcsetattr(device.Get(), TCSANOW, &before);
    return Fail(EINVAL);
  }
  current = block;
  SetModemOutputs(block);
  if (!block.outX) xoffReceived = false;
  linesRead = {};
  RefreshLines();
  UpdateOutputStop();
  return true;
}

// Drivers clear the flags of what their hardware can't do and put in the rate they really set.
bool PosixSerialPort::LineTook(const DeviceControlBlock& block) {
  termios line{};
  if (::tcgetattr(device.Get(), &line) != 0) return false;
  if (!isPseudoTerminal && (line.c_cflag & kCharacterFlags) != CharacterFlags(block)) return false;
  const auto actual = LineRate(device.Get()).value_or(RateOf(::cfgetospeed(&line)));
  return IsWithinTolerance(actual, block.baudRate);
}

// RTS under handshake is the kernel's. Ports without modem lines refuse; that is no failure.
void PosixSerialPort::SetModemOutputs(const DeviceControlBlock& block) {
  int on = block.dtrControl != LineControl::Disable ? TIOCM_DTR : 0;
  int off = block.dtrControl == LineControl::Disable ? TIOCM_DTR : 0;
  if (block.rtsControl == LineControl::Enable) on |= TIOCM_RTS;
  if (block.rtsControl == LineControl::Disable) off |= TIOCM_RTS;
  if (on != 0) ::ioctl(device.Get(), TIOCMBIS, &on);
  if (off != 0) ::ioctl(device.Get(), TIOCMBIC, &off);
}

// --- Status ---

bool PosixSerialPort::GetStatus(LineStatus& status) {
  int received = 0;
  int unsent = 0;
  if (!RequireOpen()) return false;
  if (hungUp)
    return Fail(EIO); // also where the driver would still answer: the wait no longer waits
  if (::ioctl(device.Get(), FIONREAD, &received) != 0) return Fail(errno);
  if (::ioctl(device.Get(), TIOCOUTQ, &unsent) != 0) return Fail(errno);
  RefreshLines();
  UpdateOutputStop();
  status.errors = std::exchange(newErrors, {});
  status.holds = Holds();
  status.inQueue = static_cast<std::uint32_t>(received);
  status.outQueue = static_cast<std::uint32_t>(unsent);
  return true;
}

void PosixSerialPort::RefreshLines() {
  if (hasCounts) RefreshCounts();
  if (!hasModemLines) return;
  const auto now = Clock::now();
  if (linesRead.time_since_epoch().count() != 0 && now - linesRead < kLinesAge) return;
  linesRead = now;
  hasModemLines = ::ioctl(device.Get(), TIOCMGET, &modemLines) == 0;
}

// The driver's own counts, without a transfer over the bus: they tell when the lines are worth one.
void PosixSerialPort::RefreshCounts() {
  serial_icounter_struct counts{};
  hasCounts = ::ioctl(device.Get(), TIOCGICOUNT, &counts) == 0;
  if (!hasCounts) return;
  const std::array<int, 2> changes = {counts.cts, counts.dsr};
  if (std::exchange(lineChanges, changes) != changes) linesRead = {};
  const std::array<int, 5> now = {counts.buf_overrun, counts.overrun, counts.parity, counts.frame,
                                  counts.brk};
  const std::array<std::uint32_t*, 5> news = {&newErrors.overflow, &newErrors.overrun,
                                              &newErrors.parity, &newErrors.framing,
                                              &newErrors.breaks};
  for (std::size_t i = 0; i < now.size(); ++i) // the driver's counts may wrap around
    *news[i] += static_cast<std::uint32_t>(now[i]) - static_cast<std::uint32_t>(errorCounts[i]);
  errorCounts = now;
}

bool PosixSerialPort::DsrIsOff() const {
  return hasModemLines && (modemLines & TIOCM_DSR) == 0;
}

std::uint32_t PosixSerialPort::Holds() const {
  std::uint32_t holds = 0;
  if (current.outxCtsFlow && hasModemLines && (modemLines & TIOCM_CTS) == 0) holds |= kCtsHold;
  if (current.outxDsrFlow && DsrIsOff()) holds |= kDsrHold;
  if (xoffReceived) holds |= kXoffHold;
  return holds;
}

// --- Traffic ---

bool PosixSerialPort::Read(std::span<std::uint8_t> to, std::size_t& readCount) {
  readCount = 0;
  if (!RequireOpen()) return false;
  if (to.empty()) return true;
  const ssize_t count = ::read(device.Get(), to.data(), to.size());
  if (count == 0) return Fail(EIO); // hung up
  if (count < 0) return errno == EAGAIN || errno == EINTR || Fail(errno);
  RefreshLines();
  if (current.dsrSensitivity && DsrIsOff()) return true;
  readCount = static_cast<std::size_t>(count);
  WatchXoff(to.first(readCount));
  return true;
}

// Only the last of several counts: they arrived together.
void PosixSerialPort::WatchXoff(std::span<const std::uint8_t> bytes) {
  if (!current.outX) return;
  for (std::uint8_t byte : bytes) {
    if (byte == current.xoffChar) xoffReceived = true;
    if (byte == current.xonChar) xoffReceived = false;
  }
  UpdateOutputStop();
}

void PosixSerialPort::UpdateOutputStop() {
  const bool stop = xoffReceived || (current.outxDsrFlow && DsrIsOff());
  if (stop == outputStopped) return;
  outputStopped = stop;
  ::tcflow(device.Get(), stop ? TCOOFF : TCOON);
}

bool PosixSerialPort::SendsPieces() const {
  return driver.isUsb && (current.outX || current.outxCtsFlow || current.outxDsrFlow);
}

std::chrono::nanoseconds PosixSerialPort::ByteTime() const {
  constexpr std::chrono::nanoseconds kTenBits = std::chrono::seconds(10); // start, 8 data, stop
  return kTenBits / std::max<std::uint32_t>(current.baudRate, 1);
}

// When the hold ends, a piece may still be in the adapter.
std::span<const std::uint8_t> PosixSerialPort::Piece(std::span<const std::uint8_t> from) {
  const auto now = Clock::now();
  if (Holds() != 0) lineFree = now + kPiece;
  const std::chrono::nanoseconds ahead = std::max(lineFree - now, Clock::duration::zero());
  if (ahead > kPiece / 2) return {};
  const auto count = static_cast<std::size_t>((kPiece - ahead) / ByteTime());
  return from.first(std::clamp<std::size_t>(count, 1, from.size()));
}

bool PosixSerialPort::Write(std::span<const std::uint8_t> from, std::size_t& writtenCount) {
  writtenCount = 0;
  if (!RequireOpen()) return false;
  RefreshLines();
  UpdateOutputStop();
  if (from.empty()) return true;
  if (SendsPieces()) from = Piece(from);
  if (outputStopped || from.empty()) return true;
  const ssize_t count = ::write(device.Get(), from.data(), from.size());
  if (count < 0) return errno == EAGAIN || errno == EINTR || Fail(errno);
  writtenCount = static_cast<std::size_t>(count);
  lineFree = std::max(lineFree, Clock::now()) + writtenCount * ByteTime();
  return true;
}

bool PosixSerialPort::PurgeTransmit() {
  if (!RequireOpen()) return false;
  if (::tcflush(device.Get(), TCOFLUSH) != 0) return Fail(errno);
  xoffReceived = false;
  UpdateOutputStop();
  return true;
}

bool PosixSerialPort::PurgeReceive() {
  if (!RequireOpen()) return false;
  return ::tcflush(device.Get(), TCIFLUSH) == 0 || Fail(errno);
}

// --- Waiting ---

void PosixSerialPort::WaitReadable(std::chrono::microseconds atMost) {
  std::array<pollfd, 2> watched = {{{wake.Get(), POLLIN, 0}, {device.Get(), POLLIN, 0}}};
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(atMost);
  const timespec limit = {static_cast<time_t>(seconds.count()),
                          static_cast<long>((atMost - seconds).count() * 1000)};
  ::ppoll(watched.data(), watched.size(), &limit, nullptr); // skips a device of -1
  if ((watched[1].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) hungUp = true;
  std::uint64_t pending = 0;
  if (watched[0].revents != 0 && ::read(wake.Get(), &pending, sizeof(pending)) < 0) return;
}

void PosixSerialPort::Interrupt() {
  const std::uint64_t one = 1;
  if (::write(wake.Get(), &one, sizeof(one)) < 0) return; // the count is full: pending already
}

} // namespace kor
