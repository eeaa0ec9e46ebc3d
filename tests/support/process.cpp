#include "tests/support/process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace kor::support {
namespace {

using Clock = std::chrono::steady_clock;
constexpr Milliseconds kPause(2); // of one wait; what comes ends it at once

struct Pipe {
  int read = -1, write = -1;
  Pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
      throw std::system_error(errno, std::generic_category(), "pipe2");
    read = ends[0];
    write = ends[1];
  }
};

void Close(int& descriptor) {
  if (descriptor >= 0) close(descriptor);
  descriptor = -1;
}

// The program by way of env, which sets its surroundings up.
std::vector<std::string> Command(const std::vector<std::string>& program,
                                 const ProcessOptions& options) {
  std::vector<std::string> all = {"env"};
  if (!options.workingFolder.empty()) all.push_back("--chdir=" + options.workingFolder.string());
  for (const auto& [name, value] : options.environment)
    all.push_back(name + "=" + value);
  all.insert(all.end(), program.begin(), program.end());
  return all;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts)
    pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

// What a test starts dies with it, and it with the run that started it, however either ends.
void DieWith(pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(125); // it has just ended
}

// In the child, between fork and exec: system calls only.
[[noreturn]] void Become(const Pipe& in, const Pipe& out, const Pipe& err, pid_t parent,
                         char* const* arguments) {
  DieWith(parent);
  dup2(in.read, STDIN_FILENO);
  dup2(out.write, STDOUT_FILENO);
  dup2(err.write, STDERR_FILENO);
  execvp(arguments[0], arguments);
  _exit(127);
}

} // namespace

Process::Process(const std::vector<std::string>& commandLine, const ProcessOptions& options) {
  signal(SIGPIPE, SIG_IGN); // writing to a program that has ended is no reason to end
  Pipe in, out, err;
  std::vector<std::string> arguments = Command(commandLine, options);
  const std::vector<char*> pointers = Pointers(arguments);
  DieWith(getppid());
  const pid_t parent = getpid();
  id = fork();
  if (id < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (id == 0) Become(in, out, err, parent, pointers.data());
  Close(in.read);
  Close(out.write);
  Close(err.write);
  input = in.write;
  output = out.read;
  diagnostics = err.read;
  for (const int descriptor : {output, diagnostics})
    fcntl(descriptor, F_SETFL, O_NONBLOCK); // NOLINT(cppcoreguidelines-pro-type-vararg)
}

Process::~Process() {
  if (!exitCode) {
    kill(id, SIGKILL);
    waitpid(id, nullptr, 0);
  }
  Close(input);
  Close(output);
  Close(diagnostics);
}

void Process::Type(std::string_view line) {
  const std::string text = std::string(line) + "\n";
  if (write(input, text.data(), text.size()) < 0) Close(input); // the next expectation says so
}

void Process::CloseInput() {
  Close(input);
}

void Process::Drain(int& descriptor, std::string& to) {
  std::array<char, 65536> piece;
  while (descriptor >= 0) {
    const ssize_t count = read(descriptor, piece.data(), piece.size());
    if (count > 0) {
      to.append(piece.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EAGAIN) {
      Close(descriptor);
    } else {
      return;
    }
  }
}

bool Process::Pump(Milliseconds atMost) {
  std::array<pollfd, 2> waiting{{{output, POLLIN, 0}, {diagnostics, POLLIN, 0}}};
  const bool isOpen = output >= 0 || diagnostics >= 0;
  poll(waiting.data(), waiting.size(), static_cast<int>(atMost.count()));
  Drain(output, outputText);
  Drain(diagnostics, diagnosticsText);
  return isOpen;
}

const std::string& Process::Output() {
  Pump(Milliseconds(0));
  return outputText;
}

const std::string& Process::Diagnostics() {
  Pump(Milliseconds(0));
  return diagnosticsText;
}

bool Process::Expect(std::string_view text, Milliseconds atMost) {
  const auto until = Clock::now() + atMost;
  while (true) {
    const bool more = Pump(Milliseconds(0));
    const std::size_t found = outputText.find(text, searched);
    if (found != std::string::npos) {
      searched = found + text.size();
      return true;
    }
    if (!more || Clock::now() >= until) return false;
    Pump(kPause);
  }
}

void Process::Signal(int number) {
  if (!exitCode) kill(id, number);
}

std::optional<int> Process::WaitForExit(Milliseconds atMost) {
  const auto until = Clock::now() + atMost;
  while (!exitCode) {
    int state = 0;
    if (waitpid(id, &state, WNOHANG) == id)
      exitCode = WIFEXITED(state) ? WEXITSTATUS(state) : 128 + WTERMSIG(state);
    else if (Clock::now() >= until)
      break;
    Pump(exitCode ? Milliseconds(0) : kPause);
  }
  return exitCode;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path, ignored);
}

std::string ReadWholeFile(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void WriteWholeFile(const std::filesystem::path& path, std::string_view content) {
  std::ofstream stream(path, std::ios::binary);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  stream.close();
  if (!stream) throw std::runtime_error("can't write " + path.string());
}

} // namespace kor::support
