// What the line benchmarks share: the controller's end of a pseudo-terminal, a host on the other
// end, and what a process costs. Owned by the benchmark's main; one thread.
#pragma once

#include <signal.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "bench/paced_relay.h"
#include "platform/terminals.h"
#include "services/core/as_bytes.h"
#include "tests/support/host_process.h"

namespace kor::bench {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZ\r";

inline double Seconds(Clock::duration span) {
  return std::chrono::duration<double>(span).count();
}

std::chrono::nanoseconds ByteTime(int baud);
// Returns NC text of at least so many bytes, in lines of the usual length.
std::string NcText(std::size_t bytes);

// Controller: the controller's end of the line, ready with its next request the moment a reply is
// complete. With a byte time it keeps the line's speed in both directions. Its clock stands still
// while this program is late for a moment that it waited for, so what is lost by that clock is the
// host's doing.
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

  // Returns the moment when the request's last byte reached the host.
  Clock::time_point Send(std::string_view request) {
    WaitUntil(std::max(lineTime, Now()) + byteTime * static_cast<std::int64_t>(request.size()));
    const Clock::time_point sent = Now();
    std::size_t written = 0;
    terminal->Write(AsBytes(request), written);
    if (written != request.size()) throw std::runtime_error("the terminal takes no request");
    count += written;
    return sent;
  }

  // Returns one line, or an empty one when nothing comes.
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
      WaitPrecisely(*terminal, moment + lateness, false);
    lateness += Now() - moment;
  }

  // This sleeps while nothing comes: awake, it would keep the host from the processor that wakes
  // it.
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

// Returns the command with the device as its standard input and output.
inline std::vector<std::string> OnTerminal(const std::string& device,
                                           std::vector<std::string> command) {
  command.insert(command.begin(), {"sh", "-c", "exec \"$@\" <>\"$0\" >&0", device});
  return command;
}

class Host {
 public:
  // Starts the program "ncedl-console", or the window, "ncedl", with pipes or on the terminal of a
  // screen.
  explicit Host(const support::HostFolders& folders, const std::string& terminal = {},
                const std::string& program = "ncedl-console") {
    std::vector<std::string> command = folders.Program(program);
    if (terminal.empty()) { // a pipe that nobody reads would hold the program
      command.insert(command.begin(), {"sh", "-c", "exec \"$0\" >/dev/null"});
    } else {
      command.insert(command.begin(), {"setsid", "--ctty"});
      command = OnTerminal(terminal, std::move(command));
    }
    process = std::make_unique<support::Process>(command, folders.Options());
  }
  ~Host() {
    process->Signal(SIGTERM);
    process->WaitForExit();
  }
  void Type(const std::string& command) { process->Type(command); }
  pid_t Id() const { return process->Id(); }

 private:
  std::unique_ptr<support::Process> process;
};

// Asks for the line test until the host answers, and drops what came before.
void AwaitHost(Controller& controller);
// Fetches a program of so many bytes and hands each frame's turn-around to the function.
void Fetch(Controller& controller, const std::string& number, std::size_t bytes,
           const std::function<void(double)>& onFrame = {});
// Returns the milliseconds from the start of a host's process to the first request that it serves,
// as the median of 11.
double StartToServing(const std::string& programs, const std::string& program);

// Returns the milliseconds from each request to the first byte of its reply, sorted.
std::vector<double> TurnArounds(Controller& controller, std::string_view request, int rounds);
// Returns the share of the time that the line is busy while the exchanges run, in percent.
double BusyShare(Controller& controller, int baud, const std::function<void()>& exchanges);

double Quantile(const std::vector<double>& sorted, double q);
enum class Threads { All, First };
// Returns the processor time of a process's threads, in seconds.
double ProcessorSeconds(pid_t id, Threads threads = Threads::All);
// Returns how often the threads of a process have gone to sleep, and so been woken.
double Sleeps(pid_t id);
// Reads a line of /proc/ID/status, such as "VmRSS".
double MemoryMegabytes(pid_t id, std::string_view field);

// Runs a benchmark whose arguments are PROGRAMS-FOLDER [--quick] and returns its exit code: that of
// run, or 2 when the arguments are wrong or run throws.
int LineBenchMain(const char* name, int argc, char** argv,
                  int (*run)(const std::string& programs, bool isQuick));

} // namespace kor::bench
