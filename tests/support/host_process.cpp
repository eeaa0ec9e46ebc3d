#include "tests/support/host_process.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "services/core/as_bytes.h"

namespace kor::support {

namespace fs = std::filesystem;

HostFolders::HostFolders(std::string folderOfPrograms,
                         std::shared_ptr<const WindowsSystem> onWindows)
    : programs(std::move(folderOfPrograms)), windows(std::move(onWindows)) {
  for (const char* name : {"down", "up", "config", "data", "temp"})
    fs::create_directories(Path(name, ""));
  std::vector<std::string> arguments = {"--main", Path("main", "")};
  if (!windows) arguments.insert(arguments.end(), {"--port", "COM1=" + Line()});
  const std::unique_ptr<Process> setup = Start("ncedl-setup", arguments);
  if (setup->WaitForExit(Milliseconds(60'000)) != 0)
    throw std::runtime_error("ncedl-setup: " + setup->Output() + setup->Diagnostics());
  WriteProfile(115200);
}

std::string HostFolders::Line() const {
  return windows ? windows->Line() : root / "line";
}

std::string HostFolders::Path(std::string_view folder, std::string_view name) const {
  return (root.Path() / (windows ? "Blechstücke 板金" : "") / folder / name).string();
}

std::vector<std::string> HostFolders::UploadNames() const {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(Upload("")))
    names.push_back(entry.path().filename().string());
  std::ranges::sort(names);
  return names;
}

std::string HostFolders::SettingsFile() const {
  return windows ? windows->SettingsFolder() / "NCE.INI"
                 : fs::path(root / "config/Velmora/Plenova 2026/NCE.INI");
}

void HostFolders::WriteProfile(int baud, std::string_view moreLines) const {
  fs::create_directories(fs::path(SettingsFile()).parent_path());
  WriteWholeFile(SettingsFile(), "[Port Settings]\nport=COM1\nbaudrate=" + std::to_string(baud) +
                                     "\ntransmit delay=0\n" + std::string(moreLines) +
                                     "[Files]\nfile extension=MPG\ndownload path=" + Download("") +
                                     "\nupload path=" + Upload("") + "\n");
}

ProcessOptions HostFolders::Options() const {
  ProcessOptions options = windows ? windows->Options() : ProcessOptions();
  options.workingFolder = root.Path();
  if (windows) return options;
  options.environment = {{"HOME", root.Path().string()},
                         {"XDG_CONFIG_HOME", root / "config"},
                         {"NCEDL_DATA_DIR", root / "data"},
                         {"TMPDIR", root / "temp"},
                         {"LC_ALL", "C.UTF-8"}};
  return options;
}

std::vector<std::string> HostFolders::Program(std::string_view name,
                                              const std::vector<std::string>& arguments) const {
  std::vector<std::string> all = {programs + "/" + std::string(name)};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return all;
}

std::unique_ptr<Process> HostFolders::Start(std::string_view name,
                                            const std::vector<std::string>& arguments) const {
  return std::make_unique<Process>(windows ? windows->Command(std::string(name), arguments)
                                           : Program(name, arguments),
                                   Options());
}

FarEnd::FarEnd(const std::string& link) {
  KorText error;
  terminal = OpenPseudoTerminal(KorText::FromUtf8(link), error);
  if (!terminal) throw std::runtime_error(error.ToUtf8());
}

void FarEnd::Send(std::string_view bytes) {
  std::size_t written = 0;
  terminal->Write(AsBytes(bytes), written);
}

bool FarEnd::ReadSome(PseudoTerminal::Moment until) {
  std::array<std::uint8_t, 4096> piece{};
  std::size_t count = 0;
  if (!terminal->Read(piece, count)) return false;
  arrived.append(reinterpret_cast<const char*>(piece.data()), count);
  if (count == 0) terminal->WaitUntil(until, true, false);
  return count > 0 || std::chrono::steady_clock::now() < until;
}

std::string FarEnd::Receive(std::string_view end, Milliseconds atMost) {
  const auto until = std::chrono::steady_clock::now() + atMost;
  std::size_t found = arrived.find(end);
  while (found == std::string::npos && ReadSome(until))
    found = arrived.find(end);
  const std::size_t length = found == std::string::npos ? arrived.size() : found + end.size();
  std::string result = arrived.substr(0, length);
  arrived.erase(0, length);
  return result;
}

std::string FarEnd::Exchange(std::string_view request) {
  Send(std::string(request) + "\r");
  std::string reply = Receive();
  if (reply.ends_with('\r')) reply.pop_back();
  return reply;
}

} // namespace kor::support
