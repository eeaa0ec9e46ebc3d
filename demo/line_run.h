// LineRun: plays a controller on a pseudo-terminal step by step, while a host serves it. Every byte
// that travels is compared with what has to travel, by this class's own idea of the protocol.
// Prints a line for each step. Owned by a demonstration; one thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/host_process.h"

namespace kor::demo {

using Texts = std::vector<std::string>;

// Both directions of the line, as they have to be.
struct Traffic {
  std::string fromController, fromHost;

  void Request(std::string_view line) { fromController += std::string(line) + "\r"; }
  void Reply(std::string_view line) { fromHost += std::string(line) + "\r"; }
  void Exchange(std::string_view request, std::string_view reply);
  // refused is how often the first frame is refused.
  void Download(const std::string& request, const std::string& found, const std::string& begins,
                const Texts& frames, int refused = 0);
  void Upload(const std::string& number, const Texts& frames);
};

class LineRun {
 public:
  // programs is the folder of the built programs; windows says where the host runs, if not here.
  // Throws std::runtime_error when the controller doesn't start.
  LineRun(const std::string& programs, const std::string& samples, int baud,
          std::shared_ptr<const support::WindowsSystem> windows = nullptr);
  virtual ~LineRun() = default;

 protected:
  // Starts a controller on the line that its options name, and waits until that line is ready.
  void StartController(const Texts& line, const std::function<bool()>& isReady);
  void EndController();
  void Begin() const; // the heading
  // Ends the controller, prints the sums and returns the exit code.
  int End();
  void PutPrograms(std::size_t largeSize); // the samples, 123.MPG and the large 0001000.MPG

  void ListStep();
  void DownloadStep(const std::string& what, const std::string& number, const std::string& name,
                    int refused = 0);
  void UploadStep();
  void Step(const std::string& what, const std::string& command, const Traffic& expected);
  void Check(const std::string& what, bool holds);
  void Report(const std::string& what, const std::string& fault, const std::string& figures);

  // Returns the JSON line that answers a command; its progress bar goes to the terminal.
  std::string Command(const std::string& command);
  virtual void WhileItRuns() {} // several times a second
  Texts FramesOf(const std::string& name) const;
  // Has nce-controller compare what it got with the files.
  std::string Fetch(const std::string& number, const Texts& names) const;

  const support::HostFolders folders;
  std::unique_ptr<support::Process> controller;

 private:
  void PassOnProgress();

  const std::string samples, record;
  const int baud;
  const std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
  int steps = 0, wrong = 0;
  std::uint64_t compared = 0;
  std::size_t shown = 0; // of the controller's diagnostics
};

} // namespace kor::demo
