// A Windows of Wine's for end-to-end tests of the programs that scripts/build-windows makes: empty
// at first, its user has a name with umlauts and a blank, COM1 and COM12 are the device that Line()
// comes to link to. Ends with everything that runs in it. POSIX only. One thread.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/process.h"

namespace kor::support {

class WindowsSystem {
 public:
  // programs: the folder of the Windows programs. Throws std::runtime_error without Wine.
  explicit WindowsSystem(std::string programs);
  ~WindowsSystem();
  WindowsSystem(const WindowsSystem&) = delete;
  WindowsSystem& operator=(const WindowsSystem&) = delete;

  // A program by its name without ".exe": one of ours, else one of the system's.
  std::vector<std::string> Command(const std::string& name,
                                   const std::vector<std::string>& arguments = {}) const;
  ProcessOptions Options() const;

  std::string Line() const { return root / "line"; }
  // NCE.INI and its like. Paths of this system name the same file there: "/" is drive Z.
  std::filesystem::path SettingsFolder() const;

 private:
  void StartServer();
  void EndServer();
  void Run(const std::vector<std::string>& command) const;

  std::string programs;
  TemporaryFolder root;
  std::unique_ptr<Process> server;
};

} // namespace kor::support
