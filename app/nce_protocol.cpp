// Which line is which request, and what answers those that transfer nothing.
#include "app/nce_protocol.h"

#include <utility>

namespace kor {

namespace {

constexpr std::uint8_t kCarriageReturn = 13;

// "]", alone or with the digits of a frame around it.
bool IsBareEndMark(const KorText& line) {
  return line.Contains(u"]") &&
         line.View().find_first_not_of(u"0123456789ABCDEF] ") == KorText::kNone;
}

bool IsRequest(const KorText& line) {
  const auto holds = [&](const char16_t* word) { return line.Contains(word); };
  return holds(u"~") || holds(u"DH") || holds(u"XYZ") || holds(u"TH ") || holds(u"FH ");
}

} // namespace

void NceProtocol::Reply(const KorText& text) {
  exchange.Line().SendText(KorText::Format(u"%s%c", text, static_cast<char16_t>(kCarriageReturn)));
}

void NceProtocol::ProcessReceived() {
  // A reply that the line has not taken yet holds back the next request.
  while (!exchange.Line().IsReplyWaiting() && !exchange.IsEnding()) {
    const auto line =
        exchange.Line().ExtractLine(kCarriageReturn, SerialChannel::EndCharacter::Dropped);
    if (!line) return;
    if (line->empty()) return; // intended: what follows an empty line waits for the next call
    Dispatch(KorText::FromBytes(*line));
  }
}

// Lines of a program hold "!", requests don't. What still comes of an upload that has ended on this
// side is refused until its end mark or a request: a comment such as "(DEPTH 5)" holds the text of
// one. What is neither ends nothing: it may be the end of a torn line. True when it was refused.
bool NceProtocol::RefuseRest(const KorText& line) {
  if (!endMarkAwaited) return false;
  const bool isData = line.Contains(u"!");
  const bool isEndMark = !isData && IsBareEndMark(line);
  if (isEndMark || (!isData && IsRequest(line))) endMarkAwaited = false;
  if (!isData && !isEndMark) return false;
  BreakOffDownload(); // a file that is sent by hand meanwhile
  Reply(u"<");
  return true;
}

// The first test that holds decides; each looks for its text anywhere in the line.
void NceProtocol::Dispatch(const KorText& line) {
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

void NceProtocol::BreakOffDownload() {
  if (Status() != LinkStatus::Downloading) return;
  EnterStatus(LinkStatus::DownloadErrors);
  exchange.FinishTransfer();
}

void NceProtocol::OnLoopTest() {
  exchange.MakeWay();
  EnterStatus(LinkStatus::LoopBackTest);
  Reply(u"ABCDEFGHIJKLMNOPQRSTUVWXYZ");
}

// --- After a reply ---

// An exchange that something else has ended meanwhile asks for nothing any more.
void NceProtocol::DoWhatWaits() {
  const Waiting what = std::exchange(waiting, Waiting::Nothing);
  if (what == Waiting::Listing && Status() == LinkStatus::DirectoryListing) ListDirectory();
  if (what == Waiting::NextFile && Status() == LinkStatus::Downloading) LoadNextSequentialFile();
}

// The simulation answers itself.
void NceProtocol::PollIdle() {
  if (exchange.Line().IsSending()) return; // a held line has not taken the last reply yet
  DoWhatWaits();
  if (!modes.simulation || Status() == LinkStatus::DownloadWaiting) return;
  if (Status() == LinkStatus::Waiting) {
    requestText = u"FH 0000001";
    exchange.DownloadNow();
  } else {
    OnAcknowledge();
  }
}

} // namespace kor
