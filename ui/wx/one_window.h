// OneWindow: one window per settings name. A second start finds the first, raises it and ends; one
// that does not answer within three seconds is told apart. Window's thread.
#pragma once

#include <functional>
#include <memory>

#include <wx/string.h> // IWYU pragma: keep
// The toolkit's header of it needs that of its texts before it.
#include <wx/snglinst.h>

#include "services/core/kor_text.h"

class wxServerBase;

namespace kor {

class OneWindow {
 public:
  explicit OneWindow(const KorText& settingsName);
  ~OneWindow();

  // True when no other window of that name runs. Otherwise the other one has been asked to show
  // itself.
  bool IsFirst() const { return first; }
  // The other one hangs, and so does a thread that still asks it: end without unwinding.
  bool IsOtherSilent() const { return silent; }
  // Called on the window's thread when a second start asks for the window.
  void SetOnRaise(std::function<void()> raise);

 private:
  std::unique_ptr<wxSingleInstanceChecker> checker;
  std::unique_ptr<wxServerBase> server;
  std::function<void()> onRaise;
  bool first = true;
  bool silent = false;
};

} // namespace kor
