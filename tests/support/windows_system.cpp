#include "tests/support/windows_system.h"

#include <unistd.h>

#include <stdexcept>

namespace kor::support {

namespace {

namespace fs = std::filesystem;

constexpr const char* kUser = "Jörg Weiß";
constexpr const char* kWine = "/usr/lib/wine/wine64"; // the wrapper in bin asks for a 32-bit Wine
constexpr const char* kServer = "/usr/lib/wine/wineserver64";
constexpr Milliseconds kLongest(120'000); // of making a Windows on a busy machine
constexpr int kTries = 3'000;             // of reaching its server, 10 ms and more each

} // namespace

WindowsSystem::WindowsSystem(std::string folderOfPrograms) : programs(std::move(folderOfPrograms)) {
  fs::create_directory(root / "windows");
  WriteWholeFile(root / "users", std::string(kUser) + ":x:" + std::to_string(getuid()) + ":" +
                                     std::to_string(getgid()) + "::" + root.Path().string() +
                                     ":/bin/sh\n");
  WriteWholeFile(root / "groups", "users:x:" + std::to_string(getgid()) + ":\n");
  StartServer();
  Run({kWine, "wineboot", "-i"});
  for (const char* port : {"COM1", "COM12"})
    Run({kWine, "reg", "add", "HKLM\\Software\\Wine\\Ports", "/v", port, "/d", Line(), "/f"});
  EndServer(); // it looks for ports when it starts
  StartServer();
}

WindowsSystem::~WindowsSystem() {
  EndServer();
  const std::string ofServer = ReadWholeFile(root / "windows/wineserver"); // it leaves that folder
  if (ofServer.starts_with("wine-")) fs::remove_all("/tmp/" + ofServer);
}

// Programs in a Windows don't notice when its server is killed. So this process outlives the test
// by the moment that it takes to end them all: the end of the pipe says that the test has ended,
// however it did.
constexpr const char* kServe =
    "exec 3<&0; { \"$0\" -f -p & cat <&3 >/dev/null; \"$0\" -k; wait; } & wait";

void WindowsSystem::StartServer() {
  // The first one asked gives a new Windows its folder of sockets. Asked while the server starts,
  // each of the two may give it one, and neither finds the other again.
  const auto isServing = [this] {
    return Process({kServer, "-k0"}, Options()).WaitForExit(kLongest) == 0;
  };
  if (isServing()) throw std::runtime_error("wineserver: it serves before it was started");
  server =
      std::make_unique<Process>(std::vector<std::string>{"sh", "-c", kServe, kServer}, Options());
  for (int tries = 0; !isServing(); ++tries)
    if (server->WaitForExit(Milliseconds(10)) || tries == kTries)
      throw std::runtime_error("wineserver: " + server->Diagnostics());
}

void WindowsSystem::EndServer() {
  server->CloseInput();
  server->WaitForExit(kLongest);
}

void WindowsSystem::Run(const std::vector<std::string>& command) const {
  Process process(command, Options());
  if (process.WaitForExit(kLongest) != 0)
    throw std::runtime_error(command[1] + ": " + process.Output() + process.Diagnostics());
}

std::vector<std::string> WindowsSystem::Command(const std::string& name,
                                                const std::vector<std::string>& arguments) const {
  const std::string own = programs + "/" + name + ".exe";
  std::vector<std::string> all = {kWine, fs::exists(own) ? own : name};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return all;
}

ProcessOptions WindowsSystem::Options() const {
  ProcessOptions options;
  options.environment = {{"WINEPREFIX", root / "windows"},
                         {"WINEDEBUG", "-all"},
                         {"WINEDLLOVERRIDES", "mscoree=;mshtml=;winemenubuilder.exe="},
                         {"HOME", root.Path().string()},
                         {"LC_ALL", "C.UTF-8"},
                         {"LD_PRELOAD", "libnss_wrapper.so"},
                         {"NSS_WRAPPER_PASSWD", root / "users"},
                         {"NSS_WRAPPER_GROUP", root / "groups"}};
  return options;
}

std::filesystem::path WindowsSystem::SettingsFolder() const {
  return root.Path() / "windows/drive_c/users" / kUser / "AppData/Roaming/Velmora/Plenova 2026";
}

} // namespace kor::support
