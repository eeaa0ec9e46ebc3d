#include "ui/link_status.h"

#include <algorithm>
#include <array>

#include "services/core/path_text.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

// How a state's text is formed from its wording.
enum class Pattern {
  None,     // no text of its own: the previous one stays
  Fixed,    // the wording as it is
  Named,    // followed by the file's name
  Sent,     // a format of the name, the count and the total
  Counted,  // a format of the name and the count
  Machines, // a format of the two machine names
};

enum class Traffic { None, Coming, Running };

constexpr UserText kNoPhrase{};
constexpr UserText kNoLink = kTexts.noLink;
constexpr UserText kReady = kTexts.ready;
constexpr UserText kPreparing = kTexts.preparing;
constexpr UserText kSending = kTexts.sending;
constexpr UserText kReceiving = kTexts.receiving;
constexpr UserText kSent = kTexts.sent;
constexpr UserText kReceived = kTexts.received;
constexpr UserText kNotFound = kTexts.programNotFound;
constexpr UserText kFailed = kTexts.failed;
constexpr UserText kCancelled = kTexts.cancelled;
constexpr UserText kListing = kTexts.listingPrograms;
constexpr UserText kTestPassed = kTexts.lineTestPassed;
constexpr UserText kTestFailed = kTexts.lineTestFailed;
constexpr UserText kTesting = kTexts.loopBackTest;
constexpr UserText kListingFailed = kTexts.listingFailed;
constexpr UserText kDataLost = kTexts.dataLost;

struct Row {
  LinkStatus status;
  Pattern pattern;
  const char16_t* wording;
  bool endsJob;
  Traffic traffic;
  LinkActivity activity;
  UserText headline;
};

using enum Pattern;
using enum LinkStatus;
constexpr auto kStill = Traffic::None, kComing = Traffic::Coming, kRunning = Traffic::Running;
constexpr auto kIdle = LinkActivity::Idle, kBusy = LinkActivity::Busy, kDone = LinkActivity::Done,
               kStopped = LinkActivity::Cancelled, kBad = LinkActivity::Failed;
constexpr bool kEnds = true, kGoesOn = false;

constexpr std::array kRows{
    Row{LinkStatus::NoLink, Fixed, u"No Link", kGoesOn, kStill, LinkActivity::NoLink, kNoLink},
    Row{Waiting, Fixed, u"Waiting...", kGoesOn, kStill, kIdle, kReady},
    Row{LoopBackTest, Fixed, u"Loop Back Test", kGoesOn, kStill, kIdle, kTesting},
    Row{DirectoryListing, Fixed, u"Directory Listing", kGoesOn, kStill, kIdle, kListing},
    Row{ControllerOption, Fixed, u"NC Controller Option", kGoesOn, kStill, kIdle, kNoPhrase},
    Row{DownloadWaiting, Fixed, u"Download Waiting For Controller", kGoesOn, kComing, kBusy,
        kPreparing},
    Row{DownloadRequested, Fixed, u"Download Request Received", kGoesOn, kStill, kBusy, kPreparing},
    Row{UploadRequested, Fixed, u"Upload Request Received", kGoesOn, kStill, kBusy, kPreparing},
    Row{DownloadPreparation, Fixed, u"Download Preparation", kGoesOn, kComing, kBusy, kPreparing},
    Row{DownloadCantOpen, Named, u"Download could not open/read from", kEnds, kStill, kBad,
        kNotFound},
    Row{UploadCantOpen, Named, u"Upload could not open/write to", kEnds, kStill, kBad, kFailed},
    Row{UploadPreparation, Fixed, u"Upload Preparation", kGoesOn, kStill, kBusy, kPreparing},
    Row{Downloading, Sent, u"Downloading %s - %i of %i bytes sent.", kGoesOn, kRunning, kBusy,
        kSending},
    Row{Uploading, Counted, u"Uploading %s - %i bytes received.", kGoesOn, kRunning, kBusy,
        kReceiving},
    Row{DownloadErrors, Named, u"Download Error(s)", kEnds, kStill, kBad, kFailed},
    Row{UploadErrors, Named, u"Upload Error(s)", kEnds, kStill, kBad, kFailed},
    Row{DownloadCancelled, Named, u"Download Cancelled", kEnds, kStill, kStopped, kCancelled},
    Row{UploadCancelled, Named, u"Upload Cancelled", kEnds, kStill, kStopped, kCancelled},
    Row{DownloadCompleted, Counted, u"Download Completed %s - %i bytes", kEnds, kStill, kDone,
        kSent},
    Row{UploadCompleted, Counted, u"Upload Completed %s - %i bytes in file.", kEnds, kStill, kDone,
        kReceived},
    Row{AutoloadCutting, Named, u"Autoload Cutting", kEnds, kStill, kDone, kNoPhrase},
    Row{LoopbackFailure, Fixed, u"Local Loopback Test Failure", kGoesOn, kStill, kBad, kTestFailed},
    Row{LoopbackSuccess, Fixed, u"Local Loopback Test Success", kGoesOn, kStill, kDone,
        kTestPassed},
    Row{DirectoryError, Fixed, u"Directory Listing: Error", kEnds, kStill, kBad, kListingFailed},
    Row{OverRun, Fixed, u"Over Run Error! Data loss has occurred!", kEnds, kStill, kBad, kDataLost},
    Row{UnexpectedError, Named, u"Unexpected error", kEnds, kStill, kBad, kFailed},
    Row{FormatError, Named, u"File format error", kEnds, kStill, kBad, kFailed},
    Row{ItemNotFound, Named, u"Item not found error", kEnds, kStill, kBad, kNotFound},
    Row{JobLogOnly, None, u"", kEnds, kStill, kDone, kNoPhrase},
    Row{ServerNoClient, Machines, u"Server: %s cannot find DNC Client", kGoesOn, kStill, kBad,
        kNoPhrase},
    Row{ClientNoServer, Machines, u"Client: %s cannot find DNC Server", kGoesOn, kStill, kBad,
        kNoPhrase},
    Row{ServerFoundClient, Machines, u"Server: %s has found DNC Client: %s", kGoesOn, kStill, kIdle,
        kNoPhrase},
    Row{ClientFoundServer, Machines, u"Client: %s has found DNC Server: %s", kGoesOn, kStill, kIdle,
        kNoPhrase},
    Row{SecondClient, Machines, u"Configuration Error! Client: %s has found 2nd DNC Client: %s!",
        kGoesOn, kStill, kBad, kNoPhrase},
    Row{SecondServer, Fixed, u"Configuration Error! Server has found 2nd DNC Server!", kGoesOn,
        kStill, kBad, kNoPhrase},
    Row{FileListCheck, Machines, u"Client: %s Requesting File List from Server: %s", kGoesOn,
        kStill, kBusy, kNoPhrase},
    Row{FileListCompare, Machines, u"Client: %s Comparing NC File Lists", kGoesOn, kStill, kBusy,
        kNoPhrase},
    Row{FileRequest, Machines, u"Client: %s Requesting NC File", kGoesOn, kStill, kBusy, kNoPhrase},
    Row{SynchronisationCompleted, Machines, u"Client: %s NC File Synchronisation Completed",
        kGoesOn, kStill, kDone, kNoPhrase},
};

// The server's text for FileListCheck; the client's, in the table, asks for the list.
constexpr char16_t kServerChecksList[] = u"Server: %s Checking NC File List";

constexpr bool EveryRowStandsAtItsNumber() {
  for (std::size_t i = 0; i < kRows.size(); ++i)
    if (static_cast<std::size_t>(NumberOf(kRows[i].status)) != i) return false;
  return true;
}
static_assert(EveryRowStandsAtItsNumber());
static_assert(kRows.size() == kLinkStatusCount);
static_assert(std::ranges::all_of(kRows, [](const Row& row) {
  return (row.pattern == None) == (*row.wording == u'\0');
}));
// A job that has ended is no exchange any more, and an exchange is work.
static_assert(std::ranges::all_of(kRows, [](const Row& row) {
  return row.traffic == kStill || (!row.endsJob && row.activity == kBusy);
}));

constexpr Row kUnknown{LinkStatus::NoLink, None, u"", kGoesOn, kStill, kIdle, kNoPhrase};

const Row& RowOf(LinkStatus status) {
  const auto at = static_cast<std::size_t>(NumberOf(status));
  return at < kRows.size() ? kRows[at] : kUnknown;
}

} // namespace

KorText ProgramName(const KorText& fileName) {
  const KorText name = FileNameOfPath(fileName);
  const std::size_t dot = name.FindLast(u'.');
  return dot == KorText::kNone || dot == 0 ? name : name.Left(dot);
}

KorText StatusText(LinkStatus status, const StatusFacts& facts, const KorText& previous) {
  const Row& row = RowOf(status);
  const bool checksList = status == FileListCheck && facts.serverRole;
  switch (row.pattern) {
  case None:
    return previous;
  case Fixed:
    return row.wording;
  case Named:
    return KorText::Format(u"%s %s", row.wording, facts.fileName);
  case Sent:
    return KorText::Format(row.wording, facts.fileName, facts.bytesDone, facts.bytesTotal);
  case Counted:
    return KorText::Format(row.wording, facts.fileName, facts.bytesDone);
  case Machines:
    return KorText::Format(checksList ? kServerChecksList : row.wording, facts.machineName,
                           facts.peerName);
  }
  return previous;
}

bool EndsJob(LinkStatus status) {
  return RowOf(status).endsJob;
}

bool IsExchange(LinkStatus status) {
  return RowOf(status).traffic != Traffic::None;
}

bool IsTransfer(LinkStatus status) {
  return RowOf(status).traffic == Traffic::Running;
}

bool IsTransferEnd(LinkStatus status) {
  return status >= DownloadErrors && status <= UploadCompleted;
}

LinkActivity ActivityOf(LinkStatus status) {
  return RowOf(status).activity;
}

KorText StatusHeadline(LinkStatus status, const KorText& fileName, const KorText& line) {
  const UserText& phrase = RowOf(status).headline;
  if (phrase.english.empty()) return line;
  const KorText text = LookUpText(phrase);
  if (!text.Contains(u"%s")) return text;
  const KorText name = ProgramName(fileName);
  return name.IsEmpty() ? line : KorText::Format(text, name);
}

} // namespace kor
