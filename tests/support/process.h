// Child processes, a folder of their own and their surroundings, for end-to-end tests, the demo and
// the line benchmark. POSIX only. One thread per object.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/test_folder.h"

namespace kor::support {

using Milliseconds = std::chrono::milliseconds;

struct ProcessOptions {
  std::map<std::string, std::string> environment; // added to this process's own
  std::filesystem::path workingFolder;            // empty: this process's
};

// A running program with pipes at its three standard streams. Destroying it kills it. It dies with
// this process, too; and from then on this process with the one that started it.
class Process {
 public:
  Process(const std::vector<std::string>& commandLine, const ProcessOptions& options = {});
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t Id() const { return id; }
  // A line for its standard input, without line end.
  void Type(std::string_view line);
  void CloseInput();
  // Returns what the process has written so far.
  const std::string& Output();
  const std::string& Diagnostics();
  // Whether the output comes to contain the text, looked for from the end of the last match on.
  bool Expect(std::string_view text, Milliseconds atMost = Milliseconds(10000));
  void Signal(int number);
  // Exit code, 128 + signal when a signal ended it, or nothing while it runs.
  std::optional<int> WaitForExit(Milliseconds atMost = Milliseconds(10000));

 private:
  bool Pump(Milliseconds atMost); // moves what has come; false when both streams have ended
  void Drain(int& descriptor, std::string& to);

  pid_t id = -1;
  int input = -1, output = -1, diagnostics = -1;
  std::string outputText, diagnosticsText;
  std::size_t searched = 0;
  std::optional<int> exitCode;
};

// A folder that goes away with the object.
class TemporaryFolder {
 public:
  TemporaryFolder() : path(MakeTestFolder()) {}
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  const std::filesystem::path& Path() const { return path; }
  std::string operator/(std::string_view name) const { return (path / name).string(); }

 private:
  const std::filesystem::path path;
};

std::string ReadWholeFile(const std::filesystem::path& path); // empty when it can't be read
void WriteWholeFile(const std::filesystem::path& path, std::string_view content);

} // namespace kor::support
