#include "tests/support/fake_serial_port.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kor {

namespace {

std::string Number(std::size_t value) {
  return std::to_string(value);
}

} // namespace

// --- Script -------------------------------------------------------------------------------------

void FakeSerialPort::UseClock(std::function<double()> now, std::function<void(double)> advance) {
  Lock lock(mutex);
  clockNow = std::move(now);
  clockAdvance = std::move(advance);
  drainedUntil = Now();
}

void FakeSerialPort::Deliver(std::string_view bytes, double at) {
  Lock lock(mutex);
  Insert(bytes, at);
  changed.notify_all();
}

void FakeSerialPort::SetDrainRate(std::optional<double> bytesPerSecond) {
  Lock lock(mutex);
  Drain();
  drainRate = bytesPerSecond;
}

void FakeSerialPort::SetOutputRoom(std::size_t bytes) {
  Lock lock(mutex);
  outputRoom = bytes;
}

void FakeSerialPort::SetWriteLimit(std::size_t bytes) {
  Lock lock(mutex);
  writeLimit = bytes;
}

void FakeSerialPort::SetWriteDuration(double seconds) {
  Lock lock(mutex);
  writeDuration = seconds;
}

void FakeSerialPort::SetHolds(std::uint32_t newHolds) {
  Lock lock(mutex);
  Drain();
  holds = newHolds;
}

void FakeSerialPort::SetLineErrors(const LineErrors& errors) {
  Lock lock(mutex);
  lineErrors = errors;
}

void FakeSerialPort::SetLoopBack(bool plugged) {
  Lock lock(mutex);
  loopBack = plugged;
}

void FakeSerialPort::SetResponder(std::function<void(std::string_view)> newResponder) {
  Lock lock(mutex);
  responder = std::move(newResponder);
}

void FakeSerialPort::Fail(const std::string& operation, int times, const KorText& text) {
  Lock lock(mutex);
  faults[operation] = Fault{times, text};
}

void FakeSerialPort::SetPresent(bool isPresent, const KorText& text) {
  Lock lock(mutex);
  present = isPresent;
  absentText = text;
  if (!isPresent && open) dead = true;
  changed.notify_all();
}

void FakeSerialPort::SetRealWaits(bool real) {
  Lock lock(mutex);
  realWaits = real;
}

// --- Record -------------------------------------------------------------------------------------

std::string FakeSerialPort::Written() const {
  Lock lock(mutex);
  return written;
}

std::string FakeSerialPort::TakeWritten() {
  Lock lock(mutex);
  return std::exchange(written, {});
}

std::string FakeSerialPort::Sent() {
  Lock lock(mutex);
  Drain();
  return sent;
}

std::vector<std::string> FakeSerialPort::Calls() const {
  Lock lock(mutex);
  return calls;
}

void FakeSerialPort::ClearCalls() {
  Lock lock(mutex);
  calls.clear();
  callCounts.clear();
}

std::size_t FakeSerialPort::CallCount(const std::string& operation) const {
  Lock lock(mutex);
  auto at = callCounts.find(operation);
  return at == callCounts.end() ? 0 : at->second;
}

DeviceControlBlock FakeSerialPort::Block() const {
  Lock lock(mutex);
  return block;
}

PortTimeouts FakeSerialPort::Timeouts() const {
  Lock lock(mutex);
  return timeouts;
}

std::size_t FakeSerialPort::WaitingInput() {
  Lock lock(mutex);
  return Arrived();
}

// --- Parts of the machine
// -------------------------------------------------------------------------

double FakeSerialPort::Now() const {
  return clockNow ? clockNow() : ownClock;
}

void FakeSerialPort::Advance(double seconds) {
  if (clockAdvance)
    clockAdvance(seconds);
  else
    ownClock += seconds;
}

void FakeSerialPort::Insert(std::string_view bytes, double at) {
  if (bytes.empty()) return;
  Delivery delivery{at > 0 ? at : Now(), std::string(bytes)};
  auto place = std::upper_bound(deliveries.begin(), deliveries.end(), delivery,
                                [](const Delivery& a, const Delivery& b) { return a.at < b.at; });
  deliveries.insert(place, std::move(delivery));
}

std::size_t FakeSerialPort::Arrived() const {
  std::size_t count = 0;
  for (const Delivery& delivery : deliveries)
    if (delivery.at <= Now()) count += delivery.bytes.size();
  return count;
}

// Moves what the line has carried since the last call from the queue to the far side. Whole bytes
// only; the fraction of a byte in progress is kept by moving drainedUntil no further than they
// took.
void FakeSerialPort::Drain() {
  bool held = (holds & (kCtsHold | kDsrHold | kXoffHold)) != 0;
  double now = Now();
  std::size_t count = queued.size();
  if (drainRate) {
    double carried = std::floor((now - drainedUntil) * *drainRate + 1e-9);
    count = std::min(count, static_cast<std::size_t>(std::max(0.0, carried)));
  }
  if (held) count = 0;
  sent.append(queued, 0, count);
  queued.erase(0, count);
  if (!drainRate || held || queued.empty() || *drainRate <= 0)
    drainedUntil = now;
  else
    drainedUntil += static_cast<double>(count) / *drainRate;
}

bool FakeSerialPort::Refuse(const KorText& text) {
  errorText = text;
  return false;
}

bool FakeSerialPort::Begin(const std::string& operation, const std::string& arguments) {
  ++callCounts[operation];
  bool isPolling = operation == "GetStatus" || operation == "Read";
  if (!isPolling) calls.push_back(arguments.empty() ? operation : operation + " " + arguments);
  gone = !present || (dead && operation != "Open");
  if (gone) return Refuse(absentText);
  auto fault = faults.find(operation);
  if (fault != faults.end() && fault->second.times != 0) {
    if (fault->second.times > 0) --fault->second.times;
    return Refuse(fault->second.text);
  }
  if (!open && operation != "Open" && operation != "BuildControlBlock")
    return Refuse(u"Bad file descriptor");
  return true;
}

// --- SerialPort
// -----------------------------------------------------------------------------------

bool FakeSerialPort::Open(const KorText& name) {
  Lock lock(mutex);
  if (!Begin("Open", name.ToUtf8())) return false;
  open = true;
  dead = false;
  return true;
}

bool FakeSerialPort::IsOpen() const {
  Lock lock(mutex);
  return open;
}

bool FakeSerialPort::SetQueueSizes(std::uint32_t input, std::uint32_t output) {
  Lock lock(mutex);
  return Begin("SetQueueSizes", Number(input) + " " + Number(output));
}

bool FakeSerialPort::GetControlBlock(DeviceControlBlock& to) {
  Lock lock(mutex);
  if (!Begin("GetControlBlock")) return false;
  to = block;
  return true;
}

bool FakeSerialPort::BuildControlBlock(const KorText& text, DeviceControlBlock& toChange) {
  Lock lock(mutex);
  if (!Begin("BuildControlBlock", text.ToUtf8())) return false;
  return ParseControlText(text, toChange) || Refuse(u"Invalid argument");
}

bool FakeSerialPort::SetControlBlock(const DeviceControlBlock& newBlock) {
  Lock lock(mutex);
  if (!Begin("SetControlBlock")) return false;
  block = newBlock;
  return true;
}

bool FakeSerialPort::SetTimeouts(const PortTimeouts& newTimeouts) {
  Lock lock(mutex);
  if (!Begin("SetTimeouts")) return false;
  timeouts = newTimeouts;
  return true;
}

bool FakeSerialPort::GetStatus(LineStatus& status) {
  Lock lock(mutex);
  if (!Begin("GetStatus")) return false;
  Drain();
  status.errors = std::exchange(lineErrors, {});
  status.holds = holds;
  status.inQueue = static_cast<std::uint32_t>(Arrived());
  status.outQueue = static_cast<std::uint32_t>(queued.size());
  return true;
}

bool FakeSerialPort::Read(std::span<std::uint8_t> to, std::size_t& readCount) {
  Lock lock(mutex);
  readCount = 0;
  if (!Begin("Read")) return false;
  if (deliveries.empty() || deliveries.front().at > Now()) return true;
  std::string& bytes = deliveries.front().bytes;
  readCount = std::min(bytes.size(), to.size());
  std::copy_n(bytes.begin(), readCount, to.begin());
  bytes.erase(0, readCount);
  if (bytes.empty()) deliveries.pop_front();
  return true;
}

bool FakeSerialPort::Write(std::span<const std::uint8_t> from, std::size_t& writtenCount) {
  std::string taken;
  std::function<void(std::string_view)> answer;
  {
    Lock lock(mutex);
    writtenCount = 0;
    if (!Begin("Write", Number(from.size()))) return false;
    Drain();
    std::size_t room = outputRoom - std::min(outputRoom, queued.size());
    writtenCount = std::min({from.size(), room, writeLimit});
    taken.assign(from.begin(), from.begin() + static_cast<std::ptrdiff_t>(writtenCount));
    written += taken;
    queued += taken;
    if (writeDuration > 0) Advance(writeDuration);
    Drain();
    if (loopBack) Insert(taken, 0);
    answer = responder;
    changed.notify_all();
  }
  if (answer && !taken.empty()) answer(taken);
  return true;
}

bool FakeSerialPort::PurgeTransmit() {
  Lock lock(mutex);
  if (!Begin("PurgeTransmit")) return false;
  Drain();
  queued.clear();
  holds &= ~std::uint32_t{kXoffHold};
  return true;
}

bool FakeSerialPort::PurgeReceive() {
  Lock lock(mutex);
  if (!Begin("PurgeReceive")) return false;
  while (!deliveries.empty() && deliveries.front().at <= Now())
    deliveries.pop_front();
  return true;
}

bool FakeSerialPort::Close() {
  Lock lock(mutex);
  bool closed = Begin("Close");
  open = dead = false;
  queued.clear();
  return closed;
}

KorText FakeSerialPort::LastErrorText() const {
  Lock lock(mutex);
  return errorText;
}

bool FakeSerialPort::IsGone() const {
  Lock lock(mutex);
  return gone;
}

void FakeSerialPort::WaitReadable(std::chrono::microseconds atMost) {
  Lock lock(mutex);
  ++callCounts["WaitReadable"];
  if (realWaits) return WaitRealTime(atMost);
  if (std::exchange(interrupted, false)) return;
  double until = Now() + std::chrono::duration<double>(atMost).count();
  if (open && !deliveries.empty()) until = std::min(until, deliveries.front().at);
  if (until > Now()) Advance(until - Now());
}

void FakeSerialPort::WaitRealTime(std::chrono::microseconds atMost) {
  auto until = std::chrono::steady_clock::now() + atMost;
  while (!interrupted && !(open && (dead || Arrived() > 0)))
    if (changed.wait_until(mutex, until) == std::cv_status::timeout) break;
  interrupted = false;
}

void FakeSerialPort::Interrupt() {
  Lock lock(mutex);
  interrupted = true;
  changed.notify_all();
}

} // namespace kor
