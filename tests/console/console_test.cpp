// The console front end on a scripted terminal.
#include <gtest/gtest.h>

#include "tests/support/nce_link.h"
#include "ui/console/banner.h"
#include "ui/console/column_width.h"
#include "ui/console/commands.h"
#include "ui/console/console_front_end.h"
#include "ui/console/status_line.h"

namespace kor {
namespace {

constexpr std::chrono::minutes kStarved(1); // the writer's thread may wait for a processor

// A terminal whose input is given beforehand.
class FakeTerminal : public Terminal {
 public:
  explicit FakeTerminal(bool isInteractive) : interactive(isInteractive) {}
  bool IsInteractive() const override { return interactive; }
  void StartKeys() override { keysStarted = true; }
  void StopKeys() override { keysStarted = false; }
  int Columns() const override { return 80; }
  std::size_t Read(std::span<char> to) override {
    const Lock lock(mutex);
    const std::size_t count = std::min(to.size(), input.size());
    std::copy_n(input.begin(), count, to.begin());
    input.erase(0, count);
    return count;
  }
  std::size_t Left() {
    const Lock lock(mutex);
    return input.size();
  }
  void Write(std::string_view text) override { output += text; }
  void WriteError(std::string_view text) override { errors += text; }
  bool HasColours() const override { return colours; }
  std::unique_ptr<LineEditor> MakeLineEditor() override { return nullptr; }
  void OnEvent(std::function<void(TerminalEvent)>) override {}

  const bool interactive;
  bool colours = false;
  bool keysStarted = false;
  std::string input, output, errors;

 private:
  Mutex mutex;
};

StatusView View(std::int32_t code, const KorText& line, const KorText& fileName = {},
                std::int64_t bytesDone = 0) {
  StatusView view;
  view.code = static_cast<LinkStatus>(code);
  view.line = line;
  view.fileName = fileName;
  view.bytesDone = bytesDone;
  return view;
}

class ConsoleTest : public ::testing::Test {
 protected:
  // The whole program on the scripted input; what it answers.
  std::string Run(const std::string& input) {
    const auto terminal = std::make_shared<FakeTerminal>(false);
    terminal->input = input + "quit\n";
    ConsoleFrontEnd console(terminal);
    EngineServices services = link.Services();
    services.window = &console;
    NCEApp nce(services, u"");
    Commands commands(nce, console);
    nce.SetUpServices();
    nce.BuildWindow();
    link.port.Deliver(fromController);
    console.Run(nce.Timers(), [&](const KorText& line) {
      commands.Run(line);
      while (nce.Poll()) {
      }
    });
    nce.Terminate();
    console.Flush(kStarved);
    errors = terminal->errors;
    return terminal->output;
  }

  NceLink link;
  TestApp& app = link.app;
  std::string fromController;
  std::string errors;
};

TEST_F(ConsoleTest, PipedItWritesALineForEachChangeOfStatus) {
  app.SetUtc(SystemTime{2026, 11, 21, 13, 5, 9, 0, 6});
  const auto terminal = std::make_shared<FakeTerminal>(false);
  ConsoleFrontEnd console(terminal);
  console.ShowStatus(View(1, u"Waiting..."));
  console.ShowStatus(View(1, u"Waiting..."));
  console.ShowStatus(View(12, u"Downloading N - 0 of 9 bytes sent."));
  console.ShowStatus(View(12, u"Downloading N - 5 of 9 bytes sent."));
  console.ShowStatus(View(9, u"Download could not open/read from A"));
  console.ShowStatus(View(9, u"Download could not open/read from B"));
  StatusView noted = View(13, u"Uploading A - 0 bytes received.");
  noted.note = u"It stands.";
  for (int i = 0; i < 2; ++i)
    console.ShowStatus(noted);
  console.Flush(kStarved);
  EXPECT_EQ(terminal->output, "13:05:09 1 Waiting...\n"
                              "13:05:09 12 Downloading N - 0 of 9 bytes sent.\n"
                              "13:05:09 9 Download could not open/read from A\n"
                              "13:05:09 9 Download could not open/read from B\n"
                              "13:05:09 13 Uploading A - 0 bytes received.\n"
                              "13:05:09 It stands.\n");
  console.ShowMessage(u"Open Comm", u"COM1\nNo such device", MessageStyle::Information);
  console.Flush(kStarved);
  EXPECT_EQ(terminal->errors, "Open Comm: COM1: No such device\n");
}

TEST_F(ConsoleTest, EachCommandAnswersWhatIsNowSoOrWhatIsAccepted) {
  app.Put(app.Path(u"nc/x"), u"");
  const std::string folder = app.Path(u"nc").ToUtf8();
  const std::pair<std::string, std::string> cases[] = {
      {"status\r", "status 1 Waiting...\n"},
      {"\nbogus", "unknown command \"bogus\"; \"help\" lists them\n"},
      {"STATUS", "status 1 Waiting...\n"},
      {"set", "usage: set KEY VALUE\n"},
      {"set nothing 1", "unknown setting \"nothing\""},
      {"set baudrate 77", "baudrate can't be \"77\"; accepted: 110, 150,"},
      {"set baudrate 9600", "baudrate         9600\n"},
      {"monitor 1", "usage: monitor on|off\n"},
      {"special strip-pc maybe", "usage: special strip-pc on|off\n"},
      {"special", "strip-pc         off\n"},
      {"special bogus", "unknown feature \"bogus\"; \"special\" lists them\n"},
      {"set parity even", "parity           Even\n"},
      {"set flow-control Combined", "flow-control     Combined\n"},
      {"set flow-control none at all", "flow-control can't be \"none at all\""},
      {"set character-delay 999", "character-delay  999\n"},
      {"set character-delay 1000", "character-delay can't be \"1000\"; accepted: 0 to 999"},
      {"set transmit-delay -1", "transmit-delay can't be \"-1\"; accepted: 0 to 30"},
      {"set transmit-delay 3 s", "transmit-delay can't be \"3 s\""},
      {"set send-sot ON", "send-sot         on\n"},
      {"set sot-character si", "sot-character    US\n"}, // intended
      {"set sot-character XYZ", "sot-character can't be \"XYZ\""},
      {"set port com2", "port             COM2\n"},
      {"set port /dev/ttyUSB0", "port             /dev/ttyUSB0\n"},
      {"set upload-path " + folder, "upload-path      " + folder + "/\n"},
      {"set log-file " + folder + "/j.log", "log-file         " + folder + "/j.log\n"},
      {"set rts off", "rts              off\n"},
      {"set send-sot 2", "send-sot can't be \"2\"; accepted: on, off\n"},
      {"set port", "port can't be \"\"; accepted: a name such as COM1, or the path of a device\n"},
      {"set port ~/line", "the whole path, for ~ stands for no folder here\n"},
      {"set file-extension .MPG", "letters and digits without a dot, such as MPG\n"},
      {"set file-extension A/B", "letters and digits without a dot, such as MPG\n"},
      {"set download-path ~", "the whole path, for ~ stands for no folder here\n"},
      {"set download-path /no/such", "\"/no/such\"; accepted: a folder that exists\n"},
      {"set log-file /no/such/j.log", "accepted: a file in a folder that exists\n"},
      {"set log-file " + folder, "accepted: a file in a folder that exists\n"},
      {"set log-file " + app.Path(u"settings/NCE.INI").ToUtf8(), "Unable to write to log file\n"},
      {"special hybrid on", "hybrid needs autoload; first: special autoload on\n"},
      {"special strip-pc on", "strip-pc         on\n"},
      {"special autoload on\nspecial strip-pc off", "strip-pc         off\n"},
      {"special hybrid on", "hybrid           on\n"},
      {"special strip-pc on",
       "strip-pc plays no part while autoload and hybrid are on; first: special hybrid off\n"},
      {"special autoload off", "autoload         off\n"}, // hybrid keeps its mark
      {"special strip-pc on", "strip-pc         on\n"},
      {"special hybrid off", "hybrid           off\n"},
      {"settings", "file-extension   MPG\n"},
  };
  std::string commands;
  for (const auto& [command, answer] : cases)
    commands += command + "\n";
  const std::string output = Run(commands + "trace /no/such/folder/x\n");
  EXPECT_TRUE(errors.ends_with("Log: Unable to write to log file\n")) << errors;
  std::size_t at = 0;
  for (const auto& [command, answer] : cases) {
    at = output.find(answer, at);
    ASSERT_NE(at, std::string::npos) << command << "\n" << output;
  }
}

TEST_F(ConsoleTest, AControllersDownloadIsCancelledBeforeAnotherIsSentAndListed) {
  app.Put(app.Path(u"x.NC"), u"A\n");
  fromController = "FH 1\r";
  const std::string output =
      Run("status\nsend " + app.Path(u"x.NC").ToUtf8() + "\ncancel\njobs\nstatus\n");
  EXPECT_EQ(errors,
            "Send NC File: End the running transfer first (\"cancel\") or wait for its end: "
            "Preparing 1\n");
  EXPECT_NE(output.find("status 16 Download Cancelled 1\n"), std::string::npos) << output;
  EXPECT_NE(output.find("00:00:00 1 Download Cancelled\n"), std::string::npos) << "today's jobs";
  fromController.clear();
  Run("cancel\ncomplete\n");
  EXPECT_EQ(errors, "Cancel Transfer: No transfer is running.\n"
                    "Upload End: Nothing is being received.\n");
}

TEST_F(ConsoleTest, ALiveTerminalKeepsTheStatusBelowTheText) {
  const auto terminal = std::make_shared<FakeTerminal>(true);
  ConsoleFrontEnd console(terminal);
  EXPECT_TRUE(terminal->keysStarted);
  console.ShowStatus(View(1, u"Waiting..."));
  console.SetMonitorOn(true);
  console.Flush(kStarved);
  terminal->output.clear();
  console.AppendMonitor(u"RX XYZ[0d]\nTX ABC");
  console.Flush(kStarved);
  EXPECT_TRUE(terminal->output.starts_with("\r\x1b[J\x1b[1A\x1b[KRX XYZ[0d]\n")); // text above
  EXPECT_TRUE(terminal->output.ends_with("\n> "));
  EXPECT_EQ(terminal->output.find("TX ABC"), std::string::npos); // for a moment
  console.ShowStatus(View(1, u"Waiting..."));
  console.Flush(kStarved);
  EXPECT_NE(terminal->output.find("TX ABC\n"), std::string::npos);
  terminal->output.clear();
  console.AppendMonitor(u"\nRX ");
  console.AppendMonitor(u">[0d]\n");
  console.Flush(kStarved);
  EXPECT_NE(terminal->output.find("\x1b[KRX >[0d]\n"), std::string::npos) << terminal->output;
}

TEST_F(ConsoleTest, InputIsReadNoFasterThanItIsWorkedOff) {
  const auto shared = std::make_shared<FakeTerminal>(false);
  std::string flood;
  while (flood.size() < 1 << 20)
    flood += "status\n";
  shared->input = flood;
  int lines = 0, asked = 0;
  {
    ConsoleFrontEnd console(shared);
    console.SetTakesInput([&] {
      if (lines < 3) return true;
      if (++asked > 3) console.Quit();
      return false;
    });
    TimerQueue timers;
    console.Run(timers, [&](const KorText& line) { lines += line == u"status" ? 1 : 100; });
  }
  EXPECT_EQ(lines, 3);
  EXPECT_GT(shared->Left(), flood.size() - 10000);
}

// An open question holds lines back, but not for ever those that are wanted most just then; what
// runs while it is open is marked with the time since it was asked.
TEST_F(ConsoleTest, WhileAQuestionIsOpenOnlyAFewCommandsOvertakeIt) {
  const struct {
    const char* lines;
    double answeredAfter; // seconds
    const char16_t* run;
  } cases[] = {
      {"set\nquit\n", 0.25, u"set quit "}, // a script's settings are kept
      {"set\nsettings\nstatus\nhelp x\nQUIT\n", 9, u"set status(0.3) help x(0.3) QUIT(0.3) "},
      {"set\ncancel\nsend a\ncancel\nquit\n", 9, u"set cancel(0.3) quit(0.3) "},
      {"set\nsend a\ncancel\nrts\nset\nquit\n", 0.25, u"set send a cancel rts set quit "},
  };
  for (const auto& c : cases) {
    const auto shared = std::make_shared<FakeTerminal>(false);
    shared->input = c.lines;
    ConsoleFrontEnd console(shared);
    double asked = -99; // when "set" has asked the last question
    const auto open = [&] { return app.HighResolutionSeconds() < asked + c.answeredAfter; };
    console.Lines().SetAwaits([&] { return app.Advance(0.01), open(); }, &Commands::Overtakes);
    KorText run;
    TimerQueue timers;
    console.Run(timers, [&](const KorText& line) {
      run += line;
      if (open()) run += KorText::Format(u"(%.1f)", app.HighResolutionSeconds() - asked);
      run += u' ';
      if (line == u"set") asked = app.HighResolutionSeconds();
      if (line.EqualsNoCase(u"quit")) console.Quit();
    });
    EXPECT_EQ(run, c.run) << c.lines;
  }
}

// What the live line shows of a transfer at each width; "|" stands for the gap before the lamps.
TEST(StatusLineTest, PutsTheNumberFirstAndCutsTheFolderFirst) {
  StatusView down = View(12, u"Downloading /srv/nc/jobs/0000123.MPG - 51234 of 100000 bytes sent.",
                         u"/srv/nc/jobs/0000123.MPG", 51234);
  down.bytesTotal = 100000;
  down.lamps[kLampWrite] = down.lamps[kLampXoffHold] = true;
  const StatusView up = View(13, u"Uploading /srv/nc/0000007.MPG - 1234567 bytes received.",
                             u"/srv/nc/0000007.MPG", 1234567);
  const StatusView done =
      View(18, u"Download Completed C:\\nc\\0000123.MPG - 100000 bytes", u"C:\\nc\\0000123.MPG");
  const Pace usual{960.0, false}, held{960.0, true}, crawling{0.01, false};
  const struct {
    const StatusView& view;
    Pace pace;
    std::size_t columns;
    const char16_t* left;
    const char16_t* right;
  } cases[] = {
      {down, usual, 59, u"0000123.MPG 51234/100000 51% 0:51 left", u"TX XOFF"},
      {down, usual, 79, u"0000123.MPG Downloading 51234/100000 51% 960 B/s 0:51 left", u"TX XOFF"},
      {down, usual, 119,
       u"0000123.MPG Downloading 51234/100000 [##########----------] 51% 960 B/s 0:51 left  ..obs/",
       u".. TX ... ... ... XOFF ....."},
      {down, usual, 39, u"0000123.MPG 51234/100000 51% 0:51 left", u""},
      {down, held, 79, u"0000123.MPG Downloading 51234/100000 51% held  /srv/nc/jobs/", u"TX XOFF"},
      {down, held, 70, u"0000123.MPG Downloading 51234/100000 51% held  ../jobs/", u"TX XOFF"},
      {down, crawling, 69, u"0000123.MPG Downloading 51234/100000 51% held  ../jobs/", u"TX XOFF"},
      {up, usual, 79, u"0000007.MPG Uploading 1234567 bytes 960 B/s  /srv/nc/", u""},
      {up, usual, 59, u"0000007.MPG Uploading 1234567 bytes 960 B/s", u""},
      {done, {}, 79, u"0000123.MPG Download Completed - 100000 bytes  C:\\nc\\", u""},
      {View(1, u"Waiting..."), {}, 79, u"Waiting...", u""},
  };
  for (const auto& c : cases)
    EXPECT_EQ(StatusLine(c.view, c.pace, c.columns),
              KorText(c.left).PaddedRight(c.columns - KorText(c.right).Length()) + c.right);
}

// East Asian characters take two columns, joined ones none; a line that is a column too wide wraps.
TEST(StatusLineTest, IsAsWideAsTheScreenInEveryScript) {
  EXPECT_EQ(ColumnsOf(u"転送 ab"), 7u);
  EXPECT_EQ(ColumnsOf(u"e\u0301\u200b\U0001F600"), 3u);
  StatusView view = View(12, u"", u"", 5);
  view.bytesTotal = 10;
  view.lamps.fill(true);
  for (const char16_t* name :
       {u"/공장/日本語の長いプログラム名.MPG", u"/a/e\u0301e\u0301\U00020000x.MPG"}) {
    view.fileName = name;
    view.line = KorText(u"Downloading ") + name + u" - 5 of 10 bytes sent.";
    for (const LinkStatus code : {LinkStatus::Downloading, LinkStatus::DownloadCompleted}) {
      view.code = code;
      for (std::size_t columns = 4; columns < 140; ++columns)
        ASSERT_EQ(ColumnsOf(StatusLine(view, Pace{9.0, false}, columns)), columns)
            << NumberOf(code);
    }
  }
  EXPECT_EQ(CutLeft(u"/日本語/", 6), u"..語/"); // half of a character doesn't stand
  EXPECT_EQ(TimeText(3723.2), u"1:02:04");
  EXPECT_EQ(RateText(1234567), u"1.2 MB/s");
}

TEST(StatusLineTest, MeasuresTheRateAndTellsAPauseFromASlowLine) {
  RateMeter meter;
  StatusView view = View(12, u"");
  const auto at = [&](double now, std::int64_t bytes) {
    view.bytesDone = bytes;
    meter.Update(view, now);
    return meter.Measured();
  };
  EXPECT_FALSE(at(10, 0).bytesPerSecond);
  EXPECT_EQ(at(11, 100).bytesPerSecond, 100.0);
  EXPECT_FALSE(at(21, 100).held); // a frame at 110 baud
  EXPECT_TRUE(at(26, 100).held);  // nobody waits so long
  const Pace again = at(27, 200);
  EXPECT_FALSE(again.held);
  view.lamps[kLampXoffHold] = true;
  EXPECT_TRUE(at(30, 200).held);
  view.code = LinkStatus::Waiting;
  EXPECT_FALSE(at(31, 0).bytesPerSecond);
}

TEST_F(ConsoleTest, EndedJobsScrollPastWithTheirTimeAndFailuresAreRed) {
  app.SetUtc(SystemTime{2026, 11, 21, 13, 5, 9, 0, 6});
  for (const bool colours : {false, true}) {
    const auto terminal = std::make_shared<FakeTerminal>(true);
    terminal->colours = colours;
    ConsoleFrontEnd console(terminal);
    console.ShowEndedJob({LinkStatus::DownloadCompleted, u"Download Completed /n/7.MPG - 9 bytes",
                          u"/n/7.MPG", App().LocalTime()});
    console.ShowEndedJob({LinkStatus::UploadErrors, u"Upload Error(s) /n/8.MPG", u"/n/8.MPG",
                          App().LocalTime(), u"Send it again."});
    console.ShowStatus(View(0, u"No Link"));
    console.ShowMessage(u"Open Comm", u"COM1", MessageStyle::Information);
    console.Flush(kStarved);
    const std::string red = colours ? "\x1b[31m" : "", plain = colours ? "\x1b[0m" : "";
    EXPECT_TRUE(terminal->output.starts_with(
        "21/11/2026\n13:05:09 7.MPG Download Completed - 9 bytes  /n/\n" + red +
        "13:05:09 8.MPG Upload Error(s)  /n/" + plain + "\n" + red + "Send it again." + plain +
        "\n" + red + "13:05:09 No Link" + plain + "\n"))
        << terminal->output;
    EXPECT_EQ(terminal->errors, red + "13:05:09 Open Comm: COM1" + plain + "\n");
  }
}

// Who ends the program in a transfer is asked once where somebody looks.
TEST_F(ConsoleTest, AWishToEndInATransferIsAskedBackOnceOnATerminal) {
  const struct {
    bool interactive;
    std::int32_t code;
    TerminalEvent event;
    bool asks;
  } cases[] = {
      {true, 12, TerminalEvent::Interrupt, true},   {true, 5, TerminalEvent::Interrupt, true},
      {true, 1, TerminalEvent::Interrupt, false},   {true, 18, TerminalEvent::Interrupt, false},
      {false, 13, TerminalEvent::Interrupt, false}, {true, 13, TerminalEvent::End, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.code);
    const auto terminal = std::make_shared<FakeTerminal>(c.interactive);
    ConsoleFrontEnd console(terminal);
    TimerQueue timers;
    console.ShowStatus(View(12, u"Downloading"));
    console.ShowStatus(View(c.code, u"x"));
    const auto wish = console.EventHandler();
    console.Post([&] {
      wish(c.event);
      console.Post([&] { console.AskQuit(); }); // the second wish, where one was not enough
    });
    console.Run(timers, [](const KorText&) {});
    console.Flush(kStarved);
    EXPECT_EQ(terminal->output.find("once more ends it") != std::string::npos, c.asks);
  }
}

TEST(BannerTest, NamesTheVersionThePortAndTheFolders) {
  LinkSettings settings;
  settings.downloadPath = u"/nc/";
  settings.uploadPath = u"/in/";
  settings.parity = u"Even";
  settings.dtrDsrHandshake = 0;
  EXPECT_EQ(BannerLines(u"26", u"COM1 (/dev/ttyUSB0)", settings),
            (std::vector<KorText>{u"ncedl-console 26", u"Port      COM1 (/dev/ttyUSB0)",
                                  u"          2400 baud, 8E1, Xon/Xoff, rts on, dtr off",
                                  u"Programs  /nc/*.DNC", u"Uploads   /in/",
                                  u"\"help\" lists the commands."}));
}

} // namespace
} // namespace kor
