// Command lines, scripts and reports, with the real host at the other end of a line without cable.
#include <gtest/gtest.h>

#include <sstream>

#include "tests/tools/host_line.h"
#include "tools/nce_controller/options.h"
#include "tools/nce_controller/preflight.h"
#include "tools/nce_controller/runner.h"

namespace kor::controller {
namespace {

std::vector<KorText> Words(const char* text) {
  return Split(KorText::FromUtf8(text), u' ');
}

TEST(ControllerOptions, TakesTheLineThenTheCommand) {
  Options options;
  ReadOptions(Words("--pty /tmp/line --bits 7E2 --flow none --no-pace --timeout 2.5 --errors 0.001 "
                    "fetch 0000123 -o out --compare a --compare b"),
              options);
  EXPECT_EQ(options.line.HalfBitsPerByte(), 22U);
  EXPECT_EQ(options.line.flow, FlowControl::None);
  EXPECT_FALSE(options.isPaced);
  EXPECT_EQ(options.timeout, 2.5);
  EXPECT_EQ(options.Retries(), 10) << "made-up damage brings retries with it";
  EXPECT_EQ(options.WaitHost(), 30);
  EXPECT_EQ(options.command.output, KorText(u"out"));
  EXPECT_EQ(options.command.compare.size(), 2U);
  Options plain;
  ReadOptions(Words("--port COM1 raw FH --no-pace"), plain);
  EXPECT_EQ(plain.Retries() + plain.WaitHost(), 0);
  EXPECT_EQ(plain.command.text, "FH --no-pace");
  Options soak;
  EXPECT_EQ(ReadOptions(Words("--port COM1 soak --seconds 1"), soak).text, u"");
}

TEST(ControllerOptions, SaysWhatIsWrong) {
  const auto refuses = [](const char* arguments, const char* problem) {
    Options options;
    const std::string error = ReadOptions(Words(arguments), options).text.ToUtf8();
    EXPECT_NE(error.find(problem), std::string::npos) << arguments << ": " << error;
  };
  refuses("test", "either --port DEVICE or --pty LINK");
  refuses("--port a", "no command");
  refuses("--baud 0 --port a test", "--baud: the value must be a whole number");
  refuses("--bits 9N1 --port a test", "--bits: the value must be such as 8N1");
  refuses("--errors 1.5 --port a test", "--errors: the value must be from");
  refuses("--flow xon --port a test", "--flow: the value must be xonxoff");
  refuses("--port a tests", "unknown command \"tests\"");
  refuses("--port a test now", "test: \"now\" is not understood");
  refuses("--port a fetch", "fetch: a program number is missing");
  refuses("--port a fetch DH", "the number \"DH\" holds \"DH\"");
  refuses("--port a send f", "--number N is missing");
  refuses("--port a soak", "--seconds S is missing");
  refuses("--port a soak --seconds x", "\"x\" is no number of seconds");
}

TEST(ControllerScript, ReadsQuotesEscapesAndComments) {
  const ParsedScript script = ParseScript(u"# first\r\n\r\n  test\r\n"
                                          u"fetch 12 -o \"my file\\\\x.nc\"\n"
                                          u"raw  \"A\\x1B\\\"B \" \n"
                                          u"expect Directory of Host Computer\\nSelect # File\n"
                                          u"expect-exit 3 raw a  b\n");
  ASSERT_EQ(script.error, "");
  ASSERT_EQ(script.commands.size(), 5U);
  EXPECT_EQ(script.commands[0].line, 3);
  EXPECT_EQ(script.commands[1].output, KorText(u"my file\\x.nc"));
  EXPECT_EQ(script.commands[2].text, "A\x1B\"B ");
  EXPECT_EQ(script.commands[3].text, "Directory of Host Computer\nSelect # File");
  EXPECT_EQ(script.commands[4].exitCode, 3);
  EXPECT_EQ(script.commands[4].text, "a  b");

  EXPECT_EQ(ParseScript(u"test\nfetch \"1 2").error, "line 2: a quote is not closed");
  EXPECT_EQ(ParseScript(u"test\n\nrun x\n").error, "line 3: unknown command \"run\"");
  EXPECT_EQ(ParseScript(u"expect-exit\n").error,
            "line 1: expect-exit takes an exit code and a command");
  EXPECT_EQ(ParseScript(u"refuse often\n").error,
            "line 1: refuse: refuse takes a number from 0 to 1000");
}

TEST(ControllerReports, JsonIsAsciiAndEscaped) {
  JsonObject object;
  object.Text("path", KorText::FromUtf8("\xC3\xA9\xFF\"\\"))
      .Bytes("reply", "\xE9\n]")
      .Flag("ok", true);
  object.Real("share", 0.98765, 3).Real("none", 1.0 / 0.0, 3).Number("n", -5);
  EXPECT_EQ(object.Finish(), R"({"path": "\u00e9\udcff\"\\", "reply": "\u00e9\u000a]", )"
                             R"("ok": true, "share": 0.988, "none": null, "n": -5})");
}

class ControllerRunner : public ::testing::Test {
 protected:
  ControllerRunner() {
    host.PutProgram(u"0000123.MPG", u"G90\r\n\r\nX10\r\n");
    host.Start();
    settings.line.baud = 115200;
  }
  Outcome Run(const KorText& script) {
    host.app.Put(host.app.Path(u"script"), script);
    return RunFile(host.app.Path(u"script"));
  }
  Outcome RunFile(const KorText& file) {
    Session session(line, {});
    Runner runner(session, line, nullptr, settings, input, output, diagnostics);
    const ParsedCommand parsed = ParseCommand({u"run", file}, CommandSource::CommandLine);
    return runner.Run(parsed.command);
  }
  // Its path, in quotes.
  KorText Put(const char16_t* name, const KorText& content) {
    host.app.Put(host.app.Path(name), content);
    return u"\"" + host.app.Path(name) + u"\"";
  }
  static std::string Obstacle(const std::vector<KorText>& words) {
    return FindObstacle(ParseCommand(words, CommandSource::CommandLine).command);
  }
  bool Printed(const char* text) const { return output.str().find(text) != std::string::npos; }

  NceLink host;
  HostLine line{host};
  RunnerSettings settings;
  std::istringstream input;
  std::ostringstream output;
  std::ostringstream diagnostics;
};

TEST_F(ControllerRunner, CarriesOutAScript) {
  const KorText file = host.app.Path(u"got.nc");
  host.app.Put(host.app.Path(u"up.nc"), u"M30\r\nG0 X1");
  host.app.Put(file + u".new", u"somebody else's");
  EXPECT_EQ(Run(u"wait-host 5\ntest\nlist\nrefuse 0\nfetch 0000123 -o \"" + file +
                u"\" --compare \"" + host.Folder() + u"0000123.MPG\"\n" + u"expect UDL>\n" +
                u"expect-exit 3 fetch 999\nexpect-part not found\nraw FH\n" +
                u"wait 1\nexpect %% Message not recognised by HOST\n" + u"send \"" +
                host.app.Path(u"up.nc") + u"\" --number 0000777 --read-back\nprint done\n"),
            Outcome::Done)
      << diagnostics.str();
  EXPECT_EQ(host.app.Content(file), KorText(u"G90\nX10\n"));
  EXPECT_EQ(host.app.Content(file + u".new"), u"somebody else's");
  EXPECT_EQ(host.app.Content(host.Folder() + u"0000777.MPG"), KorText(u"M30\nG0 X1\n"));
  EXPECT_TRUE(Printed("     1  0000123\n")) << output.str();
  EXPECT_TRUE(Printed("8 bytes in 1 frame, equal")) << output.str();
  EXPECT_TRUE(Printed("as expected: %% File 999 not found on Host Computer")) << output.str();
  EXPECT_TRUE(Printed("13 steps")) << output.str();
  EXPECT_EQ(diagnostics.str(), "");
}

TEST_F(ControllerRunner, AScriptEndsAtTheFirstLineThatFailsAndBeforeItBeginsWhereThatIsKnown) {
  const KorText good = Put(u"good.nc", u"G90\nX11\n"), bad = Put(u"bad.nc", u"X1\nX[2]\n");
  const KorText made = u"\"" + host.app.Path(u"made.nc") + u"\"", script = host.app.Path(u"script");
  using enum Outcome;
  const auto ends = [&](const KorText& commands, Outcome outcome, const char* message = "",
                        bool isKnownBefore = false) {
    SCOPED_TRACE(commands.ToUtf8());
    diagnostics.str({});
    host.app.Put(script, commands);
    const std::string before = Obstacle({u"run", script});
    EXPECT_EQ(RunFile(script), outcome);
    EXPECT_NE(diagnostics.str().find(message), std::string::npos) << diagnostics.str();
    EXPECT_NE(before.find(isKnownBefore ? message : ""), std::string::npos) << before;
    EXPECT_EQ(before.empty(), !isKnownBefore) << before;
  };
  ends(u"test\nfetch 999\ntest\n", Refused, "script, line 2: fetch 999");
  ends(u"test\nexpect ABC\n", Mismatch, "the host's last line is \"ABCDEFGHIJKLM");
  ends(u"expect-exit 4 test\n", Mismatch, "ended with exit code 0 instead of 4");
  ends(u"fetch 0000123 --compare " + good + u"\n", Mismatch,
       "line 2 (empty lines not counted): is \"X10\", expected \"X11\"");
  ends(u"raw <\n", TimedOut, "no answer for 10.0 s");
  ends(u"fetch 0000123 --compare nowhere\n", Usage); // the host may make it on the way
  ends(u"test\nsend " + good + u" --number 5\n", Done);
  ends(u"expect-exit 2 send nowhere --number 5\n", Done);
  ends(u"fetch 0000123 -o " + made + u"\nsend " + made + u" --number 5\n", Done);
  ends(u"test\nsend " + bad + u" --number 5\n", Usage, "bad.nc: line 2, column 4: ']'", true);
  ends(u"send nowhere --number 5\n", Usage, "script, line 1: ", true);
  ends(u"test\nnonsense\n", Usage, "script, line 2: unknown command \"nonsense\"", true);
  EXPECT_NE(Obstacle({u"run", u"nowhere"}), "");
  EXPECT_NE(Obstacle({u"fetch", u"1", u"--compare", u"nowhere"}), "");
  EXPECT_EQ(Obstacle({u"run", u"-"}), "");
}

TEST_F(ControllerRunner, CarriesOutTypedCommandsAsTheyComeAndGoesOnBehindAWrongOne) {
  input.str("test\n\n# nothing\nraw FH\nexpect no\nnonsense\nfetch \"1\nlist\n");
  EXPECT_EQ(RunFile(u"-"), Outcome::Mismatch) << "the first failure's";
  EXPECT_TRUE(Printed("%% Message not recognised by HOST\n")) << output.str();
  EXPECT_TRUE(Printed("     1  0000123\n")) << output.str();
  for (const char* complaint : {"line 5: expect no", "line 6: unknown command \"nonsense\"",
                                "line 7: a quote is not closed"})
    EXPECT_NE(diagnostics.str().find(complaint), std::string::npos) << diagnostics.str();
}

TEST_F(ControllerRunner, SoaksAndComparesWithTheHostsFiles) {
  EXPECT_EQ(Run(u"soak --seconds 3 --upload 0000777 --folder \"" + host.Folder() + u"\"\n"),
            Outcome::Done)
      << diagnostics.str();
  EXPECT_TRUE(Printed(" 0 failures, 0 wrong")) << output.str();
  EXPECT_FALSE(Printed(" 0 sent")) << output.str();

  host.PutProgram(u"other/0000123.MPG", u"G90\nX11\n");
  EXPECT_EQ(Run(u"soak --seconds 3 --folder \"" + host.Folder() + u"other\"\n"), Outcome::Mismatch);
}

} // namespace
} // namespace kor::controller
