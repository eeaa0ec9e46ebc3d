// Measures the window from outside, as a process on a pseudo-terminal and on the present display.
// Prints a table; exit code 1 when a target is missed. What the display server spends is not
// counted.
//   window_bench PROGRAMS-FOLDER [--quick]
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "bench/result_table.h"
#include "bench/served_host.h"

namespace {

namespace fs = std::filesystem;
using namespace kor::bench;
using kor::support::HostFolders;
using kor::support::WriteWholeFile;

constexpr int kBaud = 115200;
constexpr double kDrawnFrame = 16.7; // milliseconds, at sixty a second

ResultTable table;

class Spent {
 public:
  explicit Spent(pid_t process)
      : id(process), all(ProcessorSeconds(id)), window(ProcessorSeconds(id, Threads::First)),
        sleeps(Sleeps(id)) {}

  void Report(const std::string& what, Target target) const {
    const double seconds = Seconds(Clock::now() - begin);
    table.Row(what + ", of one core", (ProcessorSeconds(id) - all) / seconds * 100, "%", target);
    table.Row(what + ", the window's thread",
              (ProcessorSeconds(id, Threads::First) - window) / seconds * 100, "%");
  }
  void ReportWakeUps(const std::string& what, Target target) const {
    table.Row(what + ", wake-ups a second", (Sleeps(id) - sleeps) / Seconds(Clock::now() - begin),
              "", target);
  }

 private:
  const pid_t id;
  const double all, window, sleeps;
  const Clock::time_point begin = Clock::now();
};

void Measure(const std::string& programs, bool withMonitor, std::size_t bytes, int idleSeconds) {
  const HostFolders folders(programs);
  WriteWholeFile(fs::path(folders.SettingsFile()).replace_filename("NCE.window"),
                 withMonitor ? "[Shown]\nservice=1\nmonitor=1\n" : "[Shown]\nservice=0\n");
  const std::string text = NcText(bytes), name = withMonitor ? "window, monitor on, " : "window, ";
  WriteWholeFile(folders.Download("1.MPG"), text);
  Controller controller(folders.Line(), ByteTime(kBaud));
  const Host host(folders, {}, "ncedl");
  AwaitHost(controller);
  // The controller's waits for its frames show whatever holds the worker up.
  std::vector<double> waits;
  {
    const Spent spent(host.Id());
    Fetch(controller, "1", text.size(), [&](double wait) { waits.push_back(wait * 1000); });
    spent.Report(name + "at " + std::to_string(kBaud) + " baud", {.most = 5});
  }
  std::ranges::sort(waits);
  table.Row(name + "median wait for a frame", Quantile(waits, 0.5), "ms");
  table.Row(name + "longest wait for a frame", waits.back(), "ms", {.most = kDrawnFrame});
  std::this_thread::sleep_for(std::chrono::seconds(1)); // what the download has left to do
  const Spent spent(host.Id());
  std::this_thread::sleep_for(std::chrono::seconds(idleSeconds));
  const std::string idle = name + "idle over " + std::to_string(idleSeconds) + " s";
  spent.Report(idle, {.most = 0.095});
  spent.ReportWakeUps(idle, {.most = 4});
  table.Row(name + "resident memory", MemoryMegabytes(host.Id(), "VmRSS"), "MB");
}

int Run(const std::string& programs, bool isQuick) {
  for (const bool withMonitor : {false, true})
    Measure(programs, withMonitor, (isQuick ? 48 : 384) * 1024, isQuick ? 3 : 30);
  // The window is shown before the port is opened.
  table.Row("window, start to shown and serving, median of 11", StartToServing(programs, "ncedl"),
            "ms", {.most = 500});
  return table.AllTargetsMet() ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
  return kor::bench::LineBenchMain("window_bench", argc, argv, Run);
}
