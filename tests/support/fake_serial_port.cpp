#include "tests/support/fake_serial_port.h"

#include <algorithm>

namespace kor {

// --- Script ---

void FakeSerialPort::Deliver(std::string_view bytes) {
  Lock lock(mutex);
  if (!bytes.empty()) deliveries.emplace_back(bytes);
  changed.notify_all();
}

void FakeSerialPort::Fail(const std::string& operation, int times, const KorText& text,
                          PortTrouble kind) {
  Lock lock(mutex);
  faults[operation] = Fault{times, text, kind};
}

void FakeSerialPort::SetPresent(bool isPresent, const KorText& text) {
  Lock lock(mutex);
  present = isPresent;
  absentText = text;
  if (!isPresent && open) dead = true;
  changed.notify_all();
}

std::string FakeSerialPort::TakeWritten() {
  Lock lock(mutex);
  return std::exchange(written, {});
}

// --- Parts of the machine ---

bool FakeSerialPort::Refuse(const KorText& text) {
  errorText = text;
  return false;
}

bool FakeSerialPort::Begin(const std::string& operation, const std::string& arguments) {
  bool isPolling = operation == "GetStatus" || operation == "Read";
  if (!isPolling) calls.push_back(arguments.empty() ? operation : operation + " " + arguments);
  gone = !present || (dead && operation != "Open");
  if (gone) return Refuse(absentText);
  auto fault = faults.find(operation);
  if (fault != faults.end() && fault->second.times != 0) {
    if (fault->second.times > 0) --fault->second.times;
    trouble = fault->second.kind;
    return Refuse(fault->second.text);
  }
  if (!open && operation != "Open" && operation != "BuildControlBlock")
    return Refuse(u"Bad file descriptor");
  return true;
}

// --- SerialPort ---

bool FakeSerialPort::Open(const KorText& name) {
  Lock lock(mutex);
  if (!Begin("Open", name.ToUtf8())) return false;
  open = true;
  dead = false;
  return true;
}

bool FakeSerialPort::SetQueueSizes(std::uint32_t input, std::uint32_t output) {
  Lock lock(mutex);
  return Begin("SetQueueSizes", std::to_string(input) + " " + std::to_string(output));
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

bool FakeSerialPort::SetTimeouts(const PortTimeouts& timeouts) {
  Lock lock(mutex);
  return Begin("SetTimeouts", std::to_string(timeouts.readInterval) + " " +
                                  std::to_string(timeouts.writeConstant));
}

bool FakeSerialPort::GetStatus(LineStatus& status) {
  Lock lock(mutex);
  if (!Begin("GetStatus")) return false;
  if ((holds & (kCtsHold | kDsrHold | kXoffHold)) == 0 && !stalled) queued = 0;
  status.errors = std::exchange(lineErrors, {});
  status.holds = holds;
  status.inQueue = 0;
  for (const std::string& delivery : deliveries)
    status.inQueue += static_cast<std::uint32_t>(delivery.size());
  status.outQueue = static_cast<std::uint32_t>(queued);
  return true;
}

bool FakeSerialPort::Read(std::span<std::uint8_t> to, std::size_t& readCount) {
  Lock lock(mutex);
  readCount = 0;
  if (!Begin("Read")) return false;
  if (deliveries.empty()) return true;
  std::string& bytes = deliveries.front();
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
    if (!Begin("Write", std::to_string(from.size()))) return false;
    writtenCount = std::min(from.size(), writeLimit);
    taken.assign(from.begin(), from.begin() + static_cast<std::ptrdiff_t>(writtenCount));
    written += taken;
    queued += writtenCount;
    answer = responder;
    changed.notify_all();
  }
  if (answer && !taken.empty()) answer(taken);
  return true;
}

bool FakeSerialPort::PurgeTransmit() {
  Lock lock(mutex);
  if (!Begin("PurgeTransmit")) return false;
  queued = 0;
  holds &= ~std::uint32_t{kXoffHold};
  return true;
}

bool FakeSerialPort::PurgeReceive() {
  Lock lock(mutex);
  if (!Begin("PurgeReceive")) return false;
  deliveries.clear();
  return true;
}

bool FakeSerialPort::Close() {
  Lock lock(mutex);
  bool closed = Begin("Close");
  open = dead = false;
  queued = 0;
  return closed;
}

void FakeSerialPort::WaitReadable(std::chrono::microseconds atMost) {
  Lock lock(mutex);
  if (!clockAdvance) return WaitRealTime(atMost);
  const bool ready = std::exchange(interrupted, false) || (open && !deliveries.empty());
  if (!ready) clockAdvance(std::chrono::duration<double>(atMost).count());
}

void FakeSerialPort::WaitRealTime(std::chrono::microseconds atMost) {
  auto until = std::chrono::steady_clock::now() + atMost;
  while (!interrupted && !(open && (dead || !deliveries.empty())))
    if (changed.wait_until(mutex, until) == std::cv_status::timeout) break;
  interrupted = false;
}

void FakeSerialPort::Interrupt() {
  Lock lock(mutex);
  interrupted = true;
  changed.notify_all();
}

} // namespace kor
