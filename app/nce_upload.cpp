// Uploads from the controller.
#include "app/nce_protocol.h"

#include <algorithm>

#include "services/core/path_text.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

constexpr std::int64_t kUploadRange = 10000; // of the progress bar; an upload's size is not known
constexpr std::size_t kShortestData = 4;     // length and checksum digits of an upload line

} // namespace

// Intended: the number is that of the last "FH " request; what follows "TH " plays no part.
void NceProtocol::OnUploadRequest() {
  exchange.MakeWay();
  const KorText path = MakePcFileName(exchange.Settings().uploadPath, features);
  Board().SetFileName(path);
  endMarkAwaited = true; // also of a refused one: the controller may send its lines all the same
  if (!NamesFile(numberText) || !exchange.OpenUpload(path)) {
    EnterStatus(LinkStatus::UploadCantOpen);
    Reply(u"%% Unable to create file on Host Computer");
    return;
  }
  Board().SetBar(0, kUploadRange);
  exchange.Upload().Begin(UploadNote());
  Reply(
      KorText::Format(u"Upload from NCE  in progress. &TH %s", numberText)); // two blanks intended
}

// A program without a number is a hidden file that no request finds.
KorText NceProtocol::UploadNote() const {
  if (!numberText.IsEmpty() || exchange.IsByHand()) return {};
  return KorText::Format(LookUpText(kTexts.uploadWithoutNumber), FileNameOfPath(pcFilePath));
}

void NceProtocol::OnUploadData(const KorText& line) {
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
  if (!exchange.Upload().Write(data)) {
    OnUploadFailed();
    return;
  }
  exchange.Upload().Count(line.Length());
  Board().SetBar(std::min(Board().BytesDone(), kUploadRange), kUploadRange);
  Reply(u">");
}

void NceProtocol::OnUploadFailed() {
  exchange.Upload().Discard();
  Board().SetBar(0, 0);
  EnterStatus(LinkStatus::UploadErrors);
  Reply(u"<");
  exchange.FinishTransfer();
}

// Intended: "]" in the text of a data line ends the upload, too. What follows such a line is the
// rest of the same program, and no request.
void NceProtocol::OnUploadEnd(const KorText& line) {
  const bool isCut = line.Contains(u"!");
  if (!isCut) endMarkAwaited = false;
  if (!exchange.Upload().Commit()) {
    OnUploadFailed();
    return;
  }
  Board().SetBar(0, 0);
  exchange.Status().Enter(LinkStatus::UploadCompleted,
                          isCut ? LookUpText(kTexts.uploadCutShort) : UploadNote());
  Reply(u">");
  exchange.FinishTransfer();
}

} // namespace kor
