// How a second start of the program reaches the window of the first. Each toolkit has its own
// source file. Window's thread.
#pragma once

#include <functional>
#include <optional>

#include <wx/string.h>

namespace kor {

// Returns the folder of the lock and the socket; empty where the system knows them by name alone.
wxString SocketFolder();
// Returns what ask returns, and nothing when the other window doesn't answer. Ask may run on a
// thread of its own, and hang there.
std::optional<bool> AskInTime(const std::function<bool()>& ask);

} // namespace kor
