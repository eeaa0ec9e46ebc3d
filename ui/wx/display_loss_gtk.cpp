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

// It stays open, as the toolkit's own: a server that loses its last client begins anew, and whoever
// connects meanwhile is thrown out.
bool FindDisplay() {
  return gdk_display_open(nullptr) != nullptr;
}

// A display of another kind than X stops the program itself: it can be told of nothing.
void CallWhenDisplayIsLost(void (*end)()) {
  lastCall = end;
  XSetIOErrorHandler(&OnLoss);
}

void KeepHiddenWindows() {}

} // namespace kor
