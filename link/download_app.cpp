#include "link/download_app.h"

#include <chrono>
#include <utility>

#include "link/ended_jobs.h"
#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

constexpr const char16_t* kPingTimer = u"DownloadApp::PingNow";
constexpr const char16_t* kEndOfServeTimer = u"DownloadApp::EndOfServe";
constexpr const char16_t* kXonTimer = u"DownloadApp::TestXon";
constexpr double kPingPeriod = 1.0;
constexpr double kEndOfServePeriod = 5.0;
constexpr double kXonPeriod = 3.0;
constexpr std::size_t kJobBytes = 500;              // of an ended job that waits to be written
constexpr std::chrono::milliseconds kPatience(400); // with a thread that is to end

KorText LogFailure() {
  return LookUpText(kTexts.logNotWritable);
}

KorText SilentFolder() {
  return LookUpText(kTexts.folderSilent);
}

SystemTime DayBefore(const SystemTime& time) {
  const std::chrono::year_month_day before(
      std::chrono::sys_days(std::chrono::year(time.year) / time.month / time.day) -
      std::chrono::days(1));
  return {.year = static_cast<int>(before.year()),
          .month = static_cast<int>(static_cast<unsigned>(before.month())),
          .day = static_cast<int>(static_cast<unsigned>(before.day()))};
}

double Now() {
  return App().HighResolutionSeconds();
}

} // namespace

EngineServices NoServices() {
  EngineServices services;
  services.startWorker = false;
  return services;
}

DownloadApp::DownloadApp() : DownloadApp(NoServices(), {}) {
  windowCaption = u"Download Application (1)";
}

DownloadApp::DownloadApp(EngineServices engineServices, const KorText& name)
    : services(std::move(engineServices)), windowCaption(u"Download Application (2)"),
      modelName(name), store(windowSettings, services.cncFolder,
                             [this](const KorText& caption, const KorText& text) {
                               ShowMessage(caption, text, MessageStyle::Exclamation);
                             }),
      board([this](const EndedJob& job) { WriteJobLine(job); }), display(board, timers),
      looks(timers), log(logWriter, [this] { TellLogFailure(); }), feed(*services.window),
      monitor([this] {
        PostToWindow(WindowFeed::Kind::Task,
                     [this](FormDialog& window) { window.AppendMonitor(monitor.Take()); });
      }),
      exchange({*services.port, *services.window, timers, board, display, log, monitor, modelName},
               *this, *this) {
  services.window->SetTitle(windowCaption);
}

DownloadApp::~DownloadApp() {
  StopWorker();
  gone = true;
  looks.Finish();
  logWriter.Finish();
  if (logsFor) logsFor->SetLogWriter({});
}

void DownloadApp::StopWorker() {
  worker.reset();
}

// --- Life ---

void DownloadApp::CreateTimer(const char16_t* name, double period, void (DownloadApp::*action)()) {
  timers.Create(name, period, Now(), TimerState::Stopped, [this, action] { (this->*action)(); });
}

void DownloadApp::SetUpServices() {
  display.Begin([this] { DisplayStatus(); });
  CreateTimer(kPingTimer, kPingPeriod, &DownloadApp::Ping);
  CreateTimer(kEndOfServeTimer, kEndOfServePeriod, &DownloadApp::EndOfServe);
  timers.Create(kXonTimer, kXonPeriod, Now(), TimerState::Stopped, [this] {
    timers.Stop(kXonTimer);
    RunOnWorker([this] { exchange.Line().ReleaseController(); });
  });
}

void DownloadApp::StartSideThreads() {
  logsFor = &App();
  logsFor->SetLogWriter([this](std::size_t bytes, std::function<void()> work) {
    logWriter.Add(bytes, std::move(work)); // what finds no room is dropped
  });
  if (!services.startWorker) return;
  logWriter.Start();
  looks.Start();
}

bool DownloadApp::LookAside(const std::function<void()>& look) {
  return looks.Add([this, look] {
    if (!exchange.IsEnding() && !gone) look();
  });
}

void DownloadApp::BuildWindow() {
  StartSideThreads();
  store.SetName(modelName);
  jobsPath = store.PathBeside(u".jobs");
  store.Load([this] { return LoadSettings(); });
  exchange.TakeSettings(windowSettings);
  log.SetJobLog(windowSettings.logFile, windowSettings.writeLog != 0);
  board.SetMachine(windowSettings.machineName, windowSettings.dncServerRole > 0);
  store.ClearAway();
  LookAside([folder = windowSettings.uploadPath] { UploadFile::ClearAway(folder); });
  exchange.Status().Set(LinkStatus::Waiting);
  OpenPort(0);
  exchange.Status().Update();
  BeforeServing();
  ReadJobs(JobDays::SinceYesterday, [this](const std::vector<EndedJob>& jobs) {
    if (!jobs.empty()) services.window->ShowEarlierJobs(jobs);
  });
  if (!services.startWorker) return;
  worker = std::make_unique<CommsMonitor>([this] { return Poll(); }, [this] { WaitIdle(); },
                                          [this] { services.port->Interrupt(); },
                                          [this] { FinishServing(); });
}

bool DownloadApp::LoadSettings() {
  return store.ReadRecord(*this);
}

bool DownloadApp::SaveSettings() {
  return store.WriteRecord(*this);
}

void DownloadApp::KeepSettings() {
  store.Save([this] { return SaveSettings(); });
}

std::span<const MemberDescription> DownloadApp::Members() {
  return LinkSettingsMembers<&DownloadApp::windowSettings>();
}

void DownloadApp::Transfer(DiskFile& file) {
  file.TransferMembers(*this, Members());
  EndRecord(file);
}

// This runs on the worker, which may be given up, so slow files do not hold up the end.
void DownloadApp::FinishServing() {
  if (!exchange.IsEnding()) return;
  tasks.Run();       // what was asked for before the end is still done
  exchange.Cancel(); // whoever ends the program breaks a transfer off
}

void DownloadApp::Terminate() {
  if (terminated) return;
  terminated = true;
  for (const char16_t* timer : {kXonTimer, kEndOfServeTimer, kPingTimer})
    timers.Delete(timer);
  tasks.Close();
  exchange.BeginEnd();
  workerStuck = worker && !worker->Stop(kPatience);
  if (workerStuck) {
    SaveSettings();
    log.StopTrace(u"Application Terminated");
    StopSideThreads();
    // Last, while nothing more is opened: the worker may come back to the port at any time.
    exchange.Line().Close();
    return;
  }
  StopWorker();
  FinishServing(); // where there was no worker
  display.End();
  exchange.Line().Close();
  KeepSettings();
  log.StopTrace(u"Application Terminated");
  workerStuck = !StopSideThreads();
  HideEndDialogs(*services.window);
}

// A folder that is still looked at keeps nobody waiting as long as all the rest takes.
bool DownloadApp::StopSideThreads() {
  const auto until = std::chrono::steady_clock::now() + kPatience;
  const bool written = logWriter.Stop(until);
  if (written && logsFor) logsFor->SetLogWriter({});
  return looks.Stop(until) && written;
}

void DownloadApp::RunDueTimers() {
  timers.RunDue(Now());
}

// --- Between the threads ---

void DownloadApp::PostToWindow(WindowFeed::Kind kind, std::function<void(FormDialog&)> show) {
  feed.Add(kind, [this, show = std::move(show)] { show(*services.window); });
}

void DownloadApp::RunOnWorker(std::function<void()> task) {
  if (tasks.Add(std::move(task))) services.port->Interrupt();
}

bool DownloadApp::Poll() {
  const bool worked = tasks.Run();
  const bool moved = exchange.Poll();
  logWriter.Wake(); // behind the reply
  display.Keep();
  if (!services.startWorker && !moved) {
    looks.RunHere();
    logWriter.RunHere();
  }
  return moved || worked;
}

void DownloadApp::WaitIdle() {
  if (!tasks.IsWaiting()) services.port->WaitReadable(exchange.Line().IdleWait());
}

void DownloadApp::ChangeSettings(const std::function<void(LinkSettings&)>& change) {
  store.Change(change);
  KeepSettings();
  log.SetJobLog(windowSettings.logFile, windowSettings.writeLog != 0);
  RunOnWorker([this, changed = windowSettings] { exchange.TakeSettings(changed); });
}

void DownloadApp::RememberPath(const KorText& path) {
  PostToWindow(WindowFeed::Kind::Task, [this, path](FormDialog&) {
    ChangeSettings([&](LinkSettings& changed) { RememberFile(path, changed); });
  });
}

void DownloadApp::ShowMessage(const KorText& caption, const KorText& text, MessageStyle style) {
  PostToWindow(WindowFeed::Kind::Message, [caption, text, style](FormDialog& window) {
    window.ShowMessage(caption, text, style);
  });
}

void DownloadApp::OpenPort(int noSoftwareFlow) {
  exchange.OpenPort(noSoftwareFlow > 0);
}

// --- The running exchange ---

void DownloadApp::CancelExchange() {
  RunOnWorker([this] { exchange.CancelRunning(); });
}

void DownloadApp::CancelDownload() {
  RunOnWorker([this] { exchange.CancelWhile(LinkStatus::Downloading); });
}

void DownloadApp::CancelUpload() {
  RunOnWorker([this] { exchange.CancelWhile(LinkStatus::Uploading); });
}

void DownloadApp::CompleteUpload() {
  RunOnWorker([this] { exchange.CompleteUpload(); });
}

// The headline holds no counter, so a message with it stays true while the exchange goes on.
std::optional<KorText> DownloadApp::RunningHeadline() {
  const StatusView view = board.TakeView();
  if (!IsExchange(view.code)) return std::nullopt;
  return view.headline;
}

KorText DownloadApp::WhatRuns() {
  const std::optional<KorText> running = RunningHeadline();
  if (!running) return {};
  return KorText::Format(LookUpText(kTexts.transferRuns), services.window->CancelName(), *running);
}

bool DownloadApp::MayStart(const KorText& caption) {
  KorText why = WhatRuns();
  if (board.Code() == LinkStatus::NoLink) why = LookUpText(kTexts.noLinkForJob);
  if (!why.IsEmpty()) ShowMessage(caption, why, MessageStyle::Exclamation);
  return why.IsEmpty();
}

// The controller may be faster than the task: the worker has the last word.
void DownloadApp::StartOnWorker(const KorText& caption, std::function<void()> task) {
  if (!MayStart(caption)) return;
  RunOnWorker([this, caption, start = std::move(task)] {
    if (MayStart(caption)) start();
  });
}

// --- Status ---

// Changes that wait to be shown come first: the newest state must not overtake them.
void DownloadApp::DisplayStatus() {
  feed.Show();
  // The rate of a transfer is to be seen to fall when nothing moves.
  if (!board.TakeChange() && !IsExchange(board.Code())) {
    display.Rest();
    return;
  }
  const StatusView view = board.TakeView();
  board.ClearActivity();
  services.window->ShowStatus(view);
}

void DownloadApp::WriteJobLine(const EndedJob& job) {
  EndedJob ended = job;
  ended.time = App().LocalTime();
  PostToWindow(WindowFeed::Kind::Job, [ended](FormDialog& window) { window.ShowEndedJob(ended); });
  logWriter.Add(kJobBytes, [this, ended] {
    if (!jobsPath.IsEmpty()) AddEndedJob(jobsPath, ended);
  });
  log.LogJob(ended);
}

void DownloadApp::TellLogFailure() {
  if (gone) return;
  PostToWindow(WindowFeed::Kind::Task,
               [this](FormDialog& window) { window.ShowTracing(log.IsTracing()); });
  ShowMessage(LookUpText(kTexts.log), LogFailure(), MessageStyle::Exclamation);
}

void DownloadApp::Ping() {
  if (pingText.IsEmpty()) return;
  RunOnWorker([this, text = pingText] { exchange.Line().SendText(text); });
}

void DownloadApp::EndOfServe() {
  RunOnWorker([this] { exchange.Settle(LinkStatus::Waiting); });
  if (windowSettings.dncSynchronisation > 0 && windowSettings.dncServerRole == 0) DncClientStep();
}

void DownloadApp::ReadyForServing() {
  const bool synchronised = windowSettings.dncSynchronisation > 0;
  const bool client = synchronised && windowSettings.dncServerRole == 0;
  RunOnWorker([this, client] {
    exchange.Settle(client ? LinkStatus::ClientNoServer : LinkStatus::Waiting);
  });
  services.window->SetJobButtons(synchronised ? JobButtons::Hidden : JobButtons::Enabled);
  if (client)
    DncClientStep();
  else
    timers.Stop(kPingTimer);
}

// --- Settings ---

namespace {

KorText NamedPort(const KorText& name, const KorText& device) {
  return device.IsEmpty() ? name : name + u" \u2013 " + device;
}

} // namespace

FormDescription DownloadApp::SettingsForm() {
  FormDescription form =
      MakeSettingsForm(windowSettings, OfferedPorts(windowSettings.port, services.probePort));
  FormField& port = *form.Find(u"port");
  if (services.nameDevice)
    for (const KorText& name : port.choices)
      port.shown.push_back(NamedPort(name, services.nameDevice(name)));
  form.check = [this](FormDescription& edited) {
    const std::optional<KorText> running = RunningHeadline();
    edited.obstacle =
        !running ? KorText() : KorText::Format(LookUpText(kTexts.transferRunsHere), *running);
    for (FormField& field : edited.fields)
      field.problem.Clear();
    for (const FieldRefusal& refusal : CheckSettingsForm(edited, windowSettings))
      edited.Find(refusal.key)->problem = refusal.BesideField();
  };
  form.look = [this](const FormDescription& edited, const FormDescription::Looked& done) {
    LookAtForm(edited, [looked = edited, done](const Refusals& refusals) mutable {
      for (const FieldRefusal& refusal : refusals)
        looked.Find(refusal.key)->problem = refusal.BesideField();
      done(looked);
    });
  };
  return form;
}

void DownloadApp::LookAtForm(const FormDescription& edited,
                             const std::function<void(const Refusals&)>& done) {
  if (!NamesNewPlaces(edited, windowSettings)) {
    done({});
    return;
  }
  const auto refuse = [edited, before = windowSettings, done] {
    done(RefusePlaces(edited, before, SilentFolder()));
  };
  const int question = looks.Await(refuse);
  const bool taken = LookAside([this, edited, before = windowSettings, question, done] {
    PostToWindow(WindowFeed::Kind::Task,
                 [this, question, done, refusals = LookAtPlaces(edited, before)](FormDialog&) {
                   if (looks.Take(question)) done(refusals);
                 });
  });
  if (!taken && looks.Take(question)) refuse();
}

void DownloadApp::LookAndAcceptSettings(const FormDescription& form,
                                        std::function<void(const KorText&)> done) {
  if (!CheckSettingsForm(form, windowSettings).empty() || !WhatRuns().IsEmpty()) {
    done(AcceptSettings(form));
    return;
  }
  LookAtForm(form, [this, form, done = std::move(done)](const Refusals& refusals) {
    done(refusals.empty() ? AcceptSettings(form) : refusals.front().Reason(refusals.front().key));
  });
}

void DownloadApp::SettingsDialog() {
  FormDescription form = SettingsForm();
  while (services.window->RunForm(form)) {
    const KorText wrong = AcceptSettings(form);
    if (wrong.IsEmpty()) return;
    services.window->ShowMessage(form.caption, wrong, MessageStyle::Exclamation);
  }
}

KorText DownloadApp::AcceptSettings(const FormDescription& form) {
  LinkSettings edited = windowSettings;
  const KorText wrong = ReadSettingsForm(form, edited);
  if (!wrong.IsEmpty()) return wrong;
  if (const KorText running = WhatRuns(); !running.IsEmpty()) return running;
  const bool portChanged = edited.port != windowSettings.port;
  ChangeSettings([&](LinkSettings& changed) { changed = edited; });
  if (portChanged) store.WarnOfUnkeptPort();
  ReopenPort();
  return {};
}

// A change that was taken over comes to pass, even when the controller was faster: what it began
// ends as an error then.
void DownloadApp::ReopenPort() {
  RunOnWorker([this] {
    OpenPort(0);
    exchange.Status().Update();
  });
}

bool DownloadApp::SetHandshake(const Handshake& handshake) {
  if (const KorText running = WhatRuns(); !running.IsEmpty()) {
    ShowMessage(LookUpText(kTexts.downloadSettings), running, MessageStyle::Exclamation);
    return false;
  }
  ChangeSettings([&](LinkSettings& changed) {
    if (handshake.rtsCts) changed.rtsCtsHandshake = *handshake.rtsCts ? 1 : 0;
    if (handshake.dtrDsr) changed.dtrDsrHandshake = *handshake.dtrDsr ? 1 : 0;
  });
  ReopenPort();
  return true;
}

// --- Manual transfer ---

void DownloadApp::ChooseDownloadFile() {
  if (!MayStart(SendCaption())) return;
  if (const auto chosen =
          ChooseFileToSend(*services.window, windowSettings, CurrentStatus().fileName))
    SendFile(*chosen);
}

void DownloadApp::ChooseUploadFile() {
  if (!MayStart(ReceiveCaption())) return;
  if (const auto chosen =
          ChooseFileToReceive(*services.window, windowSettings, CurrentStatus().fileName))
    ReceiveFile(*chosen);
}

void DownloadApp::SendFile(const KorText& path) {
  StartOnWorker(SendCaption(), [this, full = App().AbsolutePath(path)] { exchange.Send(full); });
}

void DownloadApp::ReceiveFile(const KorText& path) {
  StartOnWorker(ReceiveCaption(),
                [this, full = App().AbsolutePath(path)] { exchange.Receive(full); });
}

// --- Line tests and logs ---

void DownloadApp::LoopbackTest() {
  StartOnWorker(LookUpText(kTexts.loopBackTest), [this] {
    display.Pause(); // the waiting status stands until the test has begun
    exchange.StartLoopbackTest();
    display.Resume();
  });
}

void DownloadApp::XonXoffTest() {
  StartOnWorker(LookUpText(kTexts.xonXoffTest), [this] {
    exchange.Line().HoldController();
    timers.Start(kXonTimer, Now());
  });
}

void DownloadApp::ChooseTraceFile() {
  FileChoice choice{FileChoice::Kind::Save, LookUpText(kTexts.saveLogFileAs), {}, {}, {}};
  choice.filters = FileFilters(LookUpText(kTexts.logFiles), u"log");
  log.StopTrace({});
  if (const auto chosen = services.window->ChooseFile(choice))
    log.StartTrace(*chosen, windowSettings, CommsLog::Replace::Anything); // the chooser has asked
}

void DownloadApp::StartTrace(const KorText& path) {
  log.StartTrace(path, windowSettings, CommsLog::Replace::OnlyLogs);
}

// The log's thread reads them once it has written the jobs that have ended so far.
bool DownloadApp::ReadJobs(JobDays days, std::function<void(const std::vector<EndedJob>&)> show) {
  return logWriter.Add(1, [this, days, show = std::move(show)] {
    if (gone) return;
    const SystemTime today = App().LocalTime();
    std::vector<SystemTime> wanted{today};
    if (days == JobDays::SinceYesterday) wanted = {DayBefore(today), today};
    PostToWindow(WindowFeed::Kind::Task,
                 [show, jobs = ReadEndedJobs(jobsPath, wanted)](FormDialog&) { show(jobs); });
  });
}

void DownloadApp::AskJobsOfToday(std::function<void(const std::vector<EndedJob>&)> show) {
  const auto refuse = [this] {
    ShowMessage(LookUpText(kTexts.log), SilentFolder(), MessageStyle::Exclamation);
  };
  const int question = looks.Await(refuse);
  const bool asked =
      ReadJobs(JobDays::Today, [this, question, show = std::move(show)](const auto& jobs) {
        if (looks.Take(question)) show(jobs);
      });
  if (!asked && looks.Take(question)) refuse();
}

void DownloadApp::StopTrace() {
  log.StopTrace(u"End of Logging");
}

} // namespace kor
