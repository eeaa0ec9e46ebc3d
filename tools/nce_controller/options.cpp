#include "tools/nce_controller/options.h"

namespace kor::controller {
namespace {

class OptionReader {
 public:
  explicit OptionReader(const std::vector<KorText>& toRead) : words(toRead) {}

  ParsedOptions Read() {
    while (error.empty() && at < words.size() && words[at].StartsWith(u"--"))
      ReadOption();
    if (error.empty() && words.size() == 1 && words[0].View() == u"-h")
      options.wantsHelp = true;
    else if (error.empty() && !options.wantsHelp && !options.wantsVersion)
      ReadCommand();
    return {options, error};
  }

 private:
  bool Is(std::u16string_view option) const { return words[at - 1].View() == option; }

  void ReadOption() {
    ++at;
    if (!ReadFlag() && !ReadLineOption() && !ReadJobOption())
      error = "unknown option \"" + words[at - 1].ToUtf8() + "\"";
  }

  bool ReadFlag() {
    if (Is(u"--no-pace"))
      options.isPaced = false;
    else if (Is(u"--json"))
      options.isJson = true;
    else if (Is(u"--verify"))
      options.verify = true;
    else if (Is(u"--help"))
      options.wantsHelp = true;
    else if (Is(u"--version"))
      options.wantsVersion = true;
    else
      return false;
    return true;
  }

  bool ReadLineOption() {
    if (Is(u"--port"))
      options.port = Value();
    else if (Is(u"--pty"))
      options.pseudoTerminal = Value();
    else if (Is(u"--baud"))
      Count(options.line.baud, 50, 4'000'000);
    else if (Is(u"--bits"))
      Check(ParseBits(Value().ToBytes(), options.line), "such as 8N1 or 7E2");
    else if (Is(u"--flow"))
      ReadFlow();
    else
      return false;
    return true;
  }

  bool ReadJobOption() {
    if (Is(u"--timeout"))
      options.timeout = Amount(0.01, 3600);
    else if (Is(u"--retries"))
      Count(options.retries.emplace(), 0, 1000);
    else if (Is(u"--errors"))
      options.errorRate = Amount(0, 1);
    else if (Is(u"--seed"))
      Count(options.seed, 0, ~0ULL);
    else if (Is(u"--wait-host"))
      options.waitHost = Amount(0, 1e8);
    else if (Is(u"--record"))
      options.record = Value();
    else if (Is(u"--progress"))
      ReadProgress();
    else
      return false;
    return true;
  }

  void ReadFlow() {
    const auto flow = ParseFlow(Value().ToBytes());
    Check(flow.has_value(), "xonxoff, hardware or none");
    options.line.flow = flow.value_or(options.line.flow);
  }

  void ReadProgress() {
    const KorText mode = Value();
    if (mode == u"auto")
      options.progress = ProgressMode::OnTerminal;
    else if (mode == u"always")
      options.progress = ProgressMode::Always;
    else if (mode == u"never")
      options.progress = ProgressMode::Never;
    else
      Check(false, "auto, always or never");
  }

  void ReadCommand() {
    if (options.port.has_value() == options.pseudoTerminal.has_value()) {
      error = "name the line with either --port DEVICE or --pty LINK";
      return;
    }
    ParsedCommand parsed =
        ParseCommand({words.begin() + static_cast<long>(at), words.end()}, false);
    options.command = std::move(parsed.command);
    error = std::move(parsed.error);
  }

  KorText Value() {
    name = words[at - 1].ToUtf8();
    if (at < words.size()) return words[at++];
    error = name + ": the value is missing";
    return {};
  }

  void Check(bool isGood, const std::string& wanted) {
    if (!isGood && error.empty()) error = name + ": the value must be " + wanted;
  }

  double Amount(double least, double most) {
    const auto value = ParseAmount(Value());
    Check(value && *value >= least && *value <= most,
          "from " + std::to_string(least) + " to " + std::to_string(most));
    return value.value_or(0);
  }

  template <class Number> void Count(Number& to, std::uint64_t least, std::uint64_t most) {
    const auto value = ParseCount(Value(), most);
    Check(value && *value >= least,
          "a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    to = static_cast<Number>(value.value_or(least));
  }

  const std::vector<KorText>& words;
  std::size_t at = 0;
  std::string name; // of the option whose value was read last
  std::string error;
  Options options;
};

} // namespace

ParsedOptions ParseOptions(const std::vector<KorText>& arguments) {
  return OptionReader(arguments).Read();
}

std::string_view HelpText() {
  return R"(nce-controller plays the machine controller's side of the line.

  nce-controller (--port DEVICE | --pty LINK) [OPTION...] COMMAND

Line
  --port DEVICE      a serial port
  --pty LINK         a pseudo-terminal whose far end is linked at LINK, for a host to open
  --baud N           bits per second (2400)
  --bits 8N1         data bits 7 or 8, parity N O E M S, stop bits 1 1.5 2
  --flow MODE        xonxoff (start value), hardware, none
  --no-pace          the pseudo-terminal passes bytes at once instead of at line speed
Jobs
  --timeout S        silence after which an answer counts as missing (10)
  --retries N        times a job is begun again after damage (0; with --errors 10)
  --errors P         chance per byte, both ways, of being damaged, lost, doubled or delayed
  --seed N           of the chances (1)
  --verify           fetch and list until two transfers agree, read uploads back
  --wait-host S      first wait for a host to answer (30 with --pty, otherwise 0: not at all)
Output
  --json             one object per command
  --record FILE      every byte that travels, both ways
  --progress MODE    auto (start value: when the diagnostics go to a terminal), always, never
Commands
  test                                      line test
  list                                      the host's directory
  fetch NUMBER [-o FILE] [--compare FILE]...
  send FILE --number N [--read-back | --no-read-back]
  raw TEXT                                  send TEXT and print the answer
  wait-host S
  soak --seconds S [--upload N] [--folder DIR [--extension MPG]] [--no-read-back]
  run SCRIPT                                a command per line; "-": as they are typed
Exit code: 0 done, 1 device or file, 2 usage, 3 refused by the host, 4 time-out, 5 protocol fault,
6 comparison or expectation failed; 128 + number when a signal ended it.
)";
}

} // namespace kor::controller
