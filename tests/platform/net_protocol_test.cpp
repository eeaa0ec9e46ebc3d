// The network line's protocols without a network: framing, options, RFC 2217 and the estimate of
// what is under way, on a clock that the tests move.
#include <gtest/gtest.h>

#include "platform/net/com_port_client.h"
#include "platform/net/line_estimate.h"
#include "platform/net/telnet_stream.h"
#include "platform/port_address.h"
#include "services/core/as_bytes.h"
#include "tests/support/device_server.h"
#include "tests/support/text_printer.h"

namespace kor {
namespace {

using namespace std::chrono_literals;
using Time = std::chrono::steady_clock::time_point;

std::string Hex(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes)
    text += KorText::Format(u"%02x ", static_cast<std::uint8_t>(byte)).ToBytes();
  return text;
}

constexpr auto Say = DeviceServer::Command;

struct Transcript : TelnetSink {
  std::string text;
  void OnData(std::span<const std::uint8_t> bytes) override {
    text.append(bytes.begin(), bytes.end());
  }
  void OnNegotiation(std::uint8_t verb, std::uint8_t option) override {
    text += "<" + std::to_string(verb) + " " + std::to_string(option) + ">";
  }
  void OnSubNegotiation(std::uint8_t option, std::string_view payload) override {
    text += "[" + std::to_string(option) + ": " + Hex(payload) + "]";
  }
};

TEST(TelnetStream, SaysTheSameHoweverTheStreamIsCut) {
  std::string stream = "AB\xFF\xFF"
                       "C\xFF\xF1"
                       "D\xFF\xFD\x2C"
                       "E";
  stream += Say(101, std::string("\0\xFF\x25\x80", 4)) + "F";
  stream += "\xFF\xFA\x2C"
            "torn\xFF\xFB\x03"
            "G";
  stream += Say(100, std::string(300, 'x')) + "H\xFF\xFA\xFF\xF0I";
  const std::string expected = "AB\xFF"
                               "CD<253 44>E[44: 65 00 ff 25 80 ]F<251 3>GHI";
  for (std::size_t first = 0; first <= stream.size(); ++first)
    for (std::size_t second = first; second <= stream.size(); second += 7) {
      TelnetDecoder decoder;
      Transcript heard;
      const std::string_view all = stream;
      for (const auto piece :
           {all.substr(0, first), all.substr(first, second - first), all.substr(second)})
        ASSERT_TRUE(decoder.Decode(AsBytes(piece), heard));
      ASSERT_EQ(heard.text, expected) << first << " " << second;
    }
}

TEST(TelnetOptions, AnswersWhatChangesAndEndsEveryQuarrel) {
  using namespace telnet;
  struct Case {
    std::uint8_t verb, option;
    std::string answer;
  };
  std::string out;
  TelnetOptions options(out);
  options.OfferOwn(kComPort);
  options.AskFar(kBinary);
  EXPECT_EQ(Hex(out), "ff fb 2c ff fd 00 ");
  for (const Case& c :
       {Case{kDo, kComPort, ""}, Case{kDo, kComPort, ""}, Case{kWill, kBinary, ""},
        Case{kWill, 1, "ff fe 01 "}, Case{kWill, 1, ""}, Case{kWill, kComPort, "ff fe 2c "},
        Case{kDo, 24, "ff fc 18 "}, Case{kDo, kSuppressGoAhead, "ff fb 03 "},
        Case{kDont, kSuppressGoAhead, "ff fc 03 "}, Case{kWont, 5, ""}}) {
    out.clear();
    options.OnNegotiation(c.verb, c.option);
    EXPECT_EQ(Hex(out), c.answer) << int{c.verb} << " " << int{c.option};
  }
  out.clear();
  for (int i = 0; i < 100'000; ++i)
    options.OnNegotiation(i % 2 == 0 ? kDo : kDont, kBinary);
  EXPECT_LT(out.size(), 2000u);
  EXPECT_TRUE(options.IsOwnOn(kComPort));
}

class ComPort : public testing::Test {
 protected:
  ComPort() { client.Start(now); }
  void Hear(const std::string& bytes) { EXPECT_TRUE(client.Receive(AsBytes(bytes), now)); }
  void HearModemState(int state) { Hear(Say(107, std::string(1, static_cast<char>(state)))); }
  void SetLine(const DeviceControlBlock& block) {
    client.TakeOutput();
    client.SetLine(block, now);
  }
  // The server does what it is asked, but for the answers in place of its own.
  void AnswerAll(const std::string& instead = {}) {
    const std::string asked = client.TakeOutput();
    std::string answers = instead;
    for (std::size_t at = 0; at + 3 < asked.size(); ++at)
      if (asked.substr(at, 3) == "\xFF\xFA\x2C" &&
          (instead.empty() || asked[at + 3] != instead[3] - 100))
        answers += asked.substr(at, 3) + static_cast<char>(asked[at + 3] + 100) +
                   asked.substr(at + 4, asked.find("\xFF\xF0", at) + 2 - at - 4);
    Hear(answers);
  }

  Time now{1h};
  ComPortClient client;
};

TEST_F(ComPort, AsksForEachFlowControlAsTheTableSays) {
  struct Case {
    const char16_t* flow;
    bool rts, dtr;
    std::uint8_t control;
    bool obeysLess;
  };
  for (const Case& c :
       {Case{u"None", true, true, 1, false}, Case{u"Xon/Xoff", true, true, 1, false},
        Case{u"Hardware", true, false, 3, false}, Case{u"Hardware", false, true, 19, false},
        Case{u"Hardware", true, true, 3, true}, Case{u"Hardware", false, false, 1, false},
        Case{u"Combined", true, false, 3, true}, Case{u"Combined", false, false, 1, false}}) {
    DeviceControlBlock block;
    block.baudRate = 65280; // FF 00: doubled
    block.parity = Parity::Even;
    block.stopBits = StopBits::OnePointFive;
    ApplyFlowControl(block, c.flow, c.rts, c.dtr, false);
    SetLine(block);
    const std::string asked = client.TakeOutput();
    EXPECT_EQ(asked, Say(1, std::string("\0\0\xFF\0", 4)) + Say(2, "\x08") + Say(3, "\x03") +
                         Say(4, "\x03") + Say(5, "\x08") + Say(5, "\x0B") +
                         Say(5, std::string(1, static_cast<char>(c.control))) + Say(10, "\x1E") +
                         Say(11, "\xFF"));
    EXPECT_EQ(client.ObeysLess(), c.obeysLess) << KorText(c.flow).ToUtf8() << c.rts << c.dtr;
  }
}

TEST_F(ComPort, WaitsASecondInAllForAnswers) {
  using Answer = ComPortClient::Answer;
  EXPECT_EQ(client.Greeting(now), Answer::Awaited);
  EXPECT_EQ(client.Greeting(now + 1s), Answer::Refused);
  Hear("\xFF\xFD\x2C");
  EXPECT_EQ(client.Greeting(now), Answer::Given);
  SetLine({});
  EXPECT_EQ(client.LineAnswer(now), Answer::Awaited);
  AnswerAll();
  EXPECT_EQ(client.LineAnswer(now), Answer::Given);
  EXPECT_EQ(client.Unanswered(), u"");
  SetLine({});
  AnswerAll(Say(101, std::string("\0\0\x25\x00", 4))); // 9472: within 3 %
  EXPECT_EQ(client.LineAnswer(now), Answer::Given);
  SetLine({});
  AnswerAll(Say(103, "\x03"));
  EXPECT_EQ(client.LineAnswer(now), Answer::Refused);
  EXPECT_EQ(client.Difference(), u"parity=N was asked for, but the server has set parity=E");
  SetLine({});
  AnswerAll(Say(105, "") + Say(105, "long")); // wrong lengths are no answers
  EXPECT_EQ(client.LineAnswer(now + 999ms), Answer::Awaited);
  EXPECT_EQ(client.LineAnswer(now + 1s), Answer::Given);
  EXPECT_EQ(client.Unanswered(), u"SET-CONTROL");
}

TEST_F(ComPort, ObeysTheLinesAndCountsTheErrors) {
  DeviceControlBlock block;
  ApplyFlowControl(block, u"Hardware", true, true, false);
  SetLine(block);
  EXPECT_EQ(client.Holds(), 0u) << "unknown lines hold nothing";
  struct Case {
    int state;
    std::uint32_t holds;
  };
  for (const Case& c : {Case{0x30, 0}, Case{0x20, kCtsHold}, Case{0x10, kDsrHold}, Case{0xB0, 0},
                        Case{0x30, kRlsdHold}, Case{0, kCtsHold | kDsrHold | kRlsdHold}}) {
    HearModemState(c.state);
    EXPECT_EQ(client.Holds(), c.holds) << c.state;
  }
  ApplyFlowControl(block, u"None", true, true, false);
  SetLine(block);
  EXPECT_EQ(client.Holds(), 0u);
  for (const int shift : {0, 100}) { // some servers use the client's numbers
    Hear(Say(static_cast<std::uint8_t>(8 + shift), ""));
    EXPECT_EQ(client.Holds(), kCtsHold);
    Hear(Say(static_cast<std::uint8_t>(9 + shift), ""));
    EXPECT_EQ(client.Holds(), 0u);
  }
  Hear(Say(208, ""));
  EXPECT_EQ(client.Holds(), 0u) << "no command at all";
  Hear(Say(106, "\x06") + Say(106, "\x1A") + Say(106, "\x61"));
  EXPECT_EQ(client.TakeErrors(),
            (LineErrors{.overrun = 2, .parity = 1, .framing = 1, .breaks = 1}));
  EXPECT_EQ(client.TakeErrors(), LineErrors());
}

TEST_F(ComPort, IgnoresWhatArrivesWhileDsrIsOff) {
  DeviceControlBlock block;
  ApplyFlowControl(block, u"Hardware", true, true, false);
  SetLine(block);
  const auto state = [](int lines) { return Say(107, std::string(1, static_cast<char>(lines))); };
  Hear("a" + state(0x30) + "b" + state(0x10) + "c" + state(0x30) + "d");
  EXPECT_EQ(client.Data(), "abd");
}

TEST_F(ComPort, DropsWhatArrivesBeforeThePurgeIsAnswered) {
  Hear("old");
  client.PurgeReceive(now);
  Hear("older" + Say(112, "\x02") + "oldest" + Say(112, "\x01") + "new");
  EXPECT_EQ(client.Data(), "new");
  client.PurgeReceive(now);
  now += 1s; // a server that doesn't answer makes nobody deaf
  Hear("next");
  EXPECT_EQ(client.Data(), "next");
}

TEST_F(ComPort, TellsWhoItIsOnceAndKeepsWhoTheServerIs) {
  client.TakeOutput();
  Hear(Say(100, "") + Say(100, ""));
  EXPECT_EQ(client.TakeOutput(), Say(0, "ncedl"));
  EXPECT_FALSE(client.Signature()) << "that was a question";
  Hear(Say(100, "server") + Say(100, ""));
  EXPECT_EQ(client.Signature(), "server");
}

TEST(LineEstimate, GivesLittleAheadOfTheLineAndStandsStillInAHold) {
  Time now{1h};
  LineEstimate estimate;
  estimate.Clear(now);
  estimate.SetLine({}); // 9600 8N1: 1.04 ms a byte
  EXPECT_EQ(estimate.Room(now), 9u);
  estimate.Add(9, false, now);
  EXPECT_EQ(estimate.Room(now += 4ms), 0u);
  EXPECT_EQ(estimate.Backlog(now), 6u);
  EXPECT_EQ(estimate.Room(now += 1ms), 5u);
  estimate.SetHeld(true, now);
  EXPECT_EQ(estimate.Backlog(now += 1h), 5u);
  estimate.SetHeld(false, now);
  EXPECT_EQ(estimate.Backlog(now += 1h), 0u);
  EXPECT_EQ(estimate.Jitter(), 0ns) << "nobody had more to send";
  estimate.Add(9, true, now);
  EXPECT_EQ(estimate.Room(now += 14ms), 14u) << "4.6 ms late: the lead grows by that";
  estimate.Add(9, true, now);
  EXPECT_GT(estimate.Room(now += 1s), 27u);
  EXPECT_EQ(estimate.Jitter(), LineEstimate::kMostJitter);
  for (int i = 0; i < 400; ++i)
    estimate.Add(0, false, now);
  EXPECT_LT(estimate.Jitter(), 1ms) << "and is forgotten";
  DeviceControlBlock slow;
  slow.baudRate = 110;
  slow.stopBits = StopBits::Two;
  estimate.SetLine(slow);
  EXPECT_EQ(estimate.Room(now), 1u);
  estimate.Add(1, true, now);
  EXPECT_EQ(estimate.Room(now + 94ms), 0u);
  EXPECT_EQ(estimate.Room(now + 96ms), 1u);
}

TEST(PortAddress, TellsWhatIsWrong) {
  const auto names = [](const char16_t* text, const std::string& host, std::uint16_t port,
                        bool isForHosts = true) {
    PortAddress address;
    EXPECT_EQ(ParsePortAddress(text, address), u"");
    EXPECT_EQ(RefusalOfPortAddress(text).IsEmpty(), isForHosts);
    EXPECT_EQ(address.host, host);
    EXPECT_EQ(address.port, port);
  };
  names(u"tcp-listen://:4001", "", 4001, false);
  names(u"rfc2217://hall3-nport:4001", "hall3-nport", 4001);
  names(u"TCP://192.168.7.20:1", "192.168.7.20", 1);
  names(u"tcp://[fd00::7%eth0]:65535", "fd00::7%eth0", 65535);
  const auto isRefused = [](const KorText& text, const KorText& of) {
    EXPECT_TRUE(RefusalOfPortAddress(text).Contains(of)) << text.ToUtf8();
  };
  for (const char16_t* text : {u"tcp-listen://:4001", u"telnet://h:1", u"rfc2217://:1",
                               u"rfc2217://h/x:1", u"rfc2217://[]:1"})
    isRefused(text, u"no address");
  for (const char16_t* text :
       {u"rfc2217://h", u"rfc2217://h:", u"rfc2217://h:0", u"rfc2217://h:65536",
        u"rfc2217://h:4001/", u"rfc2217://h:99999999999"})
    isRefused(text, u"port");
  isRefused(u"rfc2217://h :1", u"blanks");
  isRefused(u"tcp://fd00::7:1", u"brackets");
}

} // namespace
} // namespace kor
