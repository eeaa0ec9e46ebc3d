#include "link/comms_log.h"

#include "services/core/app_interface.h"

namespace kor {

namespace {

constexpr const char16_t* kProgramVersion = u"26.0.0.2715 2026";
constexpr const char16_t* kVersionRule =
    u"==================== Version & OS ======================";
constexpr const char16_t* kSettingsRule = u"==================== Settings ======================";
constexpr std::int64_t kSecondsPerMinute = 60;
constexpr std::int64_t kMinutesPerHour = 60;

// Toward zero, but a value a hair below a whole number counts as that number.
std::int64_t Truncated(double value) {
  constexpr double kHair = 1e-9;
  return static_cast<std::int64_t>(value + (value > 0 ? kHair : value < 0 ? -kHair : 0));
}

// A log is a plain byte file: ASCII as it is, anything else (folder names) as UTF-8.
bool WriteLine(SimpleFile& file, const KorText& line) {
  const std::string bytes = line.ToUtf8();
  const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
  return file.Write({data, bytes.size()}) == bytes.size() && file.Flush();
}

} // namespace

KorText TraceStamp(double t, double d) {
  const std::int64_t minutesInAll = Truncated(t / static_cast<double>(kSecondsPerMinute));
  const double seconds = t - static_cast<double>(kSecondsPerMinute * minutesInAll);
  const std::int64_t hours = minutesInAll / kMinutesPerHour;
  return KorText::Format(u"%02i:%02i:%09.6f (%+09.6f)", hours,
                         minutesInAll - kMinutesPerHour * hours, seconds, d);
}

bool CommsLog::StartTrace(const KorText& path, const LinkSettings& settings) {
  const Lock lock(mutex);
  trace.reset();
  auto file = std::make_unique<SimpleFile>(path);
  if (!file->Open(kFileWrite)) return false;
  trace = std::move(file);
  startTime = App().HighResolutionSeconds();
  previousOffset = 0;
  WriteTraceLine(u"Start of logging", false);
  WriteHeader(settings);
  return true;
}

void CommsLog::WriteHeader(const LinkSettings& s) {
  WriteTraceLine(kVersionRule, false);
  WriteTraceLine(KorText::Format(u"%s - %s", kProgramVersion, App().OperatingSystem()), false);
  WriteTraceLine(kSettingsRule, false);
  WriteTraceLine(KorText::Format(u"Port=%s baud=%s parity=%s data=%s stop=%s flow=%s", s.port,
                                 s.baudrate, s.parity, s.databits, s.stopbits, s.flowControl),
                 false);
  WriteTraceLine(KorText::Format(u"Upload path=%s Download path=%s Extension=%s", s.uploadPath,
                                 s.downloadPath, s.fileExtension),
                 false);
  WriteTraceLine(KorText::Format(u"Transmit delay=%i Character Delay=%i Line Delay=%i",
                                 s.transmitDelay, s.characterDelay, s.lineDelay),
                 false);
  WriteTraceLine(KorText::Format(u"Send SOT=%i SOT Character=%i Send EOT=%i EOT Character=%i",
                                 s.sendSot, s.sotCharacter, s.sendEot, s.eotCharacter),
                 false);
  WriteTraceLine(kSettingsRule, false);
}

void CommsLog::CloseTrace(const KorText& lastLine) {
  WriteTraceLine(lastLine, false);
  trace.reset();
}

void CommsLog::StopTrace(const KorText& lastLine) {
  const Lock lock(mutex);
  if (trace) CloseTrace(lastLine);
}

bool CommsLog::IsTracing() const {
  const Lock lock(mutex);
  return trace != nullptr;
}

void CommsLog::Trace(const KorText& text, bool force) {
  const Lock lock(mutex);
  WriteTraceLine(text, force);
}

void CommsLog::WriteTraceLine(const KorText& text, bool force) {
  if (!trace || !trace->IsGood() || text.IsEmpty()) return;
  if (text == lastLogged && !force) return;
  lastLogged = text;
  const double t = App().HighResolutionSeconds() - startTime;
  const double d = t - previousOffset;
  previousOffset = t;
  WriteLine(*trace, KorText::Format(u"%s %s\r\n", TraceStamp(t, d), text));
}

void CommsLog::SetJobLog(const KorText& file, bool write) {
  const Lock lock(mutex);
  jobFile = file;
  writeJobs = write;
}

bool CommsLog::LogJob(const KorText& statusLine) {
  const Lock writing(jobMutex);
  KorText path, tag;
  {
    const Lock lock(mutex);
    if (!writeJobs || statusLine == lastLogged) return true;
    path = jobFile;
    tag = jobTag;
  }
  SimpleFile file(path);
  if (!file.Open(kFileWrite | kFileAppend)) return false;
  {
    const Lock lock(mutex);
    lastLogged = statusLine;
  }
  const SystemTime now = App().LocalTime();
  return WriteLine(file, KorText::Format(u"%8s %s %s %s\r\n", tag, App().FormatDate(now),
                                         App().FormatTime(now), statusLine));
}

void CommsLog::SetJobTag(const KorText& tag) {
  const Lock lock(mutex);
  jobTag = tag;
}

} // namespace kor
