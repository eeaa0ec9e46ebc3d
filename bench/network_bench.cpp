// Measures ncedl-console on a line over the network: ser2net on a pseudo-terminal, and beside it a
// bare socket and pySerial's client, which send back what they get, on the same server. Prints a
// table; exit code 1 when a target is missed.
//   network_bench PROGRAMS-FOLDER [--quick]
#include <cstdio>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "bench/result_table.h"
#include "bench/served_host.h"

namespace {

using namespace kor;
using namespace kor::bench;
using support::HostFolders;
using support::Milliseconds;
using support::Process;

constexpr const char* kAddress = "127.0.0.1:47311";

bench::ResultTable table;

void Row(const std::string& what, double value, const char* unit, Target target = {}) {
  table.Row(what, value, unit, target);
}

// ser2net on the far end of a controller's line.
class Server {
 public:
  Server(const support::TemporaryFolder& folder, const std::string& protocol,
         const std::string& device, int baud) {
    const std::string file = folder / "ser2net.yaml";
    std::ofstream(file) << "connection: &line\n  accepter: " << protocol << Comma()
                        << "\n  connector: serialdev," << device << ',' << baud
                        << "n81,local\n  options:\n    chardelay: false\n";
    process =
        std::make_unique<Process>(std::vector<std::string>{"ser2net", "-n", "-d", "-c", file});
    std::this_thread::sleep_for(Milliseconds(500)); // it doesn't tell when it listens
  }

 private:
  static std::string Comma() {
    std::string text = kAddress;
    text[text.find(':')] = ',';
    return text;
  }
  std::unique_ptr<Process> process;
};

// A client that sends back what it gets.
std::vector<std::string> EchoClient(bool withLibrary, int baud) {
  const std::string address = kAddress;
  const std::string library = "import serial\n"
                              "s = serial.serial_for_url('rfc2217://" +
                              address + "?ign_set_control', " + std::to_string(baud) +
                              ", timeout=None)\n"
                              "while True: s.write(s.read(1) + s.read(s.in_waiting))\n";
  const std::string bare = "import socket\n"
                           "s = socket.create_connection(('127.0.0.1', " +
                           address.substr(address.find(':') + 1) +
                           "))\n"
                           "s.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)\n"
                           "while True:\n"
                           "  s.sendall(s.recv(4096))\n";
  return {"/usr/bin/python3", "-c", withLibrary ? library : bare};
}

std::unique_ptr<Process> StartHost(const HostFolders& folders, const std::string& address) {
  if (!address.empty() &&
      folders.Start("ncedl-setup", {"--port", "COM1=rfc2217://" + address})->WaitForExit() != 0)
    throw std::runtime_error("ncedl-setup");
  return std::make_unique<Process>(std::vector<std::string>{"sh", "-c", "exec \"$0\" >/dev/null",
                                                            folders.Program("ncedl-console")[0]},
                                   folders.Options());
}

enum class Client { Local, Network, Library, Bare };
constexpr const char* kNames[] = {"ncedl-console, local pty", "ncedl-console, ser2net",
                                  "pySerial, ser2net", "bare socket, ser2net"};

struct TurnAround {
  double p50 = 0, p99 = 0;
};

bool IsHost(Client client) {
  return client == Client::Local || client == Client::Network;
}

TurnAround Ask(Controller& controller, std::string_view request, int rounds) {
  std::vector<double> times;
  for (int i = 0; i < rounds; ++i) {
    const Clock::time_point asked = controller.Send(request);
    const Controller::Reply reply = controller.Receive();
    if (reply.text.empty()) throw std::runtime_error("no reply");
    times.push_back(Seconds(reply.first - asked) * 1000);
  }
  std::ranges::sort(times);
  return {Quantile(times, 0.5), Quantile(times, 0.99)};
}

// The share of the time that the line is busy in exchanges as long as those of a download, percent.
double BusyShare(Controller& controller, int baud, const std::function<void()>& exchanges) {
  const std::uint64_t before = controller.Bytes();
  const Clock::time_point begin = controller.Now();
  exchanges();
  const double spent = Seconds(controller.Now() - begin);
  return Seconds(ByteTime(baud)) * static_cast<double>(controller.Bytes() - before) / spent * 100;
}

// One client on a line of its own: a far end that is paced when it has a speed.
struct Line {
  Line(const std::string& programs, Client client, int baud, std::chrono::nanoseconds byteTime)
      : folders(programs), controller(folders.Line(), byteTime) {
    folders.WriteProfile(baud);
    text = NcText(baud < 100'000 ? 8 << 10 : 64 << 10);
    support::WriteWholeFile(folders.Download("1.MPG"), text);
    if (client != Client::Local)
      server =
          std::make_unique<Server>(folder, client == Client::Bare ? "tcp," : "telnet(rfc2217),tcp,",
                                   controller.Device(), baud);
    const bool isHost = IsHost(client);
    process = isHost ? StartHost(folders, client == Client::Network ? kAddress : "")
                     : std::make_unique<Process>(EchoClient(client == Client::Library, baud));
    if (!isHost) std::this_thread::sleep_for(Milliseconds(1500));
  }

  const support::TemporaryFolder folder;
  const HostFolders folders;
  Controller controller;
  std::string text;
  std::unique_ptr<Server> server;
  std::unique_ptr<Process> process;
};

TurnAround MeasureTurnAround(const std::string& programs, Client client, int rounds) {
  // At line speed: asked sooner than a line could, the host would wait for its reply to leave it.
  Line line(programs, client, 115200, ByteTime(115200));
  if (IsHost(client)) AwaitHost(line.controller);
  const TurnAround found = Ask(line.controller, "XYZ\r", rounds);
  const std::string name = kNames[static_cast<int>(client)];
  Row("turn-around, " + name + ", p50", found.p50, "ms");
  Row("turn-around, " + name + ", p99", found.p99, "ms");
  return found;
}

double MeasureLineUse(const std::string& programs, Client client, int baud, double least) {
  Line line(programs, client, baud, ByteTime(baud));
  const bool isHost = IsHost(client);
  if (isHost) AwaitHost(line.controller);
  const std::string half = std::string(54, 'x') + "\r";
  if (!isHost) line.controller.Ask(half);
  const double share = BusyShare(line.controller, baud, [&] {
    if (isHost) return Fetch(line.controller, "1", line.text.size());
    for (std::size_t sent = 0; sent < line.text.size(); sent += 2 * half.size())
      line.controller.Ask(half);
  });
  Row(std::string("line use at ") + std::to_string(baud) + ", " + kNames[static_cast<int>(client)],
      share, "%", {0, least});
  return share;
}

void Idle(const std::string& programs, Client client, int seconds) {
  Line line(programs, client, 9600, {});
  AwaitHost(line.controller);
  std::this_thread::sleep_for(Milliseconds(1500));
  const double before = ProcessorSeconds(line.process->Id());
  const double sleeps = Sleeps(line.process->Id());
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  const std::string name = std::string("idle, ") + kNames[static_cast<int>(client)];
  Row(name + ", of one core", (ProcessorSeconds(line.process->Id()) - before) / seconds * 100, "%");
  Row(name + ", wake-ups a second", (Sleeps(line.process->Id()) - sleeps) / seconds, "", {2, 0});
}

int Run(const std::string& programs, bool isQuick) {
  const int rounds = isQuick ? 300 : 5000;
  MeasureTurnAround(programs, Client::Local, rounds);
  const TurnAround bare = MeasureTurnAround(programs, Client::Bare, rounds);
  MeasureTurnAround(programs, Client::Library, rounds);
  const TurnAround ours = MeasureTurnAround(programs, Client::Network, rounds);
  Row("turn-around over ser2net beside the bare socket, p50 to p50", ours.p50 / bare.p50, "x",
      {1.5, 0});
  for (const int baud : {9600, 115200})
    for (const Client client : {Client::Local, Client::Library, Client::Network})
      MeasureLineUse(programs, client, baud,
                     client != Client::Network ? 0
                     : baud == 9600            ? 99
                                               : 95);
  for (const Client client : {Client::Local, Client::Network})
    Idle(programs, client, isQuick ? 3 : 20);
  return table.AllTargetsMet() ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.empty()) {
    std::fprintf(stderr, "usage: network_bench PROGRAMS-FOLDER [--quick]\n");
    return 2;
  }
  try {
    return Run(arguments[0], arguments.size() > 1 && arguments[1] == "--quick");
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "network_bench: %s\n", failure.what());
    return 2;
  }
}
