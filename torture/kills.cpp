// Kills real programs at random moments of their work, and checks what is then on the disk and
// whether the next start works.
#include <signal.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <random>
#include <thread>

#include "tests/support/host_process.h"
#include "torture/sweep.h"

namespace kor::torture {

namespace {

namespace fs = std::filesystem;
using support::FarEnd;
using support::HostFolders;
using support::Milliseconds;
using support::Process;
using support::ReadWholeFile;
using support::WriteWholeFile;
using Clock = std::chrono::steady_clock;
using Words = std::vector<std::string>;
using ProcessPtr = std::unique_ptr<Process>;

constexpr const char* kName = "0000007.MPG";
constexpr int kShare = 5; // a try starts half a dozen programs

class Workshop {
 public:
  explicit Workshop(unsigned seed) : random(seed) {}

  std::size_t Below(std::size_t limit) { return random() % limit; }

  std::string Program(std::size_t lines) {
    std::string text;
    for (; lines > 0; --lines)
      text +=
          "N" + std::to_string(random()) + " G01 X100.000 Y" + std::to_string(Below(1000)) + "\n";
    return text;
  }

  // Chooses a moment within the time that the work takes undisturbed, or shortly after.
  void WaitForMoment(Clock::duration whole) {
    const double share = static_cast<double>(Below(1200)) / 1000;
    std::this_thread::sleep_for(std::chrono::duration<double>(whole) * share);
  }

  // Runs the program to its end.
  Clock::duration Run(const char* program, const Words& arguments, std::string* output = nullptr) {
    const auto begin = Clock::now();
    const ProcessPtr process = folders.Start(program, arguments);
    Require(process->WaitForExit(Milliseconds(30000)) == 0,
            program + (": " + process->Diagnostics()));
    if (output != nullptr) *output = process->Output();
    return Clock::now() - begin;
  }

  // Runs the program and kills it on its way.
  void RunKilled(const char* program, const Words& arguments, Clock::duration whole) {
    const ProcessPtr process = folders.Start(program, arguments);
    WaitForMoment(whole);
    process->Signal(SIGKILL);
    Require(process->WaitForExit().has_value(), "the kill");
  }

  ProcessPtr StartController() {
    ProcessPtr controller =
        folders.Start("nce-controller", {"--pty", folders.Line(), "--no-pace", "--json",
                                         "--wait-host", "10", "run", "-"});
    while (!fs::exists(folders.Line()))
      Require(!controller->WaitForExit(Milliseconds(5)), controller->Diagnostics());
    return controller;
  }
  ProcessPtr StartHost() {
    ProcessPtr host = folders.Start("ncedl-console");
    Require(host->Expect(" 1 Waiting..."),
            "ncedl-console: " + host->Output() + host->Diagnostics());
    return host;
  }

  // Requires the next host after a kill to serve, and nothing but programs to be in its folders.
  void ExpectServed() {
    fs::remove(folders.Line());
    const ProcessPtr controller = StartController(), host = StartHost();
    controller->Type("test");
    Require(controller->Expect("\"ok\": true"), "the next good request is not served");
    Require(folders.UploadNames() == Words{kName}, "a part file is left");
    for (const auto& entry : fs::directory_iterator(fs::path(folders.SettingsFile()).parent_path()))
      Require(entry.path().extension() != ".ncedl-part", "a part of the settings is left");
    host->Type("quit");
    Require(host->WaitForExit() == 0, "ncedl-console does not end");
  }

  HostFolders folders{NCEDL_PROGRAMS};

 private:
  std::mt19937 random;
};

void KilledInUpload(unsigned seed, std::size_t, std::size_t) {
  Workshop shop(seed);
  const std::string stored = shop.folders.Upload(kName), file = shop.folders.Path("", "sent.nc");
  const std::string older = shop.Program(1 + shop.Below(300)),
                    newer = shop.Program(1 + shop.Below(300));
  const std::string send = "send " + file + " --number 0000007 --no-read-back";
  {
    const ProcessPtr controller = shop.StartController(), host = shop.StartHost();
    WriteWholeFile(file, older);
    controller->Type("test");
    Require(controller->Expect("\"ok\": true"), "the line test");
    const auto begin = Clock::now();
    controller->Type(send);
    Require(controller->Expect("\"ok\": true"), "the first upload: " + controller->Output());
    const auto whole = Clock::now() - begin;
    Require(ReadWholeFile(stored) == older, "the first upload is stored");
    WriteWholeFile(file, newer);
    controller->Type(send);
    shop.WaitForMoment(whole);
    host->Signal(SIGKILL);
    const bool acknowledged = controller->Expect("\"ok\": true", Milliseconds(100));
    const std::string now = ReadWholeFile(stored);
    Require(now == newer || now == older, "torn program: " + now);
    Require(now == newer || !acknowledged, "acknowledged, but the older program is there");
  }
  shop.ExpectServed();
}

void KilledInSave(unsigned seed, std::size_t, std::size_t) {
  Workshop shop(seed);
  WriteWholeFile(shop.folders.Upload(kName), "G90\n");
  {
    const FarEnd line(shop.folders.Line());
    const ProcessPtr host = shop.StartHost();
    host->Type("set baudrate 4800");
    Require(host->Expect("baudrate         4800\n"), "the first change");
    for (int i = 0; i < 100; ++i)
      host->Type(i % 2 == 0 ? "set baudrate 9600" : "set baudrate 4800");
    shop.WaitForMoment(Milliseconds(100));
    host->Signal(SIGKILL);
    host->WaitForExit();
  }
  shop.Run("korfile", {"test", shop.folders.SettingsFile()});
  {
    const FarEnd line(shop.folders.Line());
    const ProcessPtr host = shop.StartHost();
    host->Type("settings");
    Require(host->Expect("baudrate         ") && host->Expect("\n"), "no settings are shown");
    const std::string& shown = host->Output();
    Require(shown.find("baudrate         4800\n") != std::string::npos ||
                shown.find("baudrate         9600\n") != std::string::npos,
            "the stored settings are lost: " + shown);
  }
  shop.ExpectServed();
}

// Way 0 compresses and way 1 restores, both in place.
void KilledInCompression(unsigned seed, std::size_t, std::size_t way) {
  Workshop shop(seed);
  const std::string file = shop.folders.Upload(kName), copy = shop.folders.Path("", "copy");
  WriteWholeFile(file, shop.Program(2000 + shop.Below(200'000)));
  if (way == 1) shop.Run("korfile", {"compress", "-q", file});
  fs::copy_file(file, copy);
  const Words work = {way == 0 ? "compress" : "restore", "-q"};
  const auto whole = shop.Run("korfile", {work[0], work[1], copy});
  const auto checksum = [&] {
    std::string line;
    shop.Run("korfile", {"crc", "--contents", file}, &line);
    return line;
  };
  const std::string before = checksum();
  const std::string packed = ReadWholeFile(file);
  shop.RunKilled("korfile", {work[0], work[1], file}, whole);
  Require(checksum() == before, "another program is there");
  if (ReadWholeFile(file) == packed) shop.Run("korfile", {work[0], work[1], file});
  Require(ReadWholeFile(file) == ReadWholeFile(copy) && checksum() == before,
          "afterwards it is another one");
  shop.ExpectServed();
}

void KilledInImport(unsigned seed, std::size_t, std::size_t) {
  Workshop shop(seed);
  const std::string dictionary = shop.folders.Path("", "d.ary"),
                    xliff = shop.folders.Path("", "dictionary_de-DE.xlf");
  const auto phrase = [&] {
    std::string text;
    shop.Run("kordict", {"get", "48", "-l", "de-DE", "-d", dictionary}, &text);
    return text;
  };
  fs::copy_file(NCEDL_PROGRAMS "/diction.ary", dictionary);
  shop.Run("kordict", {"export-xliff", shop.folders.Path("", ""), "-d", dictionary});
  std::string text = ReadWholeFile(xliff);
  const std::size_t unit = text.find("<target>", text.find("trans-unit id=\"48\""));
  Require(unit != std::string::npos, "the exported unit");
  WriteWholeFile(xliff, text.insert(unit + 8, "X" + std::to_string(seed)));
  const Words import = {"import-xliff", xliff, "-d", dictionary};
  const std::string older = phrase(), before = ReadWholeFile(dictionary);
  const auto whole = shop.Run("kordict", import);
  const std::string newer = phrase();
  Require(newer != older, "the import changes nothing");
  WriteWholeFile(dictionary, before);
  shop.RunKilled("kordict", import, whole);
  const std::string now = phrase();
  Require(now == older || now == newer, "another dictionary is there: " + now);
  shop.Run("kordict", {"info", "-d", dictionary});
  if (now == older) shop.Run("kordict", import);
  Require(phrase() == newer, "afterwards it can't be imported");
}

} // namespace

std::vector<Sweep> KillSweeps() {
  return {{"killed-in-upload", "", 1, OnePosition, KilledInUpload, kShare},
          {"killed-in-save", "", 1, OnePosition, KilledInSave, kShare},
          {"killed-in-compression", "", 2, OnePosition, KilledInCompression, kShare},
          {"killed-in-import", "", 1, OnePosition, KilledInImport, kShare}};
}

} // namespace kor::torture
