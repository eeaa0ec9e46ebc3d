// DownloadApp: the generic serial download application: the form dialog and stored object on which
// the settings store, the exchange with its worker, the timers, the link status and both logs hang
// together. A derived application supplies the controller's protocol by overriding the virtual
// operations.
//
// Made once by main, which also owns the port and the window that it is lent.
//
// Threads. The window's thread runs the operations under "Window" and the timers. The worker
// (CommsMonitor) runs Poll and all of Exchange and of the protocol, which it calls by the
// operations under "Worker"; the window reaches those by RunOnWorker, whose tasks run before the
// next poll, so the window never waits for the worker or the line. The worker reaches the window by
// FormDialog::Post. Side threads do what may wait for a disk and is no program that was asked for:
// one writes the logs, in order; the others look at folders, one each, so that none waits for a
// folder that hangs.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "files/storable.h"
#include "link/comms_log.h"
#include "link/comms_monitor.h"
#include "link/exchange.h"
#include "link/folder_looks.h"
#include "link/link_settings.h"
#include "link/monitor_feed.h"
#include "link/plain_protocol.h"
#include "link/port/no_port.h"
#include "link/settings_store.h"
#include "link/side_thread.h"
#include "link/status_board.h"
#include "link/status_display.h"
#include "link/task_queue.h"
#include "link/window_feed.h"
#include "ui/form_dialog.h"
#include "ui/no_window.h"
#include "ui/timer_queue.h"

namespace kor {

class AppInterface;

// What main lends to the engine; everything outlives it. Without a port and a window of its own a
// link has those that do nothing.
struct EngineServices {
  SerialPort* port = &NoPort();
  FormDialog* window = &NoWindow();
  std::function<bool(const KorText&)> probePort; // whether a port can be opened now
  KorText cncFolder;                             // default of both NC folders
  bool startWorker =
      true; // and the side threads; tests poll by hand, which does what they would do
  // The device that a port name stands for, as the user knows it; empty: no other than the port.
  std::function<KorText(const KorText&)> nameDevice{};
};

// Which handshakes the line uses; one that is not named stays as it is.
struct Handshake {
  std::optional<bool> rtsCts{};
  std::optional<bool> dtrDsr{};
};

// Returns the services of an object that is never run.
EngineServices NoServices();

class DownloadApp : public Storable, private ExchangeHost, private ProtocolHooks {
 public:
  static constexpr std::uint32_t kClassId = 100091201;

  // An empty object, as the class registry makes it: nothing arrives, nobody sees what it shows.
  DownloadApp();
  // modelName names the settings file and heads the window title.
  DownloadApp(EngineServices engineServices, const KorText& modelName);
  ~DownloadApp() override;

  // --- Operations for a derived application, in slot order ---
  virtual void SetUpServices();
  // Loads the settings, opens the port, starts the worker. An override calls this first.
  virtual void BuildWindow();
  virtual void SettingsDialog();
  virtual void Reserved4() {}
  virtual void OpenPort(int noSoftwareFlow); // worker
  virtual void ChooseUploadFile();
  virtual void ChooseDownloadFile();
  // Stops the timers and the threads, closes the port, saves the settings. It never waits for the
  // line, and less than half a second each for the worker and for the logs; when one of them hangs,
  // IsWorkerStuck is true afterwards.
  virtual void Terminate();
  virtual void Ping();
  void ProcessReceived() override { plain.ProcessReceived(); } // worker: consumes what has arrived
  void PollIdle() override { plain.PollIdle(); }               // worker: after every write step
  void StartDownload() override {}                             // worker
  virtual bool LoadSettings(); // false when no stored record could be read
  virtual bool SaveSettings();
  virtual void DncServerStep() {}
  virtual void DncClientStep() {}

  // --- Storable ---
  std::uint32_t ClassId() const override { return kClassId; }
  void Transfer(DiskFile& file) override;
  static std::span<const MemberDescription> Members();

  // --- Window ---
  const KorText& ModelName() const { return modelName; }
  const LinkSettings& Settings() const { return windowSettings; } // the window's copy
  StatusView CurrentStatus() { return board.TakeView(); }
  LineErrors CurrentLineErrors() const { return exchange.Errors(); } // since the port was opened
  const KorText& WindowCaption() const { return windowCaption; }     // until the port is opened
  static KorText HelpFile() { return u"comshelp.hlp"; }
  TimerQueue& Timers() { return timers; }
  void RunDueTimers();
  FormDescription SettingsForm(); // lent to a front end: it lives as long as this
  // Ends the exchange that runs, the controller's as well as one begun by hand. Without one, and
  // for a CompleteUpload without an upload, a message says so.
  void CancelExchange();
  // The following are refused while an exchange runs, with a message that says what runs and how to
  // end it; sending, receiving and the two tests also while there is no link.
  //
  // Both take over an edited form and re-open the port. AcceptSettings returns an empty text, or
  // what is wrong with a field. LookAndAcceptSettings first looks at the folders and files that the
  // form names: done gets the same text on the window's thread, later where there is something to
  // look at, and after five seconds at most, when a folder that does not answer is refused.
  KorText AcceptSettings(const FormDescription& form);
  void LookAndAcceptSettings(const FormDescription& form, std::function<void(const KorText&)> done);
  // Re-opens the port. False, after the message, when it was refused.
  bool SetHandshake(const Handshake& handshake);
  void SendFile(const KorText& path);
  void ReceiveFile(const KorText& path);
  void LoopbackTest();
  void XonXoffTest();
  // The end dialogs call these, which do nothing when another exchange runs by now.
  void CancelDownload();
  void CancelUpload();
  // Refuses, with a message, for an upload that the controller began: half of it would be stored.
  void CompleteUpload();
  void ChooseTraceFile();
  // Starts the trace. A message follows when it can't be written, or when the
  // file holds anything but a log.
  void StartTrace(const KorText& path);
  void StopTrace();
  bool IsTracing() const { return log.IsTracing(); }
  KorText TracePath() { return log.TracePath(); } // of the trace that was started last
  std::uint64_t TraceBytes() const { return log.TraceBytes(); }
  // Asks for the jobs that ended today. show gets them later, oldest first, on the window's thread;
  // after five seconds without an answer a message says so instead.
  void AskJobsOfToday(std::function<void(const std::vector<EndedJob>&)> show);
  void SetMonitorShown(bool shown) { monitor.SetShown(shown); }
  void ReadyForServing();

  // --- Worker ---
  // Returns whether, after Terminate, the worker or a side thread still uses this object, so that
  // the program has to end without destroying it.
  bool IsWorkerStuck() const { return workerStuck; }
  // Runs one pass: the window's tasks, then the channel. True when bytes moved: poll again at once.
  bool Poll();
  void WaitIdle();
  // Has the worker run the task before its next poll; drops it when the worker has ended. Any
  // thread.
  void RunOnWorker(std::function<void()> task) override;
  // Returns whether so many tasks wait that no more should be given for the time being. Any thread.
  bool IsBehind() { return tasks.IsBehind(); }
  // Returns whether a side thread still has to answer a question, so that what was asked for is
  // not done. Any thread.
  bool AwaitsAnswer() const { return looks.IsAwaited(); }

 protected:
  // Worker. The engine sends a chosen file's bytes as they are; an application that sends lines
  // reads those instead.
  bool LoadTransfer(const KorText& path, std::int64_t& size) override {
    return plain.LoadTransfer(path, size);
  }
  void AwaitUpload() override {}
  // Called on the window's thread when everything is ready and the worker has not started yet.
  virtual void BeforeServing() {}

  Exchange& WorkerSide() { return exchange; }
  FormDialog& Window() { return *services.window; }
  void StopWorker();
  // Sets the window's copy before it is loaded. Window's thread.
  void PresetSettings(const std::function<void(LinkSettings&)>& change) { store.Change(change); }
  // Changes the window's copy and the worker's together, and saves the record. Window's thread.
  void ChangeSettings(const std::function<void(LinkSettings&)>& change);
  // Saves the record; a failure is reported once, until a save succeeds again. Window's thread.
  void KeepSettings();
  void SetPingText(const KorText& text) { pingText = text; } // the ping timer sends it

 private:
  // ExchangeHost
  void PostToWindow(WindowFeed::Kind kind, std::function<void(FormDialog&)> show) override;
  void RememberPath(const KorText& path) override;

  void ShowMessage(const KorText& caption, const KorText& text, MessageStyle style);
  void DisplayStatus();
  void EndOfServe();
  // WhatRuns returns an empty text when nothing speaks against it; the other shows why not. Any
  // thread.
  std::optional<KorText> RunningHeadline();
  KorText WhatRuns();
  bool MayStart(const KorText& caption);
  // Runs the task on the worker unless an exchange or the lack of a link is in its way, then or
  // now.
  void StartOnWorker(const KorText& caption, std::function<void()> task);
  void ReopenPort();
  void FinishServing();
  void StartSideThreads();
  bool StopSideThreads(); // false when one has not ended in time
  // Looks at a folder that may be slow, unless the program ends first. Returns false when all
  // threads are busy.
  bool LookAside(const std::function<void()>& look);
  using Refusals = std::vector<FieldRefusal>;
  void LookAtForm(const FormDescription& edited, const std::function<void(const Refusals&)>& done);
  enum class JobDays { Today, SinceYesterday };
  bool ReadJobs(JobDays days, std::function<void(const std::vector<EndedJob>&)> show);
  void TellLogFailure();
  void WriteJobLine(const EndedJob& job);
  void CreateTimer(const char16_t* name, double period, void (DownloadApp::*action)());

  const EngineServices services;
  KorText windowCaption;
  const KorText modelName;
  KorText pingText;
  LinkSettings windowSettings; // edited and stored; the exchange has a copy
  SettingsStore store;
  TimerQueue timers;
  StatusBoard board;
  StatusDisplay display;
  SideThread logWriter{CommsLog::kMostWaiting};
  FolderLooks looks;
  CommsLog log;
  WindowFeed feed;
  MonitorFeed monitor;
  Exchange exchange;
  PlainProtocol plain{exchange};
  TaskQueue tasks;
  std::unique_ptr<CommsMonitor> worker;
  bool terminated = false;         // window
  bool workerStuck = false;        // window
  KorText jobsPath;                // of the file of ended jobs; set before the worker starts
  AppInterface* logsFor = nullptr; // window: whose log the writer's thread writes, too
  std::atomic<bool> gone{false};   // nothing more is posted
};

} // namespace kor
