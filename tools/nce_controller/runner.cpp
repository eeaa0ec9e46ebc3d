#include "tools/nce_controller/runner.h"

#include <array>
#include <chrono>
#include <cstdio>

#include "services/core/path_text.h"
#include "tools/nce_controller/preflight.h"
#include "tools/nce_controller/program_file.h"
#include "tools/nce_controller/program_text.h"
#include "tools/nce_controller/soak.h"

namespace kor::controller {
namespace {

Time FromSeconds(double seconds) {
  return std::chrono::duration_cast<Time>(std::chrono::duration<double>(seconds));
}

double ToSeconds(Time span) {
  return std::chrono::duration<double>(span).count();
}

std::string Decimal(double value, int decimals) {
  std::array<char, 64> buffer{};
  std::snprintf(buffer.data(), buffer.size(), "%.*f", decimals, value);
  return buffer.data();
}

std::string Plural(std::uint64_t count, const char* thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string EntriesJson(const std::vector<DirectoryEntry>& entries) {
  std::string json;
  for (const DirectoryEntry& entry : entries) {
    JsonObject object;
    object.Count("index", entry.index).Bytes("name", entry.name);
    json += (json.empty() ? "" : ", ") + object.Finish();
  }
  return "[" + json + "]";
}

} // namespace

Runner::Runner(Session& toUse, Line& lineToUse, const FaultLine* faultsToCount,
               const RunnerSettings& toKeep, std::istream& standardInput,
               std::ostream& standardOutput, std::ostream& standardError)
    : session(toUse), line(lineToUse), faults(faultsToCount), settings(toKeep),
      input(standardInput), output(standardOutput), diagnostics(standardError),
      bar(standardError, toKeep.showsProgress) {}

Outcome Runner::Run(const Command& command) {
  const Meter before = ReadMeter();
  Report report = Perform(command);
  bar.Finish();
  const Outcome outcome = report.verdict.outcome;
  if (command.exitCode && outcome != Outcome::Stopped) {
    report.isExpected = *command.exitCode == static_cast<int>(outcome);
    if (!report.isExpected)
      report.verdict = Verdict::Failed(
          Outcome::Mismatch, "ended with exit code " + std::to_string(static_cast<int>(outcome)) +
                                 " instead of " + std::to_string(*command.exitCode) +
                                 (outcome == Outcome::Done ? "" : ": " + report.verdict.message));
  }
  Print(command, report, before);
  return report.isExpected ? Outcome::Done : report.verdict.outcome;
}

Outcome Runner::AwaitHost(double seconds) {
  Command command;
  command.kind = CommandKind::WaitHost;
  command.name = u"wait-host";
  command.words = u"wait-host";
  command.seconds = seconds;
  const Meter before = ReadMeter();
  Report report = Perform(command);
  report.isSilent = true;
  Print(command, report, before);
  return report.verdict.outcome;
}

Runner::Report Runner::Perform(const Command& command) {
  Report report;
  switch (command.kind) {
  case CommandKind::Test:
    return Test();
  case CommandKind::List:
    return List();
  case CommandKind::Fetch:
    return Fetch(command);
  case CommandKind::Send:
    return Send(command);
  case CommandKind::Raw:
  case CommandKind::Read:
    return Raw(command);
  case CommandKind::Soak:
    return RunSoak(command);
  case CommandKind::Run:
    return RunScript(command);
  case CommandKind::Expect:
  case CommandKind::ExpectPart:
    return Expect(command);
  case CommandKind::WaitHost:
    return WaitForHost(command);
  case CommandKind::Wait:
    report.verdict = session.Wait(FromSeconds(command.seconds));
    report.isSilent = true;
    return report;
  case CommandKind::Refuse:
    session.RefuseFrames(command.count);
    report.isSilent = true;
    return report;
  case CommandKind::Print:
    if (!settings.isJson) output << command.text << '\n' << std::flush;
    report.json.Bytes("text", command.text);
    report.isSilent = !settings.isJson;
    return report;
  }
  return report;
}

Runner::Report Runner::Test() {
  Report report;
  report.verdict = session.LineTest();
  report.text = "the host sent the alphabet";
  return report;
}

Runner::Report Runner::List() {
  Report report;
  const DirectoryReport directory = session.List();
  report.verdict = directory.verdict;
  report.json.Json("entries", EntriesJson(directory.entries));
  report.json.Number("listings", directory.listings);
  report.text = Plural(directory.entries.size(), "program");
  if (settings.isJson) return report;
  for (const DirectoryEntry& entry : directory.entries) {
    std::array<char, 16> index{};
    std::snprintf(index.data(), index.size(), "%6u  ", entry.index);
    output << index.data() << entry.name << '\n';
  }
  return report;
}

Session::Progress Runner::StartProgress(const Command& command,
                                        std::optional<std::uint64_t> total) {
  bar.Start((command.name + u" " + KorText::FromBytes(command.text).View()).ToUtf8(), total,
            line.Now());
  return [this](std::uint64_t bytes) { bar.Update(bytes, line.Now()); };
}

// Several files to compare are one stream: programs that are loaded one after the other come so.
Runner::Report Runner::Fetch(const Command& command) {
  Report report;
  if (settings.isJson && command.output && *command.output == u"-") {
    report.verdict = Verdict::Failed(Outcome::Usage, "-o - would come between the JSON objects");
    return report;
  }
  std::string expected;
  for (const KorText& file : command.compare) {
    std::string content;
    const std::string failure = LoadProgram(file, content);
    if (!failure.empty()) {
      report.verdict = Verdict::Failed(Outcome::Usage, failure);
      return report;
    }
    expected += content + "\n";
  }
  const bool isCompared = !command.compare.empty();
  const auto total = isCompared ? std::optional<std::uint64_t>(expected.size()) : std::nullopt;
  const FetchReport fetched = session.Fetch(command.text, StartProgress(command, total));
  bar.Finish();
  report.verdict = fetched.verdict;
  report.json.Bytes("number", command.text)
      .Count("frames", fetched.frames)
      .Number("refusedFrames", fetched.refusedFrames)
      .Number("damagedFrames", fetched.damagedFrames)
      .Number("transfers", fetched.transfers)
      .Flag("confirmed", fetched.isConfirmed)
      .Count("programBytes", fetched.program.size());
  report.text = Plural(fetched.program.size(), "byte") + " in " + Plural(fetched.frames, "frame");
  if (fetched.refusedFrames > 0)
    report.text += ", " + std::to_string(fetched.refusedFrames) + " refused";
  if (fetched.transfers > 1) report.text += ", " + std::to_string(fetched.transfers) + " transfers";
  if (!report.verdict.IsDone()) return report;
  const std::string failure = Keep(command, fetched.program);
  if (!failure.empty())
    report.verdict = Verdict::Failed(Outcome::SystemFailed, failure);
  else if (isCompared)
    Compare(expected, fetched.program, report);
  return report;
}

void Runner::Compare(const std::string& expected, const std::string& program, Report& report) {
  const std::string difference = FirstDifference(program, expected);
  report.json.Flag("equal", difference.empty());
  if (difference.empty())
    report.text += ", equal";
  else
    report.verdict = Verdict::Failed(Outcome::Mismatch, "differs: " + difference);
}

std::string Runner::Keep(const Command& command, const std::string& program) {
  if (!command.output) return {};
  if (*command.output != u"-") return StoreProgram(*command.output, program);
  output << program << std::flush;
  return output ? std::string() : "the standard output can't be written";
}

Runner::Report Runner::Send(const Command& command) {
  Report report;
  std::string program;
  const std::string failure = LoadUpload(command.file, program);
  if (!failure.empty()) {
    report.verdict = Verdict::Failed(Outcome::Usage, failure);
    return report;
  }
  const bool readsBack = command.readBack.value_or(settings.readsBack);
  const SendReport sent =
      session.Send(command.text, program, readsBack, StartProgress(command, program.size()));
  report.verdict = sent.verdict;
  report.json.Text("file", command.file)
      .Bytes("number", command.text)
      .Count("frames", sent.frames)
      .Number("repeatedFrames", sent.repeatedFrames)
      .Number("transfers", sent.transfers)
      .Flag("confirmed", sent.isConfirmed)
      .Count("programBytes", program.size());
  report.text = Plural(program.size(), "byte") + " in " + Plural(sent.frames, "frame") +
                (sent.isConfirmed ? ", read back equal" : ", not read back");
  return report;
}

Runner::Report Runner::Raw(const Command& command) {
  Report report;
  std::string reply;
  report.verdict = command.kind == CommandKind::Read ? session.ReadLine(reply)
                                                     : session.Raw(command.text, reply);
  report.json.Bytes("reply", reply);
  if (!settings.isJson && report.verdict.IsDone()) output << Printable(reply) << '\n';
  return report;
}

Runner::Report Runner::WaitForHost(const Command& command) {
  const auto tell = [&] {
    diagnostics << "nce-controller: waiting for host, " << Decimal(command.seconds, 1)
                << " s at most" << std::endl;
  };
  Report report;
  report.verdict = session.WaitForHost(FromSeconds(command.seconds), tell);
  report.text = "the host answers";
  return report;
}

Runner::Report Runner::RunSoak(const Command& command) {
  SoakPlan plan;
  plan.duration = FromSeconds(command.seconds);
  plan.seed = settings.seed;
  plan.uploadNumber = command.text;
  plan.readBack = command.readBack.value_or(true);
  if (!command.folder.IsEmpty())
    plan.hostFile = [&command](const std::string& name, std::string& content) {
      const KorText file = KorText::FromBytes(name) + u"." + command.extension.View();
      return LoadProgram(WithTrailingSlash(command.folder) + file, content).empty();
    };
  const SoakReport soak = Soak(session, line, plan);
  Report report;
  report.verdict = soak.verdict;
  report.json.Count("tests", soak.tests)
      .Count("lists", soak.lists)
      .Count("fetches", soak.fetches)
      .Count("sends", soak.sends)
      .Count("failures", soak.failures)
      .Count("mismatches", soak.mismatches)
      .Count("programBytes", soak.programBytes);
  report.text = Plural(soak.tests, "test") + ", " + Plural(soak.lists, "list") + ", " +
                std::to_string(soak.fetches) + " fetched, " + std::to_string(soak.sends) +
                " sent, " + Plural(soak.failures, "failure") + ", " +
                std::to_string(soak.mismatches) + " wrong";
  if (!report.verdict.IsDone())
    report.verdict.message = report.text + "; " + report.verdict.message;
  return report;
}

Runner::Report Runner::Expect(const Command& command) {
  Report report;
  const std::string& reply = session.LastReply();
  const bool isPart = command.kind == CommandKind::ExpectPart;
  const bool isMet = isPart ? reply.find(command.text) != reply.npos : reply == command.text;
  report.isSilent = isMet;
  if (!isMet)
    report.verdict =
        Verdict::Failed(Outcome::Mismatch, "the host's last line is \"" + Printable(reply) + "\"");
  return report;
}

Runner::Report Runner::RunScript(const Command& command) {
  if (command.file == u"-") return RunTyped();
  Report report;
  std::string content;
  const std::string path = command.file.ToUtf8();
  const std::string failure = LoadProgram(command.file, content);
  if (!failure.empty()) {
    report.verdict = Verdict::Failed(Outcome::Usage, failure);
    return report;
  }
  std::uint64_t done = 0;
  RunSteps(ParseScript(KorText::FromUtf8(content)), path, report, done);
  report.json.Text("script", command.file).Count("steps", done);
  report.text = Plural(done, "step");
  return report;
}

// Each line is carried out when it comes. Whoever types goes on behind a wrong line; the first
// failure's exit code is the one that counts.
Runner::Report Runner::RunTyped() {
  Report report;
  std::uint64_t done = 0;
  std::string typed;
  for (KorText above; report.verdict.outcome != Outcome::Stopped && std::getline(input, typed);
       above += u'\n')
    RunTypedLine(ParseScript(above + KorText::FromUtf8(typed)), KorText::FromUtf8(typed), report,
                 done);
  report.json.Count("steps", done);
  report.text = Plural(done, "step");
  return report;
}

void Runner::RunTypedLine(const ParsedScript& script, const KorText& typed, Report& report,
                          std::uint64_t& done) {
  Report step;
  RunSteps(script, "standard input", step, done);
  if (!script.error.empty()) {
    Command wrong;
    wrong.name = wrong.words = typed;
    Print(wrong, step, ReadMeter());
  }
  const bool isStopped = step.verdict.outcome == Outcome::Stopped;
  if (report.verdict.IsDone() || isStopped) report.verdict = step.verdict;
}

void Runner::RunSteps(const ParsedScript& script, const std::string& path, Report& report,
                      std::uint64_t& done) {
  if (!script.error.empty())
    report.verdict = Verdict::Failed(Outcome::Usage, path + ", " + script.error);
  for (const Command& step : script.commands) {
    if (!report.verdict.IsDone()) return;
    report.verdict.outcome = Run(step);
    if (report.verdict.IsDone())
      ++done;
    else
      report.verdict.message =
          path + ", line " + std::to_string(step.line) + ": " + step.words.ToUtf8();
  }
}

// --- Reports ---

Runner::Meter Runner::ReadMeter() const {
  Meter meter;
  meter.time = line.Now();
  meter.counts = line.Counts();
  meter.stray = session.StrayBytes();
  if (faults) {
    meter.faultsFromHost = faults->FromHost().Total();
    meter.faultsToHost = faults->ToHost().Total();
  }
  return meter;
}

void Runner::Print(const Command& command, const Report& report, const Meter& before) {
  const bool isDone = report.verdict.IsDone();
  if (report.isSilent && isDone) return;
  Meter spent = ReadMeter();
  spent.time -= before.time;
  spent.counts.fromHost -= before.counts.fromHost;
  spent.counts.toHost -= before.counts.toHost;
  spent.stray -= before.stray;
  spent.faultsFromHost -= before.faultsFromHost;
  spent.faultsToHost -= before.faultsToHost;
  const Time busy = settings.line.BytesTime(spent.counts.fromHost + spent.counts.toHost);
  const double share = spent.time > Time::zero() ? ToSeconds(busy) / ToSeconds(spent.time) : 0;
  if (settings.isJson)
    PrintJson(command, report, spent, share);
  else if (isDone || report.isExpected)
    PrintText(command, report, spent, share);
  if (!isDone && !report.isExpected)
    diagnostics << "nce-controller: " << command.words.ToUtf8() << ": " << report.verdict.message
                << std::endl;
}

void Runner::PrintJson(const Command& command, const Report& report, const Meter& spent,
                       double share) {
  const bool isGood = report.verdict.IsDone() || report.isExpected;
  JsonObject object;
  object.Text("command", command.name);
  if (command.line > 0) object.Number("line", command.line);
  object.Flag("ok", isGood).Number("code", static_cast<int>(report.verdict.outcome));
  if (!report.verdict.IsDone()) object.Text("message", report.verdict.message);
  object.Members(report.json);
  object.Real("seconds", ToSeconds(spent.time), 6)
      .Count("bytesFromHost", spent.counts.fromHost)
      .Count("bytesToHost", spent.counts.toHost)
      .Count("strayBytes", spent.stray);
  if (settings.knowsSpeed) object.Real("lineShare", share, 4);
  if (faults)
    object.Count("faultsFromHost", spent.faultsFromHost).Count("faultsToHost", spent.faultsToHost);
  output << object.Finish() << std::endl;
}

void Runner::PrintText(const Command& command, const Report& report, const Meter& spent,
                       double share) {
  if (command.kind == CommandKind::Raw || command.kind == CommandKind::Read) return;
  const bool isProgramOnOutput = command.output && *command.output == u"-";
  std::ostream& to = isProgramOnOutput ? diagnostics : output;
  to << command.words.ToUtf8() << ": "
     << (report.isExpected && !report.verdict.IsDone() ? "as expected: " + report.verdict.message
                                                       : report.text)
     << " (" << Decimal(ToSeconds(spent.time), 2) << " s";
  if (settings.knowsSpeed) to << ", " << Decimal(share * 100, 1) << " % of the line";
  if (faults) to << ", " << spent.faultsFromHost + spent.faultsToHost << " faults made";
  to << ")" << std::endl;
}

} // namespace kor::controller
