#include "ui/wx/one_window.h"

#include <wx/filename.h>
#include <wx/ipc.h>
#include <wx/log.h>

#include "ui/wx/other_window.h"

namespace kor {

namespace {

constexpr const char* kTopic = "raise";

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

} // namespace

// Takes over what a killed program left behind.
OneWindow::OneWindow(const KorText& settingsName) {
  const wxLogNull quiet;
  const wxString folder = SocketFolder(), name = SafeName(settingsName);
  const wxString service = wxFileName(folder, name).GetFullPath();
  checker = std::make_unique<wxSingleInstanceChecker>();
  checker->Create(name + ".lock", folder);
  if (checker->IsAnotherRunning()) {
    const auto raised = AskInTime([service] { return AskToRaise(service); });
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
