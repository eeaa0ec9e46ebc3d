#include "ui/wx/monitor_view.h"

#include <algorithm>
#include <string>

#include <wx/button.h>
#include <wx/filedlg.h>
#include <wx/sizer.h>

#include "files/simple_file.h"
#include "link/manual_transfer.h"
#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"
#include "ui/wx/accessible.h"
#include "ui/wx/signs.h"
#include "ui/wx/wx_text.h"

namespace kor {

namespace {

constexpr int kShowPeriod = 200;              // milliseconds; each drawing costs about the same
constexpr std::size_t kMostWaiting = 1 << 20; // characters, while scrolled back
constexpr int kMinimumLines = 4;

wxTextAttr StyleOf(bool sent, const wxFont& font) {
  wxTextAttr style(ColourOf(sent ? Sign::Busy : Sign::Done));
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
  SetSpokenName(text, LookUpText(15209, u"Monitor"));
  auto* const column = new wxBoxSizer(wxVERTICAL);
  column->Add(text, wxSizerFlags(1).Expand());
  column->Add(MakeTools(mnemonics), wxSizerFlags().Expand().Border(wxTOP, FromDIP(4)));
  SetSizer(column);
  Bind(wxEVT_TIMER, [this](wxTimerEvent&) { ShowWaiting(); });
}

wxSizer* MonitorView::MakeTools(Mnemonics& mnemonics) {
  auto* const row = new wxBoxSizer(wxHORIZONTAL);
  const auto add = [&](int number, const char16_t* label, auto action) {
    const KorText name = LookUpText(number, label);
    auto* const button = new wxButton(this, wxID_ANY, mnemonics.Label(name));
    SetSpokenName(button, name);
    button->Bind(wxEVT_BUTTON, [action](wxCommandEvent&) { action(); });
    row->Add(button, wxSizerFlags().Border(wxRIGHT, FromDIP(4)));
  };
  add(15560, u"Clear", [this] { Clear(); });
  add(15561, u"Save...", [this] { CallAfter([this] { ChooseFile(); }); });
  wanted = new wxTextCtrl(this, wxID_ANY, {}, wxDefaultPosition, FromDIP(wxSize(90, -1)),
                          wxTE_PROCESS_ENTER);
  SetSpokenName(wanted, LookUpText(15563, u"Text to find in the monitor"),
                LookUpText(15563, u"Text to find in the monitor"));
  wanted->Bind(wxEVT_TEXT_ENTER, [this](wxCommandEvent&) { Find(); });
  wanted->Bind(wxEVT_TEXT, [this](wxCommandEvent&) { SayNotFound(false); });
  row->Add(wanted, wxSizerFlags(1).Expand().Border(wxRIGHT, FromDIP(4)));
  notFound = new wxStaticText(this, wxID_ANY, ToWx(LookUpText(15569, u"not found")));
  notFound->SetForegroundColour(ColourOf(Sign::Failed));
  notFound->Hide();
  row->Add(notFound, wxSizerFlags().CentreVertical().Border(wxRIGHT, FromDIP(4)));
  add(15562, u"Find", [this] { Find(); });
  return row;
}

void MonitorView::Append(const KorText& newText) {
  waiting += newText;
  if (waiting.Length() > kMostWaiting) waiting.Remove(0, waiting.Length() / 2);
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
    return;
  }
  long from = 0, to = 0; // adding text takes a selection away
  text->GetSelection(&from, &to);
  // Not frozen meanwhile: thawing has the toolkit lay out all lines anew.
  const wxString added = ToWx(waiting);
  waiting.Clear();
  const long start = text->GetLastPosition();
  text->SetDefaultStyle(StyleOf(false, text->GetFont()));
  text->AppendText(added);
  MarkSentLines(start, added);
  const long dropped = DropOldest();
  if (from != to) text->SetSelection(std::max(from - dropped, 0L), std::max(to - dropped, 0L));
  text->ShowPosition(text->XYToPosition(0, text->GetNumberOfLines() - 1));
}

// A line keeps the style of its beginning.
void MonitorView::MarkSentLines(long start, const wxString& added) {
  const wxTextAttr sent = StyleOf(true, text->GetFont());
  for (std::size_t at = 0; at < added.length();) {
    const std::size_t end = std::min(added.find('\n', at), added.length() - 1) + 1;
    if (atLineStart) sentLine = added.compare(at, 2, "TX") == 0;
    if (sentLine)
      text->SetStyle(start + static_cast<long>(at), start + static_cast<long>(end), sent);
    atLineStart = added[end - 1] == '\n';
    at = end;
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
  atLineStart = true;
  SayNotFound(false);
}

bool MonitorView::Save(const KorText& path) const {
  const std::string bytes = (FromWx(text->GetValue()) + waiting).ToUtf8();
  KorFile file(path);
  return file.OpenSafe() &&
         file.Write({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}) ==
             bytes.size() &&
         file.Commit();
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
  const KorText caption = LookUpText(15314, u"Save Log File As");
  wxFileDialog chooser(this, ToWx(caption), {}, {},
                       ToWx(FileFilters(LookUpText(15315, u"Log files"), u"log")),
                       wxFD_SAVE | wxFD_OVERWRITE_PROMPT);
  if (chooser.ShowModal() != wxID_OK) return;
  const KorText path = FromWx(chooser.GetPath());
  if (Save(path)) return;
  const KorText reason = App().ErrorText(App().LastError());
  App().Report(
      {MessageLevel::Warn, caption,
       KorText::Format(LookUpText(15568, u"The monitor could not be saved in \"%s\". Choose a "
                                         u"folder that you may write to, with room on its "
                                         u"disk."),
                       path),
       reason, 0});
}

void MonitorView::Find() {
  SayNotFound(!wanted->IsEmpty() && !FindNext(wanted->GetValue()));
}

void MonitorView::SayNotFound(bool said) {
  if (notFound->Show(said)) Layout();
}

} // namespace kor
