// Exchange: the worker's half of the engine. It moves programs between the line and the files: the
// channel, the program that is sent, the upload, the transmit delay, and the ways an exchange ends.
// The protocol decides, through its hooks, what is sent and when.
//
// Owned by DownloadApp. Used on the worker's thread, and on the window's before the worker has
// started and after it has ended. Operations that any thread may call say so.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

#include "link/exchange_host.h"
#include "link/link_settings.h"
#include "link/manual_transfer.h"
#include "link/nc_program.h"
#include "link/running_upload.h"
#include "link/serial_channel.h"
#include "link/status_teller.h"
#include "ui/timer_queue.h"

namespace kor {

// What an exchange works with; everything outlives the exchange.
struct ExchangeParts {
  SerialPort& port;
  FormDialog& window;
  TimerQueue& timers;
  StatusBoard& board;
  StatusDisplay& display;
  CommsLog& log;
  MonitorFeed& monitor;
  KorText modelName; // heads the titles
};

class Exchange : private ChannelHost {
 public:
  Exchange(const ExchangeParts& parts, ExchangeHost& exchangeHost, ProtocolHooks& protocolHooks);

  SerialChannel& Line() { return channel; }
  StatusTeller& Status() { return status; }
  RunningUpload& Upload() { return upload; }
  NcProgram& Program() { return program; }               // lines of the file being sent
  LineErrors Errors() const { return channel.Errors(); } // any thread

  // Replaces the settings between two polls. An open port keeps its line parameters until it is
  // opened again.
  void TakeSettings(const LinkSettings& changed) { settings = changed; }
  const LinkSettings& Settings() const { return settings; }
  void OpenPort(bool noSoftwareFlow);
  bool Poll(); // true when bytes moved
  // Has nothing more begun. Any thread.
  void BeginEnd() { ending = true; }
  bool IsEnding() const { return ending; }

  // Sends SOT, then starts the download after the transmit delay.
  void DelayDownload();
  void DownloadNow();
  // Runs the task after so many seconds, unless an end or another delay is sooner.
  void Delay(double seconds, std::function<void()> task);
  // Reads the file's lines. A refusal leaves the program empty. The user is told of it, unless
  // somebody writes the file, which may be over in a moment.
  NcProgram::Result ReadProgram(const KorText& path);
  void TellRefusal(NcProgram::Result result, const KorText& path);
  // Opens an upload. A download that waits for its delay does not start any more.
  bool OpenUpload(const KorText& path);
  // Called however a transfer ends. Frees its memory and closes the windows of a manual job.
  void FinishTransfer();
  // Finishes what runs for a request that takes its place, and empties the bar.
  void MakeWay();

  // Each of these ends whatever runs: the part of an upload is removed and a delayed download does
  // not start. Abandon logs the job as an error, the others log it as cancelled.
  void Abandon() { End(LinkStatus::DownloadErrors, LinkStatus::UploadErrors); }
  void Cancel() { End(LinkStatus::DownloadCancelled, LinkStatus::UploadCancelled); }
  void CancelWhile(LinkStatus code); // Does nothing in another status.
  void CancelRunning();              // Tells the user when nothing runs.
  // Cancels an upload that runs and enters the state of a link that waits.
  void Settle(LinkStatus code);
  void StartLoopbackTest();

  // These begin and end jobs by hand.
  void Send(const KorText& path);
  void Receive(const KorText& path);
  // Stores the upload. Tells the user when there is none, or when only the controller can end it.
  void CompleteUpload();
  bool IsByHand() const { return manual.IsRunning(); }

 private:
  void ConsumeReceived() override { hooks.ProcessReceived(); }
  void FeedTransmitter() override { hooks.PollIdle(); }
  void ReportPortFailure(const KorText& caption, const KorText& systemText) override;
  void OnPortTrouble(PortTrouble trouble, const KorText& systemText) override;
  void ShowTitle(const KorText& title) override { status.ShowTitle(title); }
  void OnLinkLost() override { EnterAfterEnd(LinkStatus::NoLink); }
  void OnLinkBack() override { EnterAfterEnd(LinkStatus::Waiting); }
  void OnOverRun() override { EnterAfterEnd(LinkStatus::OverRun); }

  // Ends the running exchange first, so that its job is logged before the new state shows.
  void EnterAfterEnd(LinkStatus code);
  void End(LinkStatus downloadCode, LinkStatus uploadCode);
  bool StopDelay(); // true when a download was waiting

  TimerQueue& timers;
  ExchangeHost& host;
  ProtocolHooks& hooks;
  const KorText modelName;
  LinkSettings settings;
  StatusTeller status;
  SerialChannel channel;
  NcProgram program;
  RunningUpload upload;
  ManualTransfer manual;
  bool isDelayed = false;   // the transmit delay runs
  std::uint32_t delays = 0; // how many have begun
  std::atomic<bool> ending{false};
};

} // namespace kor
