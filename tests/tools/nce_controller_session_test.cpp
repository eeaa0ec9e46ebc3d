// Frames, pages and blocks, and the session against a host that says just what a table tells it.
#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <span>

#include "services/core/kor_text.h"
#include "tools/nce_controller/program_text.h"
#include "tools/nce_controller/session.h"

namespace kor::controller {
namespace {

using namespace std::chrono_literals;

TEST(ControllerFrame, CarriesBlocksOfEverySizeOfLengthField) {
  EXPECT_EQ(EncodeFrame("G90!X10!"), "08G90!X10!17");
  EXPECT_EQ(DecodeFrame("08G90!X10!17").block, "G90!X10!");
  for (const std::size_t size : {1U, 15U, 16U, 100U, 255U, 256U, 257U, 4095U, 4096U, 24576U}) {
    std::string block(size, 'X');
    block.back() = '!';
    const DecodedFrame frame = DecodeFrame(EncodeFrame(block));
    EXPECT_EQ(frame.fault, "") << size;
    EXPECT_EQ(frame.block, block);
  }
}

std::string Names(std::string_view page, std::uint32_t first) {
  const auto entries = ParsePage(page, first);
  if (!entries) return "broken";
  std::string names;
  for (const DirectoryEntry& entry : *entries)
    names += std::to_string(entry.index) + "=" + entry.name + ";";
  return names;
}

TEST(ControllerReplies, TakesDirectoryPagesApart) {
  EXPECT_EQ(Names(" 9|a        10|b        11|c        12|d        ", 9), "9=a;10=b;11=c;12=d;");
  EXPECT_EQ(Names("99|x        100|y        ", 99), "99=x;100=y;");
  EXPECT_EQ(Names(" 1|with 2|bar  2|b        ", 1), "1=with 2|bar;2=b;");
  EXPECT_EQ(Names(" 1|         ", 1), "1=;");
  // Another index, padded to 7 and to 9, one left out, too many, and no page at all.
  for (const char* page :
       {" 2|101      ", " 1|101     ", " 1|1001      ", " 1|101       3|20        ",
        " 1|a         2|b         3|c         4|d         5|e        ", ""})
    EXPECT_EQ(Names(page, 1), "broken") << page;
}

TEST(ControllerPrograms, TravelInBlocksThatTheHostCanStrip) {
  std::string program = "G90\r\n\r\n" + std::string(98, 'A') + "\n" + std::string(254, 'B') + "\n" +
                        std::string(255, 'C') + "\n" + std::string(1000, 'D') + "\nlast";
  std::string stored;
  for (const std::string& block : UploadBlocks(program)) {
    EXPECT_LE(block.size(), 255U);
    EXPECT_NE(block, "");
    stored += BlockText(block);
  }
  std::erase(program, '\r');
  EXPECT_EQ(stored, program + "\n");
  EXPECT_TRUE(UploadBlocks("").empty());
}

// What the controller is expected to send, and what that brings, both with CR.
struct Exchange {
  std::string request, answer;
  Time delay = 1ms;
};

const std::string kLine1 = EncodeFrame("G90!X10!"), kLine2 = EncodeFrame("M30!");
// With a start code before the answer, which is the host's right.
constexpr const char* kBegun =
    "FH 123=\x12&LP 000000123;>=Download to NCE in progress. &FH 000000123;";

// "request=answer;..."; "$1" and "$2" are the frames above, "$B" the second with a bad checksum,
// "$E" the second with the end behind it, "$L" and "$T" the answers before an upload. Nothing
// behind "=": silence.
std::deque<Exchange> Script(const std::string& text) {
  const std::pair<const char16_t*, std::string> parts[] = {
      {u"$1", kLine1},
      {u"$2", kLine2},
      {u"$B", "04M30!5D"},
      {u"$E", kLine2 + "\r]"},
      {u"$L", "FH 124=%% File 124 not found on Host Computer"},
      {u"$T", "TH 124=Upload from NCE  in progress. &TH 124"}};
  KorText all = KorText::FromUtf8(text);
  for (const auto& [name, part] : parts)
    all.ReplaceAll(name, KorText::FromUtf8(part));
  std::deque<Exchange> script;
  for (const KorText& exchange : Split(all, u';')) {
    if (exchange.IsEmpty()) continue;
    const std::size_t equals = exchange.Find(u'=');
    const std::string answer = exchange.Mid(equals + 1).ToUtf8();
    script.push_back({exchange.Left(equals).ToUtf8() + "\r", answer.empty() ? "" : answer + "\r"});
  }
  return script;
}

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
  std::string surprises; // sent out of turn
  bool isStrict = true;
  int abandoned = 0;
};

struct Case {
  const char* name;
  std::string script;
  Outcome outcome;
  const char* text; // what the job gives, or part of the message
  int refuse = 0;
};

// Plays the host of each case; the job tells what it has got.
void ExpectAll(std::span<const Case> cases, const std::string& begun,
               const std::function<Verdict(Session&, std::string&)>& job) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptedLine line;
    line.script = Script(begun + c.script);
    line.script.front().delay = 9s;
    Session session(line, {});
    session.RefuseFrames(c.refuse);
    std::string got;
    const Verdict verdict = job(session, got);
    EXPECT_EQ(verdict.outcome, c.outcome) << verdict.message;
    EXPECT_EQ(line.surprises, "");
    EXPECT_TRUE(line.script.empty()) << line.script.front().request;
    // What is not known to be right is not handed out.
    EXPECT_EQ(got, verdict.IsDone() ? c.text : "");
    const std::string& told = verdict.IsDone() ? got : verdict.message;
    EXPECT_NE(told.find(c.text), std::string::npos) << told;
  }
}

TEST(ControllerSession, FetchesByTheProtocol) {
  using enum Outcome;
  const Case cases[] = {
      {"the end crosses with the last \">\"", ">=$1;>=$E;>=UDL>", Done, "G90\nX10\nM30\n"},
      {"the end is itself the answer", ">=$1;>=];>=UDL>", Done, "G90\nX10\n"},
      {"nothing but empty lines", ">=];>=UDL>", Done, ""},
      {"refused twice", ">=$1;<=$1;<=$1;>=$E;>=UDL>", Done, "G90\nX10\nM30\n", 2},
      {"refused three times", ">=$1;<=$1;<=$1;<=;~end=END", Fault, "refused three times", 3},
      {"a refused frame changed", ">=$1;<=$2;~end=END", Fault, "came again changed", 1},
      {"a damaged last frame", ">=$B\r];~end=END", Fault, "the last frame came damaged"},
      {"the last can't be refused", ">=$E;<=;~end=END", Fault, "can't send it again", 1},
      {"bad checksums", ">=$B;<=$B;<=$B;<=;~end=END", Fault, "checksum 5D where 6F is right"},
      {"no frame but a refusal", ">=%% Message not recognised by HOST", Refused, "not recognised"},
      {"silence", ">=", TimedOut, "no answer for 10.0 s"},
      {"no prompt after the end", ">=$1;>=];>=>;~end=END", Fault, "\">\", expected \"UDL>\""},
      {"a line that has no end", ">=" + EncodeFrame("G90!X1") + ";~end=END", Fault,
       "end with \"!\""},
  };
  ExpectAll(cases, kBegun, [](Session& session, std::string& program) {
    const FetchReport report = session.Fetch("123");
    program = report.program;
    return report.verdict;
  });
}

TEST(ControllerSession, ListsPageByPage) {
  using enum Outcome;
  const std::string page1 = "&DH;>= 1|1         2|2         3|3         4|4        ";
  const Case cases[] = {
      {"nothing", "&DH;>=]", Done, ""},
      {"two pages", page1 + ";>= 5|5        ;>=]", Done, "12345"},
      {"a page that comes twice", page1 + page1.substr(3), Fault, ""},
      {"another greeting", "", Fault, ""},
      {"silence", "&DH;>=", TimedOut, ""},
  };
  const std::string greeting(kGreeting.substr(0, kGreeting.find("&DH")));
  ExpectAll(cases, "DH=" + greeting, [](Session& session, std::string& names) {
    const DirectoryReport report = session.List();
    for (const DirectoryEntry& entry : report.entries)
      names += entry.name;
    return report.verdict;
  });
}

TEST(ControllerSession, UploadsUnderTheNumberTheHostWasAskedFor) {
  using enum Outcome;
  const Case cases[] = {
      {"new program", "$L;$T;$1=>;]=>", Done, ""},
      {"program that is there", "FH 124=Download to NCE in progress. &LP 124;$T;$1=>;]=>", Done,
       ""},
      {"a frame sent again", "$L;$T;$1=<;$1=>;]=>", Done, ""},
      {"answered twice", "$L;$T;$1=>\r>;]=>", Done, ""},
      {"refused three times", "$L;$T;$1=<;$1=<;$1=<", Refused, "frame 1 was answered with \"<\""},
      {"the disk filled up", "$L;$T;$1=<;$1=%% Message not recognised by HOST", Refused,
       "not recognised"},
      {"no file", "$L;TH 124=%% Unable to create file on Host Computer", Refused, "create"},
      {"another number", "$L;TH 124=Upload from NCE  in progress. &TH 123", Fault, "&TH 123"},
      {"a blank too many", "FH 124= %% File 124 not found on Host Computer", Fault, " %% File"},
      {"silence", "$L;$T;$1=", TimedOut, "no answer"},
      {"the end is not taken", "$L;$T;$1=>;]=<", Fault, "end of the program"},
  };
  ExpectAll(cases, "", [](Session& session, std::string&) {
    const SendReport report = session.Send("124", "G90\r\nX10\r\n", false);
    EXPECT_FALSE(report.isConfirmed);
    return report.verdict;
  });
}

TEST(ControllerSession, WaitsForAHostAndThenForTheLineToFallQuiet) {
  ScriptedLine line;
  line.isStrict = false;
  Session session(line, {});
  EXPECT_EQ(session.WaitForHost(5s).outcome, Outcome::TimedOut);
  EXPECT_EQ(line.now, 6s);
  EXPECT_EQ(line.abandoned, 10);
  // Two tests were under way when the host came.
  const std::string alphabet(kAlphabet);
  line.script = Script("XYZ=" + alphabet + "\r" + alphabet + ";XYZ=" + alphabet);
  EXPECT_TRUE(session.WaitForHost(5s).IsDone());
  EXPECT_TRUE(session.LineTest().IsDone());
  // An earlier controller was switched off in the middle of an upload.
  line.script = Script("XYZ=<;XYZ=<");
  EXPECT_EQ(session.WaitForHost(5s).outcome, Outcome::Fault);
  EXPECT_EQ(session.LineTest().outcome, Outcome::Fault);
}

// With made-up damage every silence may be a lost byte, but not for ever.
TEST(ControllerSession, AHostThatVanishesInATransferIsNotAwaitedForMinutes) {
  for (const bool isUpload : {false, true}) {
    ScriptedLine line;
    line.isStrict = false;
    line.script =
        Script(isUpload ? "$L;$T;" + EncodeFrame("X!") + "=>" : kBegun + std::string(">=$1"));
    Session session(line, {.retries = 10});
    const Verdict verdict =
        isUpload ? session.Send("124", "X\n\n\n", false).verdict : session.Fetch("123").verdict;
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
