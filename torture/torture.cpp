// The torture campaign: faults at random moments of random exchanges, for as long as asked. Every try
// has a kind and a seed that repeat it. Runs the whole engine in this process on a hand-moved clock.
//   ncedl-torture [--minutes N] [--seed S]     tries of all kinds in turn
//   ncedl-torture --again KIND SEED            one try
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>

#include "app/nce_frame.h"
#include "files/compressed_file.h"
#include "tests/support/nce_link.h"

namespace {

using namespace kor;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZ\r";
constexpr char16_t kName[] = u"0000007.MPG";
constexpr int kUploadCompleted = 19;
constexpr unsigned kStuckAfter = 30; // seconds that no try takes

struct Broken {
  std::string what;
};
void Require(bool holds, const std::string& what) {
  if (!holds) throw Broken{what};
}

// One host with its folders, its controller, and chance.
class Try {
 public:
  explicit Try(unsigned seed) : random(seed) {
    path = link.Folder() + kName;
    older = Lines(1 + Below(60), "OLD");
    newer = Lines(1 + Below(60), "NEW");
    link.PutProgram(kName, KorText::FromBytes(older));
    link.app.Put(outside, u"outside");
    link.Start();
  }

  std::size_t Below(std::size_t limit) { return random() % limit; }
  char Byte() { return static_cast<char>(Below(256)); }

  std::string Lines(std::size_t count, const char* word) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i)
      text += std::string(word) + std::to_string(random()) + "\n";
    return text;
  }

  // Everything that the controller sends to store the newer program, a line per reply.
  std::vector<std::string> UploadLines() const {
    std::vector<std::string> lines = {"FH 0000007\r", "TH 0000007\r"};
    for (std::size_t at = 0; at < newer.size();) {
      const std::size_t end = newer.find('\n', at);
      lines.push_back(MakeFrame(newer.substr(at, end - at) + "!"));
      at = end + 1;
    }
    lines.push_back("02]\r");
    return lines;
  }

  // Sends the lines until a reply is missing or bad; disturb runs before the byte of that number and
  // says what is sent instead of it. True: all were acknowledged.
  bool Play(const std::vector<std::string>& lines, std::size_t at,
            const std::function<std::string(char)>& disturb) {
    std::size_t sent = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
      std::string reply;
      for (const char c : lines[i])
        reply += link.Send(sent++ == at ? disturb(c) : std::string(1, c));
      const bool good = i == 0   ? !reply.empty()
                        : i == 1 ? reply == "Upload from NCE  in progress. &TH 0000007\r"
                                 : reply == ">\r";
      if (!good) return false;
    }
    return true;
  }

  std::size_t Length(const std::vector<std::string>& lines) {
    std::size_t length = 0;
    for (const std::string& line : lines)
      length += line.size();
    return length;
  }

  // The stored program is the older or the newer one, and the newer one if that was told.
  void ExpectWhole(bool acknowledged) {
    SimpleFile file(path);
    Require(file.Open(kFileRead, false, IsCompressedFile(path)),
            "the program can't be opened: " +
                link.app.Content(path).value_or(u"(missing)").ToBytes());
    const auto bytes = file.ReadAll();
    const std::string now = bytes ? std::string(bytes->begin(), bytes->end()) : "(unreadable)";
    Require(now == older || now == newer, "torn program: " + now);
    Require(now == newer || !acknowledged, "acknowledged, but the older program is there");
    Require(now == newer || !link.link || link.Code() != kUploadCompleted, "false 'completed'");
  }

  // The device comes back, the clock goes on, and the next good request is answered.
  void ExpectServed() {
    link.port.SetPresent(true);
    link.port.SetHolds(0);
    link.app.ClearFaults();
    for (int second = 0; second < 3; ++second) {
      link.app.Advance(1.1);
      link.link->RunDueTimers();
      link.Run();
    }
    link.Send("\x11\r]\r\r");
    Require(link.Ask("XYZ") == kAlphabet, "the next good request is not served");
  }

  void End() {
    const auto begin = Clock::now();
    link.link->Terminate();
    link.link.reset();
    Require(Clock::now() - begin < std::chrono::seconds(1), "the end took over a second");
  }

  // After the next start nothing but programs is there, and nothing outside was touched.
  void ExpectTidy() {
    if (link.link) End();
    link.Start();
    ExpectServed();
    for (const KorText& name : link.app.Names(link.Folder()))
      Require(!name.EndsWith(kPartSuffix), "a part file is left: " + name.ToUtf8());
    Require(link.app.Content(outside) == u"outside", "a file outside the folder was changed");
    End();
  }

  std::string Fetch() {
    std::string all = link.Ask("FH 0000007");
    for (int i = 0; i < 1000 && all.find("]\r") == all.npos; ++i)
      all += link.Ask(">");
    return all;
  }

  NceLink link;
  const KorText outside = link.app.Path(u"outside.MPG");
  KorText path;
  std::string older, newer;
  std::mt19937 random;
};

// --- Kinds ---------------------------------------------------------------------------------------

void DisturbUpload(Try& t, const std::function<std::string(char)>& disturb) {
  const auto lines = t.UploadLines();
  const bool acknowledged = t.Play(lines, t.Below(t.Length(lines)), disturb);
  t.link.port.SetPresent(true);
  t.ExpectWhole(acknowledged);
  t.ExpectServed();
  t.ExpectTidy();
}

void PulledInUpload(Try& t) {
  DisturbUpload(t, [&](char) {
    t.link.port.SetPresent(false);
    t.link.Run(3);
    if (t.Below(2) == 0) t.link.port.SetPresent(true); // back before anyone has looked again
    t.link.app.Advance(t.Below(2) == 0 ? 0.1 : 2.5);
    return std::string();
  });
}

void PulledInDownload(Try& t) {
  const std::string whole = t.Fetch();
  t.link.Ask("FH 0000007");
  for (std::size_t frames = t.Below(8); frames > 0; --frames)
    t.link.Ask(">");
  t.link.port.SetPresent(false);
  t.link.Run(3);
  t.ExpectServed();
  Require(t.Fetch() == whole, "after a pulled device another program arrives");
  t.ExpectTidy();
}

void FullDisk(Try& t) {
  t.link.app.LimitWrites(t.Below(t.newer.size() + 20));
  DisturbUpload(t, [](char c) { return std::string(1, c); });
}

void HeldUpload(Try& t) {
  DisturbUpload(t, [&](char c) {
    t.link.port.SetHolds(kXoffHold);
    const std::string early = t.link.Send(std::string(1, c));
    t.link.app.Advance(0.2);
    t.link.port.SetHolds(0);
    t.link.Run();
    return early; // bytes of ours in the controller's line: a bad reply, never a torn program
  });
}

void EndedWhileHeld(Try& t) {
  t.link.Ask("FH 0000007");
  t.link.port.SetHolds(kXoffHold);
  for (std::size_t requests = t.Below(20); requests > 0; --requests)
    t.link.Ask(t.Below(2) == 0 ? ">" : "DH");
  t.End();
  t.ExpectWhole(false);
  t.link.port.SetHolds(0);
  t.ExpectTidy();
}

// The process is killed between two of its changes to the disk.
void KilledInUpload(Try& t) {
  t.link.app.CutPowerAfter(static_cast<int>(t.Below(80)));
  const bool acknowledged = t.Play(t.UploadLines(), ~std::size_t{0}, {});
  t.link.app.CutPowerAfter(0);
  t.link.link.reset();
  t.link.app.ClearFaults();
  t.ExpectWhole(acknowledged);
  t.ExpectTidy();
}

void KilledInCompression(Try& t) {
  t.newer = t.older; // packed or plain, the program is the same
  if (t.Below(2) == 0) CompressFile(t.path, t.path, false);
  t.link.app.CutPowerAfter(static_cast<int>(t.Below(12)));
  if (IsCompressedFile(t.path))
    DecompressFile(t.path, t.path, false);
  else
    CompressFile(t.path, t.path, false);
  t.link.app.ClearFaults();
  t.ExpectWhole(false);
  t.ExpectTidy();
}

void KilledInSave(Try& t) {
  t.link.link->SetFeatures({0, 1, 0, 0});
  Require(t.link.link->SaveSettings(), "the settings can't be saved");
  t.link.link->SetFeatures({0, 1, 1, 0});
  t.link.app.CutPowerAfter(static_cast<int>(t.Below(12)));
  t.link.link->SaveSettings();
  t.link.app.CutPowerAfter(0);
  t.link.link.reset();
  t.link.app.ClearFaults();
  EngineServices services;
  services.port = &t.link.port;
  services.window = &t.link.form;
  services.startWorker = false;
  NCEApp next(services, {});
  next.SetUpServices();
  next.BuildWindow();
  Require(next.Features().stripPcZeros == 1, "the stored settings are lost");
  next.Terminate();
  t.ExpectTidy();
}

// What damage makes of an upload nobody can know, for its lines are not checked; all else holds.
void DamagedBytes(Try& t) {
  const auto lines = t.UploadLines();
  const auto damage = [&](char c) {
    const std::size_t how = t.Below(3);
    if (how == 0) return std::string(1, static_cast<char>(c ^ static_cast<char>(1 + t.Below(255))));
    return std::string(how == 1 ? 0 : 2, c);
  };
  t.Play(lines, t.Below(t.Length(lines)), damage);
  t.ExpectServed();
  t.ExpectTidy();
}

void Noise(Try& t) {
  constexpr std::string_view kForms[] = {"", "><~]\r", "FHTDX 0123456789\r", "\r\r\n\x11\x13",
                                         "0123456789ABCDEF!]\r"};
  const std::string_view form = kForms[t.Below(std::size(kForms))];
  std::string noise(t.Below(6000), '\0');
  for (char& c : noise)
    c = form.empty() ? t.Byte() : form[t.Below(form.size())];
  t.link.Send(noise);
  t.ExpectServed();
  t.ExpectTidy();
}

void HostileNumbers(Try& t) {
  const std::string numbers[] = {"../outside",
                                 "..\\outside",
                                 "/etc/passwd",
                                 "C:outside",
                                 ".",
                                 "..",
                                 "2147483648",
                                 "-1",
                                 "%s%n%s",
                                 "CON",
                                 "",
                                 "outside\x01",
                                 "*",
                                 "?",
                                 "NUL.MPG",
                                 "\xFF",
                                 std::string(t.Below(5000), '7'),
                                 t.link.app.Root().ToUtf8()};
  const std::string& number = numbers[t.Below(std::size(numbers))];
  const auto before = t.link.app.Names(t.link.app.Root());
  t.link.Ask("FH " + number);
  for (const char* line : {">", ">", "TH 1", "08G90!X10!17", "02]"})
    t.link.Ask(line);
  Require(t.link.app.Names(t.link.app.Root()) == before, "a file outside the folder: " + number);
  t.ExpectServed();
  t.ExpectTidy();
}

void OddThings(Try& t) {
  const fs::path file(t.path.ToUtf8()), folder = file.parent_path();
  fs::remove(file);
  switch (t.Below(6)) {
  case 0:
    fs::create_directory(file);
    break;
  case 1:
    ::mkfifo(file.c_str(), 0600);
    break;
  case 2:
    fs::create_symlink(t.outside.ToUtf8(), file);
    break;
  case 3:
    fs::create_symlink("/dev/zero", file);
    break;
  case 4:
    fs::create_symlink("nowhere", file);
    break;
  default:
    fs::create_symlink(file.filename(), file);
    break;
  }
  const fs::path part = folder / "x.0123456789abcdef.ncedl-part"; // not ours: it may stay
  fs::create_symlink("nowhere", part);
  t.link.Ask("DH");
  t.link.Ask(">");
  t.link.Ask("FH 0000007");
  t.link.Ask(">");
  t.link.Ask("~end");
  t.ExpectServed();
  t.Play(t.UploadLines(), ~std::size_t{0}, {});
  t.ExpectServed();
  t.End();
  t.link.Start();
  Require(!fs::exists(folder / "nowhere"), "the target of a link was made");
  fs::remove(part);
  t.ExpectTidy();
}

// --- The campaign ----------------------------------------------------------------------------------

struct Kind {
  const char* name;
  void (*run)(Try&);
  std::uint64_t tries = 0, failures = 0;
};

Kind kinds[] = {{"pulled-in-upload", PulledInUpload},
                {"pulled-in-download", PulledInDownload},
                {"full-disk", FullDisk},
                {"held-upload", HeldUpload},
                {"ended-while-held", EndedWhileHeld},
                {"killed-in-upload", KilledInUpload},
                {"killed-in-compression", KilledInCompression},
                {"killed-in-save", KilledInSave},
                {"damaged-bytes", DamagedBytes},
                {"noise", Noise},
                {"hostile-numbers", HostileNumbers},
                {"odd-things", OddThings}};

char current[100]; // what a try that never ends, or crashes, was

void OnEnd(int signal) {
  static_cast<void>(!::write(STDERR_FILENO, current, std::strlen(current)));
  ::_exit(128 + signal);
}

void RunOnce(Kind& kind, unsigned seed) {
  std::snprintf(current, sizeof current, "stuck or dead: --again %s %u\n", kind.name, seed);
  ::alarm(kStuckAfter);
  ++kind.tries;
  try {
    Try fresh(seed);
    kind.run(fresh);
  } catch (const Broken& broken) {
    if (++kind.failures <= 5)
      std::printf("FAILED --again %s %u: %.300s\n", kind.name, seed, broken.what.c_str());
  }
  ::alarm(0);
}

int Summary() {
  std::uint64_t tries = 0, failures = 0;
  std::printf("%-24s %9s %9s %9s\n", "", "tries", "survived", "failed");
  const auto row = [](const char* name, std::uint64_t all, std::uint64_t bad) {
    std::printf("%-24s %9ju %9ju %9ju\n", name, static_cast<std::uintmax_t>(all),
                static_cast<std::uintmax_t>(all - bad), static_cast<std::uintmax_t>(bad));
  };
  for (const Kind& kind : kinds) {
    if (kind.tries > 0) row(kind.name, kind.tries, kind.failures);
    tries += kind.tries;
    failures += kind.failures;
  }
  row("all", tries, failures);
  return tries > 0 && failures == 0 ? 0 : 1;
}

} // namespace

int main(int count, char** arguments) {
  double minutes = 1;
  unsigned seed = std::random_device()();
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ); // what is known survives a crash
  for (const int signal : {SIGALRM, SIGABRT, SIGSEGV, SIGBUS, SIGFPE})
    std::signal(signal, OnEnd);
  for (int i = 1; i + 1 < count; i += 2) {
    const std::string_view option = arguments[i];
    if (option == "--minutes") minutes = std::atof(arguments[i + 1]);
    if (option == "--seed")
      seed = static_cast<unsigned>(std::strtoul(arguments[i + 1], nullptr, 10));
    if (option != "--again" || i + 2 >= count) continue;
    for (Kind& kind : kinds)
      if (kind.name == std::string_view(arguments[i + 1]))
        RunOnce(kind, static_cast<unsigned>(std::strtoul(arguments[i + 2], nullptr, 10)));
    return Summary();
  }
  std::printf("seed %u\n", seed);
  const auto until = Clock::now() + std::chrono::duration<double>(minutes * 60);
  do
    for (Kind& kind : kinds)
      RunOnce(kind, seed++);
  while (Clock::now() < until);
  return Summary();
}
