#include "ui/wx/one_window.h"

#include <chrono>
#include <future>
#include <optional>
#include <thread>

#include <wx/filename.h>
#include <wx/ipc.h>
#include <wx/log.h>
#include <wx/socket.h>
#include <wx/stdpaths.h>
#include <wx/utils.h>

namespace kor {

namespace {

constexpr const char* kTopic = "raise";
constexpr std::chrono::seconds kPatience(3); // with a window that may be busy

// Returns a name that every file system takes.
wxString SafeName(const KorText& settingsName) {
  wxString safe = "ncedl-";
  for (const char16_t c : settingsName.View())
    safe += wxString::Format("%04x", static_cast<unsigned>(c));
  return safe;
}

class RaiseServer : public wxServer {
 public:
  explicit RaiseServer(const std::function<void()>& raiseWindow) : raise(raiseWindow) {}
  wxConnectionBase* OnAcceptConnection(const wxString& topic) override {
    if (topic != kTopic) return nullptr;
    if (raise) raise();
    return new wxConnection;
  }

 private:
  const std::function<void()>& raise;
};

// False when nobody answers.
bool AskToRaise(const wxString& service) {
  wxClient client;
  const std::unique_ptr<wxConnectionBase> connection(
      client.MakeConnection("localhost", service, kTopic));
  return connection != nullptr;
}

bool IsWindows() {
  return (wxGetOsVersion() & wxOS_WINDOWS) != 0;
}

// Returns nothing when the other window is there and doesn't answer. The toolkit itself would wait
// for ever. Windows has its own limit, and lets only a thread with a loop ask.
std::optional<bool> AskInTime(const wxString& service) {
  if (IsWindows()) return AskToRaise(service);
  wxSocketBase::Initialize();
  const auto answer = std::make_shared<std::promise<bool>>();
  std::future<bool> answered = answer->get_future();
  std::thread([answer, service] { answer->set_value(AskToRaise(service)); }).detach();
  if (answered.wait_for(kPatience) != std::future_status::ready) return std::nullopt;
  return answered.get();
}

// Returns a folder that only this user can write, and that is empty again after the computer was
// restarted. Windows knows lock and socket by name alone, for each user's session.
wxString SocketFolder() {
  wxString folder;
  if (IsWindows()) return folder;
  if (!wxGetEnv("XDG_RUNTIME_DIR", &folder) || !wxFileName::IsDirWritable(folder))
    folder = wxStandardPaths::Get().GetUserDataDir();
  if (!wxFileName::DirExists(folder)) wxFileName::Mkdir(folder, wxS_DIR_DEFAULT, wxPATH_MKDIR_FULL);
  return folder;
}

} // namespace

// Takes over what a killed program left behind.
OneWindow::OneWindow(const KorText& settingsName) {
  const wxLogNull quiet;
  const wxString folder = SocketFolder(), name = SafeName(settingsName);
  const wxString service = wxFileName(folder, name).GetFullPath();
  checker = std::make_unique<wxSingleInstanceChecker>();
  checker->Create(name + ".lock", folder);
  if (checker->IsAnotherRunning()) {
    const auto raised = AskInTime(service);
    silent = !raised;
    first = raised == false;
  }
  if (!first) return;
  server = std::make_unique<RaiseServer>(onRaise);
  if (!folder.empty() && wxFileName::FileExists(service)) wxRemoveFile(service);
  static_cast<RaiseServer&>(*server).Create(service);
}

OneWindow::~OneWindow() = default;

void OneWindow::SetOnRaise(std::function<void()> raise) {
  onRaise = std::move(raise);
}

} // namespace kor
