#include "demo/window_demo.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "demo/format.h"
#include "demo/line_run.h"

namespace kor::demo {

namespace {

namespace fs = std::filesystem;
using support::Process;
using support::ReadWholeFile;
using support::WriteWholeFile;
using Clock = std::chrono::steady_clock;

constexpr int kBaud = 38400;
constexpr std::size_t kLargeSize = 48 * 1024;
constexpr std::size_t kSentSize = 12 * 1024;
constexpr std::chrono::seconds kToLookAt(2); // each state that stays

class WindowDemo : private LineRun {
 public:
  WindowDemo(const std::string& programs, const std::string& ncPrograms, std::string_view folder)
      : LineRun(programs, ncPrograms, kBaud), pictureFolder(folder) {
    if (!pictureFolder.empty()) fs::create_directories(pictureFolder);
  }

  int Run() {
    PutPrograms(kLargeSize);
    const std::string large = ReadWholeFile(folders.Download("0001000.MPG"));
    WriteWholeFile(folders.Path("", "sent.nc"), large.substr(0, large.rfind('\n', kSentSize) + 1));
    Begin();
    StartWindow();
    Show("line-test");
    ListStep();
    Show("listing");
    ShootAfter(std::chrono::seconds(5), "sending");
    DownloadStep("download, 48 KiB", "0001000", "0001000.MPG");
    Show("sent");
    ShootAfter(std::chrono::seconds(1), "receiving");
    UploadStep();
    Show("received");
    MissingStep();
    Show("not-found");
    CheckJobLog();
    EndWindow();
    return End();
  }

 private:
  void StartWindow() {
    folders.WriteProfile(kBaud,
                         "[Log]\nwrite log=1\nlog file=" + folders.Path("", "jobs.log") + "\n");
    WriteWholeFile(fs::path(folders.SettingsFile()).replace_filename("NCE.window"),
                   "[Shown]\nservice=1\nmonitor=1\n");
    support::ProcessOptions options = folders.Options();
    // The user's permission to use the display is in the home folder, which is another one now.
    if (const char* const home = std::getenv("HOME"); home && !std::getenv("XAUTHORITY"))
      options.environment["XAUTHORITY"] = std::string(home) + "/.Xauthority";
    window = std::make_unique<Process>(folders.Program("ncedl"), options);
    const std::string answer = Command("wait-host 30");
    if (answer.find("\"ok\": true") == std::string::npos)
      throw std::runtime_error("ncedl: " + window->Diagnostics() + answer);
  }

  void MissingStep() {
    Traffic missing;
    missing.Exchange("FH 0000404", "%% File 0000404 not found on Host Computer");
    Step("request for a missing program", "expect-exit 3 fetch 0000404", missing);
  }

  void CheckJobLog() {
    const std::string log = ReadWholeFile(folders.Path("", "jobs.log"));
    for (const char* const job :
         {"Download Completed", "Upload Completed", "Download could not open"})
      Check(std::string("the job log has \"") + job + "\"", log.find(job) != std::string::npos);
  }

  void EndWindow() {
    const Clock::time_point asked = Clock::now();
    window->Signal(SIGTERM);
    const bool ended = window->WaitForExit() == 0;
    Check("ncedl ends within a second", ended && Clock::now() - asked < std::chrono::seconds(1));
  }

  // Somebody may be looking.
  void Show(const std::string& name) {
    std::this_thread::sleep_for(kToLookAt);
    Shoot(name);
  }

  // Takes the picture in the middle of the next step.
  void ShootAfter(Clock::duration delay, const std::string& name) {
    picture = name;
    pictureTime = Clock::now() + delay;
  }

  void WhileItRuns() override {
    if (picture.empty() || Clock::now() < pictureTime) return;
    Shoot(picture);
    picture.clear();
  }

  void Shoot(const std::string& name) {
    if (pictureFolder.empty()) return;
    const std::string file = pictureFolder + Format("/%d-", ++pictures) + name + ".png";
    Process camera({"import", "-window", "root", file});
    if (camera.WaitForExit() != 0) Report("picture " + file, camera.Diagnostics(), "");
  }

  const std::string pictureFolder;
  std::unique_ptr<Process> window;
  std::string picture; // to be taken while a step runs
  Clock::time_point pictureTime;
  int pictures = 0;
};

} // namespace

int ShowWindow(const std::string& programs, const std::string& samples, std::string_view pictures) {
  return WindowDemo(programs, samples, pictures).Run();
}

} // namespace kor::demo
