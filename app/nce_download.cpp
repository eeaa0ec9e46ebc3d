// Host file names, and downloads with their chains of files.
#include "app/nce_app.h"

#include <utility>

#include "app/nce_frame.h"

namespace kor {

namespace {

constexpr std::int32_t kMostRefusals = 3;
// At a program that somebody writes it is looked again after a second, five times.
constexpr double kLookPeriod = 1.0;
constexpr int kMostTries = 5;

} // namespace

void NCEApp::ShowNumberTitle() {
  ShowTitle(modelName + u"  " + numberText);
}

void NCEApp::ApplyHybridNumber() {
  const HybridNumber split = SplitHybridNumber(numberText);
  numberText = split.firstSheet;
  hybridLastSheet = split.lastSheet;
}

// The folder carries its own separator.
KorText NCEApp::MakePcFileName(const KorText& folder, const SpecialFeatures& features) {
  numberText = RequestNumber(requestText);
  if (features.hybridNumber != 0) ApplyHybridNumber();
  const bool chainOfSheets = features.autoloadSequential != 0 && features.hybridNumber != 0;
  if (features.stripPcZeros != 0 && !chainOfSheets) numberText = StripLeadingZeros(numberText);
  pcFilePath = folder + numberText + u"." + workerSettings.fileExtension;
  ShowNumberTitle();
  return pcFilePath;
}

KorText NCEApp::MakeModel500FileName(const KorText& folder) {
  numberText = Model500Name(requestText);
  pcFilePath = folder + numberText; // the name brings its extension
  ShowNumberTitle();
  return pcFilePath;
}

void NCEApp::OnDownloadRequest(const KorText& line) {
  requestText = line;
  board.SetFileName(RequestNumber(line)); // until its file is known
  looks = 0;
  DelayDownload();
}

NcProgram::Result NCEApp::OpenProgram(const KorText& path) {
  board.SetFileName(path);
  return NamesFile(numberText) ? ReadProgram(path) : NcProgram::Result::CantOpen;
}

// What belongs to the download before: a refusal before the first frame must not bring it back.
void NCEApp::ForgetWaits() {
  frameText.clear();
  nakCount = 0;
  waiting = Waiting::Nothing;
  fileAwaited = frameIsOwed = false;
}

// False when it was looked often enough; the user is told then.
bool NCEApp::LookAgain(const KorText& path, std::function<void()> look) {
  if (looks++ == kMostTries) {
    TellRefusal(NcProgram::Result::BeingWritten, path);
    return false;
  }
  Delay(kLookPeriod, std::move(look));
  return true;
}

void NCEApp::StartDownload() {
  FinishTransfer();
  upload.Discard();
  ForgetWaits();
  begun = {workerFeatures, workerSettings.downloadPath, workerSettings.fileExtension};
  auto opened = NcProgram::Result::CantOpen;
  if (model500) opened = OpenProgram(MakeModel500FileName(begun.folder));
  // Only where there is no such file: one that is refused must not bring another program.
  if (opened == NcProgram::Result::CantOpen)
    opened = OpenProgram(MakePcFileName(begun.folder, begun.features));
  if (opened == NcProgram::Result::BeingWritten &&
      LookAgain(pcFilePath, [this] { DownloadNow(); })) {
    board.SetCount(0);
    EnterStatus(LinkStatus::DownloadWaiting);
    return;
  }
  if (opened != NcProgram::Result::Read) {
    EnterStatus(LinkStatus::DownloadCantOpen);
    Reply(KorText::Format(u"%%%% File %s not found on Host Computer", numberText));
    return;
  }
  const auto size = static_cast<std::int64_t>(program.FileSize());
  board.BeginCount(size);
  EnterStatus(LinkStatus::DownloadPreparation);
  const std::int32_t number = numberText.ToInteger();
  // Intended: only the form without zeros carries the words.
  if (begun.features.stripNceZeros != 0)
    Reply(KorText::Format(u"Download to NCE in progress. &LP %i", number));
  else
    Reply(KorText::Format(u"&LP %09i", number));
}

void NCEApp::OnAcknowledge() {
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
    if (!simulation) Reply(u"UDL>");
    break;
  default:
    Reply(u">");
    if (unexpectedAckCount < INT32_MAX) ++unexpectedAckCount;
    return;
  }
  unexpectedAckCount = 0;
}

// Whole lines, each followed by "!"; empty lines are never sent.
std::string NCEApp::NextBlock() {
  std::string block;
  while (block.size() <= kFullBlock) {
    const auto line = program.NextLine();
    if (!line) break;
    if (line->empty()) continue;
    block += *line;
    block += '!';
  }
  return block;
}

void NCEApp::SendNextFrame() {
  // A file of an autoload chain without a line to send brings no frame: the file after it answers
  // the same ">", so that the controller never waits for nothing.
  do {
    frameIsOwed = fileAwaited;
    if (fileAwaited) return;
    SendFrameOrEnd();
  } while (frameText.empty() && Status() == LinkStatus::Downloading);
}

void NCEApp::SendFrameOrEnd() {
  const std::string block = NextBlock();
  frameText.clear();
  if (!block.empty()) {
    frameText = MakeFrame(block);
    board.AddCount(static_cast<std::int64_t>(block.size()) + 2);
    EnterStatus(LinkStatus::Downloading);
    ShowProgress(board.Count(), board.Total());
    channel.SendBytes(frameText);
  }
  if (!program.AtEnd()) return;
  looks = 0;
  if (begun.features.autoloadSequential == 0 || manual.IsRunning())
    EndDownload();
  else if (frameText.empty())
    LoadNextSequentialFile();
  else
    waiting = Waiting::NextFile;
}

void NCEApp::EndDownload() {
  board.SetCount(board.Total());
  ShowProgress(board.Total(), board.Total());
  EnterStatus(LinkStatus::DownloadCompleted);
  Reply(u"]");
  FinishTransfer();
}

// The next file of the chain follows in the same stream: the controller's next ">" brings its first
// frame, with no end mark between the files.
void NCEApp::LoadNextSequentialFile() {
  fileAwaited = false;
  const auto next = NextNumber(numberText, begun.features, hybridLastSheet);
  if (!next) {
    EndDownload();
    return;
  }
  const KorText path = begun.folder + *next + u"." + begun.extension;
  const NcProgram::Result opened = ReadProgram(path);
  if (opened == NcProgram::Result::CantOpen) {
    EndDownload();
    ShowTitle(numberText); // intended: without the model name, as for the files of a chain
    return;
  }
  fileAwaited =
      opened == NcProgram::Result::BeingWritten && LookAgain(path, [this] { LookForNextFile(); });
  if (fileAwaited) return;
  if (opened != NcProgram::Result::Read) { // the end mark would say that all is there
    board.SetFileName(path);
    BreakOffDownload();
    return;
  }
  numberText = *next;
  pcFilePath = path;
  board.SetFileName(path);
  ShowTitle(numberText);
  const auto size = static_cast<std::int64_t>(program.FileSize());
  board.BeginCount(size);
  EnterStatus(LinkStatus::Downloading);
}

void NCEApp::LookForNextFile() {
  if (!fileAwaited || Status() != LinkStatus::Downloading) return;
  LoadNextSequentialFile();
  if (frameIsOwed && Status() == LinkStatus::Downloading) SendNextFrame();
}

void NCEApp::OnRefuse() {
  if (Status() != LinkStatus::Downloading) return;
  if (frameIsOwed) return; // the last frame was accepted, and the next one is not there yet
  if (++nakCount >= kMostRefusals) {
    ShowProgress(0, 0);
    EnterStatus(LinkStatus::DownloadErrors);
    FinishTransfer();
    return;
  }
  channel.SendBytes(frameText);
}

bool NCEApp::LoadTransfer(const KorText& path, std::int64_t& size) {
  ForgetWaits();
  const NcProgram::Result opened = ReadProgram(path);
  if (opened == NcProgram::Result::BeingWritten) TellRefusal(opened, path);
  if (opened != NcProgram::Result::Read) return false;
  size = static_cast<std::int64_t>(program.FileSize());
  return true;
}

} // namespace kor
