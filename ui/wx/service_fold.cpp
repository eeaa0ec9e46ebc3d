#include "ui/wx/service_fold.h"

#include <algorithm>
#include <utility>

#include "services/core/text_lookup.h"
#include "ui/wx/accessible.h"
#include "ui/wx/native_look.h"
#include "ui/wx/press_button.h"
#include "ui/wx/wx_text.h"

namespace kor {

namespace {

constexpr int kGap = 8;

} // namespace

ServiceFold::ServiceFold(wxWindow* parent, Mnemonics& mnemonics,
                         std::function<void(bool open)> onFold)
    : wxPanel(parent) {
  const KorText name = LookUpText(kTexts.service);
  label = mnemonics.Label(name);
  holds = "   " + ToLabel(LookUpText(kTexts.serviceHolds));
  heading = new wxToggleButton(this, kNumber, label, wxDefaultPosition, wxDefaultSize,
                               wxBU_LEFT | wxBORDER_NONE);
  heading->SetMinSize({1, FromDIP(kPressHeight)});
  SetSpokenName(heading, name);
  heading->Bind(wxEVT_TOGGLEBUTTON,
                [fold = std::move(onFold)](wxCommandEvent& event) { fold(event.IsChecked()); });
  inside = new wxPanel(this);
  column = new wxBoxSizer(wxVERTICAL);
  inside->SetSizer(column);
  inside->Hide();
  auto* const all = new wxBoxSizer(wxVERTICAL);
  all->Add(heading, wxSizerFlags().Expand());
  all->Add(inside, wxSizerFlags(1).Expand());
  SetSizer(all);
  ShowHeading();
}

void ServiceFold::ShowHeading() {
  const wxString words = (IsOpen() ? L"\u25be  " : L"\u25b8  ") + label;
  const int needed = heading->GetTextExtent(words + holds).x + FromDIP(2 * kGap);
  heading->SetLabel(needed <= room ? words + holds : words);
  heading->SetValue(IsOpen());
  AlignLeft(heading);
}

void ServiceFold::Open(bool open) {
  inside->Show(open);
  ShowHeading();
}

// The controls were made in another order than they stand in.
void ServiceFold::Follow(wxWindow* control) {
  if (last) control->MoveAfterInTabOrder(last);
  last = control;
}

void ServiceFold::AddPairs(std::initializer_list<wxWindow*> controls) {
  auto* const grid = new wxGridSizer(2, FromDIP(wxSize(kGap, kGap)));
  for (wxWindow* const control : controls) {
    control->SetMinSize({-1, FromDIP(kPressHeight)});
    grid->Add(control, wxSizerFlags().Expand());
    Follow(control);
  }
  grids.push_back(grid);
  column->Add(grid, wxSizerFlags().Expand().Border(wxTOP, FromDIP(kGap)));
}

void ServiceFold::Add(wxWindow* control, int proportion) {
  column->Add(control, wxSizerFlags(proportion).Expand().Border(wxTOP, FromDIP(kGap)));
  Follow(control);
}

// Pairs stand below one another where the widest doesn't fit.
void ServiceFold::FitTo(int width) {
  if (std::exchange(room, width) != width) ShowHeading();
  for (wxGridSizer* const grid : grids) {
    int widest = 0;
    for (const wxSizerItem* const item : grid->GetChildren())
      if (item->IsShown()) widest = std::max(widest, item->GetWindow()->GetBestSize().x);
    grid->SetCols(2 * widest + FromDIP(kGap) <= width ? 2 : 1);
  }
}

} // namespace kor
