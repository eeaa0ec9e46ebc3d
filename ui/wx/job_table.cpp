#include "ui/wx/job_table.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <wx/sizer.h>

#include "services/core/text_lookup.h"
#include "ui/state_words.h"
#include "ui/wx/accessible.h"
#include "ui/wx/native_look.h"
#include "ui/wx/signs.h"
#include "ui/wx/theme.h"
#include "ui/wx/wx_text.h"

namespace kor {

namespace {

enum Column : unsigned { kSign, kArrow, kTime, kProgram, kResult, kBytes };
enum RowKind : wxUIntPtr { kGoodJob, kFailedJob, kNoJobs, kDate };

constexpr int kRowHeight = 32; // device-independent pixels
// The toolkit makes rows as high as their contents, with some pixels around them.
constexpr int kSignSide = kRowHeight - 2, kSignWidth = 36;
constexpr int kLeastResult = 120, kLeastRows = 3;
constexpr int kLayoutTime = 50; // milliseconds until a new row has its place
constexpr int kGap = 4;
constexpr int kPadding = 16; // of a cell, with what the toolkit puts around its text

bool IsSameDay(const SystemTime& a, const SystemTime& b) {
  return a.day == b.day && a.month == b.month && a.year == b.year;
}

std::chrono::sys_days DayOf(const SystemTime& time) {
  return std::chrono::year(time.year) / time.month / time.day;
}

wxString TimeWords(const SystemTime& time) {
  return ToWx(KorText::Format(u"%02i:%02i:%02i", time.hour, time.minute, time.second));
}

wxVariant SignCell(const wxBitmapBundle& sign) {
  wxVariant cell;
  cell << sign;
  return cell;
}

// This picture has the size of the others, because the toolkit takes the height of all rows from
// the first.
wxBitmapBundle NoSign() {
  return DrawnCell(Sign::Idle, wxColour(0, 0, 0, 0), kSignSide);
}

wxBitmapBundle Arrow(LinkStatus code) {
  const Direction direction = ShownDirection(code);
  if (direction == Direction::None) return NoSign();
  return DrawnCell(direction == Direction::ToMachine ? Sign::Sending : Sign::Receiving,
                   ColourOf(kQuietText), kSignSide);
}

wxUIntPtr KindOf(const EndedJob& job) {
  return IsGood(job) ? kGoodJob : kFailedJob;
}

bool StandsOut(wxUIntPtr kind) {
  return kind == kFailedJob || kind == kDate;
}

} // namespace

// Colour makes rows stand out; the words say the same.
class JobTable::Store : public wxDataViewListStore {
 public:
  bool GetAttrByRow(unsigned row, unsigned column, wxDataViewItemAttr& look) const override {
    const wxUIntPtr kind = GetItemData(GetItem(row));
    look.SetBold(column == kProgram || (column == kResult && StandsOut(kind)));
    if (kind == kFailedJob && column == kResult) look.SetColour(ColourOf(kFailedText));
    return true;
  }
};

JobTable::JobTable(wxWindow* parent) : wxPanel(parent) {
  const KorText name = LookUpText(kTexts.jobsToday);
  caption = MakePlainText(this, wxID_ANY, ToLabel(name));
  caption->SetFont(GetFont().Bold());
  counts = MakePlainText(this, wxID_ANY);
  list = new wxDataViewListCtrl(this, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                                wxDV_SINGLE | wxDV_ROW_LINES);
  const wxObjectDataPtr<Store> store(new Store);
  list->AssociateModel(store.get());
  list->SetRowHeight(FromDIP(kRowHeight));
  list->SetMinSize(FromDIP(wxSize(kLeastResult, kRowHeight * kLeastRows)));
  SetSpokenName(list, name);
  MakeColumns();
  auto* const heading = new wxBoxSizer(wxHORIZONTAL);
  heading->Add(caption, wxSizerFlags().CentreVertical());
  heading->AddStretchSpacer();
  heading->Add(counts, wxSizerFlags().CentreVertical());
  auto* const column = new wxBoxSizer(wxVERTICAL);
  column->Add(heading, wxSizerFlags().Expand());
  column->Add(list, wxSizerFlags(1).Expand().Border(wxTOP, FromDIP(kGap)));
  SetSizer(column);
  placeTimer.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { KeepPlace(); });
  list->Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
    FitColumns();
    CallAfter([this] { LayOutAgain(list); });
    event.Skip();
  });
  Build();
}

void JobTable::MakeColumns() {
  constexpr int kFixed = 0; // a column's width is not the user's to change
  otherColumns = 2 * FromDIP(kSignWidth);
  for (const unsigned column : {kSign, kArrow})
    list->AppendColumn(new wxDataViewColumn("", new wxDataViewBitmapRenderer, column,
                                            FromDIP(kSignWidth), wxALIGN_CENTRE, kFixed),
                       wxDataViewBitmapRenderer::GetDefaultType());
  const auto text = [&](const UserText& name, const char* widest, wxAlignment align) {
    const wxString title = ToWx(LookUpText(name));
    const int needed =
        std::max(GetTextExtent(widest).x, GetTextExtent(title).x) + FromDIP(kPadding);
    if (name.number != kTexts.jobsResult.number) otherColumns += needed;
    return list->AppendTextColumn(title, wxDATAVIEW_CELL_INERT, needed, align, kFixed);
  };
  text(kTexts.jobsTime, "00:00:00", wxALIGN_LEFT);
  text(kTexts.jobsProgram, "0000000000", wxALIGN_LEFT);
  result = text(kTexts.jobsResult, "", wxALIGN_LEFT);
  text(kTexts.jobsBytes, "0 000 000", wxALIGN_RIGHT);
}

// The result in words gets the width that the other columns leave, and more where it needs that:
// the table scrolls then.
void JobTable::FitColumns() {
  const int left = list->GetClientSize().x - FromDIP(kPadding) - otherColumns;
  const int width = std::max({left, FromDIP(kLeastResult), widestResult});
  if (result->GetWidth() != width) result->SetWidth(width);
}

void JobTable::MakeRoomFor(const wxString& words, wxUIntPtr kind) {
  const wxFont font = StandsOut(kind) ? GetFont().Bold() : GetFont();
  int width = 0;
  GetTextExtent(words, &width, nullptr, nullptr, nullptr, &font);
  widestResult = std::max(widestResult, width + FromDIP(kPadding));
  FitColumns();
}

// The words that there are no jobs need no room any more, either.
void JobTable::TakeBackNoJobs() {
  list->DeleteItem(0);
  widestResult = 0;
  for (const EndedJob& job : jobs)
    MakeRoomFor(ToWx(ResultText(job)), KindOf(job));
}

void JobTable::Insert(unsigned row, const EndedJob& job) {
  const bool isGood = IsGood(job);
  wxVector<wxVariant> cells;
  cells.push_back(SignCell(DrawnCell(isGood ? Sign::Done : Sign::Failed,
                                     ColourOf(isGood ? kGoodText : kFailedText), kSignSide)));
  cells.push_back(SignCell(Arrow(job.code)));
  cells.push_back(TimeWords(job.time));
  cells.push_back(ToWx(ProgramName(job.fileName)));
  const wxString words = ToWx(ResultText(job));
  cells.push_back(words);
  cells.push_back(job.bytes > 0 ? ToWx(GroupedDigits(job.bytes)) : wxString());
  list->InsertItem(row, cells, KindOf(job));
  MakeRoomFor(words, KindOf(job));
}

void JobTable::InsertWords(unsigned row, const wxString& words, wxUIntPtr kind) {
  wxVector<wxVariant> cells;
  cells.push_back(SignCell(NoSign()));
  cells.push_back(SignCell(NoSign()));
  for (const wxString& text : {wxString(), wxString(), words, wxString()})
    cells.push_back(text);
  list->InsertItem(row, cells, kind);
  MakeRoomFor(words, kind);
}

bool JobTable::IsOfToday(const EndedJob& job) const {
  return IsSameDay(job.time, day);
}

std::size_t JobTable::CountOfToday() const {
  return static_cast<std::size_t>(
      std::ranges::count_if(jobs, [this](const EndedJob& job) { return IsOfToday(job); }));
}

void JobTable::Build() {
  list->DeleteAllItems();
  widestResult = 0;
  unsigned row = 0;
  if (CountOfToday() == 0) InsertWords(row++, ToWx(LookUpText(kTexts.jobsNone)), kNoJobs);
  bool dated = false;
  for (const EndedJob& job : jobs) {
    const SystemTime& then = job.time;
    if (!IsOfToday(job) && !std::exchange(dated, true))
      InsertWords(row++, ToWx(KorText::Format(u"%04i-%02i-%02i", then.year, then.month, then.day)),
                  kDate);
    Insert(row++, job);
  }
  ShowCounts();
}

void JobTable::BeginDay(const SystemTime& today) {
  if (IsSameDay(today, day)) return;
  day = today;
  std::erase_if(jobs, [this](const EndedJob& job) {
    const auto age = DayOf(day) - DayOf(job.time);
    return age < std::chrono::days(0) || age > std::chrono::days(1);
  });
  Build();
}

void JobTable::AddEarlier(const std::vector<EndedJob>& earlier) {
  for (auto job = earlier.rbegin(); job != earlier.rend() && jobs.size() < kMostJobs; ++job) {
    const auto age = DayOf(day) - DayOf(job->time);
    if (age >= std::chrono::days(0) && age <= std::chrono::days(1)) jobs.push_back(*job);
  }
  Build();
}

void JobTable::Add(const EndedJob& job) {
  BeginDay(job.time);
  const bool isScrolledBack = list->ItemToRow(list->GetTopItem()) > 0;
  if (isScrolledBack && !placeTimer.IsRunning()) kept = list->GetTopItem();
  if (CountOfToday() == 0) TakeBackNoJobs();
  jobs.push_front(job);
  Insert(0, job);
  if (jobs.size() > kMostJobs) {
    jobs.pop_back();
    list->DeleteItem(static_cast<unsigned>(list->GetItemCount()) - 1);
  }
  if (isScrolledBack)
    placeTimer.StartOnce(kLayoutTime);
  else
    list->EnsureVisible(list->RowToItem(0));
  ShowCounts();
}

// A user who has scrolled back goes on seeing the same jobs. Some toolkits see to that themselves
// when they lay out the new row, which is later.
void JobTable::KeepPlace() {
  const int row = list->ItemToRow(kept);
  if (row < 0 || list->ItemToRow(list->GetTopItem()) >= row) return;
  const int last = row + std::max(list->GetCountPerPage(), 1) - 1;
  list->EnsureVisible(list->RowToItem(std::min(last, list->GetItemCount() - 1)));
}

void JobTable::ShowCounts() {
  const auto today = CountOfToday();
  const auto good = std::ranges::count_if(
      jobs, [this](const EndedJob& job) { return IsOfToday(job) && IsGood(job); });
  const wxString words = today == 0 ? wxString()
                                    : ToWx(KorText::Format(LookUpText(kTexts.jobsCounts), good,
                                                           static_cast<long>(today) - good));
  if (counts->GetLabelText() == words) return;
  counts->SetLabelText(words);
  Layout();
}

void JobTable::ApplyLook() {
  caption->SetFont(GetFont().Bold());
  Build();
}

} // namespace kor
