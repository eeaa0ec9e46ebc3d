#include "ui/wx/side_windows.h"

#include <algorithm>

#include <wx/artprov.h>
#include <wx/sizer.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>

#include "services/core/text_lookup.h"
#include "ui/wx/accessible.h"
#include "ui/wx/native_dialogs.h"
#include "ui/wx/press_button.h"
#include "ui/wx/wx_text.h"

namespace kor {

namespace {

constexpr int kTextWidth = 360; // device-independent pixels
constexpr int kGap = 12;
constexpr std::size_t kMostMessages = 10; // nobody may look for months

// Makes a row of a sign and the words, in lines.
wxSizer* MakeWords(wxDialog* window, const wxArtID& art, const KorText& text) {
  auto* const row = new wxBoxSizer(wxHORIZONTAL);
  row->Add(
      new wxStaticBitmap(window, wxID_ANY, wxArtProvider::GetBitmapBundle(art, wxART_MESSAGE_BOX)),
      wxSizerFlags().Border(wxRIGHT, window->FromDIP(kGap)));
  auto* const words = MakePlainText(window, wxID_ANY);
  words->SetLabelText(InLines(text, *words, window->FromDIP(kTextWidth)));
  row->Add(words, wxSizerFlags(1).CentreVertical());
  return row;
}

wxDialog* MakeMessage(wxWindow* parent, const KorText& caption, const KorText& text,
                      MessageStyle style) {
  auto* const window = new wxDialog(parent, wxID_ANY, ToWx(caption));
  SpeakAsDialog(window);
  const wxArtID art = style == MessageStyle::Exclamation ? wxART_WARNING : wxART_INFORMATION;
  Mnemonics mnemonics;
  auto* const ok =
      MakePressButton(window, wxID_OK, LookUpText(kTexts.ok), mnemonics, kOperatorHeight);
  ok->Bind(wxEVT_BUTTON, [window](wxCommandEvent&) {
    if (window->IsModal())
      window->EndModal(wxID_OK);
    else
      window->Close();
  });
  ok->SetDefault();
  window->SetEscapeId(wxID_OK);
  auto* const column = new wxBoxSizer(wxVERTICAL);
  column->Add(MakeWords(window, art, text),
              wxSizerFlags(1).Expand().Border(wxALL, window->FromDIP(kGap)));
  column->Add(ok,
              wxSizerFlags().Right().Border(wxLEFT | wxRIGHT | wxBOTTOM, window->FromDIP(kGap)));
  window->SetSizerAndFit(column);
  window->CentreOnParent();
  return window;
}

class QuestionWindow : public wxDialog {
 public:
  QuestionWindow(wxWindow* parent, const Question& question)
      : wxDialog(parent, wxID_ANY, parent->GetLabel()) {
    SpeakAsDialog(this);
    wxButton* const goOn = MakeChoice(wxID_NO, question.goOn);
    wxButton* const act = MakeChoice(wxID_YES, question.act);
    const auto gap = wxSizerFlags().Border(wxLEFT, FromDIP(kGap));
    auto* const buttons = new wxBoxSizer(wxHORIZONTAL);
    buttons->Add(goOn, gap);
    buttons->Add(act, gap);
    auto* const column = new wxBoxSizer(wxVERTICAL);
    column->Add(MakeWords(this, wxART_QUESTION, question.text),
                wxSizerFlags(1).Expand().Border(wxALL, FromDIP(kGap)));
    column->Add(buttons, wxSizerFlags().Right().Border(wxRIGHT | wxBOTTOM, FromDIP(kGap)));
    SetSizerAndFit(column);
    SetEscapeId(wxID_NO);
    goOn->SetDefault();
    goOn->SetFocus();
    CentreOnParent();
  }

 private:
  wxButton* MakeChoice(int answer, const KorText& label) {
    auto* const button = MakePressButton(this, answer, label, mnemonics, kOperatorHeight);
    button->Bind(wxEVT_BUTTON, [this, answer](wxCommandEvent&) { EndModal(answer); });
    return button;
  }

  Mnemonics mnemonics;
};

} // namespace

void MessageWindows::Show(const KorText& caption, const KorText& text, MessageStyle style) {
  const auto same = std::ranges::find(open, text, &Shown::text);
  if (same != open.end()) {
    same->window->SetTitle(ToWx(caption));
    same->window->Raise();
    return;
  }
  if (open.size() == kMostMessages) open.front().window->Close();
  wxDialog* const window = MakeMessage(parent, caption, text, style);
  open.push_back({text, window});
  window->Bind(wxEVT_CLOSE_WINDOW, [this, window](wxCloseEvent&) {
    Forget(window);
    window->Destroy();
  });
  LetBeAnswered(window);
  window->Show();
}

void MessageWindows::Forget(const wxDialog* window) {
  std::erase_if(open, [window](const Shown& shown) { return shown.window == window; });
}

void ShowAlone(const KorText& caption, const KorText& text) {
  wxDialog* const window = MakeMessage(nullptr, caption, text, MessageStyle::Exclamation);
  window->CallAfter(
      [window] { window->CentreOnScreen(); }); // where the window manager would not do it
  window->ShowModal();
  window->Destroy();
}

wxDialog* MakeEndWindow(wxWindow* parent, const KorText& caption, const KorText& text,
                        const std::vector<EndChoice>& choices) {
  auto* const window = new wxDialog(parent, wxID_ANY, ToWx(caption));
  SpeakAsDialog(window);
  auto* const row = new wxBoxSizer(wxHORIZONTAL);
  Mnemonics mnemonics;
  for (const EndChoice& choice : choices) {
    auto* const button =
        MakePressButton(window, wxID_ANY, choice.label, mnemonics, kOperatorHeight);
    button->Bind(wxEVT_BUTTON, [action = choice.action](wxCommandEvent&) { action(); });
    row->Add(button, wxSizerFlags().Border(wxRIGHT, window->FromDIP(kGap)));
  }
  auto* const words = MakePlainText(window, wxID_ANY);
  words->SetLabelText(InLines(text, *words, window->FromDIP(kTextWidth)));
  auto* const column = new wxBoxSizer(wxVERTICAL);
  column->Add(words, wxSizerFlags().Border(wxALL, window->FromDIP(kGap)));
  column->Add(row, wxSizerFlags().Right().Border(wxLEFT | wxBOTTOM, window->FromDIP(kGap)));
  window->SetSizerAndFit(column);
  window->Bind(wxEVT_CLOSE_WINDOW, [window](wxCloseEvent&) { window->Hide(); });
  return window;
}

bool Ask(wxWindow* parent, const Question& question) {
  return QuestionWindow(parent, question).ShowModal() == wxID_YES;
}

void WithdrawQuestion() {
  for (wxWindow* const window : wxTopLevelWindows)
    if (auto* const asked = dynamic_cast<QuestionWindow*>(window); asked && asked->IsModal())
      asked->EndModal(wxID_NO);
}

// The toolkit ends only the innermost of its loops, and lists its windows in the order in which
// they were made.
bool CancelInnermostModal() {
  if (CancelNativeDialogs()) return true;
  wxDialog* innermost = nullptr;
  for (wxWindow* const window : wxTopLevelWindows)
    if (auto* const dialog = dynamic_cast<wxDialog*>(window); dialog && dialog->IsModal())
      innermost = dialog;
  if (innermost) innermost->EndModal(wxID_CANCEL);
  return innermost != nullptr;
}

} // namespace kor
