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

// A display of another kind than X stops the program itself: it can be told of nothing.
void CallWhenDisplayIsLost(void (*end)()) {
  lastCall = end;
  XSetIOErrorHandler(&OnLoss);
}

} // namespace kor
