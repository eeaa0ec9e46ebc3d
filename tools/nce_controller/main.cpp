// nce-controller: the machine controller's side of the line, to try cabling and settings without
// tying up a machine, and to drive the demonstration and the end-to-end tests.
#include <atomic>
#include <chrono>
#include <iostream>
#include <memory>

#include "platform/net/line_port.h"
#include "platform/platform.h"
#include "platform/program_start.h"
#include "platform/terminals.h"
#include "services/core/app_interface.h"
#include "tools/nce_controller/byte_device.h"
#include "tools/nce_controller/device_line.h"
#include "tools/nce_controller/fault_line.h"
#include "tools/nce_controller/flow_line.h"
#include "tools/nce_controller/options.h"
#include "tools/nce_controller/preflight.h"
#include "tools/nce_controller/record_line.h"
#include "tools/nce_controller/runner.h"

namespace kor::controller {
namespace {

std::atomic<bool> stopWanted = false;
std::atomic<int> stopSignal = 0;
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

extern "C" void OnStopSignal(int number) {
  stopSignal = number;
  stopWanted = true;
}

std::unique_ptr<ByteDevice> OpenDevice(const Options& options, std::string& error) {
  if (!options.port.IsEmpty())
    return OpenPortDevice(std::make_unique<LinePort>(), options.port, options.line, error);
  KorText reason;
  auto terminal = OpenPseudoTerminal(options.pseudoTerminal, reason);
  error = reason.ToUtf8();
  return terminal ? MakePseudoTerminalDevice(std::move(terminal)) : nullptr;
}

std::unique_ptr<OsFile> OpenRecord(const KorText& path, std::string& error) {
  auto file = App().OpenFile(path, FileAccess::Write);
  if (!file) error = path.ToUtf8() + ": " + App().ErrorText(App().LastError()).ToUtf8();
  return file;
}

Time FromSeconds(double seconds) {
  return std::chrono::duration_cast<Time>(std::chrono::duration<double>(seconds));
}

SessionSettings MakeSessionSettings(const Options& options) {
  SessionSettings settings;
  settings.timeout = FromSeconds(options.timeout);
  settings.byteTime = options.line.BytesTime(1);
  settings.retries = options.Retries();
  settings.verify = options.verify || options.errorRate > 0;
  settings.sendsXon = options.line.flow == FlowControl::XonXoff;
  return settings;
}

RunnerSettings MakeRunnerSettings(const Options& options) {
  RunnerSettings settings;
  settings.isJson = options.isJson;
  settings.showsProgress =
      options.progress == ProgressMode::Always || (options.progress == ProgressMode::OnTerminal &&
                                                   StreamIsTerminal(StandardStream::Diagnostics));
  settings.readsBack = options.verify || options.errorRate > 0;
  settings.knowsSpeed = !options.IsCable() || options.isPaced;
  settings.seed = options.seed;
  settings.line = options.line;
  return settings;
}

Outcome RunOnDevice(ByteDevice& device, const Options& options, std::unique_ptr<OsFile> record) {
  DeviceLine cable(device, options.line, options.IsCable() && options.isPaced, stopWanted);
  std::unique_ptr<RecordLine> recorder;
  if (record) recorder = std::make_unique<RecordLine>(cable, std::move(record));
  Line& heard = recorder ? static_cast<Line&>(*recorder) : cable;
  FaultLine faulty(heard, options.errorRate, options.seed);
  const bool hasFaults = options.errorRate > 0;
  Line& carried = hasFaults ? static_cast<Line&>(faulty) : heard;
  FlowLine held(carried);
  const bool isHeld = options.line.flow == FlowControl::XonXoff;
  Line& line = isHeld ? static_cast<Line&>(held) : carried;
  Session session(line, MakeSessionSettings(options));
  Runner runner(session, line, hasFaults ? &faulty : nullptr, MakeRunnerSettings(options), std::cin,
                std::cout, std::cerr);
  Outcome outcome = Outcome::Done;
  if (options.WaitHost() > 0) outcome = runner.AwaitHost(options.WaitHost());
  return outcome == Outcome::Done ? runner.Run(options.command) : outcome;
}

int Main(const std::vector<KorText>& arguments) {
  PlatformAppInterface app(kProgramNames);
  SetApp(&app);
  Options options;
  const CommandLineAnswer answer = ReadOptions(arguments, options);
  if (const auto code = answer.Tell(StandardOutput())) return *code;
  std::string error = FindObstacle(options.command);
  if (!error.empty()) {
    std::cerr << "nce-controller: " << error << std::endl;
    return static_cast<int>(Outcome::Usage);
  }
  CatchStopSignals(OnStopSignal);
  const auto device = OpenDevice(options, error);
  std::unique_ptr<OsFile> record;
  if (device && !options.record.IsEmpty()) record = OpenRecord(options.record, error);
  if (!error.empty()) {
    std::cerr << "nce-controller: " << error << std::endl;
    return static_cast<int>(Outcome::SystemFailed);
  }
  const Outcome outcome = RunOnDevice(*device, options, std::move(record));
  return stopWanted ? 128 + stopSignal.load() : static_cast<int>(outcome);
}

} // namespace
} // namespace kor::controller

int main(int argc, char** argv) {
  kor::PrepareProgram();
  return kor::controller::Main(kor::ProgramArguments(argc, argv));
}
