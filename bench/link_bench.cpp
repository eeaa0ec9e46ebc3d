// Measures ncedl-console from outside, as a process on a pseudo-terminal, and other transfer programs on a
// line of the same speed. Prints a table; exit code 1 when a target is missed.
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
#include "tests/support/host_process.h"

namespace {

namespace fs = std::filesystem;
using namespace kor;
using bench::Clock;
using bench::PacedRelay;
using support::HostFolders;
using support::Milliseconds;
using support::Process;
using support::ProcessOptions;

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZ\r";

bench::ResultTable table;

void Row(const std::string& what, double value, const char* unit, double most = 0,
         double least = 0) {
  table.Row(what, value, unit, {most, least});
}

double Seconds(Clock::duration span) {
  return std::chrono::duration<double>(span).count();
}

std::chrono::nanoseconds ByteTime(int baud) {
  return std::chrono::nanoseconds(10'000'000'000LL / baud); // 8N1: ten bits
}

// NC text of at least so many bytes, in lines of the usual length.
std::string NcText(std::size_t bytes) {
  std::string text;
  std::array<char, 64> line{};
  for (unsigned i = 1; text.size() < bytes; ++i) {
    std::snprintf(line.data(), line.size(), "N%u G01 X%u.%03u Y%u.%03u\n", i * 10, i % 1250,
                  i * 7 % 1000, i * 3 % 2500, i * 13 % 1000);
    text += line.data();
  }
  return text;
}

// The controller's end of the line, ready with its next request the moment a reply is complete. With a
// byte time it keeps the line's speed in both directions, by a clock that stands still while this program
// is late for a moment it waited for: what is lost by that clock is the host's doing.
class Controller {
 public:
  struct Reply {
    std::string text; // with its CR
    Clock::time_point first, last;
  };

  explicit Controller(const std::string& link, std::chrono::nanoseconds timePerByte = {})
      : byteTime(timePerByte) {
    KorText error;
    terminal = OpenPseudoTerminal(KorText::FromUtf8(link), error);
    if (!terminal) throw std::runtime_error(error.ToUtf8());
  }

  // Returns when the request's last byte reached the host.
  Clock::time_point Send(std::string_view request) {
    WaitUntil(std::max(lineTime, Now()) + byteTime * static_cast<std::int64_t>(request.size()));
    const Clock::time_point sent = Now();
    std::size_t written = 0;
    terminal->Write({reinterpret_cast<const std::uint8_t*>(request.data()), request.size()},
                    written);
    if (written != request.size()) throw std::runtime_error("the terminal takes no request");
    count += written;
    return sent;
  }

  // One line; empty when nothing comes.
  Reply Receive(Clock::duration atMost = std::chrono::seconds(30)) {
    const Clock::time_point until = Now() + atMost;
    std::size_t end = 0;
    while ((end = arrived.find('\r')) == std::string::npos) {
      if (Now() >= until) return {};
      ReadSome(until);
    }
    Reply reply{arrived.substr(0, end + 1), firstByte, times[end]};
    arrived.erase(0, end + 1);
    times.erase(times.begin(), times.begin() + static_cast<std::ptrdiff_t>(end) + 1);
    if (!times.empty()) firstByte = times.front();
    WaitUntil(reply.last);
    return reply;
  }

  Reply Ask(std::string_view request) {
    Send(request);
    return Receive();
  }

  std::string Device() const { return terminal->FarEnd().ToUtf8(); }
  std::uint64_t Bytes() const { return count; } // in both directions
  Clock::time_point Now() const { return Clock::now() - lateness; }

 private:
  void WaitUntil(Clock::time_point moment) {
    if (byteTime.count() == 0) return;
    while (Now() < moment)
      bench::WaitPrecisely(*terminal, moment + lateness, false);
    lateness += Now() - moment;
  }

  // Asleep while nothing comes: awake, it would keep the host from the processor that wakes it.
  void ReadSome(Clock::time_point until) {
    std::array<std::uint8_t, 4096> piece{};
    std::size_t got = 0;
    terminal->Read(piece, got);
    if (got == 0) return terminal->WaitUntil(until + lateness, true, false);
    const Clock::time_point now = Now();
    if (got > 0 && arrived.empty()) firstByte = now;
    for (std::size_t i = 0; i < got; ++i) {
      lineTime = std::max(lineTime, now) + byteTime;
      times.push_back(lineTime);
    }
    arrived.append(reinterpret_cast<const char*>(piece.data()), got);
    count += got;
  }

  std::chrono::nanoseconds byteTime;
  Clock::duration lateness{};
  std::unique_ptr<PseudoTerminal> terminal;
  std::string arrived;
  std::vector<Clock::time_point> times; // of the bytes in arrived
  Clock::time_point firstByte, lineTime;
  std::uint64_t count = 0;
};

// A screen that takes what is drawn.
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

class Host {
 public:
  // Piped, or on the terminal of a screen.
  explicit Host(const HostFolders& folders, const std::string& terminal = {}) {
    ProcessOptions options = folders.Options();
    std::vector<std::string> command = folders.Program("ncedl-console");
    if (terminal.empty()) {
      options.outputFile = "/dev/null"; // a pipe that nobody reads would hold the program
    } else {
      options.terminal = terminal;
      command.insert(command.begin(), {"setsid", "--ctty"});
    }
    process = std::make_unique<Process>(command, options);
  }
  ~Host() {
    process->Signal(SIGTERM);
    process->WaitForExit();
  }
  void Type(const std::string& command) { process->Type(command); }
  pid_t Id() const { return process->Id(); }

 private:
  std::unique_ptr<Process> process;
};

// Asks for the line test until the host answers; what came before is dropped.
void AwaitHost(Controller& controller) {
  for (int attempt = 0; attempt < 5000; ++attempt) {
    controller.Send("XYZ\r");
    if (controller.Receive(Milliseconds(2)).text != kAlphabet) continue;
    while (!controller.Receive(Milliseconds(50)).text.empty()) {
    }
    return;
  }
  throw std::runtime_error("the host doesn't answer");
}

// Fetches a program of so many bytes and hands every frame's turn-around to the function.
void Fetch(Controller& controller, const std::string& number, std::size_t bytes,
           const std::function<void(double)>& onFrame = {}) {
  if (controller.Ask("FH " + number + "\r").text.find("&LP") == std::string::npos)
    throw std::runtime_error("the host doesn't find the program");
  controller.Ask(">\r");
  for (std::size_t got = 0; got < bytes;) {
    const Clock::time_point asked = controller.Send(">\r");
    const Controller::Reply frame = controller.Receive();
    if (frame.text.size() < 6) throw std::runtime_error("a frame is missing");
    got += frame.text.size() - 5; // without length, checksum and CR
    if (onFrame) onFrame(Seconds(frame.first - asked));
  }
  if (controller.Receive().text != "]\r") throw std::runtime_error("the end mark is missing");
}

double Quantile(std::vector<double>& sorted, double q) {
  return sorted[static_cast<std::size_t>(q * static_cast<double>(sorted.size() - 1))];
}

void TurnAround(const std::string& programs, bool withTrace, bool withMonitor, std::size_t bytes) {
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
}

// The same pseudo-terminal, first with a process that does nothing but send back what it gets: what the
// system itself takes.
void BesideAnEcho(const std::string& programs, int rounds) {
  const HostFolders folders(programs);
  Controller controller(folders.Line());
  const auto median = [&](std::string_view request) {
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
      const Clock::time_point asked = controller.Send(request);
      const Controller::Reply reply = controller.Receive();
      if (reply.text.empty()) throw std::runtime_error("no reply");
      times.push_back(Seconds(reply.first - asked) * 1000);
    }
    std::ranges::sort(times);
    return Quantile(times, 0.5);
  };
  double echo = 0;
  {
    ProcessOptions options;
    options.terminal = controller.Device();
    const Process bare({"cat"}, options);
    echo = median("XYZ\r");
  }
  const Host host(folders);
  AwaitHost(controller);
  const double served = median("XYZ\r");
  Row("bare echo on the same pseudo-terminal, p50", echo, "ms");
  Row("line test on the same pseudo-terminal, p50", served, "ms", 0.2);
  Row("line test beside the bare echo, p50 to p50", served / echo, "x");
}

void LineUse(const std::string& programs, int baud, std::size_t bytes) {
  const HostFolders folders(programs);
  folders.WriteProfile(baud);
  const std::string text = NcText(bytes);
  support::WriteWholeFile(folders.Download("1.MPG"), text);
  Controller controller(folders.Line(), ByteTime(baud));
  Host host(folders);
  AwaitHost(controller);
  const std::uint64_t before = controller.Bytes();
  const Clock::time_point begin = controller.Now();
  Fetch(controller, "1", text.size());
  const double spent = Seconds(controller.Now() - begin);
  const double busy = Seconds(ByteTime(baud)) * static_cast<double>(controller.Bytes() - before);
  const double payload = Seconds(ByteTime(baud)) * static_cast<double>(text.size());
  const std::string at = " at " + std::to_string(baud) + " baud";
  Row("NCE" + at + ", of what the framing allows", busy / spent * 100, "%", 0, 99);
  Row("NCE" + at + ", of the line", payload / spent * 100, "%");
}

// The share of the line's time that the file itself takes.
void ReportShare(const std::string& name, int baud, std::size_t fileBytes, double seconds) {
  const double payload = Seconds(ByteTime(baud)) * static_cast<double>(fileBytes);
  Row(name + " at " + std::to_string(baud) + " baud, of the line", payload / seconds * 100, "%");
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

// sender and receiver: command lines; the receiver's file appears as `got` in its folder.
void Others(const std::string& name, int baud, const std::string& text,
            const std::vector<std::string>& sender, const std::vector<std::string>& receiver,
            const std::string& got) {
  const support::TemporaryFolder folder;
  support::WriteWholeFile(folder / "sent.txt", text);
  fs::create_directory(folder / "in");
  PacedRelay relay(folder / "left", folder / "right", ByteTime(baud));
  ProcessOptions right, left;
  right.terminal = folder / "right";
  right.workingFolder = folder / "in";
  left.terminal = folder / "left";
  left.workingFolder = folder.Path();
  Process receiving(receiver, right);
  Process sending(sender, left);
  // rx throws its last acknowledgement away with the terminal's queues, so sx would repeat its end.
  const auto received = receiving.WaitForExit(Milliseconds(300000));
  const double seconds = relay.ActiveSeconds();
  const std::string arrived = support::ReadWholeFile(folder.Path() / "in" / got);
  if (received != 0 || arrived.substr(0, text.size()) != text)
    throw std::runtime_error(name + ": " + sending.Diagnostics() + receiving.Diagnostics());
  ReportShare(name, baud, text.size(), seconds);
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

// Time on a processor of all threads of a process, in seconds.
double ProcessorSeconds(pid_t id) {
  double nanoseconds = 0;
  for (const auto& task : fs::directory_iterator("/proc/" + std::to_string(id) + "/task")) {
    double spent = 0;
    std::ifstream(task.path() / "schedstat") >> spent;
    nanoseconds += spent;
  }
  return nanoseconds / 1e9;
}

double MemoryMegabytes(pid_t id, std::string_view field) {
  std::ifstream status("/proc/" + std::to_string(id) + "/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with(field)) return std::stod(line.substr(field.size() + 1)) / 1024;
  throw std::runtime_error("no memory figures");
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
  const double before = ProcessorSeconds(host.Id());
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  const std::string where = onTerminal ? " on a terminal" : " piped";
  Row("idle over " + std::to_string(seconds) + " s" + where + ", of one core",
      (ProcessorSeconds(host.Id()) - before) / seconds * 100, "%", 0.1);
}

void StartToServing(const std::string& programs) {
  std::vector<double> times;
  const HostFolders folders(programs);
  Controller controller(folders.Line());
  for (int round = 0; round < 11; ++round) {
    const Clock::time_point begin = Clock::now();
    const Host host(folders);
    for (bool served = false; !served;) {
      controller.Send("XYZ\r");
      served = controller.Receive(Milliseconds(1)).text == kAlphabet;
    }
    times.push_back(Seconds(Clock::now() - begin) * 1000);
    while (!controller.Receive(Milliseconds(20)).text.empty()) {
    }
  }
  std::ranges::sort(times);
  Row("start to serving, median of 11", Quantile(times, 0.5), "ms", 100);
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
  for (const bool trace : {false, true})
    for (const bool monitor : {false, true})
      TurnAround(programs, trace, monitor, (isQuick ? 64 : 1024) * kib);
  LineUseOfAll(programs, 9600, (isQuick ? 4 : 24) * kib);
  LineUseOfAll(programs, 115200, (isQuick ? 32 : 256) * kib);
  BesideAnEcho(programs, isQuick ? 1000 : 20'000);
  for (const bool onTerminal : {false, true})
    Idle(programs, isQuick ? 3 : 30, onTerminal);
  StartToServing(programs);
  LargeFolder(programs, isQuick ? 1000 : 100'000);
  LargeProgram(programs, isQuick ? 10 : 100);
  return table.AllTargetsMet() ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.empty()) {
    std::fprintf(stderr, "usage: link_bench PROGRAMS-FOLDER [--quick]\n");
    return 2;
  }
  try {
    return Run(arguments[0], arguments.size() > 1 && arguments[1] == "--quick");
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "link_bench: %s\n", failure.what());
    return 2;
  }
}
