#include "app/nce_app.h"

#include <utility>

#include "files/member.h"

namespace kor {

namespace {

NceModes ModesOf(const KorText& commandLine) {
  return {commandLine.Contains(u"SIMULATION"), commandLine.Contains(u"500")};
}

} // namespace

KorText ModelNameOf(const KorText& commandLine) {
  return commandLine.IsEmpty() ? KorText(kDefaultModelName) : commandLine;
}

NCEApp::NCEApp(EngineServices engineServices, const KorText& commandLine)
    : DownloadApp(std::move(engineServices), ModelNameOf(commandLine)),
      protocol(WorkerSide(), ModelNameOf(commandLine), ModesOf(commandLine)) {
  PresetSettings([](LinkSettings& settings) { settings.fileExtension = u"MPG"; });
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
  Window().ShowSpecialButton();
}

NCEApp::~NCEApp() {
  StopWorker(); // Before the protocol, which it uses, is destroyed.
}

void NCEApp::BeforeServing() {
  protocol.SetFeatures(windowFeatures);
}

} // namespace kor
