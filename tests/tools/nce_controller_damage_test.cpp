// The session against the real host, in one process and on a clock that is moved by hand, over
// lines that spoil what travels. Whatever the damage, a program is either right or not handed out.
#include <gtest/gtest.h>

#include <chrono>

#include "tests/tools/host_line.h"
#include "tools/nce_controller/fault_line.h"
#include "tools/nce_controller/program_text.h"
#include "tools/nce_controller/session.h"

namespace kor::controller {
namespace {

using namespace std::chrono_literals;

class ControllerDamage : public ::testing::Test {
 protected:
  ControllerDamage() {
    settings.timeout = 1s;
    settings.byteTime = HostLine::kByteTime;
    settings.retries = 10;
    settings.verify = true;
    settings.sendsXon = true;
    // Blocks that repeat and lines of the same length: what is easily taken for one another.
    for (int block = 0; block < 3; ++block)
      for (int line = 0; line < 10; ++line)
        program += "N10 G01 X10\n";
    program += "M30\n";
    host.PutProgram(u"0000123.MPG", KorText::FromBytes(program));
    host.PutProgram(u"0000124.MPG", u"WRONG\n");
    host.PutProgram(u"0000023.MPG", u"WRONG\n");
    host.Start();
  }
  Verdict Fetch(Line& line) {
    Session session(line, settings);
    const FetchReport report = session.Fetch("0000123");
    if (report.verdict.IsDone())
      EXPECT_EQ(report.program, program);
    else
      EXPECT_EQ(report.program, "");
    return report.verdict;
  }

  NceLink host;
  SessionSettings settings;
  std::string program;
};

// Among them: a ">" that becomes "<" and brings a frame twice, or "~" and ends the download.
TEST_F(ControllerDamage, ADownloadSurvivesAnySingleDamage) {
  HostLine clean(host);
  ASSERT_TRUE(Fetch(clean).IsDone());
  const LineCounts counts = clean.Counts();
  const auto flip = [](char bits) {
    return [bits](std::string& s, std::size_t at) { s[at] = static_cast<char>(s[at] ^ bits); };
  };
  const std::function<void(std::string&, std::size_t)> kinds[] = {
      flip(0x02),
      flip(0x40),
      flip(0x11),
      [](std::string& s, std::size_t at) { s.erase(at, 1); },
      [](std::string& s, std::size_t at) { s.insert(at, 1, s[at]); },
      [](std::string& s, std::size_t at) { s[at] = '\r'; }};
  for (const bool isToHost : {true, false}) {
    const std::uint64_t bytes = isToHost ? counts.toHost : counts.fromHost;
    for (std::uint64_t place = 0; place < bytes / 2; ++place) // the first of two transfers
      for (const auto& kind : kinds) {
        HostLine line(host);
        line.spoil = kind;
        line.isToHost = isToHost;
        line.place = place;
        const Verdict verdict = Fetch(line);
        ASSERT_TRUE(verdict.IsDone()) << verdict.message << ", damage " << &kind - kinds
                                      << (isToHost ? " to" : " from") << " the host at " << place;
      }
  }
}

TEST_F(ControllerDamage, ABadLineGivesRightProgramsOrNoneAndAnUploadIsReadBack) {
  int fetched = 0, failed = 0, sent = 0;
  for (std::uint64_t seed = 0; seed < 120; ++seed) {
    HostLine cable(host);
    FaultLine line(cable, seed % 3 == 0 ? 0.02 : 0.002, seed);
    ++(Fetch(line).IsDone() ? fetched : failed);
    if (seed % 4 != 0) continue;
    FaultLine sending(cable, 0.004, seed);
    const std::string text = "G90\n(" + std::to_string(seed) + ")\n" + program;
    if (!Session(sending, settings).Send("0000777", text, true).verdict.IsDone()) continue;
    ++sent;
    const auto stored = host.app.Content(host.Folder() + u"0000777.MPG");
    ASSERT_TRUE(stored.has_value());
    EXPECT_EQ(FirstDifference(stored->ToBytes(), text), "") << "seed " << seed;
  }
  EXPECT_GT(fetched, 60);
  EXPECT_GT(failed, 0) << "one byte in fifty is more than the retries can mend";
  EXPECT_GT(sent, 15);
}

} // namespace
} // namespace kor::controller
