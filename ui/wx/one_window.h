// OneWindow: allows one window for each settings name. A second start finds the first, raises it
// and ends. A first one that doesn't answer within three seconds is reported as such. Window's
// thread.
#pragma once

#include <functional>
#include <memory>

#include <wx/string.h> // IWYU pragma: keep
// The toolkit's header for this class needs the header for texts before it.
#include <wx/snglinst.h>

#include "services/core/kor_text.h"

class wxServerBase;

namespace kor {

class OneWindow {
 public:
  explicit OneWindow(const KorText& settingsName);
  ~OneWindow();

  // True when no other window of that name runs. Otherwise the other one was asked to show itself.
  bool IsFirst() const { return first; }
  // True when the other window hangs. A thread that still asks it hangs as well, so the program has
  // to end without unwinding.
  bool IsOtherSilent() const { return silent; }
  // Sets what is called, on the window's thread, when a second start asks for the window.
  void SetOnRaise(std::function<void()> raise);

 private:
  std::unique_ptr<wxSingleInstanceChecker> checker;
  std::unique_ptr<wxServerBase> server;
  std::function<void()> onRaise;
  bool first = true;
  bool silent = false;
};

} // namespace kor
