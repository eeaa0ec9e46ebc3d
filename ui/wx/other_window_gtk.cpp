#include "ui/wx/other_window.h"

#include <chrono>
#include <future>
#include <memory>
#include <thread>

#include <wx/filename.h>
#include <wx/socket.h>
#include <wx/stdpaths.h>
#include <wx/utils.h>

namespace kor {

// Only this user can write to XDG_RUNTIME_DIR, which is empty again after a restart of the system.
wxString SocketFolder() {
  wxString folder;
  if (!wxGetEnv("XDG_RUNTIME_DIR", &folder) || !wxFileName::IsDirWritable(folder))
    folder = wxStandardPaths::Get().GetUserDataDir();
  if (!wxFileName::DirExists(folder)) wxFileName::Mkdir(folder, wxS_DIR_DEFAULT, wxPATH_MKDIR_FULL);
  return folder;
}

// The toolkit itself would wait for ever.
std::optional<bool> AskInTime(const std::function<bool()>& ask) {
  constexpr std::chrono::seconds kPatience(3); // with a window that may be busy
  wxSocketBase::Initialize();
  const auto answer = std::make_shared<std::promise<bool>>();
  std::future<bool> answered = answer->get_future();
  std::thread([answer, ask] { answer->set_value(ask()); }).detach();
  if (answered.wait_for(kPatience) != std::future_status::ready) return std::nullopt;
  return answered.get();
}

} // namespace kor
