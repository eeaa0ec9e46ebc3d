#include <gtest/gtest.h>

#include <deque>

#include "tests/support/fake_serial_port.h"
#include "tools/nce_controller/device_line.h"
#include "tools/nce_controller/flow_line.h"

namespace kor::controller {
namespace {

using namespace std::chrono_literals;

// A device with a clock that only waiting moves, later than asked for if so chosen.
class FakeDevice : public ByteDevice {
 public:
  Time Now() override { return now; }
  bool Read(std::span<std::uint8_t> to, std::size_t& readCount) override {
    readCount = 0;
    while (readCount < to.size() && !arrivals.empty() && arrivals.front().first <= now) {
      to[readCount++] = static_cast<std::uint8_t>(arrivals.front().second);
      arrivals.pop_front();
    }
    return true;
  }
  bool Write(std::span<const std::uint8_t> from, std::size_t& writtenCount) override {
    writtenCount = from.size();
    sentAt.insert(sentAt.end(), from.size(), now);
    return true;
  }
  void WaitUntil(Time until, bool forInput, bool) override {
    const bool isEarly = forInput && !arrivals.empty() && arrivals.front().first < until;
    now = std::max(now, isEarly ? arrivals.front().first : until) + lateness;
  }
  void Abandon() override {}
  std::string FailureText() const override { return "unplugged"; }

  void Deliver(std::string_view bytes, Time at) {
    for (const char byte : bytes)
      arrivals.emplace_back(at, byte);
  }

  Time now = 1s;
  Time lateness{};
  std::deque<std::pair<Time, char>> arrivals;
  std::vector<Time> sentAt; // each byte
};

LineSettings Settings(std::uint32_t baud) {
  LineSettings settings;
  settings.baud = baud;
  return settings;
}

class ControllerLine : public ::testing::Test {
 protected:
  FakeDevice device;
  std::atomic<bool> stop = false;
};

TEST_F(ControllerLine, BothDirectionsKeepTheLinesSpeedHoweverLateTheProgramWakesUp) {
  for (const Time lateness : {Time(0ns), Time(70us), Time(900us)}) {
    device.now = 1s;
    device.lateness = lateness;
    device.sentAt.clear();
    const LineSettings settings = Settings(115200);
    DeviceLine line(device, settings, true, stop);
    device.Deliver(std::string(5000, 'x'), 1s);
    // Lateness shows at once, but never adds up.
    const auto expectDue = [&](Time time, std::size_t count) {
      const Time due = 1s + settings.BytesTime(count);
      ASSERT_GE(time, due) << count;
      ASSERT_LE(time, due + lateness + 1ms) << count;
    };
    std::size_t written = 0;
    ASSERT_EQ(line.Write(std::string(500, 's'), 100s, written), LineState::Open);
    EXPECT_EQ(written, 500U);
    for (std::size_t i = 0; i < device.sentAt.size(); ++i)
      expectDue(device.sentAt[i], i + 1);
    std::string got;
    while (got.size() < 5000) {
      ASSERT_EQ(line.Read(got, 100s), LineState::Open);
      expectDue(device.now, got.size());
    }
    EXPECT_EQ(line.Counts().toHost, 500U);
    EXPECT_EQ(line.Counts().fromHost, 5000U);
  }
}

TEST_F(ControllerLine, AHoldStopsWhatIsSentUntilItIsLifted) {
  DeviceLine cable(device, Settings(9600), true, stop);
  FlowLine line(cable);
  device.Deliver("\x13", 1s + 20ms);
  device.Deliver("A\x11_", 2s);
  std::size_t written = 0;
  ASSERT_EQ(line.Write(std::string(100, 's'), 10s, written), LineState::Open);
  EXPECT_EQ(written, 100U);
  for (const Time time : device.sentAt)
    EXPECT_TRUE(time <= 1s + 60ms || time >= 2s);
  EXPECT_GT(device.sentAt.back(), 2s);
  std::string got;
  line.Read(got, device.now + 1s);
  EXPECT_EQ(got, "A_") << "the hold's own bytes are no data";

  device.Deliver("\x13", device.now);
  line.Read(got, device.now + 10ms);
  ASSERT_EQ(line.Write("x", device.now + 1s, written), LineState::Open);
  EXPECT_EQ(written, 0U);
  ASSERT_EQ(line.Write("y", device.now + 1s, written), LineState::Open);
  EXPECT_EQ(written, 1U) << "a hold that was never lifted may have been damage";
}

TEST_F(ControllerLine, SetsARealPortUp) {
  auto port = std::make_unique<FakeSerialPort>();
  FakeSerialPort& opened = *port;
  LineSettings settings = Settings(19200);
  ASSERT_TRUE(ParseBits("7E2", settings));
  settings.flow = FlowControl::Hardware;
  std::string error;
  const auto made = OpenPortDevice(std::move(port), u"COM3", settings, error);
  ASSERT_NE(made, nullptr);
  const DeviceControlBlock block = opened.Block();
  EXPECT_TRUE(block.baudRate == 19200 && block.dataBits == 7 && block.parity == Parity::Even);
  EXPECT_TRUE(block.stopBits == StopBits::Two && block.outxCtsFlow && !block.outX);
  auto failing = std::make_unique<FakeSerialPort>();
  failing->Fail("SetControlBlock", 1, u"Not possible");
  EXPECT_EQ(OpenPortDevice(std::move(failing), u"COM3", settings, error), nullptr);
  EXPECT_EQ(error, "COM3: Not possible");
}

} // namespace
} // namespace kor::controller
