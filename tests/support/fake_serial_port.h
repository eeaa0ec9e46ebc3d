// FakeSerialPort: a scripted serial line for tests, benchmarks and fuzzing. The script says what
// the far side and the system do; the record says what the code under test did.
//
// Time: seconds of the clock given with UseClock (TestApp's, usually), or of an own one that starts
// at 0. WaitReadable moves that clock; nothing really waits unless SetRealWaits is on.
//
// Threads: every member may be called from any thread. The responder runs on the writing thread.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "link/serial_port.h"
#include "services/core/thread_annotations.h"

namespace kor {

class FakeSerialPort : public SerialPort {
 public:
  void UseClock(std::function<double()> now, std::function<void(double)> advance);

  // --- Script ---------------------------------------------------------------------------------
  // Bytes that arrive at the given time (0: now). One Read never returns bytes of two deliveries,
  // so the deliveries are the chunks that the code under test sees. PurgeReceive, and with it
  // opening the port, drops what has arrived by then.
  void Deliver(std::string_view bytes, double at = 0);
  // Output drains at this rate; 0 = never, nullopt (the start value) = at once. Never while one of
  // the holds for CTS, DSR or XOFF is set.
  void SetDrainRate(std::optional<double> bytesPerSecond);
  void SetOutputRoom(std::size_t bytes); // queue size; Write takes no more; start value: unlimited
  void SetWriteLimit(std::size_t bytes); // at most this many per Write; start value: unlimited
  void SetWriteDuration(double seconds); // what the clock moves in each Write
  void SetHolds(std::uint32_t holds);    // HoldBit values of the following GetStatus calls
  void SetLineErrors(const LineErrors& errors); // reported by one GetStatus
  void SetLoopBack(bool plugged);               // what is written arrives
  // Called after each Write with the bytes it took, without the lock: plays the far side.
  void SetResponder(std::function<void(std::string_view)> responder);
  // The next calls of that operation ("Open", "GetStatus", "Write" ...) fail with this system text.
  // times < 0: until Fail(operation, 0) is called.
  void Fail(const std::string& operation, int times, const KorText& text = u"Scripted fault");
  // Away: every operation fails with text and IsGone() is true. An open port stays dead when the
  // device comes back; it must be closed and opened again.
  void SetPresent(bool isPresent, const KorText& text = u"No such device");
  void SetRealWaits(bool real); // WaitReadable waits for Deliver or Interrupt in real time

  // --- Record ---------------------------------------------------------------------------------
  std::string Written() const; // all bytes that Write took
  std::string TakeWritten();   // the same, and starts afresh
  std::string Sent();          // those that have drained by now
  // Calls in order: the operation, and for some an argument: "Open COM1", "SetQueueSizes 4000
  // 1000", "BuildControlBlock baud=...", "Write 12" (the bytes offered). The polling calls
  // GetStatus, Read and WaitReadable are counted only.
  std::vector<std::string> Calls() const;
  void ClearCalls();
  std::size_t CallCount(const std::string& operation) const;
  DeviceControlBlock Block() const; // last one set
  PortTimeouts Timeouts() const;    // last ones set
  std::size_t WaitingInput();       // arrived and not read

  // --- SerialPort -----------------------------------------------------------------------------
  bool Open(const KorText& name) override;
  bool IsOpen() const override;
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
  KorText LastErrorText() const override;
  bool IsGone() const override;
  void WaitReadable(std::chrono::microseconds atMost) override;
  void Interrupt() override;

 private:
  struct Delivery {
    double at = 0;
    std::string bytes;
  };
  struct Fault {
    int times = 0;
    KorText text;
  };
  double Now() const KOR_REQUIRES(mutex);
  void Advance(double seconds) KOR_REQUIRES(mutex);
  void Insert(std::string_view bytes, double at) KOR_REQUIRES(mutex);
  std::size_t Arrived() const KOR_REQUIRES(mutex);
  void Drain() KOR_REQUIRES(mutex);
  bool Refuse(const KorText& text) KOR_REQUIRES(mutex);
  // Records the call; false when the script or the port's state makes it fail.
  bool Begin(const std::string& operation, const std::string& arguments = {}) KOR_REQUIRES(mutex);
  void WaitRealTime(std::chrono::microseconds atMost) KOR_REQUIRES(mutex);

  mutable Mutex mutex;
  std::condition_variable_any changed;
  std::function<double()> clockNow KOR_GUARDED_BY(mutex);
  std::function<void(double)> clockAdvance KOR_GUARDED_BY(mutex);
  double ownClock KOR_GUARDED_BY(mutex) = 0;

  std::deque<Delivery> deliveries KOR_GUARDED_BY(mutex); // by time
  std::optional<double> drainRate KOR_GUARDED_BY(mutex);
  double drainedUntil KOR_GUARDED_BY(mutex) = 0;
  std::size_t outputRoom KOR_GUARDED_BY(mutex) = static_cast<std::size_t>(-1);
  std::size_t writeLimit KOR_GUARDED_BY(mutex) = static_cast<std::size_t>(-1);
  double writeDuration KOR_GUARDED_BY(mutex) = 0;
  std::uint32_t holds KOR_GUARDED_BY(mutex) = 0;
  LineErrors lineErrors KOR_GUARDED_BY(mutex);
  bool loopBack KOR_GUARDED_BY(mutex) = false;
  bool realWaits KOR_GUARDED_BY(mutex) = false;
  std::function<void(std::string_view)> responder KOR_GUARDED_BY(mutex);
  std::map<std::string, Fault> faults KOR_GUARDED_BY(mutex);
  bool present KOR_GUARDED_BY(mutex) = true;
  KorText absentText KOR_GUARDED_BY(mutex);

  bool open KOR_GUARDED_BY(mutex) = false;
  bool dead KOR_GUARDED_BY(mutex) = false; // opened before the device went away
  bool gone KOR_GUARDED_BY(mutex) = false;
  bool interrupted KOR_GUARDED_BY(mutex) = false;
  KorText errorText KOR_GUARDED_BY(mutex);
  DeviceControlBlock block KOR_GUARDED_BY(mutex);
  PortTimeouts timeouts KOR_GUARDED_BY(mutex);
  std::string written KOR_GUARDED_BY(mutex);
  std::string queued KOR_GUARDED_BY(mutex);
  std::string sent KOR_GUARDED_BY(mutex);
  std::vector<std::string> calls KOR_GUARDED_BY(mutex);
  std::map<std::string, std::size_t> callCounts KOR_GUARDED_BY(mutex);
};

} // namespace kor
