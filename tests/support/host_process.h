// What an end-to-end run needs around one real ncedl-console, or ncedl, of this system or of
// Windows: folders of its own, settings, a name for its port; and the far end of its line, played
// by hand. POSIX only. One thread.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/terminals.h"
#include "tests/support/process.h"
#include "tests/support/windows_system.h"

namespace kor::support {

// Everything under one temporary folder: nothing of the user's is read or written.
class HostFolders {
 public:
  // programs: the folder of the built programs. windows: where Start's programs run, if not here;
  // the folders' names go beyond ASCII then. Runs ncedl-setup for the folders and for COM1, which
  // becomes Line(). Throws std::runtime_error when that fails.
  explicit HostFolders(std::string programs,
                       std::shared_ptr<const WindowsSystem> windows = nullptr);

  std::string Line() const; // where the device, or its link, is expected
  std::string Download(std::string_view name) const { return Path("down/", name); }
  std::string Upload(std::string_view name) const { return Path("up/", name); }
  std::string Path(std::string_view folder, std::string_view name) const;
  std::vector<std::string> UploadNames() const; // sorted
  std::string SettingsFile() const;             // NCE.INI

  // A text profile: the folders above, no transmit delay, the speed, and lines of "Port Settings".
  void WriteProfile(int baud, std::string_view moreLines = {}) const;

  ProcessOptions Options() const;
  // A program of this system.
  std::vector<std::string> Program(std::string_view name,
                                   const std::vector<std::string>& arguments = {}) const;
  std::unique_ptr<Process> Start(std::string_view name,
                                 const std::vector<std::string>& arguments = {}) const;

 private:
  std::string programs;
  std::shared_ptr<const WindowsSystem> windows;
  TemporaryFolder root;
};

// The far end of a pseudo-terminal at the path of a host's line, as a controller that does what the
// test says, byte by byte.
class FarEnd {
 public:
  explicit FarEnd(const std::string& link);
  void Send(std::string_view bytes); // as far as the terminal takes them
  // Returns what arrives, up to and including the end given; less when the time is over.
  std::string Receive(std::string_view end = "\r", Milliseconds atMost = Milliseconds(10000));
  std::string Exchange(std::string_view request); // adds the CR, returns the reply without it
  const KorText& Device() const { return terminal->FarEnd(); } // that the link leads to

 private:
  bool ReadSome(PseudoTerminal::Moment until);
  std::unique_ptr<PseudoTerminal> terminal;
  std::string arrived;
};

} // namespace kor::support
