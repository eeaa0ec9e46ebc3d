// Linux has a device file for each serial port that a driver could have; the ones with hardware
// behind them have a UART's type, or are made when an adapter is plugged in.
#include <fcntl.h>
#include <linux/serial.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>

#include "platform/posix/serial_devices_posix.h"
#include "platform/posix/serial_names.h"

namespace kor {

namespace {

namespace fs = std::filesystem;

constexpr std::array<std::string_view, 3> kKinds = {"ttyS", "ttyUSB", "ttyACM"};

struct Candidate {
  std::size_t kind = 0;
  unsigned long number = 0;
  fs::path path;
};

std::optional<Candidate> ReadCandidate(const fs::path& path) {
  const std::string name = path.filename();
  for (std::size_t kind = 0; kind < kKinds.size(); ++kind) {
    const std::string digits = name.substr(std::min(kKinds[kind].size(), name.size()));
    const bool isNumber = !digits.empty() && digits.size() < 6 &&
                          digits.find_first_not_of("0123456789") == std::string::npos;
    if (name.starts_with(kKinds[kind]) && isNumber)
      return Candidate{kind, std::stoul(digits), path};
  }
  return std::nullopt;
}

std::map<fs::path, std::string> NamesById(const fs::path& folder) {
  std::map<fs::path, std::string> names; // by device
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder / "serial/by-id", error))
    names.emplace(fs::weakly_canonical(entry.path(), error), entry.path());
  return names;
}

std::set<std::string> WordsOf(const fs::path& file) {
  std::ifstream words(file);
  return {std::istream_iterator<std::string>(words), {}};
}

bool HasUart(int device) {
  serial_struct serial{};
  return ::ioctl(device, TIOCGSERIAL, &serial) == 0 && serial.type != PORT_UNKNOWN;
}

// Tells it without opening the port, where the system does.
bool LacksUart(const Candidate& candidate) {
  std::ifstream type("/sys/class/tty/" + candidate.path.filename().string() + "/type");
  int number = -1;
  return type >> number && number == PORT_UNKNOWN;
}

// Returns the candidates in their order. A file without a device behind it is none; this can be
// told without opening any.
std::vector<Candidate> CandidatesIn(const fs::path& folder) {
  std::vector<Candidate> candidates;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
    auto candidate = ReadCandidate(entry.path());
    if (!candidate || !fs::is_character_file(entry.path(), error)) continue;
    if (candidate->kind != 0 || !LacksUart(*candidate)) candidates.push_back(std::move(*candidate));
  }
  std::ranges::sort(candidates, {}, [](const Candidate& candidate) {
    return std::tuple(candidate.kind, candidate.number);
  });
  return candidates;
}

bool IsBuiltIn(const fs::path& path) {
  const auto candidate = ReadCandidate(path);
  return candidate && candidate->kind == 0;
}

// Nothing for a file without a device behind it.
std::optional<SerialDevice::State> StateOf(const fs::path& path) {
  using State = SerialDevice::State;
  std::error_code error;
  const bool isBuiltIn = IsBuiltIn(path) || IsBuiltIn(fs::weakly_canonical(path, error));
  const int device = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (device < 0 && errno == EBUSY) return State::InUse;
  if (device < 0) return errno == EACCES ? std::optional(State::NoPermission) : std::nullopt;
  std::optional<State> state = State::Free;
  if (!::isatty(device) || (isBuiltIn && !HasUart(device)))
    state.reset();
  else if (::flock(device, LOCK_EX | LOCK_NB) != 0)
    state = State::InUse;
  ::close(device);
  return state;
}

} // namespace

std::vector<SerialDevice> ListSerialDevices() {
  return ListSerialDevicesIn("/dev", "/sys/class/tty/console/active");
}

bool IsSerialPortFree(const KorText& name) {
  if (!NetworkAddress(name).IsEmpty()) return true;
  return StateOf(SerialDevicePath(name).ToUtf8()) == SerialDevice::State::Free;
}

KorText SerialDeviceBehind(const KorText& port) {
  KorText device = SerialDevicePath(port);
  for (const SerialName& link : ListSerialNames())
    if (link.name.EqualsNoCase(port)) device = link.device;
  if (device == port) return {};
  std::error_code error;
  const std::map<fs::path, std::string> names = NamesById("/dev");
  const auto stable = names.find(fs::weakly_canonical(device.ToUtf8(), error));
  return stable == names.end() ? device : KorText::FromUtf8(stable->second);
}

std::vector<KorText> ListSerialPaths() {
  return ListSerialPathsIn("/dev");
}

std::vector<KorText> ListSerialPathsIn(const fs::path& folder) {
  std::vector<KorText> paths;
  for (const Candidate& candidate : CandidatesIn(folder))
    paths.push_back(KorText::FromUtf8(candidate.path.native()));
  return paths;
}

std::vector<SerialDevice> ListSerialDevicesIn(const fs::path& folder, const fs::path& consoles) {
  std::error_code error;
  const std::set<std::string> consoleNames = WordsOf(consoles);
  const std::map<fs::path, std::string> names = NamesById(folder);
  std::vector<SerialDevice> devices;
  for (const Candidate& candidate : CandidatesIn(folder)) {
    auto state = StateOf(candidate.path);
    if (!state) continue;
    if (consoleNames.contains(candidate.path.filename())) state = SerialDevice::State::Console;
    const auto name = names.find(fs::weakly_canonical(candidate.path, error));
    const std::string stable = name == names.end() ? std::string() : name->second;
    devices.push_back(
        {KorText::FromUtf8(candidate.path.native()), KorText::FromUtf8(stable), *state});
  }
  return devices;
}

KorText SerialDeviceName(const KorText& port) {
  const KorText path = SerialDevicePath(port);
  for (const SerialName& link : ListSerialNames())
    if (link.name.EqualsNoCase(port)) return KorText::Format(u"%s (%s)", port, link.device);
  return path == port ? port : KorText::Format(u"%s (%s)", port, path);
}

} // namespace kor
