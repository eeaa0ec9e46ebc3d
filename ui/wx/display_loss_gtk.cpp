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

bool FindDisplay() {
  GdkDisplay* const display = gdk_display_open(nullptr);
  if (display) gdk_display_close(display);
  return display != nullptr;
}

// A display of another kind than X stops the program itself: it can be told of nothing.
void CallWhenDisplayIsLost(void (*end)()) {
  lastCall = end;
  XSetIOErrorHandler(&OnLoss);
}

} // namespace kor
