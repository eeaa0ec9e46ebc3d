#include "bench/served_host.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace kor::bench {

namespace fs = std::filesystem;
using support::Milliseconds;

std::chrono::nanoseconds ByteTime(int baud) {
  return std::chrono::nanoseconds(10'000'000'000LL / baud); // 8N1: ten bits
}

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

void Fetch(Controller& controller, const std::string& number, std::size_t bytes,
           const std::function<void(double)>& onFrame) {
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

double StartToServing(const std::string& programs, const std::string& program) {
  std::vector<double> times;
  const support::HostFolders folders(programs);
  Controller controller(folders.Line());
  for (int round = 0; round < 11; ++round) {
    const Clock::time_point begin = Clock::now();
    const Host host(folders, {}, program);
    for (bool served = false; !served;) {
      controller.Send("XYZ\r");
      served = controller.Receive(Milliseconds(1)).text == kAlphabet;
    }
    times.push_back(Seconds(Clock::now() - begin) * 1000);
    while (!controller.Receive(Milliseconds(20)).text.empty()) {
    }
  }
  std::ranges::sort(times);
  return Quantile(times, 0.5);
}

std::vector<double> TurnArounds(Controller& controller, std::string_view request, int rounds) {
  std::vector<double> times;
  for (int i = 0; i < rounds; ++i) {
    const Clock::time_point asked = controller.Send(request);
    const Controller::Reply reply = controller.Receive();
    if (reply.text.empty()) throw std::runtime_error("no reply");
    times.push_back(Seconds(reply.first - asked) * 1000);
  }
  std::ranges::sort(times);
  return times;
}

double BusyShare(Controller& controller, int baud, const std::function<void()>& exchanges) {
  const std::uint64_t before = controller.Bytes();
  const Clock::time_point begin = controller.Now();
  exchanges();
  const double spent = Seconds(controller.Now() - begin);
  return Seconds(ByteTime(baud)) * static_cast<double>(controller.Bytes() - before) / spent * 100;
}

double Quantile(const std::vector<double>& sorted, double q) {
  return sorted[static_cast<std::size_t>(q * static_cast<double>(sorted.size() - 1))];
}

double ProcessorSeconds(pid_t id, Threads threads) {
  double nanoseconds = 0;
  for (const auto& task : fs::directory_iterator("/proc/" + std::to_string(id) + "/task")) {
    if (threads == Threads::First && task.path().filename() != std::to_string(id)) continue;
    double spent = 0;
    std::ifstream(task.path() / "schedstat") >> spent;
    nanoseconds += spent;
  }
  return nanoseconds / 1e9;
}

namespace {

double StatusField(const fs::path& process, std::string_view field) {
  std::ifstream status(process / "status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with(field)) return std::stod(line.substr(field.size() + 1));
  throw std::runtime_error("no figures of a process");
}

} // namespace

double Sleeps(pid_t id) {
  double count = 0;
  for (const auto& task : fs::directory_iterator("/proc/" + std::to_string(id) + "/task"))
    count += StatusField(task.path(), "voluntary_ctxt_switches");
  return count;
}

double MemoryMegabytes(pid_t id, std::string_view field) {
  return StatusField("/proc/" + std::to_string(id), field) / 1024;
}

int LineBenchMain(const char* name, int argc, char** argv,
                  int (*run)(const std::string& programs, bool isQuick)) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.empty()) {
    std::fprintf(stderr, "usage: %s PROGRAMS-FOLDER [--quick]\n", name);
    return 2;
  }
  try {
    return run(arguments[0], arguments.size() > 1 && arguments[1] == "--quick");
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s: %s\n", name, failure.what());
    return 2;
  }
}

} // namespace kor::bench
