// ncedl-console as a process on a pseudo-terminal, with the test as the controller: what the user,
// the line, the disk and the system may do to it.
#include <gtest/gtest.h>

#include <signal.h>

#include <functional>
#include <memory>
#include <regex>
#include <string>

#include "tests/support/host_process.h"

namespace kor {
namespace {

using support::FarEnd;
using support::HostFolders;
using support::Milliseconds;
using support::Process;
using support::ProcessOptions;
using Clock = std::chrono::steady_clock;
using namespace std::string_literals;

constexpr const char* kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr const char* kXoff = "\x13";

std::string Program(std::size_t lines) {
  std::string text;
  for (std::size_t i = 1; i <= lines; ++i)
    text += "N" + std::to_string(i * 10) + " G01 X1000.000 Y2000.000\n";
  return text;
}

class ConsoleE2e : public testing::Test {
 protected:
  void StartHost() { StartHost(folders.Program("ncedl-console"), folders.Options()); }
  void StartHost(const std::vector<std::string>& command, const ProcessOptions& options,
                 std::string_view status = " 1 Waiting...") {
    host = std::make_unique<Process>(command, options);
    ASSERT_TRUE(host->Expect(status)) << host->Diagnostics();
  }
  void StartServing() {
    line = std::make_unique<FarEnd>(folders.Line());
    StartHost();
    ASSERT_EQ(line->Exchange("XYZ"), kAlphabet);
  }
  void BeginDownload(const std::string& number) {
    ASSERT_EQ(line->Exchange("FH " + number), "&LP 00" + number);
    ASSERT_EQ(line->Exchange(">"), "Download to NCE in progress. &FH 00" + number);
    ASSERT_NE(line->Exchange(">"), "");
  }
  void BeginUpload(const std::string& number) {
    line->Exchange("FH " + number); // an upload is named by the last download request
    ASSERT_EQ(line->Exchange("TH 1"), "Upload from NCE  in progress. &TH " + number);
    ASSERT_EQ(line->Exchange("04NEW!5C"), ">");
  }
  // By its own steps and within a second, whatever it does and the line does.
  void ExpectEnd(const std::function<void()>& wish) {
    const Clock::time_point begin = Clock::now();
    wish();
    EXPECT_EQ(host->WaitForExit(), 0) << host->Diagnostics();
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(1));
  }
  void Quit() {
    ExpectEnd([this] { host->Type("quit"); });
  }
  void Terminate() {
    ExpectEnd([this] { host->Signal(SIGTERM); });
  }

  HostFolders folders{NCEDL_PROGRAMS};
  std::unique_ptr<FarEnd> line;
  std::unique_ptr<Process> host;
};

TEST_F(ConsoleE2e, EndsWithinASecondInEveryStateByEveryWay) {
  support::WriteWholeFile(folders.Download("0000123.MPG"), Program(40000));
  const struct {
    const char* name;
    std::function<void()> reach;
  } states[] = {
      {"idle", [] {}},
      {"held by XOFF", [this] { line->Send(std::string(kXoff) + "XYZ\rDH\r"); }},
      {"in mid-download", [this] { BeginDownload("0000123"); }},
      {"in mid-upload", [this] { BeginUpload("0000123"); }},
      {"a line that never drains",
       [this] { host->Type("send " + folders.Download("0000123.MPG")); }},
  };
  const std::function<void()> ways[] = {[this] { Quit(); }, [this] { Terminate(); },
                                        [this] { ExpectEnd([this] { host->Signal(SIGINT); }); }};
  for (const auto& state : states)
    for (const auto& end : ways) {
      SCOPED_TRACE(std::string(state.name) + ", way " + std::to_string(&end - ways));
      StartServing();
      state.reach();
      end();
    }
  EXPECT_EQ(folders.UploadNames(), std::vector<std::string>());
}

// A large program is read in one go; what else was asked for meanwhile does not hold the end.
TEST_F(ConsoleE2e, EndsWithinASecondWhateverIsQueued) {
  support::WriteWholeFile(folders.Download("1.MPG"), Program(1'000'000));
  std::string requests;
  for (int i = 0; i < 60; ++i)
    requests += "FH 1\r";
  StartServing();
  line->Send(requests);
  ASSERT_TRUE(host->Expect(" 8 Download Preparation"));
  Terminate();
  StartServing();
  for (int i = 0; i < 60; ++i) {
    host->Type("send " + folders.Download("1.MPG"));
    host->Type("cancel");
  }
  Quit();
}

TEST_F(ConsoleE2e, AFloodOfInputTakesNoMemoryAndDoesNotHoldTheEnd) {
  line = std::make_unique<FarEnd>(folders.Line());
  const std::vector<std::string> flooded = {"bash", "-c", "exec \"$0\" < <(exec yes status)",
                                            folders.Program("ncedl-console")[0]};
  host = std::make_unique<Process>(flooded, folders.Options());
  for (int i = 0; i < 2000; ++i)
    ASSERT_TRUE(host->Expect("status 1 Waiting...\n")) << host->Diagnostics();
  EXPECT_EQ(line->Exchange("XYZ"), kAlphabet);
  const std::string memory =
      support::ReadWholeFile("/proc/" + std::to_string(host->Id()) + "/statm");
  EXPECT_LT(std::stol(memory.substr(memory.find(' '))), 100'000) << "pages";
  Terminate();
}

TEST_F(ConsoleE2e, WithoutStandardStreamsNothingButTheProtocolGoesOut) {
  line = std::make_unique<FarEnd>(folders.Line());
  host = std::make_unique<Process>(std::vector<std::string>{"sh", "-c", "exec \"$0\" <&- >&- 2>&-",
                                                            folders.Program("ncedl-console")[0]},
                                   folders.Options());
  std::string reply;
  for (int i = 0; i < 500 && reply.empty(); ++i) {
    line->Send("XYZ\r");
    reply = line->Receive("\r", Milliseconds(20));
  }
  ASSERT_EQ(reply, std::string(kAlphabet) + "\r");
  line->Receive("never", Milliseconds(100));
  for (int i = 0; i < 3; ++i) {
    BeginUpload("7");
    ASSERT_EQ(line->Exchange("]"), ">");
    EXPECT_EQ(support::ReadWholeFile(folders.Upload("7.MPG")), "NEW\n");
  }
  Terminate();
}

TEST_F(ConsoleE2e, AToolWithoutStandardStreamsDoesNotWriteItsTextIntoTheFilesThatItOpens) {
  support::WriteWholeFile(folders.Path("", "plain"), Program(200));
  const std::string packed = folders.Path("", "packed");
  std::vector<std::string> command =
      folders.Program("korfile", {"compress", "-o", packed, folders.Path("", "plain")});
  std::string expected;
  for (const bool isClosed : {false, true}) {
    if (isClosed) command.insert(command.begin(), {"sh", "-c", "exec \"$0\" \"$@\" <&- >&- 2>&-"});
    EXPECT_EQ(Process(command, folders.Options()).WaitForExit(), 0);
    const std::string stored = support::ReadWholeFile(packed);
    EXPECT_TRUE(isClosed ? stored == expected : !stored.empty());
    expected = stored;
    std::filesystem::remove(packed);
  }
}

// The system calls that make a stored program survive a power cut, in their order.
TEST_F(ConsoleE2e, AnUploadIsSyncedThenRenamedThenItsFolderIsSynced) {
  line = std::make_unique<FarEnd>(folders.Line());
  const std::string calls = folders.Path("temp", "calls");
  const std::string of = "trace=fsync,fdatasync,rename,renameat,renameat2";
  const std::vector<std::string> traced = {
      "strace", "-Dfyqq", "-o", calls, "-e", of, folders.Program("ncedl-console").front()};
  ProcessOptions options = folders.Options();
  options.environment["ASAN_OPTIONS"] = "detect_leaks=0"; // it looks for leaks by tracing, too
  StartHost(traced, options);
  BeginUpload("7");
  ASSERT_EQ(line->Exchange("02]"), ">");
  Quit();
  const std::regex order(R"(sync\(\d+<[^>]*/up/7\.MPG\.[^>]*>\) += 0\n)"
                         R"([^\n]*rename[^\n]*/up/7\.MPG\.[^\n]*/up/7\.MPG"[^\n]* = 0\n)"
                         R"([^\n]*sync\(\d+<[^>]*/up>\) += 0\n)");
  const std::string all = support::ReadWholeFile(calls);
  EXPECT_TRUE(std::regex_search(all, order)) << all;
}

TEST_F(ConsoleE2e, ASettingsFolderThatHangsDoesNotKeepIt) {
  ProcessOptions options = folders.Options();
  options.environment["LD_PRELOAD"] = NCEDL_HANGING_DISK;
  line = std::make_unique<FarEnd>(folders.Line());
  StartHost(folders.Program("ncedl-console"), options);
  host->Type("quit");
  EXPECT_EQ(host->WaitForExit(), 0) << host->Diagnostics();
}

TEST_F(ConsoleE2e, AFullDiskEndsAnUploadAndLeavesTheOldProgram) {
  support::WriteWholeFile(folders.Upload("7.MPG"), "OLD\n");
  line = std::make_unique<FarEnd>(folders.Line());
  StartHost({"prlimit", "--fsize=100000", folders.Program("ncedl-console")[0]}, folders.Options());
  BeginUpload("7");
  const std::string block(200, 'X');
  std::string reply = ">";
  int accepted = 0;
  while (reply == ">" && accepted < 1000) {
    reply = line->Exchange("C8" + block + "!!00");
    ++accepted;
  }
  EXPECT_EQ(reply, "<");
  EXPECT_TRUE(host->Expect(" 15 Upload Error(s)"));
  EXPECT_EQ(folders.UploadNames(), std::vector<std::string>{"7.MPG"});
  EXPECT_EQ(support::ReadWholeFile(folders.Upload("7.MPG")), "OLD\n");
  EXPECT_EQ(line->Exchange("XYZ"), kAlphabet);
  Quit();
}

TEST_F(ConsoleE2e, ServesALineOverTheNetworkAndEndsWhileItsNameIsLookedUp) {
  const auto name = [this](const std::string& address) {
    EXPECT_EQ(folders.Start("ncedl-setup", {"--port", "COM1=" + address})->WaitForExit(), 0);
  };
  const std::string program = folders.Download("123.MPG");
  support::WriteWholeFile(program, Program(200));
  name("tcp://localhost:47218");
  StartHost(folders.Program("ncedl-console"), folders.Options(), " 0 No Link");
  const auto controller = folders.Start(
      "nce-controller", {"--port", "tcp-listen://127.0.0.1:47218", "--baud", "115200", "run", "-"});
  ASSERT_TRUE(host->Expect(" 1 Waiting...")) << host->Output();
  controller->Type("fetch 123 --compare " + program);
  EXPECT_TRUE(controller->Expect("equal")) << controller->Diagnostics();
  host->CloseInput(); // no reason to end
  controller->Signal(SIGKILL);
  EXPECT_TRUE(host->Expect(" 0 No Link"));
  Terminate();
  name("tcp://slow:1");
  ProcessOptions options = folders.Options();
  options.environment["LD_PRELOAD"] = NCEDL_SLOW_NAMES;
  StartHost(folders.Program("ncedl-console"), options, " 0 No Link");
  Quit();
}

TEST_F(ConsoleE2e, TheEnvironmentSwitchesDebugModesOnAndTheLogIsNamedAsTheSettings) {
  const std::string settings = "config/Velmora/Plenova 2026";
  support::WriteWholeFile(folders.Path(settings, "Debug.ini"), "[DEBUG_MODES]\nReg_Dateless\n");
  ProcessOptions options = folders.Options();
  options.environment["NCEDL_DEBUG"] = "1";
  host = std::make_unique<Process>(folders.Program("ncedl-console", {"PRESS", "2"}), options);
  EXPECT_TRUE(host->Expect("00:00:00 ")) << host->Diagnostics(); // the fixed time of that mode
  EXPECT_TRUE(
      support::ReadWholeFile(folders.Path(settings, "PRESS 2.log")).ends_with(" Download 2026"));
  Quit();
}

} // namespace
} // namespace kor
