#include "app/nce_app.h"

#include <utility>

#include "files/member.h"

namespace kor {

KorText ModelNameOf(const KorText& commandLine) {
  return commandLine.IsEmpty() ? KorText(kDefaultModelName) : commandLine;
}

NCEApp::NCEApp(EngineServices engineServices, const KorText& commandLine)
    : DownloadApp(std::move(engineServices), ModelNameOf(commandLine)),
      simulation(commandLine.Contains(u"SIMULATION")), model500(commandLine.Contains(u"500")) {
  windowSettings.fileExtension = u"MPG";
}

std::span<const MemberDescription> NCEApp::Members() {
  static constexpr auto kFeatures = &NCEApp::windowFeatures;
  static constexpr MemberDescription kMembers[] = {
      Member<kFeatures, &SpecialFeatures::autoloadSequential>(u"autoload sequential files"),
      Member<kFeatures, &SpecialFeatures::stripPcZeros>(u"strip PC zeros"),
      Member<kFeatures, &SpecialFeatures::stripNceZeros>(u"strip NCE zeros"),
      Member<kFeatures, &SpecialFeatures::hybridNumber>(u"LLLSSES number"),
  };
  return kMembers;
}

// The features end their record; the engine's settings follow as one of their own.
void NCEApp::Transfer(DiskFile& file) {
  file.TransferMembers(*this, Members());
  EndRecord(file);
  file.TransferBase<DownloadApp>(*this);
}

void NCEApp::BuildWindow() {
  DownloadApp::BuildWindow();
  services.window->ShowSpecialButton();
}

NCEApp::~NCEApp() {
  StopWorker();
} // it uses the members that go now

void NCEApp::BeforeServing() {
  workerFeatures = windowFeatures;
}

// --- After a reply ---

// An exchange that something else has ended meanwhile asks for nothing any more.
void NCEApp::DoWhatWaits() {
  const Waiting what = std::exchange(waiting, Waiting::Nothing);
  if (what == Waiting::Listing && Status() == LinkStatus::DirectoryListing) ListDirectory();
  if (what == Waiting::NextFile && Status() == LinkStatus::Downloading) LoadNextSequentialFile();
}

// The simulation answers itself.
void NCEApp::PollIdle() {
  if (channel.IsSending()) return; // a held line has not taken the last reply yet
  DoWhatWaits();
  if (!simulation || Status() == LinkStatus::DownloadWaiting) return;
  if (Status() == LinkStatus::Waiting) {
    requestText = u"FH 0000001";
    DownloadNow();
  } else {
    OnAcknowledge();
  }
}

} // namespace kor
