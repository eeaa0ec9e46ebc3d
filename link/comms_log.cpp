#include "link/comms_log.h"

#include <algorithm>

#include "services/core/app_interface.h"
#include "services/core/as_bytes.h"
#include "ui/link_status.h"

namespace kor {

namespace {

constexpr const char16_t* kProgramVersion = u"26.0.0.2715 2026";
constexpr const char16_t* kVersionRule =
    u"==================== Version & OS ======================";
constexpr const char16_t* kSettingsRule = u"==================== Settings ======================";
constexpr std::int64_t kSecondsPerMinute = 60;
constexpr std::int64_t kMinutesPerHour = 60;
constexpr std::size_t kTaskBytes = 200; // of a line that waits, beside its text

// Toward zero, but a value a hair below a whole number counts as that number.
std::int64_t Truncated(double value) {
  constexpr double kHair = 1e-9;
  return static_cast<std::int64_t>(value + (value > 0 ? kHair : value < 0 ? -kHair : 0));
}

// A log is a plain byte file: ASCII as it is, anything else (folder names) as UTF-8.
bool WriteLine(SimpleFile& file, const KorText& line) {
  const std::string bytes = line.ToUtf8();
  return file.Write(AsBytes(bytes)) == bytes.size() && file.Flush();
}

// The first line, or the beginning of a long one.
KorText FirstLine(SimpleFile& file) {
  constexpr std::size_t kMost = 8192;
  std::string bytes(kMost, '\0');
  bytes.resize(file.Read({reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.erase(0, 3); // an editor's mark
  return KorText::FromUtf8(bytes.substr(0, bytes.find("\r\n")));
}

// "00:00:00.000000 (+0.000000) Start of logging"
bool IsTraceLine(const KorText& line) {
  constexpr std::u16string_view kForm = u"00:00:00.000000 (";
  const KorText stamp = line.Left(kForm.size());
  return std::ranges::equal(stamp.View(), kForm, [](char16_t c, char16_t form) {
    return form == u'0' ? IsDigit(c) : c == form;
  });
}

// A date and a time, in whatever form, and then a text of a status that ends a job.
bool IsJobLine(const KorText& line) {
  constexpr std::ptrdiff_t kLeastDigits = 6;
  for (std::int32_t number = 0; number < kLinkStatusCount; ++number) {
    const auto code = static_cast<LinkStatus>(number);
    const KorText text = EndsJob(code) ? StatusText(code, {}, {}) : KorText();
    // Up to the name, which is empty here.
    const std::size_t at = line.Find(u" " + text.Left(text.Find(u"  ")).Trimmed());
    if (text.IsEmpty() || at == KorText::kNone) continue;
    if (std::ranges::count_if(line.Left(at).View(), IsDigit) >= kLeastDigits) return true;
  }
  return false;
}

} // namespace

bool MayHoldLog(const KorText& path) {
  const auto there = App().FileAttributes(path);
  if (!there) return true;
  if (!there->isFile) return false;
  if (there->size == 0) return true;
  SimpleFile file(path);
  if (!file.Open(kFileRead)) return false;
  const KorText line = FirstLine(file);
  return IsTraceLine(line) || IsJobLine(line);
}

KorText TraceStamp(double t, double d) {
  const std::int64_t minutesInAll = Truncated(t / static_cast<double>(kSecondsPerMinute));
  const double seconds = t - static_cast<double>(kSecondsPerMinute * minutesInAll);
  const std::int64_t hours = minutesInAll / kMinutesPerHour;
  return KorText::Format(u"%02i:%02i:%09.6f (%+09.6f)", hours,
                         minutesInAll - kMinutesPerHour * hours, seconds, d);
}

CommsLog::CommsLog(SideThread& writerThread, std::function<void()> tellFailure)
    : writer(writerThread), failed(std::move(tellFailure)) {}

void CommsLog::StartTrace(const KorText& path, const LinkSettings& settings, Replace replace) {
  const double now = App().HighResolutionSeconds();
  std::uint32_t number = 0;
  {
    const Lock lock(mutex);
    number = ++traces;
    tracePath = path;
  }
  traceBytes = 0;
  tracing = number;
  const auto open = [this, number, path, settings, replace, now] {
    OpenTrace(number, path, settings, replace, now);
  };
  if (!writer.Add(0, open)) EndTrace(number);
}

KorText CommsLog::TracePath() {
  const Lock lock(mutex);
  return tracePath;
}

void CommsLog::OpenTrace(std::uint32_t number, const KorText& path, const LinkSettings& settings,
                         Replace replace, double now) {
  trace.reset();
  auto file = std::make_unique<SimpleFile>(path);
  const bool mayReplace = replace == Replace::Anything || MayHoldLog(path);
  if (!mayReplace || !file->Open(kFileWrite)) {
    EndTrace(number);
    return;
  }
  trace = std::move(file);
  openTrace = number;
  startTime = now;
  previousOffset = 0;
  WriteTraceLine(u"Start of logging", Repeated::Dropped, now);
  WriteHeader(settings);
}

// Nobody misses a trace that a newer one has followed. A trace that was stopped is missed: not all
// that was traced until then is there.
void CommsLog::EndTrace(std::uint32_t number) {
  std::uint32_t wanted = number;
  const bool isMissed = tracing.compare_exchange_strong(wanted, 0) || wanted == 0;
  if (isMissed && toldTrace.exchange(number) != number) failed();
}

void CommsLog::WriteHeader(const LinkSettings& s) {
  const auto write = [this](const KorText& text) {
    WriteTraceLine(text, Repeated::Dropped, startTime);
  };
  write(kVersionRule);
  write(KorText::Format(u"%s - %s", kProgramVersion, App().OperatingSystem()));
  write(kSettingsRule);
  write(KorText::Format(u"Port=%s baud=%s parity=%s data=%s stop=%s flow=%s", s.port, s.baudrate,
                        s.parity, s.databits, s.stopbits, s.flowControl));
  write(KorText::Format(u"Upload path=%s Download path=%s Extension=%s", s.uploadPath,
                        s.downloadPath, s.fileExtension));
  write(KorText::Format(u"Transmit delay=%i Character Delay=%i Line Delay=%i", s.transmitDelay,
                        s.characterDelay, s.lineDelay));
  write(KorText::Format(u"Send SOT=%i SOT Character=%i Send EOT=%i EOT Character=%i", s.sendSot,
                        s.sotCharacter, s.sendEot, s.eotCharacter));
  write(kSettingsRule);
}

void CommsLog::StopTrace(const KorText& lastLine) {
  if (tracing.exchange(0) == 0) return;
  writer.Add(0, [this, lastLine, now = App().HighResolutionSeconds()] {
    WriteTraceLine(lastLine, Repeated::Dropped, now);
    trace.reset();
  });
}

void CommsLog::Trace(const KorText& text, Repeated repeated) {
  const std::uint32_t number = tracing;
  if (number == 0 || text.IsEmpty()) return;
  const std::size_t bytes = text.Length() * sizeof(char16_t) + kTaskBytes;
  const bool hasRoom =
      writer.WaitingBytes() + bytes <= kMostTraceWaiting &&
      writer.AddQuietly(bytes, [this, number, text, repeated, now = App().HighResolutionSeconds()] {
        if (number == openTrace) WriteTraceLine(text, repeated, now);
      });
  if (hasRoom) return;
  EndTrace(number);
  writer.Add(0, [this, number] {
    if (number == openTrace) trace.reset();
  });
}

void CommsLog::WriteTraceLine(const KorText& text, Repeated repeated, double now) {
  if (!trace || text.IsEmpty()) return;
  if (text == lastLogged && repeated == Repeated::Dropped) return;
  lastLogged = text;
  const double t = now - startTime;
  const double d = t - previousOffset;
  previousOffset = t;
  if (WriteLine(*trace, KorText::Format(u"%s %s\r\n", TraceStamp(t, d), text))) {
    traceBytes = trace->Size();
    return;
  }
  trace.reset();
  EndTrace(openTrace);
}

void CommsLog::SetJobLog(const KorText& file, bool write) {
  const Lock lock(mutex);
  jobFile = file;
  writeJobs = write;
}

void CommsLog::LogJob(const EndedJob& job) {
  KorText path, tag;
  {
    const Lock lock(mutex);
    if (!writeJobs) return;
    path = jobFile;
    tag = jobTag;
  }
  const std::size_t bytes = job.line.Length() * sizeof(char16_t) + kTaskBytes;
  const auto write = [this, path, tag, job] { WriteJobLine(path, tag, job); };
  if (!writer.Add(bytes, write)) TellJobFailure(true);
}

void CommsLog::TellJobFailure(bool isFailing) {
  if (!jobFailureTold.exchange(isFailing) && isFailing) failed();
}

void CommsLog::WriteJobLine(const KorText& path, const KorText& tag, const EndedJob& job) {
  if (job.line == lastLogged) return;
  SimpleFile file(path);
  const bool opened = file.Open(kFileWrite | kFileAppend);
  if (opened) lastLogged = job.line;
  const bool written =
      opened &&
      WriteLine(file, KorText::Format(u"%8s %s %s %s\r\n", tag, App().FormatDate(job.time),
                                      App().FormatTime(job.time), job.line));
  TellJobFailure(!written);
}

void CommsLog::SetJobTag(const KorText& tag) {
  const Lock lock(mutex);
  jobTag = tag;
}

} // namespace kor
