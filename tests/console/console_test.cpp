// The console front end on a scripted terminal.
#include <gtest/gtest.h>

#include <mutex>

#include "tests/support/fake_serial_port.h"
#include "tests/support/test_app.h"
#include "ui/console/commands.h"
#include "ui/console/console_front_end.h"

namespace kor {
namespace {

// A terminal whose input is given beforehand.
class FakeTerminal : public Terminal {
 public:
  explicit FakeTerminal(bool isInteractive) : interactive(isInteractive) {}
  bool IsInteractive() const override { return interactive; }
  void StartKeys() override { keysStarted = true; }
  void StopKeys() override { keysStarted = false; }
  int Columns() const override { return columns; }
  std::size_t Read(std::span<char> to) override {
    const std::lock_guard lock(mutex);
    const std::size_t count = std::min(to.size(), input.size());
    std::copy_n(input.begin(), count, to.begin());
    input.erase(0, count);
    return count;
  }
  void Write(std::string_view text) override { output += text; }
  void WriteError(std::string_view text) override { errors += text; }
  void OnEnd(std::function<void()>) override {}

  const bool interactive;
  bool keysStarted = false;
  int columns = 80;
  std::string input, output, errors;

 private:
  std::mutex mutex;
};

StatusView View(std::int32_t code, const char16_t* line, std::int64_t count = 0,
                std::int64_t range = 0) {
  StatusView view;
  view.code = code;
  view.line = line;
  view.count = count;
  view.range = range;
  return view;
}

class ConsoleTest : public ::testing::Test {
 protected:
  // The whole program on the scripted input; what it answers.
  std::string Run(const std::string& input) {
    const auto shared = std::make_shared<FakeTerminal>(false);
    FakeTerminal& terminal = *shared;
    terminal.input = input + "quit\n";
    FakeSerialPort port;
    ConsoleFrontEnd console(shared);
    EngineServices services;
    services.port = &port;
    services.form = &console;
    services.cncFolder = app.Path(u"cnc/");
    services.startWorker = false;
    NCEApp nce(services, u"");
    Commands commands(nce, console);
    nce.SetUpServices();
    nce.BuildWindow();
    console.Run(nce.Timers(), [&](const KorText& line) {
      commands.Run(line);
      nce.Poll();
    });
    nce.Terminate();
    console.Flush();
    errors = terminal.errors;
    return terminal.output;
  }

  TestApp app;
  std::string errors;
};

TEST_F(ConsoleTest, PipedItWritesALineForEachChangeOfStatus) {
  app.SetUtc(SystemTime{2026, 11, 21, 13, 5, 9, 0, 6});
  const auto shared = std::make_shared<FakeTerminal>(false);
  FakeTerminal& terminal = *shared;
  ConsoleFrontEnd console(shared);
  console.ShowStatus(View(1, u"Waiting..."));
  console.ShowStatus(View(1, u"Waiting..."));
  console.ShowStatus(View(12, u"Downloading N - 0 of 9 bytes sent."));
  console.ShowStatus(View(12, u"Downloading N - 5 of 9 bytes sent."));
  console.ShowStatus(View(9, u"Download could not open/read from A"));
  console.ShowStatus(View(9, u"Download could not open/read from B"));
  console.Flush();
  EXPECT_EQ(terminal.output, "13:05:09 1 Waiting...\n"
                             "13:05:09 12 Downloading N - 0 of 9 bytes sent.\n"
                             "13:05:09 9 Download could not open/read from A\n"
                             "13:05:09 9 Download could not open/read from B\n");
  console.ShowMessage(u"Open Comm", u"COM1\nNo such device", MessageStyle::Information);
  console.Flush();
  EXPECT_EQ(terminal.errors, "Open Comm: COM1: No such device\n");
}

TEST_F(ConsoleTest, AnswersCommandsAndSaysWhatIsWrongWithOthers) {
  const std::string output =
      Run("status\r\n\nbogus\nset baudrate 77\nset nothing 1\nset\n"
          "set baudrate 9600\nsettings\nspecial strip-pc on\nspecial\n"
          "special strip-pc maybe\nmonitor 1\ntrace /no/such/folder/x\nSTATUS\n");
  const std::string::size_type npos = std::string::npos;
  for (const char* expected :
       {"status 1 Waiting...\n", "unknown command \"bogus\"; \"help\" lists them\n",
        "baudrate can't be \"77\"; accepted: 110, 150,", "unknown setting \"nothing\"",
        "usage: set KEY VALUE\n", "baudrate         9600\n", "strip-pc         on\n",
        "usage: special strip-pc on|off\n", "usage: monitor on|off\n"})
    EXPECT_NE(output.find(expected), npos) << expected << "\n" << output;
  EXPECT_EQ(errors, "Log: Unable to write to log file\n");
}

TEST_F(ConsoleTest, ASettingAnswersWhatIsNowSetOrWhatIsAccepted) {
  app.Put(app.Path(u"nc/x"), u"");
  const std::string folder = app.Path(u"nc").ToUtf8();
  const std::pair<std::string, std::string> cases[] = {
      {"set parity even", "parity           Even\n"},
      {"set send-sot ON", "send-sot         on\n"},
      {"set sot-character si", "sot-character    US\n"},
      {"set port com2", "port             COM2\n"},
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
      {"special hybrid on", "hybrid needs autoload; first: special autoload on\n"},
      {"special autoload on\nspecial hybrid on", "hybrid           on\n"},
      {"special autoload off", "autoload         off\n"}, // hybrid keeps its mark
      {"special hybrid off", "hybrid           off\n"},
  };
  for (const auto& [command, answer] : cases) {
    const std::string output = Run(command + "\n");
    EXPECT_NE(output.find(answer), std::string::npos) << command << "\n" << output;
  }
  EXPECT_NE(Run("settings\n").find("file-extension   MPG\n"), std::string::npos);
}

TEST_F(ConsoleTest, ALiveTerminalKeepsTheStatusBelowTheText) {
  const auto shared = std::make_shared<FakeTerminal>(true);
  FakeTerminal& terminal = *shared;
  ConsoleFrontEnd console(shared);
  EXPECT_TRUE(terminal.keysStarted);
  console.ShowStatus(View(1, u"Waiting..."));
  console.SetMonitorOn(true);
  console.Flush();
  terminal.output.clear();
  console.AppendMonitor(u"RX XYZ[0d]\nTX ABC");
  console.Flush();
  EXPECT_TRUE(terminal.output.starts_with("\r\x1b[K\x1b[1A\r\x1b[KRX XYZ[0d]\n")); // text above
  EXPECT_TRUE(terminal.output.ends_with("\n> "));
  EXPECT_EQ(terminal.output.find("TX ABC"), std::string::npos); // until its line ends
  console.AppendMonitor(u"\n");
  console.Flush();
  EXPECT_NE(terminal.output.find("TX ABC\n"), std::string::npos);
}

TEST(StatusLineTest, FitsTheScreenAndLeavesOutWhatDoesNot) {
  StatusView view = View(12, u"Downloading a/very/long/name.MPG - 50 of 100 bytes sent.", 50, 100);
  view.lamps[kLampWrite] = true;
  const KorText wide = StatusLine(view, 9600.0, 150);
  EXPECT_EQ(wide.Length(), 150u);
  EXPECT_TRUE(wide.Contains(u"[##########----------]  50% 9.6 kB/s 0:01 left"));
  EXPECT_TRUE(wide.EndsWith(u".. TX ... ... ... .... ....."));
  const KorText narrow = StatusLine(view, 9600.0, 79);
  EXPECT_EQ(narrow.Length(), 79u);
  EXPECT_TRUE(narrow.EndsWith(u"0:01 left"));
  EXPECT_EQ(StatusLine(view, {}, 30).Length(), 30u);
  EXPECT_EQ(TimeText(3723.2), u"1:02:04");
  EXPECT_EQ(RateText(1234567), u"1.2 MB/s");
  EXPECT_EQ(ProgressBar(5, 0, 4), u"[----]   0%");
}

TEST(StatusLineTest, MeasuresTheRateOfTheRunningTransfer) {
  RateMeter meter;
  meter.Update(View(12, u"", 0, 1000), 10);
  EXPECT_FALSE(meter.BytesPerSecond());
  meter.Update(View(12, u"", 100, 1000), 11);
  EXPECT_EQ(meter.BytesPerSecond(), 100.0);
  meter.Update(View(1, u"", 0, 0), 12);
  EXPECT_FALSE(meter.BytesPerSecond());
}

} // namespace
} // namespace kor
