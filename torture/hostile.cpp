// Sends noise over the line and numbers that lead elsewhere, puts odd things into the folders, and
// ends the program while the line is held.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "torture/host.h"
#include "torture/sweep.h"

namespace kor::torture {

namespace {

namespace fs = std::filesystem;

// --- Noise ---

void Noise(unsigned seed, std::size_t, std::size_t way) {
  constexpr std::string_view kForms[] = {"", "><~]\r", "FHTDX 0123456789\r", "\r\r\n\x11\x13",
                                         "0123456789ABCDEF!]\r"};
  Host host(seed);
  const std::string_view form = kForms[way];
  std::string noise(host.Below(6000), '\0');
  for (char& c : noise)
    c = form.empty() ? static_cast<char>(host.Below(256)) : form[host.Below(form.size())];
  for (std::size_t at = 0; at < noise.size(); at += 1 + host.Below(400)) {
    if (host.Below(8) == 0) host.link.port.SetLineErrors({.framing = 1});
    host.link.Send(noise.substr(at, 400));
  }
  host.ExpectServed();
  host.ExpectTidy();
}

// --- Numbers ---

std::vector<std::string> Numbers(Host& host) {
  std::vector<std::string> numbers = {"../outside",
                                      "..\\outside",
                                      "/etc/passwd",
                                      "C:outside",
                                      ".",
                                      "..",
                                      "2147483647",
                                      "2147483648",
                                      "-1",
                                      "99999999999999999999",
                                      "%s%n%s",
                                      "CON",
                                      "COM1.MPG",
                                      "NUL.MPG",
                                      "",
                                      "*",
                                      "?",
                                      std::string(240, '7'),
                                      std::string(5000, '7'),
                                      host.link.app.Root().ToUtf8() + "outside"};
  for (int byte = 0; byte < 256; ++byte)
    if (byte != '\r') numbers.push_back(std::string("..") + static_cast<char>(byte) + "outside");
  return numbers;
}

void HostileNumber(unsigned seed, std::size_t position, std::size_t way) {
  Host host(seed);
  const std::string number = Numbers(host)[position];
  const int features = static_cast<int>(way);
  host.link.link->SetFeatures({features & 1, (features >> 1) & 1, 0, features >> 2});
  const auto before = host.link.app.Names(host.link.app.Root());
  host.link.Ask("FH " + number);
  for (const char* line : {">", ">", "TH 1", "08G90!X10!17", "02]"})
    host.link.Ask(line);
  Require(host.link.app.Names(host.link.app.Root()) == before, "a file outside: " + number);
  host.ExpectServed();
  host.ExpectTidy();
}

// --- Odd things ---

void MakeSocket(const fs::path& path) {
  const int made = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  static_cast<void>(::bind(made, reinterpret_cast<sockaddr*>(&address), sizeof address));
  ::close(made);
}

void Spread(const fs::path& path, std::uintmax_t size) {
  static_cast<void>(::close(::creat(path.c_str(), 0600)));
  fs::resize_file(path, size);
}

const std::pair<const char*, void (*)(const fs::path&)> kThings[] = {
    {"a folder", [](const fs::path& path) { fs::create_directories(path / "in it"); }},
    {"a pipe", [](const fs::path& path) { ::mkfifo(path.c_str(), 0600); }},
    {"a socket", MakeSocket},
    // Only root can make a device; other users get nothing in its place.
    {"a device",
     [](const fs::path& path) { ::mknod(path.c_str(), S_IFCHR | 0600, makedev(1, 5)); }},
    {"a link to a device", [](const fs::path& path) { fs::create_symlink("/dev/zero", path); }},
    {"a link to a full device",
     [](const fs::path& path) { fs::create_symlink("/dev/full", path); }},
    {"a link to a terminal", [](const fs::path& path) { fs::create_symlink("/dev/ptmx", path); }},
    {"a link outside", [](const fs::path& path) { fs::create_symlink("../outside.MPG", path); }},
    {"a link to nowhere", [](const fs::path& path) { fs::create_symlink("nowhere", path); }},
    {"a link to itself", [](const fs::path& path) { fs::create_symlink(path.filename(), path); }},
    {"a file without rights",
     [](const fs::path& path) { Spread(path, 5), ::chmod(path.c_str(), 0); }},
    {"an empty file", [](const fs::path& path) { Spread(path, 0); }},
    {"a file of 3 GiB", [](const fs::path& path) { Spread(path, 3ULL << 30); }},
    {"a line of 1 MiB", [](const fs::path& path) { Spread(path, 1ULL << 20); }},
};

// The places of the odd things; "cnc/" is the folder of the programs.
constexpr const char* kPlaces[] = {
    "cnc/0000007.MPG",  "cnc/\xFF\xFE\n%s.MPG", "cnc/x.0123456789abcdef.ncedl-part",
    "settings/NCE.INI", "settings/NCE.log",     "jobs.log"};

void Visit(Host& host) {
  for (const char* line : {"DH", ">", ">", "FH 0000007", ">", ">", "~end", "FH 0000007", "TH 1"})
    host.link.Ask(line);
  for (const std::string& line : UploadLines(host.newer))
    host.link.Ask(line);
}

void OddThing(unsigned seed, std::size_t position, std::size_t) {
  Host host(seed);
  host.End();
  const fs::path root = host.link.app.Root().ToUtf8();
  const std::string place = kPlaces[position / std::size(kThings)];
  const fs::path path = root / place;
  fs::remove_all(path);
  kThings[position % std::size(kThings)].second(path);
  for (int start = 0; start < 2; ++start) {
    if (place == "settings/NCE.INI")
      host.link.Open();
    else
      host.link.Start({}, {},
                      u"[Log]\nlog file=" + host.link.app.Path(u"jobs.log") + u"\nwrite log=1\n");
    host.ExpectServed();
    Visit(host);
    host.ExpectServed();
    host.link.link->SetFeatures({0, start, 0, 0});
    host.End();
  }
  // A link in the settings is followed, as the user wants it; what the controller sends never
  // follows one.
  if (place.starts_with("cnc/")) {
    Require(!fs::exists(root / "cnc/nowhere"), "the target of a link was made");
    Require(host.link.app.Content(host.outside) == u"outside", "a link was followed");
  }
  fs::remove_all(path);
  fs::remove(root / "settings/NCE.INI");
  host.link.app.Put(host.outside, u"outside");
  host.ExpectTidy();
}

// --- Ended while the line is held ---

void EndedWhileHeld(unsigned seed, std::size_t, std::size_t) {
  Host host(seed);
  host.link.Ask("FH 0000007");
  host.link.port.SetHolds(kXoffHold);
  for (std::size_t requests = host.Below(20); requests > 0; --requests)
    host.link.Ask(host.Below(2) == 0 ? ">" : "DH");
  host.End();
  host.ExpectWhole(false);
  host.link.port.SetHolds(0);
  host.ExpectTidy();
}

} // namespace

std::vector<Sweep> HostileSweeps() {
  const auto numbers = [](unsigned seed) {
    Host host(seed);
    return Numbers(host).size();
  };
  const auto things = [](unsigned) { return std::size(kPlaces) * std::size(kThings); };
  return {{"noise", "", 5, OnePosition, Noise},
          {"hostile-numbers", "numbers", 8, numbers, HostileNumber, 2},
          {"odd-things", "things", 1, things, OddThing, 3},
          {"ended-while-held", "", 1, OnePosition, EndedWhileHeld}};
}

} // namespace kor::torture
