// Uploads from the controller.
#include "app/nce_app.h"

#include <algorithm>

namespace kor {

namespace {

constexpr std::int64_t kUploadRange = 10000; // of the progress bar; an upload's size is not known
constexpr std::size_t kShortestData = 4;     // length and checksum digits of an upload line

} // namespace

// Intended: the number is that of the last "FH " request; what follows "TH " plays no part.
void NCEApp::OnUploadRequest() {
  FinishTransfer();
  const KorText path = MakePcFileName(workerSettings.uploadPath);
  board.SetFileName(path);
  if (!NamesFile(numberText) || !OpenUpload(path)) {
    EnterStatus(LinkStatus::UploadCantOpen);
    Reply(u"%% Unable to create file on Host Computer");
    return;
  }
  board.SetCount(0);
  ShowProgress(0, kUploadRange);
  EnterStatus(LinkStatus::Uploading);
  Reply(
      KorText::Format(u"Upload from NCE  in progress. &TH %s", numberText)); // two blanks intended
}

void NCEApp::OnUploadData(const KorText& line) {
  if (line.Contains(u"]")) {
    OnUploadEnd();
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
  board.AddCount(static_cast<std::int64_t>(line.Length()));
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

void NCEApp::OnUploadEnd() {
  upload.EndMarkCame();
  if (!CommitUpload()) {
    OnUploadFailed();
    return;
  }
  ShowProgress(0, 0);
  EnterStatus(LinkStatus::UploadCompleted);
  Reply(u">");
  FinishTransfer();
}

} // namespace kor
