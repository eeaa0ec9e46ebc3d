// Measures ncedl-console on a line over the network: ser2net on a pseudo-terminal. A bare socket
// and pySerial's client, which send back what they get, are measured beside it on such servers.
// Prints a table; exit code 1 when a target is missed.
//   network_bench PROGRAMS-FOLDER [--quick]
#include <array>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bench/result_table.h"
#include "bench/served_host.h"
#include "tests/support/tcp_port.h"

namespace {

using namespace kor;
using namespace kor::bench;
using support::HostFolders;
using support::Milliseconds;
using support::Process;

bench::ResultTable table;

void Row(const std::string& what, double value, const char* unit, Target target = {}) {
  table.Row(what, value, unit, target);
}

enum class Client { Local, Network, Library, Bare };
constexpr const char* kNames[] = {"ncedl-console, local pty", "ncedl-console, ser2net",
                                  "pySerial, ser2net", "bare socket, ser2net"};

bool IsHost(Client client) {
  return client == Client::Local || client == Client::Network;
}

// Each client has a port of its own, so that the lines of several can stand beside each other.
std::string TcpPort(Client client) {
  return std::to_string(support::OwnTcpPort() + static_cast<int>(client));
}

// Starts ser2net on the far end of a controller's line.
std::unique_ptr<Process> StartServer(const std::string& file, Client client,
                                     const std::string& device, int baud) {
  std::ofstream(file) << "connection: &line\n  accepter: "
                      << (client == Client::Bare ? "" : "telnet(rfc2217),") << "tcp,127.0.0.1,"
                      << TcpPort(client) << "\n  connector: serialdev," << device << ',' << baud
                      << "n81,local\n  options:\n    chardelay: false\n";
  auto process =
      std::make_unique<Process>(std::vector<std::string>{"ser2net", "-n", "-d", "-c", file});
  std::this_thread::sleep_for(Milliseconds(500)); // it doesn't tell when it listens
  return process;
}

// Starts a client that sends back what it gets.
std::unique_ptr<Process> StartEcho(Client client, int baud) {
  const std::string port = TcpPort(client);
  const std::string library = "import serial\n"
                              "s = serial.serial_for_url('rfc2217://127.0.0.1:" +
                              port + "?ign_set_control', " + std::to_string(baud) +
                              ", timeout=None)\n"
                              "while True: s.write(s.read(1) + s.read(s.in_waiting))\n";
  const std::string bare = "import socket\n"
                           "s = socket.create_connection(('127.0.0.1', " +
                           port +
                           "))\n"
                           "s.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)\n"
                           "while True:\n"
                           "  s.sendall(s.recv(4096))\n";
  return std::make_unique<Process>(std::vector<std::string>{
      "/usr/bin/python3", "-c", client == Client::Library ? library : bare});
}

void NamePort(const HostFolders& folders, const std::string& address) {
  if (folders.Start("ncedl-setup", {"--port", "COM1=" + address})->WaitForExit() != 0)
    throw std::runtime_error("ncedl-setup");
}

// Line: one client on a line of its own. Without a byte time the far end isn't paced.
struct Line {
  Line(const std::string& programs, Client client, int baud, std::chrono::nanoseconds byteTime)
      : folders(programs), controller(folders.Line(), byteTime) {
    folders.WriteProfile(baud);
    text = NcText(baud < 100'000 ? 8 << 10 : 64 << 10);
    support::WriteWholeFile(folders.Download("1.MPG"), text);
    if (client != Client::Local)
      server = StartServer(folder / "ser2net.yaml", client, controller.Device(), baud);
    if (IsHost(client)) {
      if (client == Client::Network) NamePort(folders, "rfc2217://127.0.0.1:" + TcpPort(client));
      host = std::make_unique<Host>(folders);
      AwaitHost(controller);
    } else {
      echo = StartEcho(client, baud);
      std::this_thread::sleep_for(Milliseconds(1500)); // until Python has connected
    }
  }

  const support::TemporaryFolder folder;
  const HostFolders folders;
  Controller controller;
  std::string text;
  std::unique_ptr<Process> server, echo;
  std::unique_ptr<Host> host;
};

double Median(std::vector<double> values) {
  std::ranges::sort(values);
  return Quantile(values, 0.5);
}

// The clients take turns, and the two that are compared are compared within each turn, so that
// what else the machine does falls on both alike.
void MeasureTurnArounds(const std::string& programs, int turns, int rounds) {
  constexpr int kBaud = 115200;
  std::array<std::unique_ptr<Line>, std::size(kNames)> lines;
  for (std::size_t i = 0; i < lines.size(); ++i)
    // The controller keeps the line's speed. Asked any sooner, the host would wait for its last
    // reply to leave.
    lines[i] = std::make_unique<Line>(programs, Client(i), kBaud, ByteTime(kBaud));
  std::array<std::vector<double>, std::size(kNames)> p50, p99;
  std::vector<double> ratios;
  for (int turn = 0; turn < turns; ++turn) {
    for (std::size_t i = 0; i < lines.size(); ++i) {
      const std::vector<double> times = TurnArounds(lines[i]->controller, "XYZ\r", rounds);
      p50[i].push_back(Quantile(times, 0.5));
      p99[i].push_back(Quantile(times, 0.99));
    }
    ratios.push_back(p50[std::size_t(Client::Network)].back() /
                     p50[std::size_t(Client::Bare)].back());
  }
  for (std::size_t i = 0; i < lines.size(); ++i) {
    Row(std::string("turn-around, ") + kNames[i] + ", p50", Median(p50[i]), "ms");
    Row(std::string("turn-around, ") + kNames[i] + ", p99", Median(p99[i]), "ms");
  }
  Row("turn-around over ser2net beside the bare socket, p50 to p50", Median(ratios), "x", {1.5, 0});
}

void MeasureLineUse(const std::string& programs, Client client, int baud, double least) {
  Line line(programs, client, baud, ByteTime(baud));
  const bool isHost = IsHost(client);
  const std::string half = std::string(54, 'x') + "\r";
  if (!isHost) line.controller.Ask(half);
  const double share = BusyShare(line.controller, baud, [&] {
    if (isHost) return Fetch(line.controller, "1", line.text.size());
    for (std::size_t sent = 0; sent < line.text.size(); sent += 2 * half.size())
      line.controller.Ask(half);
  });
  Row("line use at " + std::to_string(baud) + ", " + kNames[static_cast<int>(client)], share, "%",
      {0, least});
}

void Idle(const std::string& programs, Client client, int seconds) {
  Line line(programs, client, 9600, {});
  std::this_thread::sleep_for(Milliseconds(1500));
  const pid_t id = line.host->Id();
  const double before = ProcessorSeconds(id), sleeps = Sleeps(id);
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  const std::string name = std::string("idle, ") + kNames[static_cast<int>(client)];
  Row(name + ", of one core", (ProcessorSeconds(id) - before) / seconds * 100, "%");
  Row(name + ", wake-ups a second", (Sleeps(id) - sleeps) / seconds, "", {2, 0});
}

int Run(const std::string& programs, bool isQuick) {
  MeasureTurnArounds(programs, isQuick ? 3 : 10, isQuick ? 100 : 500);
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
  return kor::bench::LineBenchMain("network_bench", argc, argv, Run);
}
