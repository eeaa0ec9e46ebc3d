#include "ui/wx/monitor_view.h"

#include <algorithm>
#include <string>

#include <wx/filedlg.h>
#include <wx/sizer.h>

#include "files/kor_file.h"
#include "link/manual_transfer.h"
#include "services/core/app_interface.h"
#include "services/core/as_bytes.h"
#include "services/core/text_lookup.h"
#include "ui/wx/accessible.h"
#include "ui/wx/press_button.h"
#include "ui/wx/theme.h"
#include "ui/wx/wx_text.h"

namespace kor {

namespace {

constexpr int kShowPeriod = 200;              // milliseconds; each drawing costs about the same
constexpr std::size_t kMostWaiting = 1 << 20; // characters, while scrolled back
constexpr int kMinimumLines = 4;
constexpr int kLinesAtOnce = 500; // more would hold up the window

// text begins at the beginning of a line. Bytes that arrive are always marked; bytes that are sent
// are not where a test begins.
bool IsSent(const wxString& text, std::size_t at) {
  return text.compare(at, 3, "RX ") != 0;
}

// Returns the text without the lines that would be dropped again at once.
KorText NewestLines(const KorText& text) {
  std::size_t at = text.Length();
  for (int lines = 0; at > 0; --at)
    if (text[at - 1] == u'\n' && ++lines > MonitorView::kMostLines) break;
  return text.Mid(at);
}

// Returns where so many lines end, or the end of the text.
std::size_t EndOfLines(const KorText& text, int lines) {
  std::size_t end = 0;
  while (lines-- > 0 && end != KorText::kNone)
    end = text.Find(u'\n', end) == KorText::kNone ? KorText::kNone : text.Find(u'\n', end) + 1;
  return std::min(end, text.Length());
}

wxTextAttr StyleOf(bool sent, const wxFont& font) {
  wxTextAttr style(ColourOf(sent ? kSentText : kGoodText));
  style.SetFont(sent ? font.Bold() : font);
  return style;
}

} // namespace

MonitorView::MonitorView(wxWindow* parent, Mnemonics& mnemonics)
    : wxPanel(parent), showTimer(this) {
  text = new wxTextCtrl(this, wxID_ANY, {}, wxDefaultPosition, wxDefaultSize,
                        wxTE_MULTILINE | wxTE_READONLY | wxTE_RICH2 | wxTE_DONTWRAP);
  text->SetFont(wxFont(wxFontInfo().Family(wxFONTFAMILY_TELETYPE)));
  text->SetMinSize({-1, text->GetCharHeight() * kMinimumLines});
  SetSpokenName(text, LookUpText(kTexts.monitor));
  auto* const column = new wxBoxSizer(wxVERTICAL);
  column->Add(text, wxSizerFlags(1).Expand());
  column->Add(MakeTools(mnemonics), wxSizerFlags().Expand().Border(wxTOP, FromDIP(4)));
  remark = MakePlainText(this, wxID_ANY);
  remark->Hide();
  column->Add(remark, wxSizerFlags().Expand().ReserveSpaceEvenIfHidden());
  SetSizer(column);
  Bind(wxEVT_TIMER, [this](wxTimerEvent&) { ShowWaiting(); });
}

wxSizer* MonitorView::MakeTools(Mnemonics& mnemonics) {
  auto* const row = new wxBoxSizer(wxHORIZONTAL);
  const auto add = [&](const UserText& label, auto action) {
    auto* const button = MakePressButton(this, wxID_ANY, LookUpText(label), mnemonics);
    button->Bind(wxEVT_BUTTON, [action](wxCommandEvent&) { action(); });
    row->Add(button, wxSizerFlags().Border(wxRIGHT, FromDIP(4)));
  };
  add(kTexts.clearMonitor, [this] { Clear(); });
  add(kTexts.saveMonitor, [this] { CallAfter([this] { ChooseFile(); }); });
  wanted = new wxTextCtrl(this, wxID_ANY, {}, wxDefaultPosition, FromDIP(wxSize(90, -1)),
                          wxTE_PROCESS_ENTER);
  SetSpokenName(wanted, LookUpText(kTexts.textToFind), LookUpText(kTexts.textToFind));
  wanted->SetHint(ToWx(LookUpText(kTexts.textToFind)));
  wanted->Bind(wxEVT_TEXT_ENTER, [this](wxCommandEvent&) { Find(); });
  wanted->Bind(wxEVT_TEXT, [this](wxCommandEvent&) { SayNotFound(false); });
  row->Add(wanted, wxSizerFlags(1).CentreVertical().Border(wxRIGHT, FromDIP(4)));
  add(kTexts.find, [this] { Find(); });
  return row;
}

void MonitorView::Append(const KorText& newText) {
  waiting += newText;
  if (waiting.Length() > kMostWaiting) {
    const std::size_t end = waiting.Find(u'\n', waiting.Length() / 2);
    waiting = end == KorText::kNone ? KorText() : waiting.Mid(end + 1);
  }
  if (!waiting.IsEmpty() && !showTimer.IsRunning()) showTimer.StartOnce(kShowPeriod);
}

bool MonitorView::IsScrolledBack() const {
  const int range = text->GetScrollRange(wxVERTICAL), thumb = text->GetScrollThumb(wxVERTICAL);
  if (thumb <= 0 || range <= thumb) return false;
  return text->GetScrollPos(wxVERTICAL) + thumb + 2 * text->GetCharHeight() < range;
}

void MonitorView::ShowWaiting() {
  if (waiting.IsEmpty()) return;
  if (IsScrolledBack() && text->IsShownOnScreen()) {
    showTimer.StartOnce(kShowPeriod * 4); // until somebody scrolls to the end
    SayPaused(true);
    return;
  }
  SayPaused(false);
  long from = 0, to = 0; // adding text takes a selection away
  text->GetSelection(&from, &to);
  // The control is not frozen meanwhile, because thawing makes the toolkit lay out all lines anew.
  const KorText newest = NewestLines(waiting);
  if (newest.Length() < waiting.Length()) atLineStart = true;
  const KorText some = newest.Left(EndOfLines(newest, kLinesAtOnce));
  waiting = newest.Mid(some.Length());
  if (!waiting.IsEmpty()) showTimer.StartOnce(kShowPeriod);
  AppendInStyle(ToWx(some));
  const long dropped = DropOldest();
  if (from != to) text->SetSelection(std::max(from - dropped, 0L), std::max(to - dropped, 0L));
  text->ShowPosition(text->XYToPosition(0, text->GetNumberOfLines() - 1));
}

// A line keeps the style of its beginning. All text is added at once and its sent lines are styled
// afterwards, because the toolkit lays out and scrolls at each addition.
void MonitorView::AppendInStyle(const wxString& added) {
  const long start = text->GetLastPosition();
  text->SetDefaultStyle(StyleOf(false, text->GetFont()));
  text->AppendText(added);
  const wxTextAttr sent = StyleOf(true, text->GetFont());
  for (std::size_t at = 0, end = 0; at < added.length(); at = end) {
    if (atLineStart) sentLine = IsSent(added, at);
    do {
      end = std::min(added.find('\n', end), added.length() - 1) + 1;
      atLineStart = added[end - 1] == '\n';
    } while (end < added.length() && IsSent(added, end) == sentLine);
    if (sentLine)
      text->SetStyle(start + static_cast<long>(at), start + static_cast<long>(end), sent);
  }
}

long MonitorView::DropOldest() {
  const int surplus = text->GetNumberOfLines() - 1 - kMostLines;
  const long end = surplus > 0 ? text->XYToPosition(0, surplus) : 0;
  if (end > 0) text->Remove(0, end);
  return end;
}

void MonitorView::Clear() {
  waiting.Clear();
  text->Clear();
  SayPaused(false);
  atLineStart = true;
  SayNotFound(false);
}

bool MonitorView::Save(const KorText& path) const {
  const std::string bytes = (FromWx(text->GetValue()) + waiting).ToUtf8();
  KorFile file(path);
  return file.OpenSafe() && file.Write(AsBytes(bytes)) == bytes.size() && file.Commit();
}

bool MonitorView::FindNext(const wxString& wantedText) {
  if (wantedText.empty()) return false;
  long from = 0, to = 0;
  text->GetSelection(&from, &to);
  const wxString all = text->GetValue().Lower();
  const wxString looked = wantedText.Lower();
  const auto start = static_cast<std::size_t>(from == to ? from : from + 1);
  std::size_t at = all.find(looked, start);
  if (at == wxString::npos) at = all.find(looked);
  if (at == wxString::npos) return false;
  text->SetSelection(static_cast<long>(at), static_cast<long>(at + looked.length()));
  text->ShowPosition(static_cast<long>(at));
  return true;
}

void MonitorView::ChooseFile() {
  const KorText caption = LookUpText(kTexts.saveLogFileAs);
  const SystemTime now = App().LocalTime();
  const KorText name = KorText::Format(u"monitor-%04i-%02i-%02i-%02i%02i.log", now.year, now.month,
                                       now.day, now.hour, now.minute);
  wxFileDialog chooser(this, ToWx(caption), {}, ToWx(name),
                       ToWx(FileFilters(LookUpText(kTexts.logFiles), u"log")),
                       wxFD_SAVE | wxFD_OVERWRITE_PROMPT);
  if (chooser.ShowModal() != wxID_OK) return;
  const KorText path = FromWx(chooser.GetPath());
  if (Save(path)) return;
  const KorText reason = App().ErrorText(App().LastError());
  App().Report({MessageLevel::Warn, caption,
                KorText::Format(LookUpText(kTexts.monitorNotSaved), path), reason, 0});
}

void MonitorView::Find() {
  SayNotFound(!wanted->IsEmpty() && !FindNext(wanted->GetValue()));
}

void MonitorView::SayNotFound(bool said) {
  isNotFound = said;
  Say();
}

void MonitorView::SayPaused(bool said) {
  isPaused = said;
  Say();
}

void MonitorView::Say() {
  const wxString words = isNotFound ? ToWx(LookUpText(kTexts.textNotFound))
                         : isPaused ? ToWx(LookUpText(kTexts.monitorPaused))
                                    : wxString();
  if (remark->GetLabelText() == words) return;
  remark->SetForegroundColour(ColourOf(isNotFound ? kFailedText : kQuietText));
  remark->SetLabelText(words);
  remark->Show(!words.empty());
}

} // namespace kor
