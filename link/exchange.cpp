#include "link/exchange.h"

#include <utility>

#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

constexpr const char16_t* kDownloadTimer = u"DownloadApp::DownloadNow";

// What to do about it; empty where nothing is known.
KorText RemedyOf(PortTrouble trouble) {
  switch (trouble) {
  case PortTrouble::NotThere:
    return LookUpText(kTexts.plugInAdapter);
  case PortTrouble::NoServer:
    return LookUpText(kTexts.checkServer);
  case PortTrouble::InUse:
    return LookUpText(kTexts.closeOtherProgram);
  case PortTrouble::NotAllowed:
    return LookUpText(kTexts.deviceNotAllowed);
  case PortTrouble::Forbidden:
    return LookUpText(kTexts.deviceForbidden);
  case PortTrouble::Other:
  case PortTrouble::NotYet:
    break;
  }
  return {};
}

} // namespace

Exchange::Exchange(const ExchangeParts& parts, ExchangeHost& exchangeHost,
                   ProtocolHooks& protocolHooks)
    : timers(parts.timers), host(exchangeHost), hooks(protocolHooks), modelName(parts.modelName),
      status(parts.board, parts.display, exchangeHost),
      channel(parts.port, App().Clock(), parts.board, parts.log, parts.monitor, *this),
      upload(status, parts.window), manual(parts.window) {}

// --- The port ---

void Exchange::OpenPort(bool noSoftwareFlow) {
  // The channel forgets what was on its way: what came after the gap would be taken for the rest.
  Abandon();
  channel.Open(settings, modelName, noSoftwareFlow);
  if (!channel.IsOpen()) {
    status.Set(LinkStatus::NoLink);
  } else if (status.Code() == LinkStatus::NoLink) {
    status.Set(LinkStatus::Waiting);
  }
}

bool Exchange::Poll() {
  const bool moved = channel.Poll();
  upload.Watch();
  return moved;
}

void Exchange::ReportPortFailure(const KorText& caption, const KorText& systemText) {
  status.ShowMessage(caption, KorText::Format(u"%s\n%s", settings.port, systemText),
                     MessageStyle::Information);
}

void Exchange::OnPortTrouble(PortTrouble trouble, const KorText& systemText) {
  const KorText remedy = RemedyOf(trouble);
  const KorText sentence = systemText.EndsWith(u".") ? systemText : systemText + u".";
  status.Board().SetLinkReason(remedy.IsEmpty() ? sentence : sentence + u" " + remedy);
}

void Exchange::EnterAfterEnd(LinkStatus code) {
  Abandon();
  status.Enter(code);
}

void Exchange::StartLoopbackTest() {
  EnterAfterEnd(LinkStatus::Waiting);
  channel.StartLoopbackTest();
}

// --- How an exchange ends ---

void Exchange::End(LinkStatus downloadCode, LinkStatus uploadCode) {
  const bool uploading = status.Code() == LinkStatus::Uploading;
  const bool running = StopDelay() || IsExchange(status.Code());
  upload.Discard();
  if (running) status.Enter(uploading ? uploadCode : downloadCode);
  MakeWay();
}

void Exchange::CancelWhile(LinkStatus code) {
  if (status.Code() == code) Cancel();
}

void Exchange::CancelRunning() {
  if (isDelayed || IsExchange(status.Code()))
    Cancel();
  else
    status.ShowMessage(LookUpText(kTexts.cancelTransfer), LookUpText(kTexts.noTransferRuns),
                       MessageStyle::Information);
}

void Exchange::Settle(LinkStatus code) {
  CancelWhile(LinkStatus::Uploading);
  status.Enter(code);
}

void Exchange::FinishTransfer() {
  program.Clear();
  channel.SetSendSource({});
  manual.End();
}

void Exchange::MakeWay() {
  FinishTransfer();
  status.Board().SetBar(0, 0);
}

// --- Delayed download ---

bool Exchange::StopDelay() {
  timers.Delete(kDownloadTimer);
  return std::exchange(isDelayed, false);
}

void Exchange::DelayDownload() {
  StopDelay();
  MakeWay();
  if (settings.sendSot != 0)
    channel.SendCharacter(settings.sotCharacter, SerialChannel::Echo::NewLine);
  if (settings.transmitDelay < 1) {
    DownloadNow();
    return;
  }
  App().DebugOutput(
      KorText::Format(u"Download delayed for %i second(s).\n", settings.transmitDelay));
  status.Board().SetBytesDone(0);
  status.Enter(LinkStatus::DownloadWaiting);
  Delay(settings.transmitDelay, [this] { DownloadNow(); });
}

void Exchange::Delay(double seconds, std::function<void()> task) {
  isDelayed = true;
  // Only the worker deletes the timer: here it could be a newer request's by now.
  timers.Create(kDownloadTimer, seconds, App().HighResolutionSeconds(), TimerState::Started,
                [this, mine = ++delays, then = std::move(task)] {
                  host.RunOnWorker([this, mine, then] {
                    if (mine == delays && StopDelay()) then();
                  });
                });
}

void Exchange::DownloadNow() {
  StopDelay();
  status.Set(LinkStatus::DownloadPreparation);
  hooks.StartDownload();
}

// --- Sending ---

NcProgram::Result Exchange::ReadProgram(const KorText& path) {
  const NcProgram::Result result = program.Read(path);
  if (result != NcProgram::Result::BeingWritten) TellRefusal(result, path);
  return result;
}

void Exchange::TellRefusal(NcProgram::Result result, const KorText& path) {
  using enum NcProgram::Result;
  KorText why;
  if (result == LineTooLong) why = LookUpText(kTexts.notAsciiFile);
  if (result == Damaged) why = KorText::Format(LookUpText(kTexts.programDamaged), path);
  if (result == TooLarge) why = KorText::Format(LookUpText(kTexts.programTooLarge), path);
  if (result == BeingWritten) why = KorText::Format(LookUpText(kTexts.programStillWritten), path);
  if (!why.IsEmpty()) status.ShowMessage(u"Error", why, MessageStyle::Exclamation);
}

void Exchange::Send(const KorText& path) {
  if (ending) return;
  Abandon();
  status.Board().SetFileName(path);
  std::int64_t size = 0;
  if (!hooks.LoadTransfer(path, size)) {
    status.Enter(LinkStatus::DownloadCantOpen);
    return;
  }
  status.Board().BeginBytes(size);
  status.Enter(LinkStatus::Downloading);
  host.RememberPath(path);
  manual.Begin(EndDialog::Download, modelName + u"  " + path);
}

// --- Receiving ---

bool Exchange::OpenUpload(const KorText& path) {
  if (!upload.Open(path)) return false;
  StopDelay(); // a download that waits for it would break into the upload
  return true;
}

void Exchange::Receive(const KorText& path) {
  Abandon();
  hooks.AwaitUpload();
  if (!OpenUpload(path)) {
    status.Enter(LinkStatus::UploadCantOpen);
    return;
  }
  upload.Begin();
  manual.Begin(EndDialog::Upload, modelName + u"  " + path);
}

void Exchange::CompleteUpload() {
  const KorText caption = LookUpText(kTexts.uploadEnd);
  if (status.Code() != LinkStatus::Uploading) {
    status.ShowMessage(caption, LookUpText(kTexts.nothingReceived), MessageStyle::Information);
    return;
  }
  if (!manual.IsRunning()) {
    status.ShowMessage(caption, LookUpText(kTexts.onlyControllerCompletes),
                       MessageStyle::Exclamation);
    return;
  }
  status.Board().SetBar(0, 0);
  status.Enter(upload.Commit() ? LinkStatus::UploadCompleted : LinkStatus::UploadErrors);
  FinishTransfer();
}

} // namespace kor
