// The session against a host that says exactly what a table tells it to.
#include <gtest/gtest.h>

#include <deque>

#include "tools/nce_controller/session.h"

namespace kor::controller {
namespace {

using namespace std::chrono_literals;

// What the controller is expected to send, and what that brings.
struct Exchange {
  std::string request; // with CR
  std::string answer;
  Time delay = 1ms;
};

class ScriptedLine : public Line {
 public:
  Time Now() override { return now; }
  LineState Read(std::string& to, Time until) override {
    if (!arrived.empty() && arrivesAt <= std::max(until, now)) {
      now = std::max(now, arrivesAt);
      to += arrived;
      arrived.clear();
    } else {
      now = std::max(now, until);
    }
    return LineState::Open;
  }
  LineState Write(std::string_view bytes, Time, std::size_t& written) override {
    written = bytes.size();
    sent += bytes;
    if (script.empty() || script.front().request != bytes) {
      if (isStrict) surprises += std::string(bytes) + "|";
      return LineState::Open;
    }
    arrived += script.front().answer;
    arrivesAt = now + script.front().delay;
    script.pop_front();
    return LineState::Open;
  }
  void Abandon() override { ++abandoned; }
  LineCounts Counts() const override { return {}; }
  std::string FailureText() const override { return {}; }

  Time now = 1s;
  std::deque<Exchange> script;
  std::string arrived;
  Time arrivesAt{};
  std::string sent;
  std::string surprises; // sent out of turn
  bool isStrict = true;
  int abandoned = 0;
};

const std::vector<Exchange> kStart = {{"FH 123\r", "&LP 000000123\r"},
                                      {">\r", "Download to NCE in progress. &FH 000000123\r"}};
constexpr const char* kFrame1 = "08G90!X10!17\r";
constexpr const char* kFrame2 = "04M30!5D\r";

struct Case {
  const char* name;
  std::vector<Exchange> exchanges;
  Outcome outcome;
  const char* text; // of the program, or part of the message
  int refuse = 0;
};

std::string FrameOf(const char* block) {
  return EncodeFrame(block) + "\r";
}

TEST(ControllerSession, FetchesByTheProtocol) {
  const std::string frame2 = FrameOf("M30!");
  ASSERT_NE(frame2, kFrame2) << "kFrame2 is a frame with a wrong checksum";
  const std::string end = frame2 + "]\r";
  const Case cases[] = {
      {"the end crosses with the last acknowledgement",
       {{">\r", kFrame1}, {">\r", end}, {">\r", "UDL>\r"}},
       Outcome::Done,
       "G90\nX10\nM30\n"},
      {"the end is itself the answer",
       {{">\r", kFrame1}, {">\r", "]\r"}, {">\r", "UDL>\r"}},
       Outcome::Done,
       "G90\nX10\n"},
      {"nothing but empty lines", {{">\r", "]\r"}, {">\r", "UDL>\r"}}, Outcome::Done, ""},
      {"refused twice and sent again",
       {{">\r", kFrame1}, {"<\r", kFrame1}, {"<\r", kFrame1}, {">\r", end}, {">\r", "UDL>\r"}},
       Outcome::Done,
       "G90\nX10\nM30\n",
       2},
      {"refused three times",
       {{">\r", kFrame1}, {"<\r", kFrame1}, {"<\r", kFrame1}, {"<\r", ""}, {"~end\r", "END\r"}},
       Outcome::Fault,
       "refused three times",
       3},
      {"a refused frame that comes changed",
       {{">\r", kFrame1}, {"<\r", frame2}, {"~end\r", "END\r"}},
       Outcome::Fault,
       "came again changed",
       1},
      {"the last frame can't be refused",
       {{">\r", end}, {"<\r", ""}, {"~end\r", "END\r"}},
       Outcome::Fault,
       "can't send it again",
       1},
      {"bad checksum three times",
       {{">\r", kFrame2}, {"<\r", kFrame2}, {"<\r", kFrame2}, {"<\r", ""}, {"~end\r", "END\r"}},
       Outcome::Fault,
       "checksum 5D where 6F is right"},
      {"not found", {}, Outcome::Refused, "%% File 123 not found on Host Computer"},
      {"no frame but a refusal",
       {{">\r", "%% Message not recognised by HOST\r"}},
       Outcome::Refused,
       "not recognised"},
      {"silence", {{">\r", ""}}, Outcome::TimedOut, "no answer for 10.0 s"},
      {"a line that never ends",
       {{">\r", "08G90!X1"}},
       Outcome::TimedOut,
       "no answer for 10.0 s after \"08G90!X1\""},
      {"a block that does not end its last line",
       {{">\r", FrameOf("G90!X1")}, {"~end\r", "END\r"}},
       Outcome::Fault,
       "does not end with \"!\""},
      {"no prompt after the end",
       {{">\r", kFrame1}, {">\r", "]\r"}, {">\r", ">\r"}, {"~end\r", "END\r"}},
       Outcome::Fault,
       "\">\", expected \"UDL>\""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptedLine line;
    if (c.exchanges.empty())
      line.script = {{"FH 123\r", "%% File 123 not found on Host Computer\r"}};
    else
      line.script.assign(kStart.begin(), kStart.end());
    line.script.insert(line.script.end(), c.exchanges.begin(), c.exchanges.end());
    Session session(line, {});
    session.RefuseFrames(c.refuse);
    const FetchReport report = session.Fetch("123");
    EXPECT_EQ(report.verdict.outcome, c.outcome) << report.verdict.message;
    EXPECT_EQ(line.surprises, "");
    EXPECT_TRUE(line.script.empty()) << line.script.front().request;
    if (c.outcome == Outcome::Done) {
      EXPECT_EQ(report.program, c.text);
      continue;
    }
    EXPECT_NE(report.verdict.message.find(c.text), std::string::npos) << report.verdict.message;
    EXPECT_EQ(report.program, "") << "what is not known to be right is not handed out";
  }
}

TEST(ControllerSession, TheRequestAndItsAnswerMustAgree) {
  const struct {
    const char* answer;
    Outcome outcome;
  } cases[] = {
      {"&LP 000000124\r", Outcome::Fault},
      {"%% File 124 not found on Host Computer\r", Outcome::Refused},
      {"%% Message not recognised by HOST\r", Outcome::Refused},
      {"Upload from NCE  in progress. &TH 123\r", Outcome::Fault},
      {"", Outcome::TimedOut},
  };
  for (const auto& c : cases) {
    ScriptedLine line;
    line.isStrict = false;
    line.script = {{"FH 123\r", c.answer}};
    EXPECT_EQ(Session(line, {}).Fetch("123").verdict.outcome, c.outcome) << c.answer;
  }
}

TEST(ControllerSession, AStartCodeAndADelayBeforeTheAnswerAreTheHostsRight) {
  ScriptedLine line;
  line.script = {{"FH 123\r", "\x12&LP 000000123\r", 9s},
                 kStart[1],
                 {">\r", FrameOf("M30!") + "]\r"},
                 {">\r", "UDL>\r"}};
  EXPECT_TRUE(Session(line, {}).Fetch("123").verdict.IsDone());
}

TEST(ControllerSession, ListsPageByPage) {
  const std::string greeting = std::string(kGreeting) + "\r";
  const std::string page1 = " 1|1         2|2         3|3         4|4        \r";
  const struct {
    const char* name;
    std::vector<Exchange> script;
    Outcome outcome;
    std::size_t entries;
  } cases[] = {
      {"nothing", {{"DH\r", greeting}, {">\r", "]\r"}}, Outcome::Done, 0},
      {"two pages",
       {{"DH\r", greeting}, {">\r", page1}, {">\r", " 5|5        \r"}, {">\r", "]\r"}},
       Outcome::Done,
       5},
      {"a page that comes twice",
       {{"DH\r", greeting}, {">\r", page1}, {">\r", page1}},
       Outcome::Fault,
       0},
      {"another greeting", {{"DH\r", "Directory\r"}}, Outcome::Fault, 0},
      {"silence", {{"DH\r", greeting}, {">\r", ""}}, Outcome::TimedOut, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptedLine line;
    line.script.assign(c.script.begin(), c.script.end());
    const DirectoryReport report = Session(line, {}).List();
    EXPECT_EQ(report.verdict.outcome, c.outcome) << report.verdict.message;
    EXPECT_EQ(report.entries.size(), c.entries);
    EXPECT_EQ(line.surprises, "");
  }
}

TEST(ControllerSession, UploadsUnderTheNumberTheHostWasAskedFor) {
  const Exchange missing = {"FH 124\r", "%% File 124 not found on Host Computer\r"};
  const Exchange accepted = {"TH 124\r", "Upload from NCE  in progress. &TH 124\r"};
  const std::string frame = FrameOf("G90!X10!");
  const struct {
    const char* name;
    std::vector<Exchange> script;
    Outcome outcome;
    const char* message;
  } cases[] = {
      {"new program", {missing, accepted, {frame, ">\r"}, {"]\r", ">\r"}}, Outcome::Done, ""},
      {"program that is there",
       {{"FH 124\r", "Download to NCE in progress. &LP 124\r"},
        accepted,
        {frame, ">\r"},
        {"]\r", ">\r"}},
       Outcome::Done,
       ""},
      {"a frame sent again",
       {missing, accepted, {frame, "<\r"}, {frame, ">\r"}, {"]\r", ">\r"}},
       Outcome::Done,
       ""},
      {"refused three times",
       {missing, accepted, {frame, "<\r"}, {frame, "<\r"}, {frame, "<\r"}},
       Outcome::Refused,
       "frame 1 was answered with \"<\""},
      {"the disk filled up",
       {missing, accepted, {frame, "<\r"}, {frame, "%% Message not recognised by HOST\r"}},
       Outcome::Refused,
       "not recognised"},
      {"no file",
       {missing, {"TH 124\r", "%% Unable to create file on Host Computer\r"}},
       Outcome::Refused,
       "Unable to create"},
      {"another number",
       {missing, {"TH 124\r", "Upload from NCE  in progress. &TH 123\r"}},
       Outcome::Fault,
       "&TH 123"},
      {"answered twice", {missing, accepted, {frame, ">\r>\r"}, {"]\r", ">\r"}}, Outcome::Done, ""},
      {"silence", {missing, accepted, {frame, ""}}, Outcome::TimedOut, "no answer"},
      {"the end is not taken",
       {missing, accepted, {frame, ">\r"}, {"]\r", "<\r"}},
       Outcome::Fault,
       "end of the program"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptedLine line;
    line.script.assign(c.script.begin(), c.script.end());
    const SendReport report = Session(line, {}).Send("124", "G90\r\nX10\r\n", false);
    EXPECT_EQ(report.verdict.outcome, c.outcome) << report.verdict.message;
    EXPECT_NE(report.verdict.message.find(c.message), std::string::npos) << report.verdict.message;
    EXPECT_EQ(line.surprises, "");
    EXPECT_TRUE(line.script.empty());
    EXPECT_FALSE(report.isConfirmed);
  }
}

TEST(ControllerSession, WaitsForAHostAndThenForTheLineToFallQuiet) {
  ScriptedLine line;
  line.isStrict = false;
  Session session(line, {});
  EXPECT_EQ(session.WaitForHost(5s).outcome, Outcome::TimedOut);
  EXPECT_EQ(line.now, 6s);
  EXPECT_EQ(line.abandoned, 10);
  // Two tests were under way when the host came.
  line.script = {{"XYZ\r", std::string(kAlphabet) + "\r" + std::string(kAlphabet) + "\r"},
                 {"XYZ\r", std::string(kAlphabet) + "\r"}};
  EXPECT_TRUE(session.WaitForHost(5s).IsDone());
  EXPECT_TRUE(session.LineTest().IsDone());
  // An earlier controller was switched off in the middle of an upload.
  line.script = {{"XYZ\r", "<\r"}, {"XYZ\r", "<\r"}};
  EXPECT_EQ(session.WaitForHost(5s).outcome, Outcome::Fault);
  EXPECT_EQ(session.LineTest().outcome, Outcome::Fault);
}

// With made-up damage every silence may be a lost byte, but not for ever.
TEST(ControllerSession, AHostThatVanishesInATransferIsNotAwaitedForMinutes) {
  const Exchange accepted = {"TH 123\r", "Upload from NCE  in progress. &TH 123\r"};
  for (const bool isUpload : {false, true}) {
    ScriptedLine line;
    line.isStrict = false;
    line.script = {kStart[0], isUpload ? accepted : kStart[1]};
    line.script.push_back({isUpload ? FrameOf("X!") : ">\r", isUpload ? ">\r" : kFrame1});
    Session session(line, {.retries = 10});
    const Verdict verdict =
        isUpload ? session.Send("123", "X\n\n\n", false).verdict : session.Fetch("123").verdict;
    EXPECT_EQ(verdict.outcome, Outcome::TimedOut);
    EXPECT_LT(line.now, 75s);
    EXPECT_TRUE(verdict.message.starts_with("the host has fallen silent: nothing came for 50."))
        << verdict.message;
  }
}

TEST(ControllerSession, KnowsWhatCantBeANumber) {
  for (const char* good : {"0000123", "3730417", "12", "part 7", "H0000001"})
    EXPECT_EQ(Session::NumberObstacle(good), "") << good;
  for (const char* bad : {"", " 1", "1 ", "DH", "aXYZ", "TH 5", "~", "1\r", "\xE4"})
    EXPECT_NE(Session::NumberObstacle(bad), "") << bad;
}

} // namespace
} // namespace kor::controller
