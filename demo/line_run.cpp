#include "demo/line_run.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <numeric>
#include <stdexcept>
#include <thread>

#include "demo/format.h"

namespace kor::demo {

namespace {

namespace fs = std::filesystem;
using support::Milliseconds;
using support::ReadWholeFile;
using support::WriteWholeFile;
using Clock = std::chrono::steady_clock;

constexpr Milliseconds kLongest(300'000); // of one step

bool ShowsProgress() {
  return isatty(STDERR_FILENO) == 1;
}

// --- What has to travel ---

std::string Frame(const std::string& block) {
  const unsigned sum = std::accumulate(block.begin(), block.end(), 0U, [](unsigned all, char c) {
    return all ^ static_cast<unsigned char>(c);
  });
  return Format("%02X", static_cast<unsigned>(block.size())) + block + Format("%02X", sum);
}

// Joins whole lines, each with "!", until a block is longer than 99 characters.
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

// Returns the bytes of one side in the file of nce-controller --record, from a place in it on.
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

} // namespace

// --- Traffic ---

void Traffic::Exchange(std::string_view request, std::string_view reply) {
  Request(request);
  Reply(reply);
}

void Traffic::Download(const std::string& request, const std::string& found,
                       const std::string& begins, const Texts& frames, int refused) {
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

void Traffic::Upload(const std::string& number, const Texts& frames) {
  Exchange("FH " + number, "%% File " + number + " not found on Host Computer");
  Exchange("TH " + number, "Upload from NCE  in progress. &TH " + number);
  for (const std::string& frame : frames)
    Exchange(frame, ">");
  Exchange("]", ">");
}

// --- LineRun ---

LineRun::LineRun(const std::string& programs, const std::string& folderOfSamples, int lineBaud,
                 std::shared_ptr<const support::WindowsSystem> windows)
    : folders(programs, std::move(windows)), samples(folderOfSamples),
      record(folders.Path("", "record.txt")), baud(lineBaud) {
  folders.WriteProfile(baud);
  StartController({"--pty", folders.Line()}, [this] { return fs::exists(folders.Line()); });
}

void LineRun::StartController(const Texts& line, const std::function<bool()>& isReady) {
  Texts arguments = {"--baud",
                     std::to_string(baud),
                     "--json",
                     "--wait-host",
                     "0",
                     "--record",
                     record,
                     "--progress",
                     ShowsProgress() ? "always" : "never",
                     "run",
                     "-"};
  arguments.insert(arguments.begin(), line.begin(), line.end());
  shown = 0;
  controller = std::make_unique<support::Process>(folders.Program("nce-controller", arguments),
                                                  folders.Options());
  while (!isReady())
    if (controller->WaitForExit(Milliseconds(10)))
      throw std::runtime_error("nce-controller: " + controller->Diagnostics());
}

void LineRun::EndController() {
  controller->CloseInput();
  Check("nce-controller ends", controller->WaitForExit() == 0);
}

void LineRun::Begin() const {
  std::printf("\nNCE DNC link: one host, one controller, %d baud, 8N1\n\n", baud);
  std::printf("  %-50s %9s %9s %7s\n", "step", "bytes", "seconds", "line");
}

int LineRun::End() {
  EndController();
  std::printf("\n  %d steps, %llu bytes compared, %d wrong, %.1f s\n", steps,
              static_cast<unsigned long long>(compared), wrong,
              std::chrono::duration<double>(Clock::now() - begin).count());
  return wrong == 0 ? 0 : 1;
}

void LineRun::PutPrograms(std::size_t largeSize) {
  for (const auto& entry : fs::directory_iterator(samples))
    if (entry.path().extension() != ".md")
      fs::copy(entry.path(), folders.Download(entry.path().filename().string()));
  std::string large;
  for (int i = 1; large.size() < largeSize; ++i)
    large += Format("N%d G01 X%d.%03d Y%d.%03d F%d\n", i * 10, i % 1250, i * 7 % 1000, i % 2500,
                    i * 13 % 1000, 1000 + i % 3000);
  WriteWholeFile(folders.Download("0001000.MPG"), large);
  WriteWholeFile(folders.Download("123.MPG"), "G90\nX123\nM30\n");
  WriteWholeFile(folders.Path("", "sent.nc"), ReadWholeFile(folders.Download("0000101.MPG")));
}

void LineRun::ListStep() {
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

void LineRun::DownloadStep(const std::string& what, const std::string& number,
                           const std::string& name, int refused) {
  if (refused > 0) controller->Type("refuse " + std::to_string(refused));
  const std::string nine = "00" + number;
  Traffic traffic;
  traffic.Download(number, "&LP " + nine, "Download to NCE in progress. &FH " + nine,
                   FramesOf(name), refused);
  Step(what, Fetch(number, {name}), traffic);
}

void LineRun::UploadStep() {
  const std::string program = ReadWholeFile(folders.Path("", "sent.nc"));
  Traffic traffic;
  traffic.Upload("0000200", Frames(program));
  Step("upload", "send \"" + folders.Path("", "sent.nc") + "\" --number 0000200", traffic);
  Check("the upload is on the disk as it was sent",
        ReadWholeFile(folders.Upload("0000200.MPG")) == program &&
            folders.UploadNames() == Texts{"0000200.MPG"});
}

Texts LineRun::FramesOf(const std::string& name) const {
  return Frames(ReadWholeFile(folders.Download(name)));
}

std::string LineRun::Fetch(const std::string& number, const Texts& names) const {
  std::string command = "fetch " + number;
  for (const std::string& name : names)
    command += " --compare \"" + folders.Download(name) + "\"";
  return command;
}

void LineRun::Step(const std::string& what, const std::string& command, const Traffic& expected) {
  // Any sooner, the line would count the first byte as having left right after the last one.
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

void LineRun::Check(const std::string& what, bool holds) {
  Report(what, holds ? "" : "it doesn't", Format("%27s", ""));
}

void LineRun::Report(const std::string& what, const std::string& fault,
                     const std::string& figures) {
  ++steps;
  if (!fault.empty()) ++wrong;
  std::printf("  %-50s %s   %s\n", what.c_str(), figures.c_str(),
              fault.empty() ? "ok" : ("WRONG: " + fault).c_str());
  std::fflush(stdout);
}

std::string LineRun::Command(const std::string& command) {
  const std::size_t from = controller->Output().size();
  controller->Type(command);
  const Clock::time_point until = Clock::now() + kLongest;
  while (Clock::now() < until && !controller->Expect("\n", Milliseconds(100))) {
    if (ShowsProgress()) PassOnProgress();
    WhileItRuns();
    if (controller->WaitForExit(Milliseconds(0))) break;
  }
  if (ShowsProgress()) PassOnProgress();
  return controller->Output().substr(from);
}

void LineRun::PassOnProgress() {
  const std::string& text = controller->Diagnostics();
  std::fwrite(text.data() + shown, 1, text.size() - shown, stderr);
  shown = text.size();
}

} // namespace kor::demo
