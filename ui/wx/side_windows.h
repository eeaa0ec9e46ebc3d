// The windows beside the main one: messages and the end dialogs of transfers by hand. None of them
// is modal: the link and the main window go on. Window's thread.
#pragma once

#include <functional>
#include <vector>

#include <wx/dialog.h>

#include <wx/button.h>

#include "ui/form_dialog.h"
#include "ui/questions.h"
#include "ui/wx/mnemonics.h"

namespace kor {

constexpr int kPressHeight = 44; // device-independent pixels: for a finger in a glove

wxButton* MakePressButton(wxWindow* parent, int number, const KorText& label, Mnemonics& mnemonics);

// Shows messages, each until it is closed; of many the oldest goes. What stands open is not shown a
// second time, whatever brought it.
class MessageWindows {
 public:
  explicit MessageWindows(wxWindow* mainWindow) : parent(mainWindow) {}
  void Show(const KorText& caption, const KorText& text, MessageStyle style);
  std::size_t Count() const { return open.size(); }

 private:
  struct Shown {
    KorText text;
    wxDialog* window;
  };
  void Forget(const wxDialog* window);

  wxWindow* parent;
  std::vector<Shown> open; // their windows belong to the main one
};

// A message where there is no main window: in the middle of the screen, until it is closed.
void ShowAlone(const KorText& caption, const KorText& text);

// One button of an end dialog.
struct EndChoice {
  KorText label;
  std::function<void()> action;
};

// Made hidden; shown while the transfer runs. Closing it by its frame only hides it.
wxDialog* MakeEndWindow(wxWindow* parent, const KorText& caption, const KorText& text,
                        const std::vector<EndChoice>& choices);

// True when it is to be done. Modal to the windows, not to the link.
bool Ask(wxWindow* parent, const Question& question);
// What was asked about is over: as if the answer were to go on.
void WithdrawQuestion();

// Ends the newest modal window as if it were cancelled; those below it only once it has gone. False
// when there is none.
bool CancelInnermostModal();

} // namespace kor
