// Questions that are asked before something that can't be undone. Each names what is at stake and
// has verbs on its buttons. Makes texts only and draws nothing. Window's thread.
#pragma once

#include "ui/form_dialog.h"

namespace kor {

struct Question {
  KorText text;
  KorText goOn; // the button that changes nothing; Enter and Escape mean it
  KorText act;
};

// Returns the question before the running exchange is ended.
Question EndQuestion(const StatusView& running);
// Returns the question before the window is closed, which depends on whether an exchange runs.
Question CloseQuestion(const StatusView& now);
Question LoopbackQuestion();

// Returns whether a question that was asked in the one state is still right in the other: the same
// exchange runs, or still none does.
bool IsSameExchange(const StatusView& asked, const StatusView& now);

} // namespace kor
