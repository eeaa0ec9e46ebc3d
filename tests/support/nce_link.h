// NceLink: a whole NCEApp on a scripted line, with a hand-moved clock and no thread: the test
// polls.
#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "app/nce_app.h"
#include "tests/support/fake_serial_port.h"
#include "tests/support/recording_form.h"
#include "tests/support/test_app.h"

namespace kor {

// Lets a test see what the link holds in memory, and give it a role that no form sets.
class WatchedNce : public NCEApp {
 public:
  using NCEApp::NCEApp;
  using NCEApp::SetPingText;
  void DncClientStep() override { ++clientSteps; }
  std::uint64_t HeldBytes() {
    return WorkerSide().Program().FileSize() + WorkerSide().Line().SendLength();
  }
  void SetDnc(std::int32_t synchronisation, std::int32_t serverRole) {
    ChangeSettings([&](LinkSettings& changed) {
      changed.dncSynchronisation = synchronisation;
      changed.dncServerRole = serverRole;
    });
  }
  int clientSteps = 0;
};

// Has one field of the settings form changed; what is wrong with it.
inline KorText ChangeSetting(DownloadApp& app, const char16_t* key, const KorText& value) {
  FormDescription form = app.SettingsForm();
  form.Find(key)->value = value;
  return app.AcceptSettings(form);
}

class NceLink {
 public:
  NceLink() {
    port.UseClock([this](double seconds) { app.Advance(seconds); });
    app.MakeFolder(Folder());
  }

  // profile: lines of the settings file's "Port Settings", which go before the usual ones.
  void Start(const KorText& commandLine = {}, const KorText& profile = {},
             const KorText& otherSections = {}) {
    const KorText model = commandLine.IsEmpty() ? KorText(u"NCE") : commandLine;
    app.Put(app.Path(u"settings/") + model + u".INI",
            u"[Port Settings]\n" + profile + u"transmit delay=0\n" + otherSections);
    Open(commandLine);
  }

  // A start on the settings file as it stands.
  void Open(const KorText& commandLine = {}) {
    Close();
    link = std::make_unique<WatchedNce>(Services(), commandLine);
    link->SetUpServices();
    link->BuildWindow();
    Run();
  }

  // Runs what the link has posted first, since that holds the link.
  void Close() {
    form.RunPosted();
    link.reset();
  }

  EngineServices Services(bool startWorker = false) {
    return {&port, &form, {}, Folder(), startWorker};
  }

  KorText Folder() const { return app.Root() + u"cnc/"; }
  void PutProgram(const KorText& name, const KorText& content) {
    app.Put(Folder() + name, content);
  }

  // Polls until the link is idle, at most so many times.
  void Run(int polls = 1000) {
    while (polls-- > 0 && link->Poll()) {
    }
    form.RunPosted();
  }

  // Has the user ask for something, and the link do it.
  template <class Operation, class... Args> void Do(Operation operation, Args&&... args) {
    std::invoke(operation, *link, std::forward<Args>(args)...);
    Run();
  }

  // Returns what the link sends in answer to bytes on the line.
  std::string Send(std::string_view bytes) {
    port.TakeWritten();
    port.Deliver(bytes);
    Run();
    return port.TakeWritten();
  }
  // A request and its CR.
  std::string Ask(std::string_view request) { return Send(std::string(request) + "\r"); }

  // A download up to its first frame, which is returned; an upload up to its first line.
  std::string BeginDownload(const std::string& number) {
    Ask("FH " + number);
    Ask(">");
    return Ask(">");
  }
  std::string BeginUpload(const std::string& number) { // named by the last download request
    Ask("FH " + number);
    return Ask("TH " + number);
  }
  // Lets that time pass; what the link has sent since it was last asked.
  std::string After(double seconds) {
    app.Advance(seconds);
    link->RunDueTimers();
    Run();
    return port.TakeWritten();
  }

  WatchedNce& Watched() { return dynamic_cast<WatchedNce&>(*link); }
  std::uint64_t HeldBytes() { return Watched().HeldBytes(); }
  LinkStatus Code() { return link->CurrentStatus().code; }
  KorText Line() { return link->CurrentStatus().line; }

  TestApp app;
  FakeSerialPort port;
  RecordingForm form;
  std::unique_ptr<NCEApp> link;
};

} // namespace kor
