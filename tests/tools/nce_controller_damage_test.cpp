// The session against the real host, in one process and on a clock that is moved by hand, over lines
// that spoil what travels. Whatever the damage, a program is either right or not handed out.
#include <gtest/gtest.h>

#include <chrono>

#include "tests/support/nce_link.h"
#include "tools/nce_controller/fault_line.h"
#include "tools/nce_controller/program_text.h"
#include "tools/nce_controller/session.h"

namespace kor::controller {
namespace {

using namespace std::chrono_literals;

constexpr Time kByteTime = 87us;

// A cable to the host. One byte of one direction, chosen by its place, may be spoiled.
class HostLine : public Line {
 public:
  enum class Damage { None, Flip, Drop, Double, Return };

  explicit HostLine(NceLink& toReach) : host(toReach) {}

  Time Now() override {
    return Time(static_cast<Time::rep>(host.app.HighResolutionSeconds() * 1e9 + 0.5));
  }
  LineState Read(std::string& to, Time until) override {
    if (arrived.empty() && until > Now()) {
      Advance(until - Now());
      Exchange({});
    }
    to += arrived;
    arrived.clear();
    return LineState::Open;
  }
  LineState Write(std::string_view bytes, Time, std::size_t& written) override {
    written = bytes.size();
    Exchange(Spoil(bytes, true));
    return LineState::Open;
  }
  void Abandon() override {}
  LineCounts Counts() const override { return counts; }
  std::string FailureText() const override { return {}; }

  Damage damage = Damage::None;
  char bits = 0; // that a flip changes
  bool isToHost = true;
  std::uint64_t place = 0; // of the byte, counted from the start

 private:
  void Advance(Time span) { host.app.Advance(std::chrono::duration<double>(span + 1ns).count()); }
  void Exchange(const std::string& bytes) {
    const std::string answer = Spoil(host.Send(bytes), false);
    arrived += answer;
    Advance(static_cast<Time::rep>(bytes.size() + answer.size()) * kByteTime);
  }
  std::string Spoil(std::string_view bytes, bool towardsHost) {
    std::uint64_t& passed = towardsHost ? counts.toHost : counts.fromHost;
    std::string result(bytes);
    if (damage != Damage::None && towardsHost == isToHost && place >= passed &&
        place < passed + bytes.size())
      SpoilAt(result, static_cast<std::size_t>(place - passed));
    passed += bytes.size();
    return result;
  }
  void SpoilAt(std::string& bytes, std::size_t at) const {
    if (damage == Damage::Flip) bytes[at] = static_cast<char>(bytes[at] ^ bits);
    if (damage == Damage::Return) bytes[at] = '\r';
    if (damage == Damage::Drop) bytes.erase(at, 1);
    if (damage == Damage::Double) bytes.insert(at, 1, bytes[at]);
  }

  NceLink& host;
  std::string arrived;
  LineCounts counts;
};

class ControllerDamage : public ::testing::Test {
 protected:
  ControllerDamage() {
    settings.timeout = 1s;
    settings.byteTime = kByteTime;
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
  using Damage = HostLine::Damage;
  HostLine clean(host);
  ASSERT_TRUE(Fetch(clean).IsDone());
  const LineCounts counts = clean.Counts();
  const struct {
    Damage damage;
    char bits;
  } kinds[] = {{Damage::Flip, 0x02}, {Damage::Flip, 0x40}, {Damage::Flip, 0x11},
               {Damage::Drop, 0},    {Damage::Double, 0},  {Damage::Return, 0}};
  for (const bool isToHost : {true, false}) {
    const std::uint64_t bytes = isToHost ? counts.toHost : counts.fromHost;
    for (std::uint64_t place = 0; place < bytes / 2; ++place) // the first of two transfers
      for (const auto& kind : kinds) {
        HostLine line(host);
        line.damage = kind.damage;
        line.bits = kind.bits;
        line.isToHost = isToHost;
        line.place = place;
        const Verdict verdict = Fetch(line);
        ASSERT_TRUE(verdict.IsDone())
            << verdict.message << ", damage " << static_cast<int>(kind.damage) << "/"
            << static_cast<int>(kind.bits) << (isToHost ? " to" : " from") << " the host at "
            << place;
      }
  }
}

TEST_F(ControllerDamage, ABadLineGivesRightProgramsOrNone) {
  int done = 0;
  int failed = 0;
  for (std::uint64_t seed = 0; seed < 120; ++seed) {
    HostLine cable(host);
    FaultLine line(cable, seed % 3 == 0 ? 0.02 : 0.002, seed);
    ++(Fetch(line).IsDone() ? done : failed);
  }
  EXPECT_GT(done, 60);
  EXPECT_GT(failed, 0) << "one byte in fifty is more than the retries can mend";
}

TEST_F(ControllerDamage, AnUploadIsReadBackBeforeItCountsAsStored) {
  int done = 0;
  for (std::uint64_t seed = 0; seed < 25; ++seed) {
    HostLine cable(host);
    FaultLine line(cable, 0.004, seed);
    Session session(line, settings);
    const std::string text = "G90\n(" + std::to_string(seed) + ")\n" + program;
    const SendReport report = session.Send("0000777", text, true);
    if (!report.verdict.IsDone()) continue;
    ++done;
    const auto stored = host.app.Content(host.Folder() + u"0000777.MPG");
    ASSERT_TRUE(stored.has_value());
    EXPECT_EQ(FirstDifference(stored->ToBytes(), text), "") << "seed " << seed;
  }
  EXPECT_GT(done, 15);
}

TEST_F(ControllerDamage, ADirectoryIsReadUntilTwoAgree) {
  int done = 0;
  for (std::uint64_t seed = 0; seed < 60; ++seed) {
    HostLine cable(host);
    FaultLine line(cable, 0.01, seed);
    Session session(line, settings);
    const DirectoryReport report = session.List();
    if (!report.verdict.IsDone()) continue;
    ++done;
    ASSERT_EQ(report.entries.size(), 3U);
    EXPECT_EQ(report.entries[0].name + report.entries[1].name + report.entries[2].name,
              "000002300001230000124");
  }
  EXPECT_GT(done, 30);
}

// What the tool says of the host's features on a line without damage.
TEST_F(ControllerDamage, FetchesUnderEveryOptionOfTheHost) {
  const struct {
    SpecialFeatures features;
    const char* number;
    std::vector<std::pair<const char16_t*, const char16_t*>> files;
    const char* program;
  } cases[] = {
      {{.stripPcZeros = true, .stripNceZeros = true}, "0000055", {{u"55.MPG", u"A\n"}}, "A\n"},
      {{.autoloadSequential = true, .hybridNumber = true},
       "3730406",
       {{u"37304.MPG", u"A\n\n"}, {u"37305.MPG", u"B"}, {u"37306.MPG", u"C\r\n\r\n"}},
       "A\nB\nC\n"},
      {{.autoloadSequential = true}, "70", {{u"70.MPG", u"A\n"}, {u"71.MPG", u"B\n"}}, "A\nB\n"},
  };
  settings.retries = 0;
  settings.verify = false;
  for (const auto& c : cases) {
    for (const auto& [name, content] : c.files)
      host.PutProgram(name, content);
    host.link->SetFeatures(c.features);
    host.Run();
    HostLine line(host);
    Session session(line, settings);
    const FetchReport report = session.Fetch(c.number);
    EXPECT_TRUE(report.verdict.IsDone()) << c.number << ": " << report.verdict.message;
    EXPECT_EQ(report.program, c.program);
    EXPECT_EQ(session.StrayBytes(), 0U);
  }
}

} // namespace
} // namespace kor::controller
