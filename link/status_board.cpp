#include "link/status_board.h"

namespace kor {

StatusBoard::StatusBoard(std::function<void(const EndedJob&)> jobReceiver)
    : onJob(std::move(jobReceiver)) {}

void StatusBoard::Set(LinkStatus newCode) {
  const Lock lock(mutex);
  code = newCode;
  ++timesSet;
}

void StatusBoard::SetFileName(const KorText& name) {
  const Lock lock(mutex);
  facts.fileName = name;
}

void StatusBoard::SetMachine(const KorText& machine, bool serverRole) {
  const Lock lock(mutex);
  facts.machineName = machine;
  facts.serverRole = serverRole;
}

void StatusBoard::SetProgress(std::int64_t position, std::int64_t range) {
  progress = position;
  progressRange = range;
}

KorText StatusBoard::FormLine(LinkStatus now) {
  facts.count = count;
  facts.total = total;
  // A job ends when its code is set, not each time it is shown: one job, one line.
  const bool toLog = EndsJob(now) && loggedTime != timesSet;
  loggedTime = timesSet;
  line = StatusText(now, facts, line);
  if (toLog) TellJob(now);
  if (now == LinkStatus::UnexpectedError) {
    // Intended: the display ends on the file format error, and the job log gets both lines.
    line = StatusText(LinkStatus::FormatError, facts, line);
    if (toLog) TellJob(LinkStatus::FormatError);
  }
  return line;
}

void StatusBoard::TellJob(LinkStatus ended) {
  if (onJob) onJob({ended, line, facts.fileName, {}});
}

StatusView StatusBoard::TakeView() {
  const Lock lock(mutex);
  StatusView view;
  const LinkStatus now = code;
  view.code = now;
  view.line = FormLine(now);
  view.fileName = facts.fileName;
  view.activity = ActivityOf(now);
  view.headline = StatusHeadline(now, facts.fileName, line);
  view.bytes = facts.count;
  view.size = now == LinkStatus::Uploading ? 0 : facts.total;
  view.count = progress;
  view.range = progressRange;
  for (std::size_t lamp = 0; lamp < kLampCount; ++lamp)
    view.lamps[lamp] = lamps[lamp];
  return view;
}

} // namespace kor
