// Which line is which request, and what answers those that transfer nothing.
#include "app/nce_app.h"

namespace kor {

namespace {

constexpr std::uint8_t kCarriageReturn = 13;

// A whole line that can be no part of a frame.
bool IsPlainRequest(const KorText& line) {
  for (const char16_t* word : {u"~end", u"~", u"DH", u"XYZ"})
    if (line == word) return true;
  const bool named = line.StartsWith(u"FH ") || line.StartsWith(u"TH ");
  return named && line.View().find_first_not_of(u"0123456789 \t", 3) == KorText::kNone;
}

} // namespace

void NCEApp::Reply(const KorText& text) {
  channel.SendText(KorText::Format(u"%s%c", text, static_cast<char16_t>(kCarriageReturn)));
}

void NCEApp::ProcessReceived() {
  // A reply that the line has not taken yet holds back the next request.
  while (!channel.IsReplyWaiting() && !IsEnding()) {
    const auto line = channel.ExtractLine(kCarriageReturn, false);
    if (!line) return;
    if (line->empty()) return; // intended: what follows an empty line waits for the next call
    Dispatch(KorText::FromBytes(*line));
  }
}

// What still comes of an upload that has ended on this side is refused until its end mark or a request
// that can be nothing else: a comment such as "(DEPTH 5)" holds the text of one. True when that was the
// line.
bool NCEApp::RefuseRest(const KorText& line) {
  if (!upload.IsEndMarkAwaited() || line == u">" || line == u"<") return false;
  const bool isRequest = IsPlainRequest(line.Trimmed());
  const bool isEndMark = line.Trimmed().EndsWith(u"]") && !line.Contains(u"!");
  if (isRequest || isEndMark) upload.EndMarkCame();
  if (!isRequest) Reply(u"<");
  return !isRequest;
}

// The first test that holds decides; each looks for its text anywhere in the line.
void NCEApp::Dispatch(const KorText& line) {
  DoWhatWaits();
  if (Status() == LinkStatus::Uploading) {
    OnUploadData(line);
  } else if (RefuseRest(line)) {
    return;
  } else if (line.Contains(u"~end")) {
    BreakOffDownload();
    Reply(u"END");
  } else if (line.Contains(u"~")) {
    BreakOffDownload();
    Reply(u"UDL>");
  } else if (line.Contains(u"DH")) {
    OnDirectoryRequest();
  } else if (line.Contains(u"XYZ")) {
    OnLoopTest();
  } else if (line.Contains(u"TH ")) {
    OnUploadRequest();
  } else if (line.Contains(u"FH ")) {
    OnDownloadRequest(line);
  } else if (line.Contains(u">")) {
    OnAcknowledge();
  } else if (line.Contains(u"<")) {
    OnRefuse();
  } else if (Status() == LinkStatus::Downloading) {
    BreakOffDownload();
  } else {
    Reply(u"%% Message not recognised by HOST");
  }
}

void NCEApp::BreakOffDownload() {
  if (Status() != LinkStatus::Downloading) return;
  EnterStatus(LinkStatus::DownloadErrors);
  FinishTransfer();
}

void NCEApp::OnLoopTest() {
  FinishTransfer(); // it takes the place of a download that ran; so below
  EnterStatus(LinkStatus::LoopBackTest);
  Reply(u"ABCDEFGHIJKLMNOPQRSTUVWXYZ");
}

} // namespace kor
