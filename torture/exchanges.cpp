// Every exchange, disturbed at every byte that travels.
#include <algorithm>
#include <memory>

#include "torture/host.h"

namespace kor::torture {

namespace {

const std::string kToTheEnd = "> to ]", kFrames = "frames"; // stand for several lines

struct Exchange {
  const char* name;
  void (*begin)(Host&); // what the user does first; may be null
  std::vector<std::string> lines;
  bool stores = false;
};

const Exchange kExchanges[] = {
    {"line-test", nullptr, {"XYZ", "xyz", "XYZ"}},
    {"directory", nullptr, {"DH", kToTheEnd}},
    {"download", nullptr, {"FH 0000007", ">", ">", "<", "<", kToTheEnd, ">", "~end"}},
    {"chain",
     [](Host& host) {
       host.link.link->SetFeatures({1, 0, 0, 0});
     },
     {"FH 7", kToTheEnd}},
    {"upload", nullptr, {"FH 0000007", "TH 0000007", kFrames}, true},
    {"send-by-hand", [](Host& host) { host.link.link->SendFile(host.Path()); }, {kToTheEnd}},
    {"receive-by-hand",
     [](Host& host) { host.link.link->ReceiveFile(host.Path()); },
     {kFrames},
     true},
};

void Begin(const Exchange& exchange, Host& host) {
  if (exchange.begin != nullptr) exchange.begin(host);
  host.link.Run();
}

bool EndsIt(const Step& step) {
  return step.reply.ends_with("]\r");
}

// The exchange as it is when nothing disturbs it.
Steps RecordSteps(const Exchange& exchange, unsigned seed) {
  Host host(seed);
  Steps steps;
  Begin(exchange, host);
  for (const std::string& line : exchange.lines) {
    if (line == kToTheEnd) {
      while (std::ranges::none_of(steps, &EndsIt) && steps.size() < 100)
        steps.push_back(host.Ask(">"));
    } else if (line == kFrames) {
      for (const std::string& frame : host.UploadLines())
        steps.push_back(host.Ask(frame));
    } else {
      steps.push_back(host.Ask(line));
    }
  }
  return steps;
}

std::size_t Length(const Steps& steps, bool withReplies) {
  std::size_t length = 0;
  for (const auto& [line, reply] : steps)
    length += line.size() + (withReplies ? reply.size() : 0);
  return length;
}

// Once more, undisturbed, and the next start.
void ExpectRepeatable(const Exchange& exchange, Host& host, const Steps& steps) {
  host.ExpectServed();
  Begin(exchange, host);
  Require(host.Play(steps), "afterwards the same exchange is another one");
  if (exchange.stores) host.ExpectWhole(true);
  host.ExpectTidy();
}

// --- The device is pulled, and put back at once, soon or late ---------------------------------------

constexpr std::size_t kPulledWays = 3;

Disturbance Pull(Host& host, std::size_t way) {
  const auto pull = [&host, way](char) {
    host.link.port.SetPresent(false);
    host.link.port.SetPresent(way == 0); // before anyone has looked
    return std::string();
  };
  const auto putBack = [&host, way] {
    host.link.Run(3);
    host.PassTime(way == 2 ? 2.5 : 0.1);
    host.link.port.SetPresent(true);
  };
  return {pull, putBack};
}

void Pulled(const Exchange& exchange, const Steps& steps, Host& host, std::size_t at,
            std::size_t way) {
  const bool whole = host.Play(steps, at, Pull(host, way));
  host.link.port.SetPresent(true);
  host.ExpectWhole(whole && exchange.stores);
  ExpectRepeatable(exchange, host, steps);
}

// --- The line is held for a moment, or for ten minutes -----------------------------------------------

constexpr std::size_t kHeldWays = 2;

void Held(const Exchange& exchange, const Steps& steps, Host& host, std::size_t at,
          std::size_t way) {
  const auto hold = [&](char c) {
    host.link.port.SetHolds(way == 0 ? kXoffHold : kCtsHold);
    return std::string(1, c);
  };
  const auto release = [&] {
    host.PassTime(way == 0 ? 0.2 : 600);
    host.link.port.SetHolds(0);
    host.link.Run();
  };
  Require(host.Play(steps, at, {hold, release}), "a held line changes what is sent");
  host.ExpectWhole(exchange.stores);
  ExpectRepeatable(exchange, host, steps);
}

// --- A byte of the controller's is damaged, dropped or doubled ---------------------------------------

constexpr std::size_t kDamagedWays = 3;

// Lines are not checked, so that a damaged one may be stored; but no other may be lost, doubled or cut.
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
  // The positions are those of the controller's bytes alone.
  std::size_t offset = 0;
  for (std::size_t i = 0, left = at; left >= steps[i].line.size(); ++i) {
    left -= steps[i].line.size();
    offset += steps[i].reply.size();
  }
  const bool acknowledged = host.Play(steps, at + offset, {damage, {}});
  const std::string stored = host.Stored();
  if (became != ']') { // which ends an upload
    const bool isOlder = stored == host.older && !(exchange.stores && acknowledged);
    Require(isOlder || IsNearly(host.newer, stored), "more is damaged than one byte: " + stored);
  }
  ExpectRepeatable(exchange, host, steps);
}

// The exchange of a seed; kept until another seed's is asked for.
class Record {
 public:
  explicit Record(const Exchange& what) : exchange(what) {}
  const Steps& Of(unsigned wanted) {
    if (steps.empty() || seed != wanted) steps = RecordSteps(exchange, seed = wanted);
    return steps;
  }

 private:
  const Exchange& exchange;
  unsigned seed = 0;
  Steps steps;
};

using Action = void (*)(const Exchange&, const Steps&, Host&, std::size_t at, std::size_t way);

void Add(std::vector<Sweep>& sweeps, const char* what, Action action, std::size_t ways,
         bool bothSides) {
  for (const Exchange& exchange : kExchanges) {
    const auto record = std::make_shared<Record>(exchange);
    const auto length = [record, bothSides](unsigned seed) {
      return Length(record->Of(seed), bothSides);
    };
    const auto run = [&exchange, record, action](unsigned seed, std::size_t at, std::size_t way) {
      Host host(seed);
      Begin(exchange, host);
      action(exchange, record->Of(seed), host, at, way);
    };
    sweeps.push_back({std::string(what) + "-" + exchange.name, "bytes", ways, length, run});
  }
}

} // namespace

std::vector<Sweep> ExchangeSweeps() {
  std::vector<Sweep> sweeps;
  Add(sweeps, "pulled", Pulled, kPulledWays, true);
  Add(sweeps, "held", Held, kHeldWays, true);
  Add(sweeps, "damaged", Damaged, kDamagedWays, false);
  return sweeps;
}

} // namespace kor::torture
