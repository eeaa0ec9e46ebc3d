// Measures ncedl-console from outside, as a process on a pseudo-terminal, and other transfer
// programs on a line of the same speed. Prints a table; exit code 1 when a target is missed.
//   link_bench PROGRAMS-FOLDER [--quick]
#include <signal.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bench/paced_relay.h"
#include "bench/result_table.h"
#include "bench/served_host.h"
#include "tests/support/host_process.h"

namespace {

namespace fs = std::filesystem;
using namespace kor;
using namespace kor::bench;
using support::HostFolders;
using support::Milliseconds;
using support::Process;
using support::ProcessOptions;

bench::ResultTable table;

void Row(const std::string& what, double value, const char* unit, double most = 0,
         double least = 0) {
  table.Row(what, value, unit, {most, least});
}

// Screen: a terminal that takes what is drawn.
class Screen {
 public:
  explicit Screen(const std::string& link) {
    KorText error;
    terminal = OpenPseudoTerminal(KorText::FromUtf8(link), error);
    if (!terminal) throw std::runtime_error(error.ToUtf8());
    thread = std::thread([this] {
      std::array<std::uint8_t, 4096> piece{};
      std::size_t got = 0;
      while (!stopping && terminal->Read(piece, got))
        if (got == 0) terminal->WaitUntil(Clock::now() + Milliseconds(200), true, false);
    });
  }
  ~Screen() {
    stopping = true;
    thread.join();
  }
  std::string Device() const { return terminal->FarEnd().ToUtf8(); }

 private:
  std::unique_ptr<PseudoTerminal> terminal;
  std::atomic<bool> stopping{false};
  std::thread thread;
};

// Returns the median, in milliseconds.
double TurnAround(const std::string& programs, bool withTrace, bool withMonitor,
                  std::size_t bytes) {
  const HostFolders folders(programs);
  const std::string text = NcText(bytes);
  support::WriteWholeFile(folders.Download("1.MPG"), text);
  Controller controller(folders.Line());
  Host host(folders);
  AwaitHost(controller);
  if (withTrace) host.Type("trace " + folders.Path("", "trace.log"));
  if (withMonitor) host.Type("monitor on");
  AwaitHost(controller);
  std::vector<double> times;
  Fetch(controller, "1", text.size(),
        [&times](double seconds) { times.push_back(seconds * 1000); });
  std::ranges::sort(times);
  const std::string name = std::string("turn-around, trace ") + (withTrace ? "on" : "off") +
                           ", monitor " + (withMonitor ? "on" : "off") + ", ";
  Row(name + "p50", Quantile(times, 0.5), "ms", 0.2);
  Row(name + "p99", Quantile(times, 0.99), "ms", 1);
  Row(name + "p99.9", Quantile(times, 0.999), "ms");
  return Quantile(times, 0.5);
}

// Measures the same pseudo-terminal first with a process that only sends back what it gets, which
// shows what the system itself takes, then with the host. Returns the former, in milliseconds.
double BesideAnEcho(const std::string& programs, int rounds) {
  const HostFolders folders(programs);
  Controller controller(folders.Line());
  const auto median = [&] { return Quantile(TurnArounds(controller, "XYZ\r", rounds), 0.5); };
  double echo = 0;
  {
    const Process bare(OnTerminal(controller.Device(), {"cat"}));
    echo = median();
  }
  const Host host(folders);
  AwaitHost(controller);
  const double served = median();
  Row("bare echo on the same pseudo-terminal, p50", echo, "ms");
  Row("line test on the same pseudo-terminal, p50", served, "ms", 0.2);
  Row("line test beside the bare echo, p50 to p50", served / echo, "x");
  return echo;
}

// Returns the share that a process reaches which only sends back what it gets, in exchanges as long
// as those of a download.
double EchoShare(const std::string& programs, int baud, std::size_t bytes) {
  constexpr std::size_t kExchange = 110; // an acknowledgement and a frame
  const HostFolders folders(programs);
  Controller controller(folders.Line(), ByteTime(baud));
  const Process bare(OnTerminal(controller.Device(), {"cat"}));
  const std::string line = std::string(kExchange / 2 - 1, 'x') + "\r";
  if (controller.Ask(line).text != line) throw std::runtime_error("no echo");
  return BusyShare(controller, baud, [&] {
    for (std::size_t sent = 0; sent < bytes; sent += kExchange)
      controller.Ask(line);
  });
}

void LineUse(const std::string& programs, int baud, std::size_t bytes) {
  const HostFolders folders(programs);
  folders.WriteProfile(baud);
  const std::string text = NcText(bytes);
  support::WriteWholeFile(folders.Download("1.MPG"), text);
  Controller controller(folders.Line(), ByteTime(baud));
  Host host(folders);
  AwaitHost(controller);
  const Clock::time_point begin = controller.Now();
  const double share = BusyShare(controller, baud, [&] { Fetch(controller, "1", text.size()); });
  const double spent = Seconds(controller.Now() - begin);
  const double payload = Seconds(ByteTime(baud)) * static_cast<double>(text.size());
  const std::string at = " at " + std::to_string(baud) + " baud";
  Row("NCE" + at + ", of what the framing allows", share, "%");
  Row("NCE" + at + ", of what a bare echo reaches", share / EchoShare(programs, baud, bytes) * 100,
      "%", 0, 99);
  Row("NCE" + at + ", of the line", payload / spent * 100, "%");
}

std::string ShareName(const std::string& name, int baud) {
  return name + " at " + std::to_string(baud) + " baud, of the line";
}

// Reports the share of the line's time that the file itself takes.
void ReportShare(const std::string& name, int baud, std::size_t fileBytes, double seconds) {
  const double payload = Seconds(ByteTime(baud)) * static_cast<double>(fileBytes);
  Row(ShareName(name, baud), payload / seconds * 100, "%");
}

void NceThroughRelay(const std::string& programs, int baud, const std::string& text) {
  const HostFolders folders(programs);
  folders.WriteProfile(baud);
  support::WriteWholeFile(folders.Download("1.MPG"), text);
  PacedRelay relay(folders.Line(), folders.Line() + "-far", ByteTime(baud));
  Host host(folders);
  const std::string got = folders.Path("", "got");
  Process waiting(folders.Program("nce-controller", {"--port", folders.Line() + "-far", "--baud",
                                                     std::to_string(baud), "wait-host", "20"}),
                  folders.Options());
  if (waiting.WaitForExit(Milliseconds(30000)) != 0)
    throw std::runtime_error("nce-controller: " + waiting.Diagnostics());
  relay.StartCounting();
  Process fetch(folders.Program("nce-controller", {"--port", folders.Line() + "-far", "--baud",
                                                   std::to_string(baud), "fetch", "1", "-o", got}),
                folders.Options());
  if (fetch.WaitForExit(Milliseconds(300000)) != 0 || support::ReadWholeFile(got) != text)
    throw std::runtime_error("nce-controller: " + fetch.Diagnostics());
  ReportShare("NCE, ncedl-console to nce-controller", baud, text.size(), relay.ActiveSeconds());
}

// Sends the text with another program. sender and receiver are command lines; the receiver's file
// appears as `got` in its folder. Returns the seconds that the line was active.
double SendWithOthers(int baud, const std::string& text, const std::vector<std::string>& sender,
                      const std::vector<std::string>& receiver, const std::string& got) {
  const support::TemporaryFolder folder;
  support::WriteWholeFile(folder / "sent.txt", text);
  fs::create_directory(folder / "in");
  PacedRelay relay(folder / "left", folder / "right", ByteTime(baud));
  ProcessOptions right, left;
  right.workingFolder = folder / "in";
  left.workingFolder = folder.Path();
  Process receiving(OnTerminal(folder / "right", receiver), right);
  Process sending(OnTerminal(folder / "left", sender), left);
  // rx throws its last acknowledgement away with the terminal's queues, so sx would repeat its end.
  const auto received = receiving.WaitForExit(Milliseconds(300000));
  const double seconds = relay.ActiveSeconds();
  const std::string arrived = support::ReadWholeFile(folder.Path() / "in" / got);
  if (received != 0) throw std::runtime_error(receiving.Diagnostics() + sending.Diagnostics());
  if (arrived.substr(0, text.size()) != text) throw std::runtime_error("other bytes arrived");
  return seconds;
}

// The rows of other programs have no target, so one that fails costs no more than its row.
void Others(const std::string& name, int baud, const std::string& text,
            const std::vector<std::string>& sender, const std::vector<std::string>& receiver,
            const std::string& got) {
  try {
    ReportShare(name, baud, text.size(), SendWithOthers(baud, text, sender, receiver, got));
  } catch (const std::exception& failure) {
    table.NotMeasured(ShareName(name, baud), failure.what());
  }
}

void LineUseOfAll(const std::string& programs, int baud, std::size_t bytes) {
  LineUse(programs, baud, bytes);
  const std::string text = NcText(bytes);
  NceThroughRelay(programs, baud, text);
  Others("XMODEM-1k (lrzsz)", baud, text, {"sx", "-q", "-k", "sent.txt"}, {"rx", "-q", "-c", "got"},
         "got");
  Others("ZMODEM (lrzsz)", baud, text, {"sz", "-q", "sent.txt"}, {"rz", "-q", "-y"}, "sent.txt");
  Others("Kermit (gkermit)", baud, text, {"gkermit", "-X", "-q", "-i", "-s", "sent.txt"},
         {"gkermit", "-X", "-q", "-i", "-r"}, "sent.txt");
}

void Idle(const std::string& programs, int seconds, bool onTerminal) {
  const HostFolders folders(programs);
  const std::string text = NcText(1 << 20);
  support::WriteWholeFile(folders.Download("1.MPG"), text);
  Controller controller(folders.Line());
  const Screen screen(folders.Line() + "-screen");
  const Host host(folders, onTerminal ? screen.Device() : "");
  AwaitHost(controller);
  Fetch(controller, "1", text.size());
  if (!onTerminal)
    Row("resident memory after a download of 1 MiB", MemoryMegabytes(host.Id(), "VmRSS"), "MB", 20);
  std::this_thread::sleep_for(Milliseconds(500)); // what the download has left to do
  const double before = ProcessorSeconds(host.Id()), sleepsBefore = Sleeps(host.Id());
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  const std::string name =
      "idle over " + std::to_string(seconds) + " s" + (onTerminal ? " on a terminal" : " piped");
  Row(name + ", of one core", (ProcessorSeconds(host.Id()) - before) / seconds * 100, "%", 0.095);
  Row(name + ", wake-ups a second", (Sleeps(host.Id()) - sleepsBefore) / seconds, "", 2);
}

void LargeFolder(const std::string& programs, int files) {
  const HostFolders folders(programs);
  for (int i = 0; i < files; ++i)
    std::ofstream(folders.Download(std::to_string(i) + ".MPG")) << "M30\n";
  Controller controller(folders.Line());
  const Host host(folders);
  AwaitHost(controller);
  const Clock::time_point asked = controller.Send("DH\r");
  controller.Receive();
  const Controller::Reply page = controller.Ask(">\r");
  Row("first directory page of " + std::to_string(files) + " files",
      Seconds(page.last - asked) * 1000, "ms", 500);
}

void LargeProgram(const std::string& programs, std::size_t megabytes) {
  const HostFolders folders(programs);
  support::WriteWholeFile(folders.Download("1.MPG"), NcText(megabytes << 20));
  Controller controller(folders.Line());
  const Host host(folders);
  AwaitHost(controller);
  const Clock::time_point asked = controller.Send("FH 1\r");
  const Controller::Reply found = controller.Receive();
  const std::string name = "program of " + std::to_string(megabytes) + " MB";
  Row(name + ", peak memory", MemoryMegabytes(host.Id(), "VmHWM"), "MB",
      static_cast<double>(3 * megabytes));
  Row(name + ", request to reply", Seconds(found.last - asked) * 1000, "ms");
}

int Run(const std::string& programs, bool isQuick) {
  const std::size_t kib = 1024;
  double turnAround = 0; // at last with both
  for (const bool trace : {false, true})
    for (const bool monitor : {false, true})
      turnAround = TurnAround(programs, trace, monitor, (isQuick ? 64 : 1024) * kib);
  const double echo = BesideAnEcho(programs, isQuick ? 1000 : 20'000);
  Row("turn-around, trace on, monitor on, beside the bare echo", turnAround / echo, "x", 1.2);
  LineUseOfAll(programs, 9600, (isQuick ? 4 : 24) * kib);
  LineUseOfAll(programs, 115200, (isQuick ? 32 : 256) * kib);
  for (const bool onTerminal : {false, true})
    Idle(programs, isQuick ? 3 : 30, onTerminal);
  Row("start to serving, median of 11", bench::StartToServing(programs, "ncedl-console"), "ms",
      100);
  LargeFolder(programs, isQuick ? 1000 : 100'000);
  LargeProgram(programs, isQuick ? 10 : 100);
  return table.AllTargetsMet() ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
  return kor::bench::LineBenchMain("link_bench", argc, argv, Run);
}
