// Host file names, and downloads with their chains of files.
#include "app/nce_protocol.h"

#include <utility>

#include "app/nce_frame.h"
#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

constexpr std::int32_t kMostRefusals = 3;
// At a program that somebody writes it is looked again after a second, five times.
constexpr double kLookPeriod = 1.0;
constexpr int kMostTries = 5;

} // namespace

void NceProtocol::ShowNumberTitle() {
  exchange.Status().ShowTitle(modelName + u"  " + numberText);
}

void NceProtocol::ApplyHybridNumber() {
  const HybridNumber split = SplitHybridNumber(numberText);
  numberText = split.firstSheet;
  hybridLastSheet = split.lastSheet;
}

// The folder carries its own separator.
KorText NceProtocol::MakePcFileName(const KorText& folder, const SpecialFeatures& chosen) {
  numberText = RequestNumber(requestText);
  if (chosen.hybridNumber != 0) ApplyHybridNumber();
  const bool chainOfSheets = chosen.autoloadSequential != 0 && chosen.hybridNumber != 0;
  if (chosen.stripPcZeros != 0 && !chainOfSheets) numberText = StripLeadingZeros(numberText);
  pcFilePath = folder + numberText + u"." + exchange.Settings().fileExtension;
  ShowNumberTitle();
  return pcFilePath;
}

KorText NceProtocol::MakeModel500FileName(const KorText& folder) {
  numberText = Model500Name(requestText);
  pcFilePath = folder + numberText; // the name brings its extension
  ShowNumberTitle();
  return pcFilePath;
}

void NceProtocol::OnDownloadRequest(const KorText& line) {
  requestText = line;
  Board().SetFileName(RequestNumber(line)); // until its file is known
  looks = 0;
  exchange.DelayDownload();
}

NcProgram::Result NceProtocol::OpenProgram(const KorText& path) {
  Board().SetFileName(path);
  return NamesFile(numberText) ? exchange.ReadProgram(path) : NcProgram::Result::CantOpen;
}

// What belongs to the download before: a refusal before the first frame must not bring it back.
void NceProtocol::ForgetWaits() {
  frameText.clear();
  nakCount = 0;
  waiting = Waiting::Nothing;
  fileAwaited = frameIsOwed = false;
}

// False when it was looked often enough; the user is told then.
bool NceProtocol::LookAgain(const KorText& path, std::function<void()> look) {
  if (looks++ == kMostTries) {
    exchange.TellRefusal(NcProgram::Result::BeingWritten, path);
    return false;
  }
  exchange.Delay(kLookPeriod, std::move(look));
  return true;
}

void NceProtocol::StartDownload() {
  exchange.FinishTransfer();
  exchange.Upload().Discard();
  ForgetWaits();
  begun = {features, exchange.Settings().downloadPath, exchange.Settings().fileExtension};
  auto opened = NcProgram::Result::CantOpen;
  if (modes.model500) opened = OpenProgram(MakeModel500FileName(begun.folder));
  // Only where there is no such file: one that is refused must not bring another program.
  if (opened == NcProgram::Result::CantOpen)
    opened = OpenProgram(MakePcFileName(begun.folder, begun.features));
  if (opened == NcProgram::Result::BeingWritten &&
      LookAgain(pcFilePath, [this] { exchange.DownloadNow(); })) {
    Board().SetBytesDone(0);
    EnterStatus(LinkStatus::DownloadWaiting);
    return;
  }
  if (opened != NcProgram::Result::Read) {
    const bool isThere = begun.folder.IsEmpty() || App().FolderExists(begun.folder);
    EnterStatus(LinkStatus::DownloadCantOpen, isThere ? u"" : LookUpText(kTexts.adviceNoList));
    Reply(KorText::Format(u"%%%% File %s not found on Host Computer", numberText));
    return;
  }
  const auto size = static_cast<std::int64_t>(exchange.Program().FileSize());
  Board().BeginBytes(size);
  EnterStatus(LinkStatus::DownloadPreparation);
  const std::int32_t number = numberText.ToInteger();
  // Intended: only the form without zeros carries the words.
  if (begun.features.stripNceZeros != 0)
    Reply(KorText::Format(u"Download to NCE in progress. &LP %i", number));
  else
    Reply(KorText::Format(u"&LP %09i", number));
}

void NceProtocol::OnAcknowledge() {
  nakCount = 0;
  switch (Status()) {
  case LinkStatus::Downloading:
    SendNextFrame();
    break;
  case LinkStatus::DownloadPreparation:
    EnterStatus(LinkStatus::Downloading);
    Reply(KorText::Format(begun.features.stripNceZeros != 0
                              ? u"Download to NCE in progress. &FH %i"
                              : u"Download to NCE in progress. &FH %09i",
                          numberText.ToInteger()));
    break;
  case LinkStatus::DirectoryListing:
  case LinkStatus::DirectoryError: // the list is empty
    SendDirectoryPage();
    break;
  case LinkStatus::DownloadCompleted:
  case LinkStatus::UploadCompleted:
    if (!modes.simulation) Reply(u"UDL>");
    break;
  default:
    Reply(u">");
    if (unexpectedAckCount < INT32_MAX) ++unexpectedAckCount;
    return;
  }
  unexpectedAckCount = 0;
}

// Whole lines, each followed by "!"; empty lines are never sent.
std::string NceProtocol::NextBlock() {
  std::string block;
  while (block.size() <= kFullBlock) {
    const auto line = exchange.Program().NextLine();
    if (!line) break;
    if (line->empty()) continue;
    block += *line;
    block += '!';
  }
  return block;
}

void NceProtocol::SendNextFrame() {
  // A file of an autoload chain without a line to send brings no frame: the file after it answers
  // the same ">", so that the controller never waits for nothing.
  do {
    frameIsOwed = fileAwaited;
    if (fileAwaited) return;
    SendFrameOrEnd();
  } while (frameText.empty() && Status() == LinkStatus::Downloading);
}

void NceProtocol::SendFrameOrEnd() {
  const std::string block = NextBlock();
  frameText.clear();
  if (!block.empty()) {
    frameText = MakeFrame(block);
    Board().AddBytesDone(static_cast<std::int64_t>(block.size()) + 2);
    EnterStatus(LinkStatus::Downloading);
    Board().SetBar(Board().BytesDone(), Board().BytesTotal());
    exchange.Line().SendBytes(frameText);
  }
  if (!exchange.Program().AtEnd()) return;
  looks = 0;
  if (begun.features.autoloadSequential == 0 || exchange.IsByHand())
    EndDownload();
  else if (frameText.empty())
    LoadNextSequentialFile();
  else
    waiting = Waiting::NextFile;
}

void NceProtocol::EndDownload() {
  Board().SetBytesDone(Board().BytesTotal());
  Board().SetBar(Board().BytesTotal(), Board().BytesTotal());
  EnterStatus(LinkStatus::DownloadCompleted);
  Reply(u"]");
  exchange.FinishTransfer();
}

// The next file of the chain follows in the same stream: the controller's next ">" brings its first
// frame, with no end mark between the files.
void NceProtocol::LoadNextSequentialFile() {
  fileAwaited = false;
  const auto next = NextNumber(numberText, begun.features, hybridLastSheet);
  if (!next) {
    EndDownload();
    return;
  }
  const KorText path = begun.folder + *next + u"." + begun.extension;
  const NcProgram::Result opened = exchange.ReadProgram(path);
  if (opened == NcProgram::Result::CantOpen) {
    EndDownload();
    exchange.Status().ShowTitle(
        numberText); // intended: without the model name, as for the files of a chain
    return;
  }
  fileAwaited =
      opened == NcProgram::Result::BeingWritten && LookAgain(path, [this] { LookForNextFile(); });
  if (fileAwaited) return;
  if (opened != NcProgram::Result::Read) { // the end mark would say that all is there
    Board().SetFileName(path);
    BreakOffDownload();
    return;
  }
  numberText = *next;
  pcFilePath = path;
  Board().SetFileName(path);
  exchange.Status().ShowTitle(numberText);
  const auto size = static_cast<std::int64_t>(exchange.Program().FileSize());
  Board().BeginBytes(size);
  EnterStatus(LinkStatus::Downloading);
}

void NceProtocol::LookForNextFile() {
  if (!fileAwaited || Status() != LinkStatus::Downloading) return;
  LoadNextSequentialFile();
  if (frameIsOwed && Status() == LinkStatus::Downloading) SendNextFrame();
}

void NceProtocol::OnRefuse() {
  if (Status() != LinkStatus::Downloading) return;
  if (frameIsOwed) return; // the last frame was accepted, and the next one is not there yet
  if (++nakCount >= kMostRefusals) {
    Board().SetBar(0, 0);
    exchange.Status().Enter(LinkStatus::DownloadErrors, LookUpText(kTexts.refusedThreeTimes));
    exchange.FinishTransfer();
    return;
  }
  exchange.Line().SendBytes(frameText);
}

bool NceProtocol::LoadTransfer(const KorText& path, std::int64_t& size) {
  ForgetWaits();
  const NcProgram::Result opened = exchange.ReadProgram(path);
  if (opened == NcProgram::Result::BeingWritten) exchange.TellRefusal(opened, path);
  if (opened != NcProgram::Result::Read) return false;
  size = static_cast<std::int64_t>(exchange.Program().FileSize());
  return true;
}

} // namespace kor
