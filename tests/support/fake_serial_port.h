// FakeSerialPort: a scripted serial line for tests, benchmarks and fuzzing. The script says what
// the far side and the system do; the record says what the code under test did.
//
// Time: WaitReadable moves the clock given with UseClock by what it was told to wait; without one
// it waits in real time.
//
// Threads: every member may be called from any thread. The responder runs on the writing thread.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "link/port/serial_port.h"
#include "services/core/thread_annotations.h"

namespace kor {

class FakeSerialPort : public SerialPort {
  using Self = FakeSerialPort;

 public:
  void UseClock(std::function<void(double)> advance) {
    Set(&Self::clockAdvance, std::move(advance));
  }

  // --- Script ---------------------------------------------------------------------------------
  // Bytes that arrive now. One Read never returns bytes of two deliveries, so the deliveries are
  // the chunks that the code under test sees. PurgeReceive, and with it opening the port, drops
  // them.
  void Deliver(std::string_view bytes);
  // HoldBit values of the following GetStatus calls. One for CTS, DSR or XOFF keeps the output
  // queue full; otherwise it drains at once.
  void SetHolds(std::uint32_t newHolds) { Set(&Self::holds, newHolds); }
  // The queue doesn't drain, without a hold.
  void SetStalled(bool on) { Set(&Self::stalled, on); }
  // The bytes that one Write accepts; unlimited by default.
  void SetWriteLimit(std::size_t bytes) { Set(&Self::writeLimit, bytes); }
  // Reported by one GetStatus.
  void SetLineErrors(const LineErrors& errors) { Set(&Self::lineErrors, errors); }
  // Called after each Write with the bytes it took, without the lock: plays the far side.
  void SetResponder(std::function<void(std::string_view)> newResponder) {
    Set(&Self::responder, std::move(newResponder));
  }
  // The next calls of that operation ("Open", "GetStatus", "Write" ...) fail with this system text.
  // times < 0: until Fail(operation, 0) is called.
  void Fail(const std::string& operation, int times, const KorText& text = u"Scripted fault",
            PortTrouble kind = PortTrouble::Other);
  // Away: every operation fails with text and IsGone() is true. An open port stays dead when the
  // device comes back; it must be closed and opened again.
  void SetPresent(bool isPresent, const KorText& text = u"No such device");

  // --- Record ---------------------------------------------------------------------------------
  std::string TakeWritten(); // all bytes that Write took since the last call
  // Calls in order: the operation, and for some what it was given: "Open COM1", "SetQueueSizes 4000
  // 1000", "BuildControlBlock baud=...", "SetTimeouts 0 10000" (of reading a byte, of a write),
  // "Write 12" (the bytes offered); GetStatus and Read are left out.
  std::vector<std::string> Calls() const { return Get(&Self::calls); }
  void ClearCalls() { Set(&Self::calls, {}); }
  DeviceControlBlock Block() const { return Get(&Self::block); } // last one set

  // --- SerialPort -----------------------------------------------------------------------------
  bool Open(const KorText& name) override;
  bool IsOpen() const override { return Get(&Self::open); }
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
  KorText LastErrorText() const override { return Get(&Self::errorText); }
  bool IsGone() const override { return Get(&Self::gone); }
  PortTrouble Trouble() const override {
    return IsGone() ? PortTrouble::NotThere : Get(&Self::trouble);
  }
  void WaitReadable(std::chrono::microseconds atMost) override;
  void Interrupt() override;

 private:
  struct Fault {
    int times = 0;
    KorText text;
    PortTrouble kind = PortTrouble::Other;
  };
  template <class Value> void Set(Value Self::*member, std::type_identity_t<Value> value) {
    Lock lock(mutex);
    this->*member = std::move(value);
  }
  template <class Value> Value Get(Value Self::*member) const {
    Lock lock(mutex);
    return this->*member;
  }
  bool Refuse(const KorText& text) KOR_REQUIRES(mutex);
  // Records the call; false when the script or the port's state makes it fail.
  bool Begin(const std::string& operation, const std::string& arguments = {}) KOR_REQUIRES(mutex);
  void WaitRealTime(std::chrono::microseconds atMost) KOR_REQUIRES(mutex);

  mutable Mutex mutex;
  std::condition_variable_any changed;
  std::function<void(double)> clockAdvance KOR_GUARDED_BY(mutex);

  std::deque<std::string> deliveries KOR_GUARDED_BY(mutex);
  std::size_t writeLimit KOR_GUARDED_BY(mutex) = static_cast<std::size_t>(-1);
  std::uint32_t holds KOR_GUARDED_BY(mutex) = 0;
  LineErrors lineErrors KOR_GUARDED_BY(mutex);
  bool stalled KOR_GUARDED_BY(mutex) = false;
  std::function<void(std::string_view)> responder KOR_GUARDED_BY(mutex);
  std::map<std::string, Fault> faults KOR_GUARDED_BY(mutex);
  bool present KOR_GUARDED_BY(mutex) = true;
  KorText absentText KOR_GUARDED_BY(mutex);

  bool open KOR_GUARDED_BY(mutex) = false;
  bool dead KOR_GUARDED_BY(mutex) = false; // opened before the device went away
  bool gone KOR_GUARDED_BY(mutex) = false;
  bool interrupted KOR_GUARDED_BY(mutex) = false;
  KorText errorText KOR_GUARDED_BY(mutex);
  PortTrouble trouble KOR_GUARDED_BY(mutex) = PortTrouble::Other;
  DeviceControlBlock block KOR_GUARDED_BY(mutex);
  std::string written KOR_GUARDED_BY(mutex);
  std::size_t queued KOR_GUARDED_BY(mutex) = 0;
  std::vector<std::string> calls KOR_GUARDED_BY(mutex);
};

} // namespace kor
