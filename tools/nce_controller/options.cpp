#include "tools/nce_controller/options.h"

namespace kor::controller {
namespace {

constexpr char16_t kHelp[] = uR"(nce-controller plays the machine controller's side of the line.

  nce-controller (--port DEVICE | --pty LINK) [OPTION...] COMMAND

Line
  --port DEVICE      a serial port; rfc2217://HOST:PORT or tcp://HOST:PORT: one over the network;
                     tcp-listen://HOST:PORT: waits for a host to connect here, as with --pty
  --pty LINK         a pseudo-terminal whose far end is linked at LINK, for a host to open
  --baud N           bits per second (2400)
  --bits 8N1         data bits 7 or 8, parity N O E M S, stop bits 1 1.5 2
  --flow MODE        xonxoff (start value), hardware, none
  --no-pace          the pseudo-terminal or connection passes bytes at once instead of at line speed
Jobs
  --timeout S        silence after which an answer counts as missing (10)
  --retries N        times a job is begun again after damage (0; with --errors 10)
  --errors P         chance per byte, both ways, of being damaged, lost, doubled or delayed
  --seed N           of the chances (1)
  --verify           fetch and list until two transfers agree, read uploads back
  --wait-host S      first wait for a host to answer (30 with --pty and tcp-listen://,
                     otherwise 0: not at all)
Output
  --json             one object per command
  --record FILE      every byte that travels, both ways
  --progress MODE    auto (start value: when the diagnostics go to a terminal), always, never
  -h, --help         show this
  --version          show the version
Commands
  test                                      line test
  list                                      the host's directory
  fetch NUMBER [-o FILE] [--compare FILE]...
  send FILE --number N [--read-back | --no-read-back]
  raw TEXT                                  send TEXT and print the answer
  wait-host S
  soak --seconds S [--upload N] [--folder DIR [--extension MPG]] [--no-read-back]
  run SCRIPT                                a command per line; "-": as they are typed
Exit code: 0 done, 1 device or file to write, 2 usage or file to read, 3 refused by the host,
4 time-out, 5 protocol fault, 6 comparison or expectation failed; 128 + number when a signal
ended it.)";

KorText Wanted(std::u16string_view what) {
  return u"the value must be " + KorText(what);
}

template <class Number> CommandLine::Take Amount(Number& to, double least, double most) {
  return [&to, least, most](const KorText& value) {
    const auto amount = ParseAmount(value);
    if (!amount || *amount < least || *amount > most)
      return Wanted(KorText::Format(u"from %g to %g", least, most));
    to = *amount;
    return KorText();
  };
}

template <class Number> void Store(Number& to, std::uint64_t count) {
  to = static_cast<Number>(count);
}
void Store(std::optional<int>& to, std::uint64_t count) {
  to = static_cast<int>(count);
}

template <class Number>
CommandLine::Take Count(Number& to, std::uint64_t least, std::uint64_t most) {
  return [&to, least, most](const KorText& value) {
    const auto count = ParseCount(value, most);
    if (!count || *count < least)
      return Wanted(KorText::Format(u"a whole number from %u to %u", least, most));
    Store(to, *count);
    return KorText();
  };
}

KorText TakeFlow(const KorText& value, Options& options) {
  const auto flow = ParseFlow(value.ToBytes());
  options.line.flow = flow.value_or(options.line.flow);
  return flow ? KorText() : Wanted(u"xonxoff, hardware or none");
}

KorText TakeProgress(const KorText& value, Options& options) {
  if (value == u"auto")
    options.progress = ProgressMode::OnTerminal;
  else if (value == u"always")
    options.progress = ProgressMode::Always;
  else if (value == u"never")
    options.progress = ProgressMode::Never;
  else
    return Wanted(u"auto, always or never");
  return {};
}

void AddLineOptions(CommandLine& line, Options& options) {
  line.Value(u"--port", u"a device", options.port);
  line.Value(u"--pty", u"a path for the link", options.pseudoTerminal);
  line.Value(u"--baud", u"a rate", Count(options.line.baud, 50, 4'000'000));
  line.Value(u"--bits", u"a value such as 8N1", [&options](const KorText& value) {
    return ParseBits(value.ToBytes(), options.line) ? KorText() : Wanted(u"such as 8N1 or 7E2");
  });
  line.Value(u"--flow", u"a mode",
             [&options](const KorText& value) { return TakeFlow(value, options); });
  line.Flag(u"--no-pace", options.isPaced, false);
}

void AddJobOptions(CommandLine& line, Options& options) {
  line.Value(u"--timeout", u"a number of seconds", Amount(options.timeout, 0.01, 3600));
  line.Value(u"--retries", u"a number", Count(options.retries, 0, 1000));
  line.Value(u"--errors", u"a chance", Amount(options.errorRate, 0, 1));
  line.Value(u"--seed", u"a number", Count(options.seed, 0, ~0ULL));
  line.Flag(u"--verify", options.verify);
  line.Value(u"--wait-host", u"a number of seconds", Amount(options.waitHost, 0, 1e8));
  line.Flag(u"--json", options.isJson);
  line.Value(u"--record", u"a file", options.record);
  line.Value(u"--progress", u"a mode",
             [&options](const KorText& value) { return TakeProgress(value, options); });
}

KorText ReadCommand(const std::vector<KorText>& words, Options& options) {
  if (options.port.IsEmpty() == options.pseudoTerminal.IsEmpty())
    return u"name the line with either --port DEVICE or --pty LINK";
  ParsedCommand parsed = ParseCommand(words, CommandSource::CommandLine);
  options.command = std::move(parsed.command);
  return KorText::FromUtf8(parsed.error);
}

} // namespace

CommandLineAnswer ReadOptions(const std::vector<KorText>& arguments, Options& options) {
  std::vector<KorText> words;
  CommandLine line(u"nce-controller", kHelp);
  AddLineOptions(line, options);
  AddJobOptions(line, options);
  line.EndOptionsAtFirstWord();
  line.Words([&words](const KorText& word) {
    words.push_back(word);
    return KorText();
  });
  return line.Read(arguments, [&] { return ReadCommand(words, options); });
}

} // namespace kor::controller
