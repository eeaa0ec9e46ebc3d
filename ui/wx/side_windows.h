// The windows beside the main one: messages, and the end dialogs of transfers by hand. None of them
// is modal, so the link and the main window go on. Window's thread.
#pragma once

#include <functional>
#include <vector>

#include <wx/dialog.h>

#include "ui/form_dialog.h"
#include "ui/questions.h"

namespace kor {

// Shows messages, each until the user closes it. When there are too many, the oldest goes. A
// message that is still open is not shown again, whatever raised it.
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

// Shows a message where there is no main window, in the middle of the screen, until the user closes
// it.
void ShowAlone(const KorText& caption, const KorText& text);

// Describes one button of an end dialog.
struct EndChoice {
  KorText label;
  std::function<void()> action;
};

// Makes the window hidden; the caller shows it while the transfer runs. Closing it by its frame
// only hides it.
wxDialog* MakeEndWindow(wxWindow* parent, const KorText& caption, const KorText& text,
                        const std::vector<EndChoice>& choices);

// Asks the question. True when the user agrees. The question is modal for the windows, not for the
// link.
bool Ask(wxWindow* parent, const Question& question);
// Ends the question as if the user had refused, because what it was about is over.
void WithdrawQuestion();

// Ends the newest modal window as if it were cancelled. Those below it can end only once it has
// gone. False when there is none.
bool CancelInnermostModal();

} // namespace kor
