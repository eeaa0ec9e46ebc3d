// DeviceLine: a Line on a ByteDevice. Paced, it is the cable: bytes of either direction take the
// time that a UART needs for them, reckoned from the start of each uninterrupted run of bytes, so
// that neither rounding nor a late wake-up adds up. The far side's bytes are taken from the device
// no faster than the line carries them and are seen when their last bit is through, in groups of at
// most a millisecond. Not paced, bytes pass as the device has them.
//
// Owned by main, used by one thread.
#pragma once

#include <atomic>
#include <string>

#include "tools/nce_controller/byte_device.h"
#include "tools/nce_controller/line.h"
#include "tools/nce_controller/line_settings.h"

namespace kor::controller {

class DeviceLine : public Line {
 public:
  // Both references outlive the line. stopWanted is looked at every 100 ms at the latest.
  DeviceLine(ByteDevice& device, const LineSettings& settings, bool isPaced,
             const std::atomic<bool>& stopWanted);

  Time Now() override { return device.Now(); }
  LineState Read(std::string& to, Time until) override;
  LineState Write(std::string_view bytes, Time until, std::size_t& written) override;
  void Abandon() override { device.Abandon(); }
  LineCounts Counts() const override { return counts; }
  std::string FailureText() const override { return device.FailureText(); }

 private:
  // One direction of the cable.
  class Lane {
   public:
    explicit Lane(const LineSettings* settings) : pacing(settings) {}
    Time FreeAt() const { return runStart + (pacing ? pacing->BytesTime(runBytes) : Time::zero()); }
    // count bytes, which could start at the moment ready, have passed at the moment returned.
    Time Pass(Time ready, std::size_t count);

   private:
    const LineSettings* pacing; // null: takes no time
    Time runStart = Time::min();
    std::uint64_t runBytes = 0;
  };

  bool Advance(); // does what is due; false: the device failed
  bool TakeInput(Time now);
  bool SendOutput(Time now);
  Time OutputReady(Time now) const;
  void Wait(Time now, Time until);

  ByteDevice& device;
  const LineSettings pacing;
  const std::atomic<bool>& stopWanted;
  std::size_t groupSize; // bytes that travel together
  Lane inLane;
  Lane outLane;
  LineCounts counts;

  std::string inFlight; // taken from the device, not through yet
  Time inDue{};
  bool isInRunning = false; // the last group was followed without a gap, as far as is known
  std::string visible;      // through, not read yet
  Time lastVisible = Time::min();

  std::string outQueue;
  std::string outFlight;
  Time outDue{};
  bool isOutRunning = false;
  bool isOutBlocked = false; // the device took less than it was given
};

} // namespace kor::controller
