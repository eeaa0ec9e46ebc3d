#include "ui/wx/other_window.h"

namespace kor {

// Windows knows the lock and the service by name alone, for each user's session.
wxString SocketFolder() {
  return {};
}

// Windows has a limit of its own, and lets only a thread with a message loop ask.
std::optional<bool> AskInTime(const std::function<bool()>& ask) {
  return ask();
}

} // namespace kor
