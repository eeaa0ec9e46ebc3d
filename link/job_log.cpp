#include "link/job_log.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "files/simple_file.h"
#include "services/core/app_interface.h"
#include "ui/link_status.h"

namespace kor {

namespace {

constexpr std::uint64_t kMostRead = 1 << 20;

std::string NewestPart(const KorText& path) {
  SimpleFile file(path);
  if (!file.Open(kFileRead)) return {};
  const std::uint64_t size = std::min(file.Size(), kMostRead);
  file.Seek(file.Size() - size);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  bytes.resize(file.Read({reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
  return bytes;
}

// The words of a status text before its file's name.
KorText Wording(LinkStatus code) {
  constexpr const char16_t* kMark = u"\x01";
  StatusFacts facts;
  facts.fileName = kMark;
  const KorText text = StatusText(code, facts, {});
  return text.Left(std::min(text.Find(kMark), text.Length()));
}

struct Found {
  LinkStatus code;
  std::size_t at;
};

// Where the status text begins, and whose it is. A name may hold the words of another status: the first
// place counts.
std::optional<Found> FindStatus(const KorText& line) {
  std::optional<Found> first;
  for (std::int32_t number = 0; number < kLinkStatusCount; ++number) {
    const auto code = static_cast<LinkStatus>(number);
    if (!EndsJob(code)) continue;
    const KorText words = Wording(code);
    const std::size_t at = words.IsEmpty() ? KorText::kNone : line.Find(words);
    if (at != KorText::kNone && (!first || at < first->at)) first = Found{code, at};
  }
  return first;
}

KorText FileNameIn(LinkStatus code, const KorText& line) {
  KorText name = line.Mid(Wording(code).Length());
  const bool counted = code == LinkStatus::DownloadCompleted || code == LinkStatus::UploadCompleted;
  const std::size_t end = counted ? name.View().rfind(u" - ") : KorText::kNone;
  return end == KorText::kNone ? name : name.Left(end);
}

// The time of day that is written so, in whatever form the system writes times; nothing for none.
std::optional<SystemTime> TimeWritten(const KorText& text, SystemTime day) {
  std::array<int, 3> parts{};
  std::size_t part = 0;
  bool inNumber = false;
  for (const char16_t c : text.View()) {
    const bool digit = IsDigit(c);
    if (inNumber && !digit) ++part;
    inNumber = digit;
    if (part == parts.size()) break;
    if (digit) parts[part] = parts[part] * 10 % 1000 + (c - u'0');
  }
  constexpr int kHalfDay = 12;
  for (const int hour : {parts[0], parts[0] + kHalfDay, parts[0] - kHalfDay}) {
    day.hour = hour;
    day.minute = parts[1];
    day.second = parts[2];
    if (hour >= 0 && hour < 2 * kHalfDay && App().FormatTime(day) == text) return day;
  }
  return std::nullopt;
}

std::optional<EndedJob> ReadJob(const KorText& line, const SystemTime& day) {
  const KorText date = KorText(u" ") + App().FormatDate(day) + u" ";
  const std::size_t dateAt = line.Find(date);
  const auto status = FindStatus(line);
  if (dateAt == KorText::kNone || !status || status->at < dateAt + date.Length()) return {};
  const std::size_t timeAt = dateAt + date.Length();
  const auto time = TimeWritten(line.Mid(timeAt, status->at - timeAt).Trimmed(), day);
  if (!time) return std::nullopt;
  EndedJob job{status->code, line.Mid(status->at), {}, *time};
  job.fileName = FileNameIn(status->code, job.line);
  return job;
}

} // namespace

std::vector<EndedJob> ReadJobsOfDay(const KorText& file, const SystemTime& day) {
  std::vector<EndedJob> jobs;
  const std::string bytes = NewestPart(file);
  for (std::string_view rest = bytes; !rest.empty();) {
    const std::size_t end = std::min(rest.find("\r\n"), rest.size());
    const auto job = ReadJob(KorText::FromUtf8(rest.substr(0, end)), day);
    if (job) jobs.push_back(*job);
    rest.remove_prefix(std::min(end + 2, rest.size()));
  }
  return jobs;
}

} // namespace kor
