// Uploads from the controller.
#include "app/nce_app.h"

#include <algorithm>

#include "services/core/path_text.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

constexpr std::int64_t kUploadRange = 10000; // of the progress bar; an upload's size is not known
constexpr std::size_t kShortestData = 4;     // length and checksum digits of an upload line

} // namespace

// Intended: the number is that of the last "FH " request; what follows "TH " plays no part.
void NCEApp::OnUploadRequest() {
  FinishTransfer();
  const KorText path = MakePcFileName(workerSettings.uploadPath, workerFeatures);
  board.SetFileName(path);
  if (!NamesFile(numberText) || !OpenUpload(path)) {
    upload.AwaitEndMark(); // the controller may send its lines all the same
    EnterStatus(LinkStatus::UploadCantOpen);
    Reply(u"%% Unable to create file on Host Computer");
    return;
  }
  ShowProgress(0, kUploadRange);
  BeginUpload(UploadNote(false));
  Reply(
      KorText::Format(u"Upload from NCE  in progress. &TH %s", numberText)); // two blanks intended
}

// A program without a number is a hidden file that no request finds.
KorText NCEApp::UploadNote(bool isCut) const {
  if (isCut) return LookUpText(kTexts.uploadCutShort);
  if (!numberText.IsEmpty() || manual.IsRunning()) return {};
  return KorText::Format(LookUpText(kTexts.uploadWithoutNumber), FileNameOfPath(pcFilePath));
}

void NCEApp::OnUploadData(const KorText& line) {
  if (line.Contains(u"]")) {
    OnUploadEnd(line);
    return;
  }
  if (line.Length() < kShortestData) {
    Reply(u"<");
    return;
  }
  // Length and checksum digits are stripped and, leniently, not checked.
  std::string data = line.Mid(2, line.Length() - kShortestData).ToBytes();
  std::replace(data.begin(), data.end(), '!', '\n');
  if (!upload.Write(data)) {
    OnUploadFailed();
    return;
  }
  CountReceived(line.Length());
  ShowProgress(std::min(board.Count(), kUploadRange), kUploadRange);
  Reply(u">");
}

void NCEApp::OnUploadFailed() {
  upload.Discard();
  ShowProgress(0, 0);
  EnterStatus(LinkStatus::UploadErrors);
  Reply(u"<");
  FinishTransfer();
}

// Intended: "]" in the text of a data line ends the upload, too. What follows such a line is the
// rest of the same program, and no request.
void NCEApp::OnUploadEnd(const KorText& line) {
  const bool isCut = line.Contains(u"!");
  if (!isCut) upload.EndMarkCame();
  if (!CommitUpload()) {
    OnUploadFailed();
    return;
  }
  ShowProgress(0, 0);
  EnterStatus(LinkStatus::UploadCompleted, UploadNote(isCut));
  Reply(u">");
  FinishTransfer();
}

} // namespace kor
