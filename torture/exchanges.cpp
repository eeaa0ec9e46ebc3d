// Disturbs every exchange at every byte that travels.
#include <algorithm>

#include "torture/host.h"
#include "torture/sweep.h"

namespace kor::torture {

namespace {

constexpr int kDelay = 2; // seconds, of the exchange that waits

struct Exchange {
  const char* name;
  Steps (*steps)(const Host&);
  void (*begin)(Host&) = nullptr; // what the user does first
  bool stores = false;
  int delay = 0;
};

NamedProgram Named(const Host& host, const std::string& content,
                   const KorText& name = u"0000007.MPG") {
  return {host.Path(name).ToBytes(), content};
}

// Runs a download up to its first frame. A refusal must then bring nothing, least of all a frame of
// before.
Script Preparation(const std::string& number, const std::string& nineDigits) {
  Script script;
  script.Ask("FH " + number, "&LP " + nineDigits).Begin("Download");
  script.Ask(">", "Download to NCE in progress. &FH " + nineDigits).Ask("<", "");
  return script;
}

Script UploadRequest() {
  Script script;
  script.Ask("FH 0000007", "&LP 000000007").Begin("Download");
  script.Ask("TH 0000007", "Upload from NCE  in progress. &TH 0000007").Begin("Upload");
  return script;
}

const Exchange kExchanges[] = {
    {"line-test",
     [](const Host&) {
       return Script()
           .Ask("XYZ", "ABCDEFGHIJKLMNOPQRSTUVWXYZ")
           .Ask("xyz", "%% Message not recognised by HOST")
           .Ask("XYZ", "ABCDEFGHIJKLMNOPQRSTUVWXYZ")
           .Done();
     }},
    {"directory",
     [](const Host&) {
       return Script().Directory({"0000007", "6", "7", "8", "9"}).Done();
     }},
    {"download",
     [](const Host& host) {
       return Preparation("0000007", "000000007")
           .Download({Named(host, host.older)}, 2)
           .Ask(">", "UDL>")
           .Ask("~end", "END")
           .Done();
     }},
    {"long-line",
     [](const Host& host) {
       return Preparation("6", "000000006")
           .Download({Named(host, host.longer, u"6.MPG")}, 1)
           .Done();
     }},
    {"chain",
     [](const Host& host) {
       return Preparation("7", "000000007")
           .Download({Named(host, "N7\n", u"7.MPG"), Named(host, "\n", u"8.MPG"),
                      Named(host, host.last, u"9.MPG")},
                     1)
           .Done();
     },
     [](Host& host) {
       host.link.link->SetFeatures({1, 0, 0, 0});
     }},
    {"delayed",
     [](const Host&) {
       return Script()
           .Ask("FH 0000007", "")
           .Begin("Download")
           .Ask(">", ">") // not yet
           .Wait(kDelay, "&LP 000000007")
           .Done();
     },
     nullptr, false, kDelay},
    {"upload",
     [](const Host& host) { return UploadRequest().Upload(Named(host, host.newer)).Done(); },
     nullptr, true},
    {"cut-upload",
     [](const Host& host) {
       return UploadRequest().CutUpload(Named(host, host.newer), host.last).Done();
     },
     nullptr, true},
    {"send-by-hand",
     [](const Host& host) {
       return Script().Begin("Download").Download({Named(host, host.older)}).Done();
     },
     [](Host& host) { host.link.link->SendFile(host.Path()); }},
    {"receive-by-hand",
     [](const Host& host) {
       return Script().Begin("Upload").Upload(Named(host, host.newer)).Done();
     },
     [](Host& host) { host.link.link->ReceiveFile(host.Path()); }, true},
};

void Begin(const Exchange& exchange, Host& host) {
  if (exchange.begin != nullptr) exchange.begin(host);
  host.link.Run();
}

// Runs all steps. True when every reply was right and the job is logged.
void ExpectUndisturbed(const Exchange& exchange, Host& host, const Steps& steps) {
  host.ExpectServed();
  Begin(exchange, host);
  const std::size_t played = host.Play(steps);
  Require(played == steps.size(), "afterwards it breaks off at step " + std::to_string(played));
  host.ExpectLastJob(steps.back().job);
  if (exchange.stores) host.ExpectWhole(true);
  host.ExpectTidy();
}

// --- An exchange that the host can't go on with ---

bool IsData(const Step& step) {
  return step.line.find('!') != std::string::npos;
}

// The controller goes on with an upload that has ended at the host. The host must refuse the rest
// up to its end mark.
void ExpectRestRefused(Host& host, const Steps& steps, const Place& place) {
  for (std::size_t i = place.inReply ? place.step + 1 : place.step; i < steps.size(); ++i) {
    if (!IsData(steps[i]) && i + 1 < steps.size()) continue;
    const std::string reply = host.link.Send(steps[i].line);
    Require(reply == "<\r", "the rest of an upload is answered by: " + reply);
  }
  host.ExpectForgotten();
  host.ExpectWhole(false);
}

std::vector<std::string> JobsOf(const Step& step) {
  if (step.job.empty()) return {};
  return {step.job};
}

// also: what is logged in addition to what ran.
void ExpectBrokenOff(const Exchange& exchange, const Steps& steps, Host& host, const Place& place,
                     const std::vector<std::string>& also = {}) {
  const Step& before = Before(steps, place);
  std::vector<std::string> jobs = JobsOf(before);
  if (!before.running.empty()) jobs.push_back(before.running + " Error(s) ");
  jobs.insert(jobs.end(), also.begin(), also.end());
  host.ExpectForgotten();
  host.ExpectJobs(jobs);
  host.ExpectWhole(exchange.stores && !before.job.empty());
  if (before.running == "Upload") ExpectRestRefused(host, steps, place);
  host.ExpectFirstRequestServed();
  ExpectUndisturbed(exchange, host, steps);
}

// What has been sent by then is in the past; anything more would come too late.
std::string Cut(Host& host) {
  host.link.port.TakeWritten();
  return {};
}

// The device is pulled and put back at once, soon, or late. In way 3 the controller's XOFF is still
// in force. In way 4 the port is opened again.
constexpr std::size_t kPulledWays = 5;

Disturbance Pull(Host& host, std::size_t way) {
  const auto pull = [&host, way] {
    host.link.port.SetPresent(false);
    host.link.port.SetPresent(way == 0); // before anyone has looked
    return Cut(host);
  };
  const auto putBack = [&host, way] {
    host.link.Run(3);
    host.PassTime(way == 2 ? 2.5 : 0.1);
    host.link.port.SetPresent(true);
  };
  const auto hold = [&host](char) {
    host.link.port.Deliver("\x13");
    return std::string();
  };
  const auto open = [&host](char) {
    host.link.link->RunOnWorker([&host] { host.link.link->OpenPort(0); });
    return Cut(host);
  };
  if (way == 4) return {open, [&host] { host.link.Run(); }, true};
  if (way == 3) return {hold, [pull, putBack] { pull(), putBack(); }, true};
  return {[pull](char) { return pull(); }, putBack, true};
}

void Pulled(const Exchange& exchange, const Steps& steps, Host& host, std::size_t at,
            std::size_t way) {
  const Place place = PlaceOf(steps, at, true);
  host.Play(steps, place, Pull(host, way));
  ExpectBrokenOff(exchange, steps, host, place);
}

// The controller's line never ends, until the receive buffer is full.
void Flooded(const Exchange& exchange, const Steps& steps, Host& host, std::size_t at,
             std::size_t) {
  const Place place = PlaceOf(steps, at, true);
  const std::string flood(SerialChannel::kReceiveSize, 'U');
  const auto now = [&](char) {
    host.link.port.Deliver(flood);
    return std::string();
  };
  const auto later = [&] {
    host.link.port.Deliver("!\r");
    for (int poll = 0; poll < 2; ++poll) // the first may find the buffer full and read nothing
      host.PassTime(0.1);
    Cut(host);
  };
  host.Play(steps, place, {now, later, true});
  ExpectBrokenOff(exchange, steps, host, place, {"Over Run Error! Data loss has occurred!"});
}

// --- The line is held for a moment, or for ten minutes ---

constexpr std::size_t kHeldWays = 3; // 2: by an XOFF that the controller sends

void Held(const Exchange& exchange, const Steps& steps, Host& host, std::size_t at,
          std::size_t way) {
  const auto hold = [&](char c) {
    if (way == 2)
      host.link.port.Deliver("\x13");
    else
      host.link.port.SetHolds(way == 0 ? kXoffHold : kCtsHold);
    return std::string(1, c);
  };
  const auto release = [&] {
    host.PassTime(way == 1 ? 600 : 0.2);
    host.link.port.SetHolds(0);
    if (way == 2) host.link.port.Deliver("\x11");
    host.link.Run();
  };
  const std::size_t played = host.Play(steps, PlaceOf(steps, at, true), {hold, release});
  Require(played == steps.size(), "a held line changes step " + std::to_string(played));
  host.ExpectJobs(JobsOf(steps.back()));
  host.ExpectWhole(exchange.stores);
  ExpectUndisturbed(exchange, host, steps);
}

// --- A byte of the controller's is damaged, dropped or doubled ---

constexpr std::size_t kDamagedWays = 3;

// Lines are not checked, so a damaged one may be stored, but no other line may be lost, doubled or
// cut.
bool IsNearly(const std::string& whole, const std::string& stored) {
  const auto [at, other] = std::ranges::mismatch(whole, stored);
  const auto from = static_cast<std::size_t>(at - whole.begin());
  std::size_t tail = 0;
  while (tail < std::min(whole.size(), stored.size()) - from &&
         whole[whole.size() - tail - 1] == stored[stored.size() - tail - 1])
    ++tail;
  return whole.size() - from - tail <= 2 && stored.size() - from - tail <= 2;
}

void Damaged(const Exchange& exchange, const Steps& steps, Host& host, std::size_t at,
             std::size_t way) {
  char became = 0;
  const auto damage = [&](char c) {
    if (way > 0) return std::string(way == 1 ? 0 : 2, c);
    became = static_cast<char>(c ^ static_cast<char>(1 + host.Below(255)));
    return std::string(1, became);
  };
  const Place place = PlaceOf(steps, at, false);
  const bool acknowledged = host.Play(steps, place, {damage, {}}) == steps.size();
  const std::string stored = host.Stored();
  if (became != ']') { // which ends an upload
    const bool isOlder = stored == host.older && !(exchange.stores && acknowledged);
    Require(isOlder || IsNearly(host.newer, stored), "more is damaged than one byte: " + stored);
  }
  ExpectUndisturbed(exchange, host, steps);
}

using Action = void (*)(const Exchange&, const Steps&, Host&, std::size_t at, std::size_t way);

void Add(std::vector<Sweep>& sweeps, const char* what, Action action, std::size_t ways,
         bool bothSides) {
  for (const Exchange& exchange : kExchanges) {
    if (action == Held && exchange.delay > 0) continue; // its own time passes while it is held
    const auto length = [&exchange, bothSides](unsigned seed) {
      return Length(exchange.steps(Host(seed)), bothSides);
    };
    const auto run = [&exchange, action](unsigned seed, std::size_t at, std::size_t way) {
      Host host(seed, exchange.delay);
      const Steps steps = exchange.steps(host);
      Begin(exchange, host);
      action(exchange, steps, host, at, way);
    };
    sweeps.push_back({std::string(what) + "-" + exchange.name, "bytes", ways, length, run});
  }
}

} // namespace

std::vector<Sweep> ExchangeSweeps() {
  std::vector<Sweep> sweeps;
  Add(sweeps, "pulled", Pulled, kPulledWays, true);
  Add(sweeps, "flooded", Flooded, 1, true);
  Add(sweeps, "held", Held, kHeldWays, true);
  Add(sweeps, "damaged", Damaged, kDamagedWays, false);
  return sweeps;
}

} // namespace kor::torture
