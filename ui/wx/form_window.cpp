#include "ui/wx/form_window.h"

#include <algorithm>
#include <set>

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/combobox.h>
#include <wx/dirdlg.h>
#include <wx/filedlg.h>
#include <wx/settings.h>
#include <wx/sizer.h>
#include <wx/spinctrl.h>
#include <wx/statbox.h>

#include "services/core/text_lookup.h"
#include "ui/wx/accessible.h"
#include "ui/wx/screen_room.h"
#include "ui/wx/signs.h"
#include "ui/wx/wx_text.h"

namespace kor {

namespace {

constexpr int kNoteWidth = 380; // device-independent pixels; so below
constexpr int kTextWidth = 220;
constexpr int kChoiceWidth = 120;
constexpr int kBrowseWidth = 40; // for a finger, too
constexpr int kGap = 6;
constexpr int kScrollStep = 16;
constexpr std::size_t kOneColumn = 8; // fields that still stand below one another
constexpr int kAcceptButton = 1;      // the numbers of the two buttons
constexpr int kDiscardButton = 2;
constexpr int kLookPeriod = 500; // milliseconds between two looks for an obstacle

bool IsPath(FieldKind kind) {
  return kind == FieldKind::FolderPath || kind == FieldKind::FilePath;
}

template <class Control> void AddChoices(Control* control, const FormField& field) {
  for (const KorText& choice : field.shown.empty() ? field.choices : field.shown)
    control->Append(ToWx(choice));
  control->SetMinSize(control->FromDIP(wxSize(kChoiceWidth, -1)));
}

wxWindow* MakeChoice(const FormField& field, wxWindow* parent) {
  if (field.editable) {
    auto* const combo = new wxComboBox(parent, field.number);
    AddChoices(combo, field);
    combo->SetValue(ToWx(field.value));
    return combo;
  }
  auto* const choice = new wxChoice(parent, field.number);
  AddChoices(choice, field);
  // A value from an older file that no list holds is kept as long as nobody chooses another.
  const auto listed = std::ranges::find(field.choices, field.value);
  choice->SetSelection(listed != field.choices.end()
                           ? static_cast<int>(listed - field.choices.begin())
                           : choice->Append(ToWx(field.value)));
  return choice;
}

KorText ChosenValue(const FormField& field, int selection) {
  const auto at = static_cast<std::size_t>(selection);
  return selection >= 0 && at < field.choices.size() ? field.choices[at] : field.value;
}

} // namespace

FormWindow::FormWindow(wxWindow* parent, FormDescription& description)
    : wxDialog(parent, wxID_ANY, ToWx(description.caption), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      form(description), looks(this) {
  if (!form.name.IsEmpty()) SetName(ToWx(form.name));
  SpeakAsDialog(this);
  auto* const column = new wxBoxSizer(wxVERTICAL);
  MakePage();
  column->Add(page, wxSizerFlags(1).Expand().Border(wxALL, FromDIP(kGap * 2)));
  obstacle = MakeProblem(this);
  column->Add(obstacle, wxSizerFlags().Expand().Border(wxLEFT | wxRIGHT, FromDIP(kGap * 2)));
  column->Add(MakeButtons(), wxSizerFlags().Expand().Border(wxALL, FromDIP(kGap)));
  SetSizer(column);
  FitToScreen();
  building = false;
  ShowEnabled();
  ShowObstacle();
  Bind(wxEVT_TIMER, [this](wxTimerEvent&) { ShowObstacle(); });
  if (form.check) looks.Start(kLookPeriod);
  if (!form.fields.empty()) rows[form.fields.front().number].control->SetFocus();
  CentreOnParent();
}

FormWindow::~FormWindow() {
  *self = nullptr;
}

wxSizer* FormWindow::MakeButtons() {
  const auto make = [this](int number, const KorText& label) {
    auto* const button = new wxButton(this, number, mnemonics.Label(label));
    SetSpokenName(button, label);
    return button;
  };
  auto* const ok = make(kAcceptButton, LookUpText(kTexts.okButton));
  auto* const cancel = make(kDiscardButton, LookUpText(kTexts.cancelButton));
  ok->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Accept(); });
  cancel->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { EndModal(wxID_CANCEL); });
  ok->SetDefault();
  SetAffirmativeId(kAcceptButton);
  SetEscapeId(kDiscardButton);
  auto* const buttons = new wxStdDialogButtonSizer;
  buttons->SetAffirmativeButton(ok);
  buttons->SetCancelButton(cancel);
  buttons->Realize();
  return buttons;
}

// Each group in the place of its first field; a long form stands in two columns.
void FormWindow::MakePage() {
  page = new wxScrolledWindow(this);
  page->SetScrollRate(FromDIP(kScrollStep), FromDIP(kScrollStep));
  FollowFocus(*page);
  auto* const columns = new wxBoxSizer(wxHORIZONTAL);
  const std::size_t most = form.fields.size() > kOneColumn ? form.fields.size() / 2 : kOneColumn;
  wxSizer* column = nullptr;
  std::size_t made = 0;
  std::set<int> groups;
  for (const FormField& first : form.fields) {
    if (!groups.insert(first.groupNumber).second) continue;
    if (!column || made >= most) {
      AlignLabels();
      column = new wxBoxSizer(wxVERTICAL);
      columns->Add(column, wxSizerFlags(1).Border(wxRIGHT, FromDIP(kGap)));
      made = 0;
    }
    made += MakeGroup(first, column, groups.size() == 1);
  }
  AlignLabels();
  page->SetSizer(columns);
}

// The page gives way where the screen has no room, and takes a scroll bar beside what it shows
// then.
void FormWindow::FitToScreen() {
  const wxSize contents = page->GetSizer()->GetMinSize(), room = ScreenRoom(*this);
  page->SetMinSize(contents);
  wxSize over = GetSizer()->GetMinSize() - room;
  if (over.y > 0) over.x += wxSystemSettings::GetMetric(wxSYS_VSCROLL_X, this);
  wxSize least = contents;
  if (over.y > 0) least.x += wxSystemSettings::GetMetric(wxSYS_VSCROLL_X, this);
  over.IncTo({0, 0});
  page->SetMinSize(least - over);
  GetSizer()->SetSizeHints(this);
  Layout();
  page->FitInside();
  MoveOntoScreen(*this);
}

// The controls of all groups in a column begin at the same place.
void FormWindow::AlignLabels() {
  int widest = 0;
  for (const wxWindow* const label : labels)
    widest = std::max(widest, label->GetBestSize().x);
  for (wxWindow* const label : labels)
    label->SetMinSize({widest, -1});
  labels.clear();
}

std::size_t FormWindow::MakeGroup(const FormField& first, wxSizer* column, bool withNote) {
  wxWindow* parent = page;
  auto* box = new wxBoxSizer(wxVERTICAL);
  if (first.groupNumber != 0) {
    auto* const framed = new wxStaticBoxSizer(
        MakePlainBox(page, first.groupNumber, ToLabel(first.group)), wxVERTICAL);
    parent = framed->GetStaticBox();
    box = framed;
  }
  auto* const grid = new wxFlexGridSizer(2, FromDIP(wxSize(kGap, kGap)));
  grid->AddGrowableCol(1);
  box->Add(grid, wxSizerFlags().Expand().Border(wxALL, FromDIP(kGap)));
  std::size_t count = 0;
  for (FormField& field : form.fields) {
    if (field.groupNumber != first.groupNumber) continue;
    MakeField(field, parent, grid);
    ++count;
  }
  if (withNote && !form.note.IsEmpty()) {
    auto* const note = MakePlainText(parent, wxID_ANY);
    note->SetLabelText(InLines(form.note, *note, FromDIP(kNoteWidth)));
    box->Add(note, wxSizerFlags().Border(wxALL, FromDIP(kGap)));
  }
  column->Add(box, wxSizerFlags().Expand().Border(wxBOTTOM, FromDIP(kGap)));
  return count;
}

void FormWindow::MakeField(FormField& field, wxWindow* parent, wxFlexGridSizer* grid) {
  Row& row = rows[field.number];
  if (field.kind == FieldKind::Check) {
    grid->AddSpacer(1); // the gap beside a column of no width is left out of the form's least width
  } else {
    labels.push_back(new wxStaticText(parent, wxID_ANY, mnemonics.Label(field.label)));
    grid->Add(labels.back(), wxSizerFlags().CentreVertical());
  }
  row.control = MakeControl(field, parent);
  SetSpokenName(row.control, field.label);
  auto* const cell = new wxBoxSizer(wxHORIZONTAL);
  cell->Add(row.control, wxSizerFlags(1).Expand());
  if (IsPath(field.kind))
    cell->Add(MakeBrowse(field, parent), wxSizerFlags().Expand().Border(wxLEFT, FromDIP(kGap)));
  grid->Add(cell, wxSizerFlags().Expand());
  // What is wrong with the field, in words, under it; takes no room while nothing is.
  row.problem = MakeProblem(parent);
  grid->AddSpacer(0);
  grid->Add(row.problem, wxSizerFlags().Expand());
}

wxStaticText* FormWindow::MakeProblem(wxWindow* parent) {
  auto* const problem = MakePlainText(parent, wxID_ANY);
  problem->SetForegroundColour(ColourOf(Sign::Failed));
  problem->Hide();
  return problem;
}

wxWindow* FormWindow::MakeControl(const FormField& field, wxWindow* parent) {
  const auto changed = [this](wxCommandEvent& event) {
    ShowEnabled();
    event.Skip();
  };
  switch (field.kind) {
  case FieldKind::Check: {
    auto* const box = new wxCheckBox(parent, field.number, mnemonics.Label(field.label));
    box->SetValue(field.value == u"1");
    box->Bind(wxEVT_CHECKBOX, changed);
    return box;
  }
  case FieldKind::Choice:
    return MakeChoice(field, parent);
  case FieldKind::Number: {
    auto* const number = new wxSpinCtrl(parent, field.number, {}, wxDefaultPosition, wxDefaultSize,
                                        wxSP_ARROW_KEYS, field.minimum, field.maximum);
    number->SetValue(field.value.ToInteger());
    return number;
  }
  case FieldKind::Text:
  case FieldKind::FolderPath:
  case FieldKind::FilePath:
    break;
  }
  auto* const text = new wxTextCtrl(parent, field.number, ToWx(field.value));
  text->SetMinSize(FromDIP(wxSize(IsPath(field.kind) ? kTextWidth : kChoiceWidth, -1)));
  return text;
}

wxWindow* FormWindow::MakeBrowse(const FormField& field, wxWindow* parent) {
  auto* const button = new wxButton(parent, field.browseNumber, "...", wxDefaultPosition,
                                    wxDefaultSize, wxBU_EXACTFIT);
  button->SetMinSize(FromDIP(wxSize(kBrowseWidth, -1)));
  SetSpokenName(button, field.browseTitle, field.browseTitle);
  button->Bind(wxEVT_BUTTON,
               [this, &field](wxCommandEvent&) { CallAfter([this, &field] { Browse(field); }); });
  return button;
}

void FormWindow::Browse(const FormField& field) {
  auto* const text = static_cast<wxTextCtrl*>(rows[field.number].control);
  if (field.kind == FieldKind::FolderPath) {
    wxDirDialog chooser(this, ToWx(field.browseTitle), text->GetValue());
    if (chooser.ShowModal() == wxID_OK) text->SetValue(chooser.GetPath());
    return;
  }
  wxFileDialog chooser(this, ToWx(field.browseTitle), {}, text->GetValue(), ToWx(field.filters),
                       wxFD_SAVE);
  if (chooser.ShowModal() == wxID_OK) text->SetValue(chooser.GetPath());
}

KorText FormWindow::ValueOf(const FormField& field) const {
  wxWindow* const control = rows.at(field.number).control;
  switch (field.kind) {
  case FieldKind::Check:
    return static_cast<wxCheckBox*>(control)->GetValue() ? u"1" : u"0";
  case FieldKind::Number:
    return KorText::Format(u"%i", static_cast<wxSpinCtrl*>(control)->GetValue());
  case FieldKind::Choice:
    if (field.editable) return FromWx(static_cast<wxComboBox*>(control)->GetValue());
    return ChosenValue(field, static_cast<wxChoice*>(control)->GetSelection());
  case FieldKind::Text:
  case FieldKind::FolderPath:
  case FieldKind::FilePath:
    break;
  }
  return FromWx(static_cast<wxTextCtrl*>(control)->GetValue());
}

void FormWindow::ReadControls() {
  for (FormField& field : form.fields)
    field.value = ValueOf(field);
}

void FormWindow::ShowEnabled() {
  if (building || !form.updateEnabled) return;
  ReadControls();
  form.updateEnabled(form.fields);
  for (const FormField& field : form.fields)
    rows[field.number].control->Enable(field.enabled);
}

void FormWindow::ShowProblem(wxStaticText* where, const KorText& text, int width) {
  const wxString lines = InLines(text, *where, width);
  if (where->GetLabelText() == lines) return;
  where->SetLabelText(lines);
  where->Show(!text.IsEmpty());
}

void FormWindow::ShowObstacle() {
  if (!form.check) return;
  form.check(form);
  const bool shown = obstacle->IsShown();
  ShowProblem(obstacle, form.obstacle, GetClientSize().x - FromDIP(kGap * 4));
  if (shown != obstacle->IsShown()) FitToScreen();
}

bool FormWindow::ShowProblems(const FormDescription* looked) {
  ShowObstacle();
  const Row* first = nullptr;
  for (FormField& field : form.fields) {
    const Row& row = rows[field.number];
    if (looked && field.problem.IsEmpty()) field.problem = looked->Find(field.key)->problem;
    ShowProblem(row.problem, field.problem,
                std::max(row.control->GetSize().x, FromDIP(kTextWidth)));
    if (!first && !field.problem.IsEmpty()) first = &row;
  }
  FitToScreen();
  if (first) ShowFirst(*first);
  return !first && form.obstacle.IsEmpty();
}

// With the field what is wrong with it.
void FormWindow::ShowFirst(const Row& row) {
  row.control->SetFocus();
  ScrollTo(*page, *row.problem);
  ScrollTo(*page, *row.control);
}

// The folders may be slow: meanwhile the form stands as it is, and only Cancel works.
void FormWindow::Accept() {
  ReadControls();
  if (!ShowProblems()) return;
  if (!form.look) {
    EndModal(wxID_OK);
    return;
  }
  AllowOnlyCancel(true);
  form.look(form, [window = self](const FormDescription& looked) {
    if (!*window) return;
    (*window)->AllowOnlyCancel(false);
    if ((*window)->ShowProblems(&looked)) (*window)->EndModal(wxID_OK);
  });
}

void FormWindow::AllowOnlyCancel(bool only) {
  for (wxWindow* const child : GetChildren())
    if (child->GetId() != kDiscardButton) child->Enable(!only);
}

bool FormWindow::Run() {
  return ShowModal() == wxID_OK;
}

} // namespace kor
