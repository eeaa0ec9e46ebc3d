// FormWindow: shows any described form as a modal dialog of native controls. It is no larger than
// the screen; a page that doesn't fit is scrolled, above the buttons. The link goes on meanwhile,
// because the toolkit's loop runs the timers and posts. Window's thread.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <vector>

#include <wx/button.h>
#include <wx/dialog.h>
#include <wx/notebook.h>
#include <wx/scrolwin.h>
#include <wx/sizer.h>
#include <wx/statbox.h>
#include <wx/stattext.h>
#include <wx/timer.h>

#include "ui/form_dialog.h"
#include "ui/wx/mnemonics.h"

namespace kor {

class FormWindow : public wxDialog {
 public:
  // Asks over the given window, and ends the transfer that is in the way.
  using EndTransfer = std::function<void(wxWindow* over)>;
  FormWindow(wxWindow* parent, FormDescription& description, EndTransfer endTransfer = {});
  ~FormWindow() override;
  FormWindow(const FormWindow&) = delete;
  FormWindow& operator=(const FormWindow&) = delete;

  // Runs the dialog modally. True when the user accepted it; the fields then hold what the user
  // entered.
  bool Run();

 private:
  struct Row {
    wxStaticText* label = nullptr; // a check box has none
    wxWindow* control = nullptr;
    wxWindow* browse = nullptr; // a path's
    wxStaticText* problem = nullptr;
    wxSizer* cell = nullptr;
    int room = 0; // lines kept for the problem
  };

  // These make the controls, in the order of the fields.
  wxWindow* PageOf(const FormField& field);
  wxWindow* ParentOf(const FormField& field);
  void MakeField(const FormField& field);
  wxWindow* MakeControl(const FormField& field, wxWindow* parent);
  wxWindow* MakeText(const FormField& field, wxWindow* parent);
  void MakeBrowse(const FormField& field);
  static wxStaticText* MakeProblem(wxWindow* parent);
  void MakeButtons();
  // These lay the controls out.
  void LayOutPages();
  wxSizer* LayOutPage(const wxWindow* page);
  wxSizer* LayOutGroup(const std::vector<const FormField*>& fields);
  void LayOutRow(const FormField& field, wxFlexGridSizer* grid);
  void Align(const std::vector<const FormField*>& fields);
  wxSizer* LayOutButtons();
  void FitToScreen();

  void Browse(const FormField& field);
  KorText ValueOf(const FormField& field) const;
  void ReadControls();
  void ShowEnabled();
  void ShowObstacle();
  // Shows the problems, with those that a look at the folders has found. False when there is one.
  bool ShowProblems(const FormDescription* looked = nullptr);
  void ShowProblem(const Row& row, const KorText& text);
  // Removes the field's problem once it is mended.
  void ForgiveField(const FormField& field);
  void ShowFirst(const FormField& field);
  void OnKey(wxKeyEvent& event);
  void TurnPage(bool forward);
  void Accept();
  void AllowOnlyCancel(bool only);

  FormDescription& form;
  const EndTransfer onEndTransfer;
  Mnemonics mnemonics;
  std::map<int, Row> rows;           // by the field's number
  std::map<int, wxWindow*> pages;    // by their number
  std::map<int, wxStaticBox*> boxes; // by the group's number
  wxScrolledWindow* ground = nullptr;
  wxNotebook* book = nullptr; // of the pages; null where the form has none
  wxSize bookFrame;           // see native_look.h
  wxStaticText* obstacle = nullptr;
  wxButton* endTransfer = nullptr;
  wxButton* ok = nullptr;
  wxButton* cancel = nullptr;
  int buttonsWidth = 0; // of the buttons with their margins
  wxSize fitted;        // what all needed when the size was last fitted to it
  wxTimer looks;
  // The thread that looks at the folders copies and releases this pointer, which a weak reference
  // of the toolkit would not allow. Only the window's thread follows it. It holds null once the
  // window has gone.
  const std::shared_ptr<FormWindow*> self = std::make_shared<FormWindow*>(this);
  bool building = true;
  bool looking = false; // at the folders: only Cancel works
};

} // namespace kor
