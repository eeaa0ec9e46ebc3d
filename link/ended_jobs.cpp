#include "link/ended_jobs.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "files/kor_file.h"
#include "files/simple_file.h"
#include "services/core/app_interface.h"
#include "services/core/as_bytes.h"
#include "services/core/path_text.h"

namespace kor {

namespace {

constexpr std::string_view kHeader = "ended jobs 1\n"; // with the version
constexpr std::uint64_t kLongestLine = 16 << 10;       // bytes that are searched for the last line
constexpr std::uint32_t kLongestWait = 300, kWaitStep = 20; // ms, for another program

enum Field : std::size_t { Number, Time, Direction, Code, Bytes, Note, Name, Count };

bool HasHeader(SimpleFile& file) {
  std::string bytes(kHeader.size(), '\0');
  file.Seek(0);
  bytes.resize(file.Read({reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
  return bytes == kHeader;
}

std::string NewestPart(SimpleFile& file, std::uint64_t most) {
  const std::uint64_t size = std::min(file.Size(), most);
  file.Seek(file.Size() - size);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  bytes.resize(file.Read({reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
  return bytes;
}

bool Write(SimpleFile& file, const std::string& bytes) {
  return file.Write(AsBytes(bytes)) == bytes.size() && file.Flush();
}

// Without a line that the power tore, and without the header or a line whose start is not there.
std::string NewestLines(SimpleFile& file, std::uint64_t most) {
  if (!HasHeader(file)) return {};
  std::string lines = NewestPart(file, most);
  lines.resize(lines.find_last_of('\n') + 1);
  return lines.substr(lines.find('\n') + 1);
}

// The last field takes what is left, tabs included.
std::vector<KorText> FieldsOf(const KorText& line) {
  std::vector<KorText> fields;
  std::size_t from = 0;
  for (std::size_t tab = line.Find(u'\t'); tab != KorText::kNone && fields.size() + 1 < Count;
       tab = line.Find(u'\t', from)) {
    fields.push_back(line.Mid(from, tab - from));
    from = tab + 1;
  }
  fields.push_back(line.Mid(from));
  return fields;
}

// Returns the number after the last line's. The largest number there is repeats itself.
std::int64_t NextNumber(const std::string& lines) {
  if (lines.size() < 2) return 1;
  const std::size_t begin = lines.find_last_of('\n', lines.size() - 2) + 1;
  const KorText last = KorText::FromUtf8(std::string_view(lines).substr(begin));
  constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
  return std::clamp<std::int64_t>(FieldsOf(last)[Number].ToInteger64(), 0, kLargest - 1) + 1;
}

// Returns the word that the file has for a job. The codes 25 to 27 tell no direction: their word is
// "-", although a window shows them as sending.
const char16_t* DirectionWord(LinkStatus code) {
  switch (code) {
  case LinkStatus::DownloadCantOpen:
  case LinkStatus::DownloadErrors:
  case LinkStatus::DownloadCancelled:
  case LinkStatus::DownloadCompleted:
  case LinkStatus::AutoloadCutting:
    return u"download";
  case LinkStatus::UploadCantOpen:
  case LinkStatus::UploadErrors:
  case LinkStatus::UploadCancelled:
  case LinkStatus::UploadCompleted:
    return u"upload";
  default:
    return u"-";
  }
}

KorText DayText(const SystemTime& day) {
  return KorText::Format(u"%04i-%02i-%02i", day.year, day.month, day.day);
}

KorText WithBlanksFor(std::u16string_view unwanted, KorText text) {
  for (const char16_t c : unwanted)
    text.ReplaceAll(KorText(1, c), u" ");
  return text;
}

std::string LineOf(std::int64_t number, const EndedJob& job) {
  const SystemTime& t = job.time;
  return KorText::Format(u"%i\t%s %02i:%02i:%02i\t%s\t%i\t%i\t%s\t%s\n", number, DayText(t), t.hour,
                         t.minute, t.second, DirectionWord(job.code), NumberOf(job.code), job.bytes,
                         WithBlanksFor(u"\t\r\n", job.note), WithBlanksFor(u"\r\n", job.fileName))
      .ToUtf8();
}

// "2026-11-22 04:20:05" of that day.
std::optional<SystemTime> TimeOf(const KorText& text, SystemTime day) {
  constexpr std::size_t kHour = 11, kMinute = 14, kSecond = 17, kLength = 19;
  if (text.Length() != kLength || !text.StartsWith(DayText(day) + u" ")) return std::nullopt;
  day.hour = text.Mid(kHour, 2).ToInteger();
  day.minute = text.Mid(kMinute, 2).ToInteger();
  day.second = text.Mid(kSecond, 2).ToInteger();
  return day;
}

std::optional<EndedJob> JobOf(const KorText& line, const SystemTime& day) {
  const std::vector<KorText> fields = FieldsOf(line);
  if (fields.size() != Count || !IsNumber(fields[Code]) || !IsNumber(fields[Bytes])) return {};
  const auto code = static_cast<LinkStatus>(fields[Code].ToInteger());
  const auto time = TimeOf(fields[Time], day);
  if (!time || !EndsJob(code)) return std::nullopt;
  EndedJob job{code, {}, fields[Name], *time, fields[Note], fields[Bytes].ToInteger64()};
  StatusFacts facts;
  facts.fileName = job.fileName;
  facts.bytesDone = job.bytes;
  job.line = StatusText(code, facts, {});
  return job;
}

// Another program of the same settings may be adding its own job, so wait for it, but not for a
// file that can't be written at all.
bool OpenWhenFree(const KorText& path, const std::function<bool()>& open) {
  const std::uint32_t start = App().TickCount();
  while (!open()) {
    const bool mayBeHeld = App().FileExists(path) && App().CanReplaceFile(path);
    if (!mayBeHeld || App().TickCount() - start >= kLongestWait) return false;
    App().SleepMilliseconds(kWaitStep);
  }
  return true;
}

bool IsContinuable(SimpleFile& file, const std::string& end) {
  return file.Size() == 0 || (HasHeader(file) && end.back() == '\n');
}

// Replace the file in one step: whoever reads meanwhile sees the older or the newer one. Nobody
// else writes from before the file is read until it is replaced.
bool Rewrite(const KorText& path, const EndedJob& job) {
  KorFile newer(path);
  newer.HoldTarget();
  if (!OpenWhenFree(path, [&] { return newer.OpenSafe(); })) return false;
  SimpleFile older(path);
  if (!older.Open(kFileRead)) return false;
  const bool isFull = older.Size() + kLongestLine > kMostEndedJobs;
  const std::string lines = NewestLines(older, isFull ? kMostEndedJobs / 2 : kMostEndedJobs);
  older.Close();
  return Write(newer, std::string(kHeader) + lines + LineOf(NextNumber(lines), job)) &&
         newer.Commit();
}

} // namespace

bool AddEndedJob(const KorText& path, const EndedJob& job) {
  App().MakeFolder(FolderOfPath(path));
  SimpleFile file(path);
  if (!OpenWhenFree(path, [&] { return file.Open(kFileRead | kFileWrite); })) return false;
  const std::string end = NewestPart(file, kLongestLine);
  if (end.empty() && file.Size() > 0) return false; // it can't be read
  std::string added = LineOf(NextNumber(end), job);
  if (end.empty()) added.insert(0, kHeader);
  if (IsContinuable(file, end) && file.Size() + added.size() <= kMostEndedJobs) {
    file.Seek(0, SeekFrom::End);
    return Write(file, added);
  }
  file.Close();
  return Rewrite(path, job);
}

std::vector<EndedJob> ReadEndedJobs(const KorText& path, const std::vector<SystemTime>& days) {
  std::vector<EndedJob> jobs;
  SimpleFile file(path);
  if (!file.Open(kFileRead)) return jobs;
  const auto lines = Split(KorText::FromUtf8(NewestLines(file, kMostEndedJobs)), u'\n');
  for (const SystemTime& day : days)
    for (const KorText& line : lines)
      if (const auto job = JobOf(line, day)) jobs.push_back(*job);
  return jobs;
}

} // namespace kor
