#include "ui/wx/form_window.h"

#include <algorithm>
#include <utility>

#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/combobox.h>
#include <wx/dirdlg.h>
#include <wx/filedlg.h>
#include <wx/panel.h>
#include <wx/settings.h>
#include <wx/spinctrl.h>
#include <wx/textctrl.h>

#include "services/core/text_lookup.h"
#include "ui/wx/accessible.h"
#include "ui/wx/native_look.h"
#include "ui/wx/press_button.h"
#include "ui/wx/screen_room.h"
#include "ui/wx/signs.h"
#include "ui/wx/wx_text.h"

namespace kor {

namespace {

constexpr int kNoteWidth = 380; // lengths are in device-independent pixels
constexpr int kPathWidth = 460;
constexpr int kWordsWidth = 180; // least of a column in which something can be wrong
constexpr int kMargin = 8;
constexpr int kGap = 4;
constexpr int kScrollStep = 16;
constexpr std::size_t kOneColumn = 8; // fields that still stand below one another
constexpr int kAcceptButton = 1;      // the numbers of the buttons
constexpr int kDiscardButton = 2;
constexpr int kEndTransferButton = 3;
constexpr int kLookPeriod = 500; // milliseconds between two looks for an obstacle

bool IsPath(FieldKind kind) {
  return kind == FieldKind::FolderPath || kind == FieldKind::FilePath;
}

// A value that was chosen from a list, or ticked, is never wrong.
bool CanBeWrong(const FormField& field) {
  return IsPath(field.kind) || field.kind == FieldKind::Text || field.editable;
}

const KorText& ShownChoice(const FormField& field, std::size_t at) {
  return at < field.shown.size() ? field.shown[at] : field.choices[at];
}

void AddChoices(wxItemContainer& control, const FormField& field) {
  for (std::size_t at = 0; at < field.choices.size(); ++at)
    control.Append(ToWx(ShownChoice(field, at)));
}

// The list shows the device beside the port's name; the field takes only the name.
wxWindow* MakeCombo(const FormField& field, wxWindow* parent) {
  auto* const combo = new wxComboBox(parent, field.number);
  AddChoices(*combo, field);
  combo->SetMinSize(combo->FromDIP(wxSize(kWordsWidth, -1)));
  combo->SetValue(ToWx(field.value));
  combo->Bind(wxEVT_COMBOBOX, [combo, &field](wxCommandEvent& event) {
    const auto at = static_cast<std::size_t>(event.GetSelection());
    if (at < field.choices.size())
      combo->CallAfter([combo, name = ToWx(field.choices[at])] { combo->SetValue(name); });
  });
  return combo;
}

wxWindow* MakeChoice(const FormField& field, wxWindow* parent) {
  auto* const choice = new wxChoice(parent, field.number);
  AddChoices(*choice, field);
  // A value from an older file that no list holds is kept until the user chooses another.
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

// Returns the name that was typed, or the one of the list's entry that was chosen.
KorText NamedValue(const FormField& field, const KorText& text) {
  for (std::size_t at = 0; at < field.choices.size(); ++at)
    if (text == ShownChoice(field, at)) return field.choices[at];
  return text;
}

} // namespace

FormWindow::FormWindow(wxWindow* parent, FormDescription& description, EndTransfer end)
    : wxDialog(parent, wxID_ANY, ToWx(description.caption), wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER),
      form(description), onEndTransfer(std::move(end)), looks(this) {
  if (!form.name.IsEmpty()) SetName(ToWx(form.name));
  SpeakAsDialog(this);
  ground = new wxScrolledWindow(this);
  ground->SetScrollRate(FromDIP(kScrollStep), FromDIP(kScrollStep));
  FollowFocus(*ground);
  for (const FormField& field : form.fields)
    MakeField(field);
  for (const FormField& field : form.fields)
    if (IsPath(field.kind)) MakeBrowse(field);
  MakeButtons();
  LayOutPages();
  auto* const column = new wxBoxSizer(wxVERTICAL);
  column->Add(ground, wxSizerFlags(1).Expand().Border(wxALL, FromDIP(kMargin)));
  column->Add(LayOutButtons(),
              wxSizerFlags().Expand().Border(wxLEFT | wxRIGHT | wxBOTTOM, FromDIP(kMargin)));
  SetSizer(column);
  FitToScreen();
  building = false;
  ShowEnabled();
  ShowObstacle();
  Bind(wxEVT_TIMER, [this](wxTimerEvent&) { ShowObstacle(); });
  Bind(wxEVT_CHAR_HOOK, &FormWindow::OnKey, this);
  if (form.check) looks.Start(kLookPeriod);
  if (!form.fields.empty()) rows[form.fields.front().number].control->SetFocus();
  CentreOnParent();
}

FormWindow::~FormWindow() {
  *self = nullptr;
}

// --- Controls ---

wxWindow* FormWindow::PageOf(const FormField& field) {
  if (field.pageNumber == 0) return ground;
  if (!book) {
    book = new wxNotebook(ground, wxID_ANY);
    SetTabHeight(book, kPressHeight);
  }
  wxWindow*& page = pages[field.pageNumber];
  if (!page) {
    page = new wxPanel(book, field.pageNumber);
    book->AddPage(page, ToWx(field.page));
  }
  return page;
}

wxWindow* FormWindow::ParentOf(const FormField& field) {
  if (field.groupNumber == 0) return PageOf(field);
  wxStaticBox*& box = boxes[field.groupNumber];
  if (!box) box = MakePlainBox(PageOf(field), field.groupNumber, ToLabel(field.group));
  return box;
}

void FormWindow::MakeField(const FormField& field) {
  Row& row = rows[field.number];
  wxWindow* const parent = ParentOf(field);
  if (field.kind != FieldKind::Check)
    row.label = new wxStaticText(parent, wxID_ANY, mnemonics.Label(field.label));
  row.control = MakeControl(field, parent);
  SetSpokenName(row.control, field.label);
  row.problem = MakeProblem(parent);
  if (CanBeWrong(field)) row.room = field.editable ? 2 : 1;
  row.control->Bind(wxEVT_TEXT, [this, &field](wxCommandEvent& event) {
    event.Skip();
    ForgiveField(field);
  });
}

wxWindow* FormWindow::MakeControl(const FormField& field, wxWindow* parent) {
  switch (field.kind) {
  case FieldKind::Check: {
    auto* const box = new wxCheckBox(parent, field.number, mnemonics.Label(field.label));
    box->SetValue(field.value == u"1");
    box->Bind(wxEVT_CHECKBOX, [this](wxCommandEvent& event) {
      ShowEnabled();
      event.Skip();
    });
    return box;
  }
  case FieldKind::Choice:
    return field.editable ? MakeCombo(field, parent) : MakeChoice(field, parent);
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
  return MakeText(field, parent);
}

wxWindow* FormWindow::MakeText(const FormField& field, wxWindow* parent) {
  auto* const text = new wxTextCtrl(parent, field.number, ToWx(field.value));
  if (IsPath(field.kind)) text->SetMinSize(FromDIP(wxSize(kPathWidth, -1)));
  return text;
}

void FormWindow::MakeBrowse(const FormField& field) {
  Row& row = rows[field.number];
  auto* const button = new wxButton(row.control->GetParent(), field.browseNumber, "...",
                                    wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
  button->SetMinSize(FromDIP(wxSize(kPressHeight, kPressHeight)));
  SetSpokenName(button, field.browseTitle, field.browseTitle);
  button->Bind(wxEVT_BUTTON,
               [this, &field](wxCommandEvent&) { CallAfter([this, &field] { Browse(field); }); });
  button->MoveAfterInTabOrder(row.control);
  row.browse = button;
}

wxStaticText* FormWindow::MakeProblem(wxWindow* parent) {
  auto* const problem = MakePlainText(parent, wxID_ANY);
  problem->SetForegroundColour(ColourOf(Sign::Failed));
  problem->Hide();
  return problem;
}

void FormWindow::MakeButtons() {
  obstacle = MakeProblem(this);
  endTransfer =
      MakePressButton(this, kEndTransferButton, LookUpText(kTexts.cancelTransfer), mnemonics);
  endTransfer->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
    CallAfter([this] {
      if (onEndTransfer) onEndTransfer(this);
    });
  });
  endTransfer->Hide();
  ok = MakePressButton(this, kAcceptButton, LookUpText(kTexts.okButton), mnemonics);
  ok->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { Accept(); });
  ok->SetDefault();
  cancel = MakePressButton(this, kDiscardButton, LookUpText(kTexts.cancelButton), mnemonics);
  cancel->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { EndModal(wxID_CANCEL); });
  SetAffirmativeId(kAcceptButton);
  SetEscapeId(kDiscardButton);
}

// --- Layout ---

void FormWindow::LayOutPages() {
  if (!book) {
    ground->SetSizer(LayOutPage(ground));
    return;
  }
  for (const auto& [number, page] : pages) {
    auto* const framed = new wxBoxSizer(wxVERTICAL);
    framed->Add(LayOutPage(page), wxSizerFlags(1).Expand().Border(wxALL, FromDIP(kMargin)));
    page->SetSizer(framed);
  }
  bookFrame = FrameOfBook(book);
  auto* const all = new wxBoxSizer(wxVERTICAL);
  all->Add(book, wxSizerFlags(1).Expand());
  ground->SetSizer(all);
}

// A form with many fields stands in two columns.
wxSizer* FormWindow::LayOutPage(const wxWindow* page) {
  std::vector<std::vector<const FormField*>> groups;
  std::size_t count = 0;
  for (const FormField& field : form.fields) {
    if (PageOf(field) != page) continue;
    const auto group = std::ranges::find_if(groups, [&](const auto& fields) {
      return fields.front()->groupNumber == field.groupNumber;
    });
    if (group == groups.end())
      groups.push_back({&field});
    else
      group->push_back(&field);
    ++count;
  }
  auto* const columns = new wxBoxSizer(wxHORIZONTAL);
  for (auto group = groups.begin(); group != groups.end();) {
    const bool isFirst = group == groups.begin();
    auto* const column = new wxBoxSizer(wxVERTICAL);
    columns->Add(column, wxSizerFlags(1).Border(isFirst ? 0 : wxLEFT, FromDIP(kMargin)));
    std::vector<const FormField*> made;
    for (; group != groups.end() && (count <= kOneColumn || made.size() < count / 2); ++group) {
      if (!made.empty()) column->AddSpacer(FromDIP(kMargin));
      column->Add(LayOutGroup(*group), wxSizerFlags().Expand());
      made.insert(made.end(), group->begin(), group->end());
    }
    Align(made);
  }
  return columns;
}

// A remark about the whole form stands at the end of its first group.
wxSizer* FormWindow::LayOutGroup(const std::vector<const FormField*>& fields) {
  const int number = fields.front()->groupNumber;
  auto* const box =
      number == 0 ? new wxBoxSizer(wxVERTICAL) : new wxStaticBoxSizer(boxes.at(number), wxVERTICAL);
  auto* const grid = new wxFlexGridSizer(2, FromDIP(wxSize(2 * kGap, kGap)));
  grid->AddGrowableCol(1);
  box->Add(grid, wxSizerFlags().Expand().Border(wxALL, FromDIP(kMargin)));
  for (const FormField* const field : fields)
    LayOutRow(*field, grid);
  if (fields.front() == &form.fields.front() && !form.note.IsEmpty()) {
    auto* const note = MakePlainText(ParentOf(*fields.front()), wxID_ANY);
    note->SetLabelText(InLines(form.note, *note, FromDIP(kNoteWidth)));
    box->Add(note, wxSizerFlags().Border(wxALL, FromDIP(kGap)));
  }
  return box;
}

// What is wrong with a field stands under it, where room is kept for that text.
void FormWindow::LayOutRow(const FormField& field, wxFlexGridSizer* grid) {
  Row& row = rows[field.number];
  const auto centred = wxSizerFlags().CentreVertical();
  if (row.label)
    grid->Add(row.label, centred);
  else
    grid->AddSpacer(1); // the gap beside a column of no width is left out of the form's least width
  row.cell = new wxBoxSizer(wxHORIZONTAL);
  row.cell->Add(row.control, wxSizerFlags(centred).Proportion(row.browse ? 1 : 0));
  if (row.browse) row.cell->Add(row.browse, wxSizerFlags().Border(wxLEFT, FromDIP(kGap)));
  if (!dynamic_cast<wxTextCtrl*>(row.control))
    row.control->SetMinSize({row.control->GetMinSize().x, FromDIP(kPressHeight)});
  if (row.room > 0) row.cell->SetMinSize(FromDIP(wxSize(kWordsWidth, -1)));
  grid->Add(row.cell, wxSizerFlags().Expand());
  const auto problem = wxSizerFlags().Expand();
  grid->AddSpacer(0)->Show(false);
  grid->Add(row.problem, row.room > 0 ? wxSizerFlags(problem).ReserveSpaceEvenIfHidden() : problem);
  row.problem->SetMinSize({-1, row.room * row.problem->GetCharHeight()});
}

// Labels and lists of a column get the width of the widest of them. The entries of a combination
// box don't count: they say more than the box shows.
void FormWindow::Align(const std::vector<const FormField*>& fields) {
  std::vector<wxWindow*> labels, lists;
  for (const FormField* const field : fields) {
    const Row& row = rows[field->number];
    if (row.label) labels.push_back(row.label);
    if (field->kind == FieldKind::Choice) lists.push_back(row.control);
  }
  for (const std::vector<wxWindow*>& column : {labels, lists}) {
    int widest = 0;
    for (const wxWindow* const one : column)
      if (!dynamic_cast<const wxComboBox*>(one)) widest = std::max(widest, one->GetBestSize().x);
    for (wxWindow* const one : column)
      one->SetMinSize({std::max(widest, one->GetMinSize().x), one->GetMinSize().y});
  }
}

// What is in the way stands beside the buttons, so that the buttons don't move.
wxSizer* FormWindow::LayOutButtons() {
  auto* const choice = new wxStdDialogButtonSizer;
  choice->SetAffirmativeButton(ok);
  choice->SetCancelButton(cancel);
  choice->Realize();
  buttonsWidth = endTransfer->GetBestSize().x + choice->CalcMin().x + FromDIP(4 * kMargin);
  auto* const row = new wxBoxSizer(wxHORIZONTAL);
  row->Add(obstacle, wxSizerFlags().CentreVertical());
  row->AddStretchSpacer();
  row->Add(endTransfer, wxSizerFlags().CentreVertical().Border(wxLEFT, FromDIP(kGap)));
  row->Add(choice, wxSizerFlags().CentreVertical());
  return row;
}

// Where the screen has no room, the page becomes smaller and gets a scroll bar beside its contents.
void FormWindow::FitToScreen() {
  wxSize page;
  for (const auto& [number, window] : pages)
    page.IncTo(window->GetSizer()->CalcMin());
  if (book) book->SetMinSize({std::max(page.x, bookFrame.x), page.y + bookFrame.y});
  const wxSize contents = ground->GetSizer()->GetMinSize(), room = ScreenRoom(*this);
  ground->SetMinSize(contents);
  const wxSize needed = GetSizer()->CalcMin();
  if (needed == fitted) {
    Layout();
    return;
  }
  fitted = needed;
  wxSize over = needed - room;
  if (over.y > 0) over.x += wxSystemSettings::GetMetric(wxSYS_VSCROLL_X, this);
  wxSize least = contents;
  if (over.y > 0) least.x += wxSystemSettings::GetMetric(wxSYS_VSCROLL_X, this);
  over.IncTo({0, 0});
  ground->SetMinSize(least - over);
  GetSizer()->SetSizeHints(this);
  Layout();
  ground->FitInside();
  MoveOntoScreen(*this);
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
    if (field.editable)
      return NamedValue(field, FromWx(static_cast<wxComboBox*>(control)->GetValue()));
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

// The text may be as wide as the column. With long words it needs more room than is kept.
void FormWindow::ShowProblem(const Row& row, const KorText& text) {
  const int width = std::max(row.cell->GetSize().x, row.cell->GetMinSize().x);
  const wxString lines = InLines(text, *row.problem, width);
  if (row.problem->GetLabelText() == lines) return;
  row.problem->SetLabelText(lines);
  row.problem->SetMinSize({-1, -1});
  const int needed = text.IsEmpty() ? 0 : row.problem->GetBestSize().y;
  row.problem->SetMinSize({-1, std::max(needed, row.room * row.problem->GetCharHeight())});
  row.problem->Show(!text.IsEmpty());
}

void FormWindow::ForgiveField(const FormField& field) {
  const Row& row = rows[field.number];
  if (building || !form.check || !row.problem->IsShown()) return;
  ReadControls();
  form.check(form);
  ShowProblem(row, field.problem);
  FitToScreen();
}

void FormWindow::ShowObstacle() {
  if (!form.check) return;
  form.check(form);
  const bool isThere = !form.obstacle.IsEmpty();
  if (ok->IsEnabled() == (isThere || looking)) ok->Enable(!isThere && !looking);
  const wxString lines = InLines(form.obstacle, *obstacle, GetClientSize().x - buttonsWidth);
  if (obstacle->GetLabelText() == lines) return;
  obstacle->SetLabelText(lines);
  obstacle->Show(isThere);
  endTransfer->Show(isThere && onEndTransfer);
  FitToScreen();
}

bool FormWindow::ShowProblems(const FormDescription* looked) {
  ShowObstacle();
  const FormField* first = nullptr;
  for (FormField& field : form.fields) {
    if (looked && field.problem.IsEmpty()) field.problem = looked->Find(field.key)->problem;
    ShowProblem(rows[field.number], field.problem);
    if (!first && !field.problem.IsEmpty()) first = &field;
  }
  FitToScreen();
  if (first) ShowFirst(*first);
  return !first && form.obstacle.IsEmpty();
}

// Scrolls to the field together with what is wrong with it.
void FormWindow::ShowFirst(const FormField& field) {
  const Row& row = rows[field.number];
  if (book) book->SetSelection(static_cast<std::size_t>(book->FindPage(PageOf(field))));
  row.control->SetFocus();
  ScrollTo(*ground, *row.problem);
  ScrollTo(*ground, *row.control);
}

// These keys work from every control, as in the system's own dialogs.
void FormWindow::OnKey(wxKeyEvent& event) {
  const int key = event.GetKeyCode();
  const bool isBack = key == WXK_PAGEUP || (key == WXK_TAB && event.ShiftDown());
  if (book && event.ControlDown() && (isBack || key == WXK_PAGEDOWN || key == WXK_TAB))
    TurnPage(!isBack);
  else
    event.Skip();
}

void FormWindow::TurnPage(bool forward) {
  book->AdvanceSelection(forward);
  for (const FormField& field : form.fields)
    if (PageOf(field) == book->GetCurrentPage()) {
      rows[field.number].control->SetFocus();
      return;
    }
}

// The folders may be slow. Meanwhile the form stands as it is, and only Cancel works.
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
  looking = only;
  ground->Enable(!only);
  ok->Enable(!only);
}

bool FormWindow::Run() {
  return ShowModal() == wxID_OK;
}

} // namespace kor
