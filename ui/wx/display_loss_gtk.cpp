#include "ui/wx/display_loss.h"

#include <gdk/gdkx.h>

namespace kor {

namespace {

void (*lastCall)() = nullptr;

int OnLoss(Display*) {
  if (lastCall) lastCall();
  return 0;
}

} // namespace

// The connection stays open, as the toolkit's own does: a server that loses its last client starts
// over, and throws out whoever connects meanwhile.
bool FindDisplay() {
  return gdk_display_open(nullptr) != nullptr;
}

// With a display of another kind than X the toolkit ends the program itself, and tells nobody.
void CallWhenDisplayIsLost(void (*end)()) {
  lastCall = end;
  XSetIOErrorHandler(&OnLoss);
}

void KeepHiddenWindows() {}

} // namespace kor
