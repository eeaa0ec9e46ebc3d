// Link status: the codes 0 to 38 and what is known of each, from one table: its text, whether it
// ends a job, what moves on the line, and what a display makes of it. Pure functions; any thread.
#pragma once

#include <cstdint>

#include "services/core/kor_text.h"

namespace kor {

enum class LinkStatus : std::int32_t {
  NoLink = 0,
  Waiting = 1,
  LoopBackTest = 2,
  DirectoryListing = 3,
  ControllerOption = 4,
  DownloadWaiting = 5,
  DownloadRequested = 6,
  UploadRequested = 7,
  DownloadPreparation = 8,
  DownloadCantOpen = 9,
  UploadCantOpen = 10,
  UploadPreparation = 11,
  Downloading = 12,
  Uploading = 13,
  DownloadErrors = 14,
  UploadErrors = 15,
  DownloadCancelled = 16,
  UploadCancelled = 17,
  DownloadCompleted = 18,
  UploadCompleted = 19,
  AutoloadCutting = 20,
  LoopbackFailure = 21,
  LoopbackSuccess = 22,
  DirectoryError = 23,
  OverRun = 24,
  UnexpectedError = 25,
  FormatError = 26,
  ItemNotFound = 27,
  JobLogOnly = 28,
  ServerNoClient = 29,
  ClientNoServer = 30,
  ServerFoundClient = 31,
  ClientFoundServer = 32,
  SecondClient = 33,
  SecondServer = 34,
  FileListCheck = 35,
  FileListCompare = 36,
  FileRequest = 37,
  SynchronisationCompleted = 38,
};

inline constexpr std::int32_t kLinkStatusCount = 39;

// The number that is shown and logged.
constexpr std::int32_t NumberOf(LinkStatus status) {
  return static_cast<std::int32_t>(status);
}

// What a display tells at a glance, by colour or sign.
enum class LinkActivity { NoLink, Idle, Busy, Done, Cancelled, Failed };

// What the status texts are filled with.
struct StatusFacts {
  KorText fileName;
  std::int64_t bytesDone = 0;  // sent, received or in the file
  std::int64_t bytesTotal = 0; // of the download
  KorText machineName = u"Machine";
  KorText peerName = u"Unknown";
  bool serverRole = false;
};

// Returns the text of a status, or previous for one that has none. UnexpectedError has a text of
// its own here, although the display goes on to show the text of FormatError.
KorText StatusText(LinkStatus status, const StatusFacts& facts, const KorText& previous);

// True for the states that end a job and are written to the job log.
bool EndsJob(LinkStatus status);

// True while a program is on its way, or is about to be: nothing else may use the line then.
bool IsExchange(LinkStatus status);

// True while bytes of a program are on their way.
bool IsTransfer(LinkStatus status);

// True for the states in which bytes of a program have been on their way.
bool IsTransferEnd(LinkStatus status);

LinkActivity ActivityOf(LinkStatus status);

// Returns a short phrase for a large line, in the user's language: "Sending 0000123". Returns the
// status line where the state has no phrase, or where the phrase needs a file name and there is
// none.
KorText StatusHeadline(LinkStatus status, const KorText& fileName, const KorText& line);
// Returns "0000123" for "/srv/nc/0000123.MPG".
KorText ProgramName(const KorText& fileName);

} // namespace kor
