#include "link/status_board.h"

namespace kor {

StatusBoard::StatusBoard(std::function<void(const EndedJob&)> jobReceiver)
    : onJob(std::move(jobReceiver)) {}

void StatusBoard::Set(LinkStatus newCode, const KorText& newNote) {
  const Lock lock(mutex);
  code = newCode;
  note = newNote;
  ++timesSet;
  MarkChanged();
}

void StatusBoard::SetNote(const KorText& text) {
  const Lock lock(mutex);
  note = text;
  MarkChanged();
}

void StatusBoard::SetFileName(const KorText& name) {
  const Lock lock(mutex);
  facts.fileName = name;
  MarkChanged();
}

void StatusBoard::SetMachine(const KorText& machine, bool serverRole) {
  const Lock lock(mutex);
  facts.machineName = machine;
  facts.serverRole = serverRole;
  MarkChanged();
}

void StatusBoard::SetLinkReason(const KorText& reason) {
  const Lock lock(mutex);
  linkReason = reason;
  MarkChanged();
}

void StatusBoard::BeginBytes(std::int64_t total) {
  Keep(bytesTotal, total);
  SetBytesDone(0);
  SetBar(0, total);
}

void StatusBoard::SetBar(std::int64_t position, std::int64_t range) {
  Keep(barPosition, position);
  Keep(barRange, range);
}

// Intended: an unexpected error shows as the file format error, and the job log gets both lines.
void StatusBoard::FormLine() {
  facts.bytesDone = bytesDone;
  facts.bytesTotal = bytesTotal;
  line = StatusText(code, facts, line);
  if (code == LinkStatus::UnexpectedError) line = StatusText(LinkStatus::FormatError, facts, line);
}

// A job ends when its code is set, not each time it is shown: one job, one line.
std::vector<EndedJob> StatusBoard::TakeJobs() {
  std::vector<EndedJob> jobs;
  const Lock lock(mutex);
  if (!EndsJob(code) || toldTime == timesSet) return jobs;
  toldTime = timesSet;
  FormLine();
  const std::int64_t bytes = IsTransferEnd(code) ? facts.bytesDone : 0;
  jobs.push_back({code, StatusText(code, facts, line), facts.fileName, {}, note, bytes});
  if (code == LinkStatus::UnexpectedError)
    jobs.push_back({LinkStatus::FormatError, line, facts.fileName, {}, note});
  return jobs;
}

void StatusBoard::TellJobs() {
  for (const EndedJob& job : TakeJobs())
    if (onJob) onJob(job);
}

StatusView StatusBoard::TakeView() {
  const Lock lock(mutex);
  StatusView view;
  const LinkStatus now = code;
  view.code = now;
  FormLine();
  view.line = line;
  view.fileName = facts.fileName;
  if (now == LinkStatus::NoLink) view.reason = linkReason;
  view.activity = ActivityOf(now);
  view.headline = StatusHeadline(now, facts.fileName, line);
  view.note = note;
  view.bytesDone = facts.bytesDone;
  view.bytesTotal = now == LinkStatus::Uploading ? 0 : facts.bytesTotal;
  view.barPosition = barPosition;
  view.barRange = barRange;
  for (std::size_t lamp = 0; lamp < kLampCount; ++lamp)
    view.lamps[lamp] = lamps[lamp];
  return view;
}

} // namespace kor
