// The demonstration: ncedl-console, or the window, on one end of a pseudo-terminal and
// nce-controller on the other, each in its own process. Exit code 0 only when every byte that
// travelled was right.
//   ncedl-demo                     the console at 115200 baud
//   ncedl-demo --quick [PROGRAMS SAMPLES]   the same with a small program in place of the large
//                                  one, and with other folders than those it was built with
//   ncedl-demo --windows PROGRAMS  as --quick, with the Windows console of that folder, under Wine
//   ncedl-demo --window [FOLDER]   the window on the present display, its pictures in FOLDER
#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "demo/format.h"
#include "demo/line_run.h"
#include "demo/window_demo.h"
#include "tests/support/tcp_port.h"

namespace {

namespace fs = std::filesystem;
using namespace kor::demo;
using kor::support::Process;
using kor::support::ReadWholeFile;
using kor::support::WindowsSystem;
using Clock = std::chrono::steady_clock;

constexpr int kBaud = 115200;

class ConsoleDemo : private LineRun {
 public:
  ConsoleDemo(bool quick, const std::string& programFolder, const std::string& sampleFolder,
              std::shared_ptr<const WindowsSystem> windows = nullptr)
      : LineRun(programFolder, sampleFolder, kBaud, std::move(windows)), isQuick(quick) {}

  int Run() {
    PutPrograms(isQuick ? 16'384 : 1'048'577);
    fs::copy(folders.SettingsFile(), fs::path(folders.SettingsFile()).replace_filename("500.INI"));
    Begin();
    ServeFirstTime();
    ServeFromStoredSettings();
    ServeModel500("download, H name");
    ServeOverNetwork();
    return End();
  }

 private:
  // --- Steps ---

  void ServeFirstTime() {
    StartHost();
    Traffic test;
    test.Exchange("XYZ", "ABCDEFGHIJKLMNOPQRSTUVWXYZ");
    Step("line test", "test", test);
    ListStep();
    DownloadStep("download, leading zeros kept", "0000123", "0000123.MPG");
    DownloadStep(isQuick ? "download, 16 KiB" : "download, over 1 MiB", "0001000", "0001000.MPG");
    DownloadStep("download, a frame refused twice and sent again", "0000101", "0000101.MPG", 2);
    Switch("strip-pc on");
    Switch("strip-nce on");
    Traffic stripped;
    stripped.Download("0000123", "Download to NCE in progress. &LP 123",
                      "Download to NCE in progress. &FH 123", FramesOf("123.MPG"));
    Step("download, leading zeros stripped", Fetch("0000123", {"123.MPG"}), stripped);
    Switch("strip-pc off");
    Switch("strip-nce off");
    UploadStep();
    Traffic missing;
    missing.Exchange("FH 0000404", "%% File 0000404 not found on Host Computer");
    Step("request for a missing program", "expect-exit 3 fetch 0000404", missing);
    Switch("autoload on");
    Switch("hybrid on");
    QuitHost();
  }

  // The first run's record stands where its text profile stood.
  void ServeFromStoredSettings() {
    StartHost();
    host->Type("settings");
    Check("the second start reads the settings record",
          host->Expect("baudrate         115200\n") && Shows("hybrid           on\n"));
    Traffic chain;
    Texts frames;
    for (const char* name : {"37304.MPG", "37305.MPG", "37306.MPG"}) {
      const Texts more = FramesOf(name);
      frames.insert(frames.end(), more.begin(), more.end());
    }
    chain.Download("3730406", "&LP 000037304", "Download to NCE in progress. &FH 000037304",
                   frames);
    Step("download, LLLSSES chain of three sheets",
         Fetch("3730406", {"37304.MPG", "37305.MPG", "37306.MPG"}), chain);
    QuitHost();
  }

  void ServeModel500(const std::string& what) {
    StartHost({"500"});
    Traffic named;
    named.Download("731", "&LP 000000000", "Download to NCE in progress. &FH 000000000",
                   FramesOf("H0000007.C31"));
    Step(what, Fetch("731", {"H0000007.C31"}), named);
    QuitHost();
  }

  // The controller plays a device server, too.
  void ServeOverNetwork() {
    const std::uint16_t port = kor::support::OwnTcpPort();
    const std::string address = "127.0.0.1:" + std::to_string(port);
    EndController();
    // The controller doesn't tell when it listens; the system does.
    const std::string listens = Format("0100007F:%04X 00000000:0000 0A", unsigned{port});
    StartController({"--port", "tcp-listen://" + address}, [&] {
      return ReadWholeFile("/proc/net/tcp").find(listens) != std::string::npos;
    });
    Check("the port is set to the network",
          folders.Start("ncedl-setup", {"--port", "COM1=tcp://" + address})->WaitForExit() == 0);
    ServeModel500("download over the network");
  }

  // --- The host ---

  void StartHost(const Texts& arguments = {}) {
    host = folders.Start("ncedl-console", arguments);
    // The port is open once the status is shown; the line is the controller's from its start.
    if (!host->Expect(" 1 Waiting...\n"))
      throw std::runtime_error("ncedl-console: " + host->Diagnostics());
  }

  void QuitHost() {
    const Clock::time_point asked = Clock::now();
    host->Type("quit");
    const bool ended = host->WaitForExit() == 0;
    Check("ncedl-console ends within a second",
          ended && Clock::now() - asked < std::chrono::seconds(1));
    if (!host->Diagnostics().empty())
      Report("messages: " + host->Diagnostics(), "none expected", "");
  }

  // Switches a special feature and waits until the host has it.
  void Switch(const std::string& feature) {
    host->Type("special " + feature);
    if (!Shows(Format("%-16s %s\n", feature.substr(0, feature.find(' ')).c_str(),
                      feature.substr(feature.find(' ') + 1).c_str())))
      throw std::runtime_error("ncedl-console: no answer to special " + feature);
  }
  bool Shows(const std::string& line) {
    host->Type("special");
    return host->Expect(line);
  }

  const bool isQuick;
  std::unique_ptr<Process> host;
};

} // namespace

int main(int argc, char** argv) {
  const std::vector<std::string_view> words(argv + 1, argv + argc);
  try {
    if (!words.empty() && words[0] == "--window")
      return ShowWindow(NCEDL_PROGRAMS, NCEDL_SAMPLES, words.size() > 1 ? words[1] : "");
    if (words.size() == 2 && words[0] == "--windows")
      return ConsoleDemo(true, NCEDL_PROGRAMS, NCEDL_SAMPLES,
                         std::make_shared<WindowsSystem>(std::string(words[1])))
          .Run();
    const bool quick = !words.empty() && words[0] == "--quick";
    if (words.size() < 3) return ConsoleDemo(quick, NCEDL_PROGRAMS, NCEDL_SAMPLES).Run();
    return ConsoleDemo(quick, std::string(words[1]), std::string(words[2])).Run();
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "ncedl-demo: %s\n", failure.what());
    return 1;
  }
}
