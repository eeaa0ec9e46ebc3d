#include "ui/wx/job_list.h"

#include <wx/settings.h>

#include "services/core/text_lookup.h"
#include "ui/transfer_text.h"
#include "ui/wx/accessible.h"
#include "ui/wx/wx_text.h"

namespace kor {

namespace {

constexpr int kLeastColumns = 30;
constexpr int kLeastLines = 5;
constexpr int kLayoutTime = 50; // milliseconds until a new row has its place
constexpr int kMostTries = 10;

// "✓  13:05:12   0000123.MPG   Download Completed - 500 bytes", and what else there is to know
KorText JobText(const EndedJob& job) {
  const bool done = ActivityOf(job.code) == LinkActivity::Done && job.note.IsEmpty();
  const StatusWords apart = TakeApart(job.line, job.fileName);
  const KorText name = apart.name.IsEmpty() ? KorText() : apart.name + u"   ";
  const KorText note = job.note.IsEmpty() ? KorText() : u"   " + job.note;
  return KorText::Format(u"%s  %02i:%02i:%02i   %s%s%s", done ? u"\u2713" : u"\u2717",
                         job.time.hour, job.time.minute, job.time.second, name, apart.words, note);
}

bool SameDay(const SystemTime& a, const SystemTime& b) {
  return a.day == b.day && a.month == b.month && a.year == b.year;
}

} // namespace

JobList::JobList(wxWindow* parent)
    : wxListBox(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, 0, nullptr, wxLB_SINGLE) {
  SetSpokenName(this, LookUpText(kTexts.jobsToday));
  // GTK leaves what lies below the last job unpainted while another window is in front.
  SetBackgroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_LISTBOX));
  layoutTimer.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { OnLayout(); });
  // Without it the list wants more room with each job.
  SetMinSize({GetCharWidth() * kLeastColumns, GetCharHeight() * kLeastLines});
}

void JobList::OnLayout() {
  if (!IsEmpty() && GetTopItem() > 0 && triesLeft > 0) ShowNewest(triesLeft - 1);
}

void JobList::BeginDay(const SystemTime& today) {
  if (SameDay(today, day)) return;
  day = today;
  Clear();
}

void JobList::AddEarlier(const std::vector<EndedJob>& jobs) {
  for (auto job = jobs.rbegin(); job != jobs.rend() && GetCount() < kMostJobs; ++job)
    if (SameDay(job->time, day)) Append(ToWx(JobText(*job)));
}

void JobList::Add(const EndedJob& job) {
  BeginDay(job.time);
  const int top = IsEmpty() || layoutTimer.IsRunning() ? 0 : GetTopItem();
  Insert(ToWx(JobText(job)), 0);
  if (GetCount() > kMostJobs) Delete(GetCount() - 1);
  // Who has scrolled back goes on seeing the same jobs; otherwise the list would stay below the new
  // one.
  if (top == 0)
    ShowNewest(kMostTries);
  else if (GetTopItem() != top + 1)
    SetFirstItem(top + 1);
}

// The toolkit lays the new row out later, and may keep on top what was there.
void JobList::ShowNewest(int tries) {
  EnsureVisible(0);
  triesLeft = tries;
  layoutTimer.StartOnce(kLayoutTime);
}

} // namespace kor
