// The Windows programs under Wine, with this system's nce-controller, or the test, at the far end
// of COM1: from an empty Windows on, in folders and under a user name that code pages don't have.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

#include "tests/support/host_process.h"

namespace kor {
namespace {

namespace fs = std::filesystem;
using support::FarEnd;
using support::HostFolders;
using support::Milliseconds;
using support::Process;
using support::ReadWholeFile;
using support::WindowsSystem;
using support::WriteWholeFile;
using Clock = std::chrono::steady_clock;

constexpr Milliseconds kLongest(60'000); // of a step on a busy machine

// The numbers of its controls, and the system's of keys.
constexpr int kStatus = 15201, kSend = 15210, kRts = 15273, kSettings = 15101, kEscape = 27,
              kReturn = 13, kEndProgram = 5103, kService = 15753;

class WindowsE2e : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    windows = std::make_shared<WindowsSystem>(NCEDL_WINDOWS_PROGRAMS);
  }
  static void TearDownTestSuite() { windows.reset(); }

  std::unique_ptr<Process> StartWindows(const std::string& name,
                                        const std::vector<std::string>& arguments = {}) {
    return std::make_unique<Process>(windows->Command(name, arguments), windows->Options());
  }

  // What the hand at the windows answers.
  std::string Ask(const std::string& command) {
    if (!hand) hand = StartWindows("window_hand");
    const std::size_t from = hand->Output().size();
    hand->Type(command);
    EXPECT_TRUE(hand->Expect("\n", kLongest)) << command << hand->Diagnostics();
    std::string answer = hand->Output().substr(from);
    std::erase(answer, '\r');
    return answer;
  }
  std::string Ask(const std::string& command, int number) {
    return Ask(command + " " + std::to_string(number));
  }
  // Asks until the answer contains the text; whether it came to that.
  bool Comes(const std::string& command, const std::string& text, bool wanted = true) {
    const Clock::time_point until = Clock::now() + kLongest;
    while ((Ask(command).find(text) != std::string::npos) != wanted) {
      if (Clock::now() > until) return false;
      hand->Expect("nothing", Milliseconds(50));
    }
    return true;
  }
  bool StatusComes(const std::string& text) {
    return Comes("text " + std::to_string(kStatus), text);
  }
  void EndWindow(Process& program) {
    Ask("close");
    EXPECT_TRUE(Comes("click " + std::to_string(kEndProgram), "clicked"));
    EXPECT_EQ(program.WaitForExit(kLongest), 0) << program.Diagnostics();
  }
  void Shoot(const std::string& name) {
    const std::string shot = NCEDL_SHOTS "/" + name;
    ASSERT_EQ(Process({"import", "-window", "root", shot}).WaitForExit(kLongest), 0);
    Process colours({"identify", "-format", "%k", shot});
    ASSERT_EQ(colours.WaitForExit(kLongest), 0);
    EXPECT_GT(std::stoi(colours.Output()), 50) << shot;
  }

  static std::shared_ptr<const WindowsSystem> windows;
  std::unique_ptr<Process> hand;
};

std::shared_ptr<const WindowsSystem> WindowsE2e::windows;

// First: nothing has been set up yet.
TEST_F(WindowsE2e, AnEmptyWindowsIsToldWhatToDoAndKeepsSettingsFromTheFirstEndOn) {
  auto console = StartWindows("ncedl-console");
  EXPECT_EQ(console->WaitForExit(kLongest), 0);
  EXPECT_NE(console->Diagnostics().find("ncedl-setup --main FOLDER"), std::string::npos)
      << console->Diagnostics();
  const auto window = StartWindows("ncedl");
  EXPECT_TRUE(Comes("windows", "Unable to locate Program Paths")) << Ask("windows");
  EXPECT_TRUE(Comes("windows", "ncedl-setup --main FOLDER")) << Ask("windows");
  Shoot("windows-first-start.png");
  Ask("key", kReturn);
  EXPECT_EQ(window->WaitForExit(kLongest), 0);

  const HostFolders folders(NCEDL_PROGRAMS, windows); // has ncedl-setup make them
  fs::remove(folders.SettingsFile());
  const FarEnd line(folders.Line());
  const std::pair<std::string, std::string> ends[] = {{"close", "closed"}, {"log-off", "gone"}};
  for (const auto& [end, answer] : ends) {
    const std::string baud = end == "close" ? "2400" : "19200";
    console = folders.Start("ncedl-console");
    ASSERT_TRUE(console->Expect(" 1 Waiting...", kLongest)) << console->Diagnostics();
    console->Type("settings");
    EXPECT_TRUE(console->Expect("baudrate         " + baud));
    console->Type("set baudrate 19200");
    EXPECT_TRUE(console->Expect("baudrate         19200"));
    hand.reset(); // Wine's desktop goes with the last window; so do its copies of the console's
                  // streams
    EXPECT_TRUE(Comes(end, answer)); // its window for that may come late
    hand.reset();
    EXPECT_EQ(console->WaitForExit(), 0) << console->Diagnostics();
  }
}

// What the port's own check asks of its far side: an echo; byte 1: reads nothing until it says so,
// then drops everything up to a byte 2; byte 4: hangs up.
TEST_F(WindowsE2e, ThePortDoesWhatTheEngineAsksOfIt) {
  auto line = std::make_unique<FarEnd>(windows->Line());
  const auto check = StartWindows("serial_port_win32_check");
  bool dropping = false;
  while (!check->WaitForExit(Milliseconds(1))) {
    for (const char byte : line ? line->Receive("nothing", Milliseconds(5)) : std::string()) {
      if (dropping) {
        dropping = byte != 2;
      } else if (byte == 1) {
        EXPECT_TRUE(check->Expect("LET GO", kLongest));
        dropping = true;
      } else if (byte == 4) {
        line.reset();
        break;
      } else {
        line->Send({&byte, 1});
      }
    }
  }
  EXPECT_EQ(check->WaitForExit(), 0) << check->Output();
}

// A directory, a download with repeats and an upload, compared.
void ServeEachJob(const HostFolders& folders, Process& controller) {
  std::string program;
  for (int i = 1; i <= 300; ++i)
    program += "N" + std::to_string(i) + " G01 X1000.000 Y2000.000\n";
  WriteWholeFile(folders.Download("0000123.MPG"), program);
  for (const std::string& step :
       {std::string("list"), std::string("refuse 2"),
        "fetch 0000123 --compare \"" + folders.Download("0000123.MPG") + "\"",
        "send \"" + folders.Download("0000123.MPG") + "\" --number 0000200"}) {
    controller.Type(step);
    if (step != "refuse 2") {
      EXPECT_TRUE(controller.Expect("\"ok\": true", kLongest))
          << step << controller.Output() << controller.Diagnostics();
    }
  }
  EXPECT_EQ(ReadWholeFile(folders.Upload("0000200.MPG")), program);
}

TEST_F(WindowsE2e, TheWindowServesAControllerAndKeepsWhatIsClicked) {
  const HostFolders folders(NCEDL_PROGRAMS, windows);
  Process controller(folders.Program("nce-controller", {"--pty", folders.Line(), "--baud", "115200",
                                                        "--json", "--wait-host", "0", "run", "-"}));
  while (!fs::exists(folders.Line()))
    ASSERT_FALSE(controller.WaitForExit(Milliseconds(10))) << controller.Diagnostics();
  auto window = folders.Start("ncedl");
  ASSERT_TRUE(StatusComes("Waiting...")) << window->Diagnostics();
  ServeEachJob(folders, controller);
  EXPECT_TRUE(StatusComes("Upload Completed")) << Ask("text", kStatus);
  EXPECT_TRUE(Comes("windows", "NCE")) << Ask("windows");
  Shoot("windows-window.png");

  EXPECT_EQ(Ask("click", kService), "clicked\n");
  ASSERT_TRUE(Comes("checked " + std::to_string(kRts), "yes"));
  EXPECT_EQ(Ask("click", kRts), "clicked\n");
  EXPECT_TRUE(Comes("checked " + std::to_string(kRts), "no"));
  EXPECT_EQ(Ask("click", kSettings), "clicked\n");
  EXPECT_TRUE(Comes("text 15220", "COM1")) << "the settings dialog's field";
  Shoot("windows-settings.png");
  Ask("key", kEscape);
  EXPECT_TRUE(Comes("text 15220", "none"));
  const auto second = folders.Start("ncedl");
  EXPECT_EQ(second->WaitForExit(kLongest), 0) << "it shows the first";

  // The system's own dialogs have loops of their own: serving and showing go on meanwhile.
  EXPECT_EQ(Ask("click", kSend), "clicked\n");
  EXPECT_TRUE(Comes("windows", "Cancel |")) << Ask("windows");
  controller.Type("fetch 0000123");
  EXPECT_TRUE(controller.Expect("\"ok\": true", kLongest)) << controller.Diagnostics();
  EXPECT_TRUE(StatusComes("Download Completed")) << Ask("text", kStatus);
  EndWindow(*window); // and the chooser with it
  EXPECT_EQ(window->Diagnostics(), "");
  window = folders.Start("ncedl");
  ASSERT_TRUE(StatusComes("Waiting...")) << window->Diagnostics();
  EXPECT_EQ(Ask("checked", kRts), "no\n") << "read back";
  EXPECT_EQ(Ask("log-off"), "gone\n") << "Windows waits for no more than the answer";
  EXPECT_EQ(window->WaitForExit(kLongest), 0) << window->Diagnostics();
}

} // namespace
} // namespace kor
