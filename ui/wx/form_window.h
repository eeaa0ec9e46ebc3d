// FormWindow: shows any described form as a modal dialog of native controls, no larger than the
// screen: what has no room is scrolled to, above the buttons. The link goes on meanwhile: the
// toolkit's loop runs the timers and posts. Window's thread.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include <wx/dialog.h>
#include <wx/scrolwin.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/timer.h>

#include "ui/form_dialog.h"
#include "ui/wx/mnemonics.h"

namespace kor {

class FormWindow : public wxDialog {
 public:
  FormWindow(wxWindow* parent, FormDescription& description);
  ~FormWindow() override;
  FormWindow(const FormWindow&) = delete;
  FormWindow& operator=(const FormWindow&) = delete;

  // Modal. True when it was accepted; the fields then hold what the user left in them.
  bool Run();

 private:
  struct Row {
    wxWindow* control = nullptr;
    wxStaticText* problem = nullptr;
  };

  wxSizer* MakeButtons();
  void MakePage();
  void FitToScreen();
  // The fields of first's group; how many there are.
  std::size_t MakeGroup(const FormField& first, wxSizer* column, bool withNote);
  void AlignLabels();
  void MakeField(FormField& field, wxWindow* parent, wxFlexGridSizer* grid);
  wxWindow* MakeControl(const FormField& field, wxWindow* parent);
  wxWindow* MakeBrowse(const FormField& field, wxWindow* parent);
  static wxStaticText* MakeProblem(wxWindow* parent);
  static void ShowProblem(wxStaticText* where, const KorText& text, int width);
  void Browse(const FormField& field);
  KorText ValueOf(const FormField& field) const;
  void ReadControls();
  void ShowEnabled();
  void ShowObstacle();
  // False when there is one; with those that a look has found.
  bool ShowProblems(const FormDescription* looked = nullptr);
  void ShowFirst(const Row& row);
  void Accept();
  void AllowOnlyCancel(bool only);

  FormDescription& form;
  Mnemonics mnemonics;
  std::map<int, Row> rows;       // by the field's number
  std::vector<wxWindow*> labels; // of the column that is being made
  wxScrolledWindow* page = nullptr;
  wxStaticText* obstacle = nullptr;
  wxTimer looks;
  // Whoever looks at the folders copies it and lets go of it on a thread of its own, so it is no
  // weak reference of the toolkit; only the window's thread follows it. Null once this has gone.
  const std::shared_ptr<FormWindow*> self = std::make_shared<FormWindow*>(this);
  bool building = true;
};

} // namespace kor
