// Questions: what is asked before something that can't be taken back, each naming what is at stake,
// with verbs for its buttons. Texts only; no drawing. Window's thread.
#pragma once

#include "ui/form_dialog.h"

namespace kor {

struct Question {
  KorText text;
  KorText goOn; // the button that changes nothing; Enter and Escape mean it
  KorText act;
};

// Of the exchange that runs.
Question EndQuestion(const StatusView& running);
// Of the window, while an exchange runs and while none does.
Question CloseQuestion(const StatusView& now);
Question LoopbackQuestion();

// Whether a question that was asked about the one state is still right about the other: the same
// exchange runs, or none does.
bool IsSameExchange(const StatusView& asked, const StatusView& now);

} // namespace kor
