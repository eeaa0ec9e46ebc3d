// Link status: the codes 0 to 38, their texts, and the board on which both threads keep what the
// status display shows.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>

#include "services/core/kor_text.h"
#include "services/core/thread_annotations.h"
#include "ui/form_dialog.h"

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

// What the status texts are filled with.
struct StatusFacts {
  KorText fileName;
  std::int64_t count = 0; // bytes sent, received or in the file
  std::int64_t total = 0; // bytes of the download
  KorText machineName = u"Machine";
  KorText peerName = u"Unknown";
  bool serverRole = false;
};

// The text of a status code; previous is returned for a code that has none. For UnexpectedError this is
// its own text, although the display goes on to show the text of FormatError.
KorText StatusText(LinkStatus code, const StatusFacts& facts, const KorText& previous);

// True for the codes that end a job and are written to the job log.
bool EndsJob(LinkStatus code);

// True while a program is on its way, or is about to be: nothing else may use the line then.
bool IsExchange(LinkStatus code);

// StatusBoard: the one place of the link status. Every operation may be called from any thread; the
// lamps are plain flags. A status line is formed under the board's lock, so the job log gets each
// job's line once and whole, whichever thread forms it.
class StatusBoard {
 public:
  // onJob receives each job whose line belongs in the job log, without a time, on the thread that formed
  // the line.
  explicit StatusBoard(std::function<void(const EndedJob&)> onJob);

  void Set(LinkStatus code); // also when unchanged: a job that ends twice is two jobs
  LinkStatus Code() const { return code.load(); }

  void SetFileName(const KorText& name);
  void SetMachine(const KorText& machine, bool serverRole);
  void SetCount(std::int64_t bytes) { count = bytes; }
  void AddCount(std::int64_t bytes) { count += bytes; }
  std::int64_t Count() const { return count; }
  void SetTotal(std::int64_t bytes) { total = bytes; }
  std::int64_t Total() const { return total; }
  // The progress bar: position and range in bytes.
  void SetProgress(std::int64_t position, std::int64_t range);

  void SetLamp(Lamp lamp, bool on) { lamps[lamp] = on; }

  void ClearActivity() {
    SetLamp(kLampReceive, false);
    SetLamp(kLampWrite, false);
  }

  // Forms the status line, writes the job-log line where the code asks for one, and returns what is to
  // be shown.
  StatusView Form();

 private:
  KorText FormLine(LinkStatus now) KOR_REQUIRES(mutex);

  void TellJob(LinkStatus code) KOR_REQUIRES(mutex);

  std::function<void(const EndedJob&)> onJob;
  Mutex mutex;
  std::atomic<LinkStatus> code{LinkStatus::Waiting};
  std::atomic<std::uint32_t> settings{0}; // how often Set was called
  std::atomic<std::int64_t> count{0};
  std::atomic<std::int64_t> total{0};
  std::atomic<std::int64_t> progress{0};
  std::atomic<std::int64_t> progressRange{0};
  std::array<std::atomic<bool>, kLampCount> lamps{};
  StatusFacts facts KOR_GUARDED_BY(mutex);
  KorText line KOR_GUARDED_BY(mutex);
  std::uint32_t loggedSetting KOR_GUARDED_BY(mutex) = 0;
};

} // namespace kor
