// The network port, on real sockets, against a server that says what no other can be made to say.
#include <functional>

#include "platform/net/net_serial_port.h"
#include "tests/platform/serial_port_fixture.h"
#include "tests/support/device_server.h"
#include "tests/support/text_printer.h"

namespace kor {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class NetSerialPortTest : public SerialPortFixture<NetSerialPort> {
 protected:
  // Turns both sides until it holds.
  bool Until(const std::function<bool()>& holds, std::chrono::seconds atMost = 20s) {
    for (const auto end = Clock::now() + atMost; Clock::now() < end;) {
      server.Turn();
      if (holds()) return true;
      port.WaitReadable(200us);
    }
    return false;
  }
  bool Finish(const std::function<bool()>& operation) {
    bool done = false;
    EXPECT_TRUE(
        Until([&] { return (done = operation()) || port.Trouble() != PortTrouble::NotYet; }));
    return done;
  }
  bool Open(const KorText& scheme = u"rfc2217", const KorText& flow = u"Hardware") {
    ApplyFlowControl(block, flow, true, true, false);
    const KorText address = KorText::Format(u"%s://127.0.0.1:%u", scheme, DeviceServer::kPort);
    return Finish([&] { return port.Open(address); }) &&
           Finish([&] { return port.SetControlBlock(block); });
  }

  DeviceServer server;
  DeviceControlBlock block{.baudRate = 115200};
};

TEST_F(NetSerialPortTest, CarriesEveryByteThroughHundredsOfHolds) {
  ASSERT_TRUE(Open()) << ErrorText();
  EXPECT_EQ(server.controls, "\x08\x0B\x03");
  std::string sent, heard, left;
  for (int i = 0; i < 20'000; ++i)
    left += static_cast<char>(i * 7 + i / 256); // 0xFF among them
  const std::string all = left;
  const std::array<std::uint32_t, 4> kinds = {kCtsHold, kDsrHold, kRlsdHold, kCtsHold};
  const std::array<int, 3> states = {0xA0, 0x90, 0x30};
  server.SayModemState(0xB0);
  for (std::size_t hold = 0; hold < 500; ++hold) {
    const auto moment = all.size() * hold / 500;
    ASSERT_TRUE(Until([&] {
      if (Status().outQueue == 0 && left.size() + moment > all.size())
        left.erase(0, WriteSome(left.substr(0, 300)));
      return left.size() + moment <= all.size();
    })) << hold;
    const std::size_t kind = hold % 4;
    if (kind < 3)
      server.SayModemState(states[kind]);
    else
      server.Say(DeviceServer::Command(108, ""));
    ASSERT_TRUE(Until([&] { return Status().holds == kinds[kind]; })) << hold;
    EXPECT_EQ(WriteSome(left), 0u) << "a hold is obeyed";
    server.Say(DeviceServer::Command(109, ""));
    server.SayModemState(0xB0);
    server.Say("\xFF\xFF" + std::to_string(hold) + ";");
    ASSERT_TRUE(Until([&] { return Status().holds == 0; }));
    heard += Take();
    sent += '\xFF' + std::to_string(hold) + ";";
  }
  ASSERT_TRUE(Until([&] {
    if (!left.empty() && Status().outQueue == 0) left.erase(0, WriteSome(left));
    heard += Take();
    return server.data.size() >= all.size() && heard.size() >= sent.size();
  }));
  EXPECT_EQ(server.data, all);
  EXPECT_EQ(heard, sent);
}

TEST_F(NetSerialPortTest, TellsErrorsOfTheLineAndOtherSettings) {
  server.rate = std::string("\0\0\x12\xC0", 4);
  EXPECT_FALSE(Open());
  EXPECT_EQ(ErrorText(), "baud=115200 was asked for, but the server has set baud=4800");
  EXPECT_TRUE(port.IsOpen()) << "open, but not set up";
  server.rate.clear();
  ASSERT_TRUE(Finish([&] { return port.SetControlBlock(block); }));
  server.Say(DeviceServer::Command(106, "\x02") + DeviceServer::Command(106, "\x0C"));
  LineErrors errors;
  EXPECT_TRUE(Until([&] { return (errors = Status().errors) != LineErrors(); }));
  EXPECT_EQ(errors, (LineErrors{.overrun = 1, .parity = 1, .framing = 1}));
  NetSerialPort second;
  EXPECT_FALSE(second.Open(KorText::Format(u"tcp://127.0.0.1:%u", DeviceServer::kPort)));
  EXPECT_EQ(second.Trouble(), PortTrouble::InUse) << second.LastErrorText().ToUtf8();
}

TEST_F(NetSerialPortTest, NoticesWhatEndsTheLine) {
  ASSERT_TRUE(Open());
  server.Say(DeviceServer::Command(108, ""));
  ASSERT_TRUE(Until([&] { return Status().holds == kCtsHold; }));
  server.Hang();
  LineStatus status;
  EXPECT_TRUE(Until([&] { return !port.GetStatus(status); }));
  EXPECT_TRUE(port.IsGone());
  EXPECT_NE(ErrorText(), "");
  EXPECT_FALSE(Open()) << "refused";
  EXPECT_TRUE(port.IsGone());
  server.Listen();
  ASSERT_TRUE(Open()) << ErrorText();
  EXPECT_EQ(Status().holds, 0u) << "the request to stop was the last connection's";
  server.Say("\xFF\xFA\x2C" + std::string(10'000, 'x'));
  EXPECT_TRUE(Until([&] { return !port.GetStatus(status); }));
  EXPECT_TRUE(port.IsGone()) << "a stream that can't be read is no line";
  server.greets = false;
  EXPECT_FALSE(Open());
  EXPECT_EQ(ErrorText(), "The server doesn't speak RFC 2217; an address with tcp:// may do");
  server.reads = false;
  EXPECT_FALSE(Open()) << "another client keeps it busy";
  EXPECT_EQ(ErrorText(), "The server doesn't answer; another program may have taken its port");
  server.reads = server.greets = server.hangsUp = true;
  EXPECT_FALSE(Open());
  EXPECT_TRUE(port.IsOpen()) << "the next look at its status tells the end";
  EXPECT_FALSE(port.GetStatus(status));
  EXPECT_TRUE(port.IsGone());
  server.lastWords = "Port already in use\r\n";
  server.Listen();
  EXPECT_FALSE(Open());
  EXPECT_FALSE(port.GetStatus(status));
  EXPECT_EQ(ErrorText(), "The server says: Port already in use");
  EXPECT_FALSE(port.Open(u"rfc2217://127.0.0.1"));
  EXPECT_TRUE(KorText::FromUtf8(ErrorText()).Contains(u"port"));
}

TEST_F(NetSerialPortTest, TakesAClosedWindowForAHold) {
  ASSERT_TRUE(Open(u"tcp", u"None"));
  server.reads = false;
  std::string sent;
  std::size_t idle = 0;
  const std::string piece(4000, '\xFF');
  block.baudRate = 100'000'000; // as much as it takes
  ASSERT_TRUE(port.SetControlBlock(block));
  ASSERT_TRUE(Until([&] {
    const std::size_t count = Status().outQueue == 0 ? WriteSome(piece) : 0;
    sent += piece.substr(0, count);
    idle = count == 0 ? idle + 1 : 0;
    return idle > 500;
  }));
  EXPECT_GT(Status().outQueue, 0u);
  server.reads = true;
  EXPECT_TRUE(Until([&] {
    return Status().outQueue == 0 && server.data.size() * 2 == sent.size();
  })) << server.data.size()
      << " of " << sent.size(); // doubled bytes count once there
}

TEST_F(NetSerialPortTest, ObeysXoffItselfAndPassesItOn) {
  ASSERT_TRUE(Open(u"rfc2217", u"Xon/Xoff"));
  EXPECT_EQ(server.controls, "\x08\x0B\x01");
  server.Say("a\x13");
  std::string heard;
  EXPECT_TRUE(Until([&] { return (heard += Take()).size() == 2; }));
  EXPECT_EQ(heard, "a\x13");
  EXPECT_EQ(Status().holds, kXoffHold);
  EXPECT_EQ(WriteSome("x"), 0u);
  server.Say("\x11");
  EXPECT_TRUE(Until([&] { return Take() == "\x11"; }));
  EXPECT_EQ(WriteSome("x"), 1u);
}

} // namespace
} // namespace kor
