#include "ui/wx/native_dialogs.h"

namespace kor {

// The system has no call that ends one from outside; they end with the program's windows.
bool CancelNativeDialogs() {
  return false;
}

// A modal window takes the input of those that are there before it only.
void LetBeAnswered(wxWindow*) {}

} // namespace kor
