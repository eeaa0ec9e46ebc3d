// The demonstration: ncedl-console on one end of a pseudo-terminal, nce-controller on the other, each a
// process of its own, at 115200 baud. Every byte that travels is compared with what this file says has
// to travel; it has its own idea of the protocol for that. Exit code 0 only when everything was right.
//   ncedl-demo [--quick] [--programs DIR] [--samples DIR]
// --quick: the large program is a small one. --programs, --samples: others than those it was built with.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/host_process.h"

namespace {

namespace fs = std::filesystem;
using kor::support::HostFolders;
using kor::support::Milliseconds;
using kor::support::Process;
using kor::support::ReadWholeFile;
using kor::support::WriteWholeFile;
using Clock = std::chrono::steady_clock;
using Texts = std::vector<std::string>;

constexpr int kBaud = 115200;
constexpr Milliseconds kLongest(300'000); // of one step

std::string Format(const char* format, auto... values) {
  std::array<char, 256> text{};
  std::snprintf(text.data(), text.size(), format, values...);
  return text.data();
}

// --- What has to travel --------------------------------------------------------------------------

std::string Frame(const std::string& block) {
  const unsigned sum = std::accumulate(block.begin(), block.end(), 0U, [](unsigned all, char c) {
    return all ^ static_cast<unsigned char>(c);
  });
  return Format("%02X", static_cast<unsigned>(block.size())) + block + Format("%02X", sum);
}

// Whole lines, each with "!", until a block is longer than 99 characters.
Texts Frames(const std::string& program) {
  Texts frames;
  std::string block;
  for (std::size_t at = 0; at < program.size();) {
    const std::size_t end = std::min(program.find('\n', at), program.size());
    if (end > at) block += program.substr(at, end - at) + "!";
    at = end + 1;
    if (block.size() <= 99 && at < program.size()) continue;
    if (!block.empty()) frames.push_back(Frame(block));
    block.clear();
  }
  return frames;
}

// Both directions of the line, as they have to be.
struct Traffic {
  std::string fromController, fromHost;

  void Request(std::string_view line) { fromController += std::string(line) + "\r"; }
  void Reply(std::string_view line) { fromHost += std::string(line) + "\r"; }
  void Exchange(std::string_view request, std::string_view reply) {
    Request(request);
    Reply(reply);
  }
  // refused: how often the first frame is refused.
  void Download(const std::string& request, const std::string& found, const std::string& begins,
                const Texts& frames, int refused = 0) {
    Exchange("FH " + request, found);
    Exchange(">", begins);
    for (const std::string& frame : frames) {
      Exchange(">", frame);
      for (; refused > 0; --refused)
        Exchange("<", frame);
    }
    Reply("]");
    Exchange(">", "UDL>");
  }
  void Upload(const std::string& number, const Texts& frames) {
    Exchange("FH " + number, "%% File " + number + " not found on Host Computer");
    Exchange("TH " + number, "Upload from NCE  in progress. &TH " + number);
    for (const std::string& frame : frames)
      Exchange(frame, ">");
    Exchange("]", ">");
  }
};

// The bytes of one side in the file of nce-controller --record, from a place in it on.
Traffic ReadRecord(const std::string& path, std::size_t from) {
  Traffic traffic;
  std::string* side = nullptr;
  const std::string text = ReadWholeFile(path);
  for (std::size_t at = from; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    if (text[at] != ' ') side = text[at] == 'C' ? &traffic.fromController : &traffic.fromHost;
    for (std::size_t digit = at + 2; text[digit] != ' ' && text[digit] != '|'; digit += 3)
      *side += static_cast<char>(std::stoi(text.substr(digit, 2), nullptr, 16));
    at = end + 1;
  }
  return traffic;
}

std::string FirstDifference(const char* side, const std::string& travelled,
                            const std::string& expected) {
  if (travelled == expected) return {};
  const auto [at, other] =
      std::mismatch(travelled.begin(), travelled.end(), expected.begin(), expected.end());
  return Format("byte %lld of %zu from the %s is not what it has to be",
                static_cast<long long>(at - travelled.begin()) + 1, expected.size(), side);
}

double JsonNumber(const std::string& json, const std::string& name) {
  const std::size_t at = json.find("\"" + name + "\": ");
  return at == std::string::npos ? 0 : std::stod(json.substr(at + name.size() + 4));
}

// --- The two programs ----------------------------------------------------------------------------

class Demo {
 public:
  Demo(bool quick, const std::string& programs, std::string sampleFolder)
      : isQuick(quick), samples(std::move(sampleFolder)), folders(programs) {
    controller = std::make_unique<Process>(
        folders.Program("nce-controller",
                        {"--pty", folders.Line(), "--baud", std::to_string(kBaud), "--json",
                         "--wait-host", "0", "--record", record, "--progress",
                         ShowsProgress() ? "always" : "never", "run", "-"}),
        folders.Options());
    while (!fs::exists(folders.Line()))
      if (controller->WaitForExit(Milliseconds(10)))
        throw std::runtime_error("nce-controller: " + controller->Diagnostics());
  }

  int Run() {
    PutPrograms();
    std::printf("\nNCE DNC link: one host, one controller, %d baud, 8N1\n\n", kBaud);
    std::printf("  %-50s %9s %9s %7s\n", "step", "bytes", "seconds", "line");
    const Clock::time_point begin = Clock::now();
    ServeFirstTime();
    ServeFromStoredSettings();
    ServeModel500();
    controller->CloseInput();
    Check("nce-controller ends", controller->WaitForExit() == 0);
    std::printf("\n  %d steps, %llu bytes compared, %d wrong, %.1f s\n", steps,
                static_cast<unsigned long long>(compared), wrong,
                std::chrono::duration<double>(Clock::now() - begin).count());
    return wrong == 0 ? 0 : 1;
  }

 private:
  static bool ShowsProgress() { return isatty(STDERR_FILENO) == 1; }

  // --- Steps ---

  void PutPrograms() {
    for (const auto& entry : fs::directory_iterator(samples))
      if (entry.path().extension() != ".md")
        fs::copy(entry.path(), folders.Download(entry.path().filename().string()));
    std::string large;
    for (int i = 1; large.size() < (isQuick ? 16'384U : 1'048'577U); ++i)
      large += Format("N%d G01 X%d.%03d Y%d.%03d F%d\n", i * 10, i % 1250, i * 7 % 1000, i % 2500,
                      i * 13 % 1000, 1000 + i % 3000);
    WriteWholeFile(folders.Download("0001000.MPG"), large);
    WriteWholeFile(folders.Download("123.MPG"), "G90\nX123\nM30\n");
    WriteWholeFile(folders.Path("", "sent.nc"), ReadWholeFile(folders.Download("0000101.MPG")));
    folders.WriteProfile(kBaud);
    fs::copy(folders.SettingsFile(), fs::path(folders.SettingsFile()).replace_filename("500.INI"));
  }

  void ServeFirstTime() {
    StartHost();
    Traffic test;
    test.Exchange("XYZ", "ABCDEFGHIJKLMNOPQRSTUVWXYZ");
    Step("line test", "test", test);
    ListStep();
    DownloadStep("download, leading zeros kept", "0000123", "0000123.MPG");
    DownloadStep(isQuick ? "download, 16 KiB" : "download, over 1 MiB", "0001000", "0001000.MPG");
    DownloadStep("download, a frame refused twice and sent again", "0000101", "0000101.MPG", 2);
    Switch("strip-pc on");
    Switch("strip-nce on");
    Traffic stripped;
    stripped.Download("0000123", "Download to NCE in progress. &LP 123",
                      "Download to NCE in progress. &FH 123", FramesOf("123.MPG"));
    Step("download, leading zeros stripped", Fetch("0000123", {"123.MPG"}), stripped);
    Switch("strip-pc off");
    Switch("strip-nce off");
    UploadStep();
    Traffic missing;
    missing.Exchange("FH 0000404", "%% File 0000404 not found on Host Computer");
    Step("request for a missing program", "expect-exit 3 fetch 0000404", missing);
    Switch("autoload on");
    Switch("hybrid on");
    QuitHost();
  }

  // The record of the first run stands where its text profile stood.
  void ServeFromStoredSettings() {
    StartHost();
    host->Type("settings");
    Check("the second start reads the settings record",
          host->Expect("baudrate         115200\n") && Shows("hybrid           on\n"));
    Traffic chain;
    Texts frames;
    for (const char* name : {"37304.MPG", "37305.MPG", "37306.MPG"}) {
      const Texts more = FramesOf(name);
      frames.insert(frames.end(), more.begin(), more.end());
    }
    chain.Download("3730406", "&LP 000037304", "Download to NCE in progress. &FH 000037304",
                   frames);
    Step("download, LLLSSES chain of three sheets",
         Fetch("3730406", {"37304.MPG", "37305.MPG", "37306.MPG"}), chain);
    QuitHost();
  }

  void ServeModel500() {
    StartHost({"500"});
    Traffic named;
    named.Download("731", "&LP 000000000", "Download to NCE in progress. &FH 000000000",
                   FramesOf("H0000007.C31"));
    Step("download, H name", Fetch("731", {"H0000007.C31"}), named);
    QuitHost();
  }

  void ListStep() {
    Traffic listing;
    listing.Exchange("DH", "Directory of Host Computer\nSelect File. &DH");
    Texts names;
    for (const auto& entry : fs::directory_iterator(folders.Download("")))
      if (entry.path().extension() == ".MPG") names.push_back(entry.path().stem().string());
    std::ranges::sort(names);
    for (std::size_t at = 0; at < names.size();) {
      std::string page;
      for (const std::size_t end = std::min(at + 4, names.size()); at < end; ++at)
        page += Format("%2zu|%-8s ", at + 1, names[at].c_str());
      listing.Exchange(">", page);
    }
    listing.Exchange(">", "]");
    Step("directory, paged to its end", "list", listing);
  }

  void DownloadStep(const std::string& what, const std::string& number, const std::string& name,
                    int refused = 0) {
    if (refused > 0) controller->Type("refuse " + std::to_string(refused));
    const std::string nine = "00" + number;
    Traffic traffic;
    traffic.Download(number, "&LP " + nine, "Download to NCE in progress. &FH " + nine,
                     FramesOf(name), refused);
    Step(what, Fetch(number, {name}), traffic);
  }

  void UploadStep() {
    const std::string program = ReadWholeFile(folders.Path("", "sent.nc"));
    Traffic traffic;
    traffic.Upload("0000200", Frames(program));
    Step("upload", "send " + folders.Path("", "sent.nc") + " --number 0000200", traffic);
    Check("the upload is on the disk as it was sent",
          ReadWholeFile(folders.Upload("0000200.MPG")) == program &&
              folders.UploadNames() == Texts{"0000200.MPG"});
  }

  Texts FramesOf(const std::string& name) const {
    return Frames(ReadWholeFile(folders.Download(name)));
  }

  // nce-controller compares what it got with the files.
  std::string Fetch(const std::string& number, const Texts& names) const {
    std::string command = "fetch " + number;
    for (const std::string& name : names)
      command += " --compare " + folders.Download(name);
    return command;
  }

  void Step(const std::string& what, const std::string& command, const Traffic& expected) {
    // Sooner, its line would count the first byte as having left right after the last one.
    std::this_thread::sleep_for(Milliseconds(10));
    const std::size_t from = ReadWholeFile(record).size();
    const std::string json = Command(command);
    const Traffic travelled = ReadRecord(record, from);
    std::string fault =
        FirstDifference("controller", travelled.fromController, expected.fromController);
    if (fault.empty()) fault = FirstDifference("host", travelled.fromHost, expected.fromHost);
    if (fault.empty() && json.find("\"ok\": true") == std::string::npos) fault = json;
    compared += expected.fromController.size() + expected.fromHost.size();
    Report(what, fault,
           Format("%9.0f %9.3f %5.1f %%",
                  JsonNumber(json, "bytesFromHost") + JsonNumber(json, "bytesToHost"),
                  JsonNumber(json, "seconds"), JsonNumber(json, "lineShare") * 100));
  }

  void Check(const std::string& what, bool holds) {
    Report(what, holds ? "" : "it doesn't", Format("%27s", ""));
  }

  void Report(const std::string& what, const std::string& fault, const std::string& figures) {
    ++steps;
    if (!fault.empty()) ++wrong;
    std::printf("  %-50s %s   %s\n", what.c_str(), figures.c_str(),
                fault.empty() ? "ok" : ("WRONG: " + fault).c_str());
    std::fflush(stdout);
  }

  // --- Processes ---

  // The JSON line that answers a command; its progress bar goes to the terminal.
  std::string Command(const std::string& command) {
    const std::size_t from = controller->Output().size();
    controller->Type(command);
    const Clock::time_point until = Clock::now() + kLongest;
    while (Clock::now() < until && !controller->Expect("\n", Milliseconds(100))) {
      if (ShowsProgress()) PassOnProgress();
      if (controller->WaitForExit(Milliseconds(0))) break;
    }
    if (ShowsProgress()) PassOnProgress();
    return controller->Output().substr(from);
  }

  void PassOnProgress() {
    const std::string& text = controller->Diagnostics();
    std::fwrite(text.data() + shown, 1, text.size() - shown, stderr);
    shown = text.size();
  }

  void StartHost(const Texts& arguments = {}) {
    host = folders.Start("ncedl-console", arguments);
    // The port is open when the status stands; the line is the controller's from its start.
    if (!host->Expect(" 1 Waiting...\n"))
      throw std::runtime_error("ncedl-console: " + host->Diagnostics());
  }

  void QuitHost() {
    const Clock::time_point begin = Clock::now();
    host->Type("quit");
    const bool ended = host->WaitForExit() == 0;
    Check("ncedl-console ends within a second",
          ended && Clock::now() - begin < std::chrono::seconds(1));
    if (!host->Diagnostics().empty())
      Report("messages: " + host->Diagnostics(), "none expected", "");
  }

  // Switches a special feature and waits until the host has it.
  void Switch(const std::string& feature) {
    host->Type("special " + feature);
    if (!Shows(Format("%-16s %s\n", feature.substr(0, feature.find(' ')).c_str(),
                      feature.substr(feature.find(' ') + 1).c_str())))
      throw std::runtime_error("ncedl-console: no answer to special " + feature);
  }
  bool Shows(const std::string& line) {
    host->Type("special");
    return host->Expect(line);
  }

  const bool isQuick;
  const std::string samples;
  const HostFolders folders;
  const std::string record = folders.Path("", "record.txt");
  std::unique_ptr<Process> controller, host;
  int steps = 0, wrong = 0;
  std::uint64_t compared = 0;
  std::size_t shown = 0; // of the controller's diagnostics
};

} // namespace

int main(int argc, char** argv) {
  bool quick = false;
  std::string programs = NCEDL_PROGRAMS, samples = NCEDL_SAMPLES;
  for (int i = 1; i < argc; ++i) {
    const std::string_view word = argv[i];
    if (word == "--quick") quick = true;
    if (word == "--programs" && i + 1 < argc) programs = argv[++i];
    if (word == "--samples" && i + 1 < argc) samples = argv[++i];
  }
  try {
    return Demo(quick, programs, samples).Run();
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "ncedl-demo: %s\n", failure.what());
    return 1;
  }
}
