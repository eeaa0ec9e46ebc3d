// The port on the system's communications functions. Far side and listener are windows_e2e_test.
#include "platform/win32/serial_port_win32.h"

#include <gtest/gtest.h>

#include <iostream>
#include <numeric>
#include <string>

#include "tests/platform/serial_port_fixture.h"

namespace kor {
namespace {

using std::chrono::microseconds;
using std::chrono::steady_clock;

class SerialPortWin32Check : public SerialPortFixture<Win32SerialPort> {
 protected:
  void SetUp() override {
    ASSERT_TRUE(port.Open(u"COM1")) << ErrorText();
    Configure(u"baud=9600 parity=N data=8 stop=1", u"None");
    SetWriteLimit(10000);
  }

  void Configure(const KorText& text, const KorText& flow) {
    ASSERT_TRUE(port.SetQueueSizes(4000, 1000)) << ErrorText();
    ASSERT_TRUE(port.GetControlBlock(block)) << ErrorText();
    ASSERT_TRUE(port.BuildControlBlock(text, block)) << ErrorText();
    block.dsrSensitivity = false;
    block.xonChar = 17;
    block.xoffChar = 19;
    ApplyFlowControl(block, flow, true, true, false);
    ASSERT_TRUE(port.SetControlBlock(block)) << ErrorText();
  }

  void SetWriteLimit(std::uint32_t milliseconds) {
    PortTimeouts timeouts;
    timeouts.writeConstant = milliseconds;
    ASSERT_TRUE(port.SetTimeouts(timeouts)) << ErrorText();
  }

  // As often as it takes something, for ten seconds at most.
  std::size_t WriteAll(const std::string& bytes) {
    const auto until = steady_clock::now() + std::chrono::seconds(10);
    std::size_t written = 0;
    while (written < bytes.size() && steady_clock::now() < until)
      written += WriteSome(bytes.substr(written));
    return written;
  }

  // The far side, which a byte 1 has stopped, reads again.
  void LetGo() { std::cout << "LET GO" << std::endl; }

  // Has the far side stop, and fills the line; how many writes took something.
  int Stall() {
    SetWriteLimit(20000);
    WriteSome("\x01");
    int count = 0;
    while (count < 1'000'000 && WriteSome(std::string(1 << 20, 'x')) > 0)
      ++count;
    return count;
  }

  DeviceControlBlock block;
};

TEST_F(SerialPortWin32Check, CarriesBytesBothWaysUnchanged) {
  std::string all(256, '\0');
  std::iota(all.begin(), all.end(), '\0');
  std::erase_if(all, [](char c) { return c == 1 || c == 2 || c == 4; }); // the far side's commands
  EXPECT_EQ(WriteAll(all), all.size());
  EXPECT_EQ(ReadCount(all.size()), all);
  EXPECT_EQ(Status().inQueue, 0u);
}

TEST_F(SerialPortWin32Check, SettingsAreReadBack) {
  Configure(u"baud=4800 parity=N data=8 stop=2", u"Combined");
  DeviceControlBlock back;
  ASSERT_TRUE(port.GetControlBlock(back)) << ErrorText();
  EXPECT_EQ(back.baudRate, 4800u);
  EXPECT_EQ(back.stopBits, StopBits::Two);
  EXPECT_TRUE(back.outX && back.inX);
  EXPECT_EQ(back.xonChar, 17);
  EXPECT_EQ(back.xoffChar, 19);
  EXPECT_FALSE(port.BuildControlBlock(u"baud=fast", back));
  EXPECT_FALSE(port.IsGone());
}

TEST_F(SerialPortWin32Check, AWaitEndsWithBytesOrAnInterrupt) {
  const auto start = steady_clock::now();
  port.Interrupt();
  port.WaitReadable(microseconds(20'000'000));
  WriteSome("x");
  port.WaitReadable(microseconds(20'000'000));
  EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(10));
  EXPECT_EQ(ReadCount(1), "x");
}

TEST_F(SerialPortWin32Check, PortsFromTenOnOpenByTheirPlainNames) {
  port.Close();
  for (const char16_t* name : {u"COM12", u"com12", u"\\\\.\\COM12"}) {
    EXPECT_TRUE(port.Open(name)) << ErrorText();
    port.Close();
  }
}

TEST_F(SerialPortWin32Check, WhatIsNotThereIsGoneAndAClosedPortFails) {
  Win32SerialPort other;
  EXPECT_FALSE(other.Open(u"COM77"));
  EXPECT_TRUE(other.IsGone());
  EXPECT_FALSE(other.LastErrorText().IsEmpty());
  LineStatus status;
  EXPECT_FALSE(other.GetStatus(status));
  EXPECT_FALSE(other.IsOpen());
}

// Whatever the time-out, no single write waits.
TEST_F(SerialPortWin32Check, NoWriteWaitsForAStalledLine) {
  EXPECT_GT(Stall(), 0);
  const auto start = steady_clock::now();
  for (int i = 0; i < 5; ++i)
    EXPECT_EQ(WriteSome(std::string(1000, 'x')), 0u);
  EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(10)) << "and not the 20 s of one";
  LetGo();
  EXPECT_EQ(WriteAll("\x02x"), 2u);
  EXPECT_EQ(ReadCount(1), "x") << "the line works again";
}

TEST_F(SerialPortWin32Check, ClosingDoesNotWaitForAStalledLine) {
  Stall();
  const auto start = steady_clock::now();
  EXPECT_TRUE(port.Close()) << ErrorText();
  EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(10)) << "and not the 20 s of a write";
  LetGo();
  ASSERT_TRUE(port.Open(u"COM1")) << ErrorText();
  SetWriteLimit(20000);
  EXPECT_EQ(WriteAll("\x02x"), 2u);
  EXPECT_EQ(ReadCount(1), "x");
}

// Last: the line is gone after it.
TEST_F(SerialPortWin32Check, ZPulledCableIsNoticed) {
  WriteSome("\x04");
  const auto until = steady_clock::now() + std::chrono::seconds(10);
  LineStatus status;
  while (port.GetStatus(status) && steady_clock::now() < until)
    port.WaitReadable(microseconds(10000));
  EXPECT_FALSE(port.GetStatus(status));
  EXPECT_TRUE(port.IsGone()) << ErrorText();
  port.Close();
}

} // namespace
} // namespace kor
