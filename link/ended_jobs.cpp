#include "link/ended_jobs.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "files/simple_file.h"
#include "services/core/app_interface.h"
#include "services/core/path_text.h"

namespace kor {

namespace {

constexpr std::uint64_t kLongestLine = 16 << 10; // bytes that are searched for the last line

enum Field : std::size_t { Number, Time, Direction, Code, Bytes, Name, Count };

std::string NewestPart(SimpleFile& file, std::uint64_t most) {
  const std::uint64_t size = std::min(file.Size(), most);
  file.Seek(file.Size() - size);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  bytes.resize(file.Read({reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
  return bytes;
}

bool Write(SimpleFile& file, const std::string& bytes) {
  return file.Write({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}) ==
             bytes.size() &&
         file.Flush();
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

std::int64_t LastNumber(const std::string& newest) {
  const std::size_t end = newest.find_last_not_of('\n');
  const std::size_t begin = end == newest.npos ? end : newest.find_last_of('\n', end);
  const std::size_t first = begin == newest.npos ? 0 : begin + 1;
  return FieldsOf(KorText::FromUtf8(std::string_view(newest).substr(first)))[0].ToInteger64();
}

const char16_t* DirectionOf(LinkStatus code) {
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

std::string LineOf(std::int64_t number, const EndedJob& job) {
  KorText name = job.fileName;
  for (const char16_t end : {u'\r', u'\n'})
    name.ReplaceAll(KorText(1, end), u" ");
  const SystemTime& t = job.time;
  return KorText::Format(u"%i\t%s %02i:%02i:%02i\t%s\t%i\t%i\t%s\n", number, DayText(t), t.hour,
                         t.minute, t.second, DirectionOf(job.code), NumberOf(job.code), job.bytes,
                         name)
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
  EndedJob job{code, {}, fields[Name], *time, {}, fields[Bytes].ToInteger64()};
  StatusFacts facts;
  facts.fileName = job.fileName;
  facts.count = job.bytes;
  job.line = StatusText(code, facts, {});
  return job;
}

// In one step: whoever reads it meanwhile sees the older or the newer file.
bool Rewrite(const KorText& path, const std::string& bytes) {
  KorFile file(path);
  return file.OpenSafe() && Write(file, bytes) && file.Commit();
}

} // namespace

bool AddEndedJob(const KorText& path, const EndedJob& job) {
  App().MakeFolder(FolderOfPath(path));
  SimpleFile file(path);
  if (!file.Open(kFileRead | kFileWrite)) return false;
  const std::string end = NewestPart(file, kLongestLine);
  std::string line = LineOf(LastNumber(end) + 1, job);
  if (!end.empty() && end.back() != '\n') line.insert(0, "\n"); // the power went in mid-line
  if (file.Size() + line.size() <= kMostEndedJobs) {
    file.Seek(0, true);
    return Write(file, line);
  }
  const std::string newer = NewestPart(file, kMostEndedJobs / 2);
  file.Close();
  return Rewrite(path, newer.substr(newer.find('\n') + 1) + line);
}

std::vector<EndedJob> ReadJobsOfDay(const KorText& path, const SystemTime& day) {
  std::vector<EndedJob> jobs;
  SimpleFile file(path);
  if (!file.Open(kFileRead)) return jobs;
  for (const KorText& line : Split(KorText::FromUtf8(NewestPart(file, kMostEndedJobs)), u'\n'))
    if (const auto job = JobOf(line, day)) jobs.push_back(*job);
  return jobs;
}

} // namespace kor
