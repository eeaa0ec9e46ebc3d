#include "link/download_app.h"

#include <algorithm>
#include <utility>

#include "link/ended_jobs.h"
#include "link/writer_watch.h"
#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

constexpr const char16_t* kDisplayTimer = u"DownloadApp::DisplayStatus";
constexpr const char16_t* kPingTimer = u"DownloadApp::PingNow";
constexpr const char16_t* kEndOfServeTimer = u"DownloadApp::EndOfServe";
constexpr const char16_t* kXonTimer = u"DownloadApp::TestXon";
constexpr const char16_t* kDownloadTimer = u"DownloadApp::DownloadNow";
constexpr double kDisplayPeriod = 0.1; // seconds
constexpr double kPingPeriod = 1.0;
constexpr double kEndOfServePeriod = 5.0;
constexpr double kXonPeriod = 3.0;
constexpr double kAnswerPatience = 5.0;             // seconds for a look at a folder
constexpr double kUploadPatience = 60.0;            // seconds without a line until the user is told
constexpr std::size_t kJobBytes = 500;              // of an ended job that waits to be written
constexpr std::int64_t kLargestChunk = 100;         // characters of one feed
constexpr std::chrono::milliseconds kPatience(400); // with a thread that is to end

KorText LogFailure() {
  return LookUpText(kTexts.logNotWritable);
}

KorText SilentFolder() {
  return LookUpText(kTexts.folderSilent);
}

KorText AnswerTimer(int question) {
  return KorText::Format(u"DownloadApp::Answer %i", question);
}

double Now() {
  return App().HighResolutionSeconds();
}

// What to do about it; empty where nothing is known.
KorText RemedyOf(PortTrouble trouble) {
  switch (trouble) {
  case PortTrouble::NotThere:
    return LookUpText(kTexts.plugInAdapter);
  case PortTrouble::InUse:
    return LookUpText(kTexts.closeOtherProgram);
  case PortTrouble::NotAllowed:
    return LookUpText(kTexts.deviceNotAllowed);
  case PortTrouble::Other:
    break;
  }
  return {};
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
      modelName(name), board([this](const EndedJob& job) { WriteJobLine(job); }),
      store(windowSettings, services.cncFolder,
            [this](const KorText& caption, const KorText& text) {
              ShowMessage(caption, text, MessageStyle::Exclamation);
            }),
      log(logWriter, [this] { TellLogFailure(); }), feed(*services.window),
      monitor([this] { PostToWindow([this] { services.window->AppendMonitor(monitor.Take()); }); }),
      channel(*services.port, App().Clock(), board, log, monitor, *this), manual(*services.window) {
  services.window->SetTitle(windowCaption);
}

DownloadApp::~DownloadApp() {
  StopWorker();
  gone = true;
  for (SideThread& looker : folderLooks)
    looker.Finish();
  logWriter.Finish();
  if (logsFor) logsFor->SetLogWriter({});
}

void DownloadApp::StopWorker() {
  worker.reset();
}

// --- Life ---

void DownloadApp::CreateTimer(const char16_t* name, double period, bool started,
                              void (DownloadApp::*action)()) {
  timers.Create(name, period, Now(), started, [this, action] { (this->*action)(); });
}

void DownloadApp::SetUpServices() {
  CreateTimer(kDisplayTimer, kDisplayPeriod, true, &DownloadApp::DisplayStatus);
  CreateTimer(kPingTimer, kPingPeriod, false, &DownloadApp::Ping);
  CreateTimer(kEndOfServeTimer, kEndOfServePeriod, false, &DownloadApp::EndOfServe);
  timers.Create(kXonTimer, kXonPeriod, Now(), false, [this] {
    timers.Stop(kXonTimer);
    RunOnWorker([this] { channel.ReleaseController(); });
  });
}

void DownloadApp::StartSideThreads() {
  logsFor = &App();
  logsFor->SetLogWriter([this](std::size_t bytes, std::function<void()> work) {
    logWriter.Add(bytes, std::move(work)); // what finds no room is dropped
  });
  if (!services.startWorker) return;
  logWriter.Start();
  for (SideThread& looker : folderLooks)
    looker.Start();
}

bool DownloadApp::LookAside(const std::function<void()>& look) {
  return std::ranges::any_of(folderLooks, [&](SideThread& looker) {
    return looker.Add(1, [this, look] {
      if (!ending && !gone) look();
    });
  });
}

void DownloadApp::BuildWindow() {
  StartSideThreads();
  store.SetName(modelName);
  jobsPath = store.PathBeside(u".jobs");
  store.Load([this] { return LoadSettings(); });
  workerSettings = windowSettings;
  log.SetJobLog(windowSettings.logFile, windowSettings.writeLog != 0);
  board.SetMachine(windowSettings.machineName, windowSettings.dncServerRole > 0);
  store.ClearAway();
  LookAside([folder = windowSettings.uploadPath] { UploadFile::ClearAway(folder); });
  SetStatus(LinkStatus::Waiting);
  OpenPort(0);
  UpdateStatus();
  BeforeServing();
  ReadJobsOfToday([this](const std::vector<EndedJob>& jobs) {
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

// By the worker, which may be given up: files that are slow must not hold the end.
void DownloadApp::FinishServing() {
  if (!ending) return;
  tasks.Run(); // what was asked for before the end is still done
  CancelNow(); // whoever ends the program breaks a transfer off
}

void DownloadApp::Terminate() {
  if (terminated) return;
  terminated = true;
  for (const char16_t* timer : {kXonTimer, kEndOfServeTimer, kPingTimer})
    timers.Delete(timer);
  tasks.Close();
  ending = true;
  workerStuck = worker && !worker->Stop(kPatience);
  if (workerStuck) {
    SaveSettings();
    log.StopTrace(u"Application Terminated");
    StopSideThreads();
    // Last, while nothing more is opened: the worker may come back to the port at any time.
    channel.Close();
    return;
  }
  StopWorker();
  FinishServing(); // where there was no worker
  timers.Delete(kDisplayTimer);
  timers.Delete(kDownloadTimer);
  channel.Close();
  KeepSettings();
  log.StopTrace(u"Application Terminated");
  workerStuck = !StopSideThreads();
  manual.HideEndDialogs();
}

// A folder that is still looked at keeps nobody waiting as long as all the rest takes.
bool DownloadApp::StopSideThreads() {
  const auto until = std::chrono::steady_clock::now() + kPatience;
  const bool written = logWriter.Stop(until);
  if (written && logsFor) logsFor->SetLogWriter({});
  bool ended = written;
  for (SideThread& looker : folderLooks)
    ended = looker.Stop(until) && ended;
  return ended;
}

void DownloadApp::RunDueTimers() {
  timers.RunDue(Now());
}

// --- Between the threads ---

void DownloadApp::PostToWindow(std::function<void()> task) {
  feed.Add(WindowFeed::Kind::Task, std::move(task));
}

void DownloadApp::RunOnWorker(std::function<void()> task) {
  if (tasks.Add(std::move(task))) services.port->Interrupt();
}

bool DownloadApp::Poll() {
  const bool worked = tasks.Run();
  const bool moved = channel.Poll();
  WatchUpload();
  logWriter.Wake(); // behind the reply
  KeepDisplaying();
  if (!services.startWorker && !moved) {
    for (SideThread& looker : folderLooks)
      looker.RunHere();
    logWriter.RunHere();
  }
  return moved || worked;
}

void DownloadApp::WaitIdle() {
  if (!tasks.IsWaiting()) services.port->WaitReadable(channel.IdleWait());
}

void DownloadApp::ChangeSettings(const std::function<void(LinkSettings&)>& change) {
  store.Change(change);
  KeepSettings();
  log.SetJobLog(windowSettings.logFile, windowSettings.writeLog != 0);
  RunOnWorker([this, changed = windowSettings] { workerSettings = changed; });
}

void DownloadApp::ShowMessage(const KorText& caption, const KorText& text, MessageStyle style) {
  feed.Add(WindowFeed::Kind::Message,
           [this, caption, text, style] { services.window->ShowMessage(caption, text, style); });
}

// --- Port ---

void DownloadApp::OpenPort(int noSoftwareFlow) {
  // The channel forgets what was on its way: what came after the gap would be taken for the rest.
  AbandonExchange();
  channel.Open(workerSettings, modelName, noSoftwareFlow > 0);
  if (!channel.IsOpen()) {
    SetStatus(LinkStatus::NoLink);
  } else if (Status() == LinkStatus::NoLink) {
    SetStatus(LinkStatus::Waiting);
  }
}

void DownloadApp::ReportPortFailure(const KorText& caption, const KorText& systemText) {
  ShowMessage(caption, KorText::Format(u"%s\n%s", workerSettings.port, systemText),
              MessageStyle::Information);
}

void DownloadApp::OnPortTrouble(PortTrouble trouble, const KorText& systemText) {
  const KorText remedy = RemedyOf(trouble);
  const KorText sentence = systemText.EndsWith(u".") ? systemText : systemText + u".";
  board.SetLinkReason(remedy.IsEmpty() ? sentence : sentence + u" " + remedy);
}

void DownloadApp::ShowTitle(const KorText& title) {
  feed.Add(WindowFeed::Kind::Title, [this, title] { services.window->SetTitle(title); });
}

// The exchange that was running is over; its job is logged before the link shows as gone.
void DownloadApp::OnLinkLost() {
  AbandonExchange();
  EnterStatus(LinkStatus::NoLink);
}

void DownloadApp::OnOverRun() {
  AbandonExchange();
  EnterStatus(LinkStatus::OverRun);
}

void DownloadApp::OnLinkBack() {
  AbandonExchange();
  EnterStatus(LinkStatus::Waiting);
}

// --- The running exchange ---

std::optional<KorText> DownloadApp::RunningExchange() {
  const StatusView view = board.TakeView();
  if (!IsExchange(view.code)) return std::nullopt;
  return view.line;
}

void DownloadApp::EndExchange(LinkStatus downloadCode, LinkStatus uploadCode) {
  const bool uploading = Status() == LinkStatus::Uploading;
  const bool running = StopDelay() || IsExchange(Status());
  upload.Discard();
  if (running) {
    EnterStatus(uploading ? uploadCode : downloadCode);
  }
  ShowProgress(0, 0);
  FinishTransfer();
}

void DownloadApp::AbandonExchange() {
  EndExchange(LinkStatus::DownloadErrors, LinkStatus::UploadErrors);
}

void DownloadApp::CancelExchange() {
  RunOnWorker([this] {
    if (downloadDelayed || IsExchange(Status()))
      CancelNow();
    else
      ShowMessage(LookUpText(kTexts.cancelTransfer), LookUpText(kTexts.noTransferRuns),
                  MessageStyle::Information);
  });
}

void DownloadApp::CancelDownload() {
  RunOnWorker([this] {
    if (Status() == LinkStatus::Downloading) CancelNow();
  });
}

void DownloadApp::CancelUpload() {
  RunOnWorker([this] {
    if (Status() == LinkStatus::Uploading) CancelNow();
  });
}

KorText DownloadApp::WhatRuns() {
  const StatusView view = board.TakeView();
  if (!IsExchange(view.code)) return {};
  // The headline, which counts nothing: asked for again the text is the same.
  return KorText::Format(LookUpText(kTexts.transferRuns), services.window->CancelName(),
                         view.headline);
}

bool DownloadApp::MayStart(const KorText& caption) {
  KorText why = WhatRuns();
  if (Status() == LinkStatus::NoLink) why = LookUpText(kTexts.noLinkForJob);
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

void DownloadApp::UpdateStatus() {
  const LinkStatus code = Status();
  // Between two changes the display timer shows the counters; a reply does not wait for that.
  if (code == shownCode && !EndsJob(code)) return;
  shownCode = code;
  board.TellJobs();
  feed.Add(WindowFeed::Kind::Status,
           [this, view = board.TakeView()] { services.window->ShowStatus(view); });
}

void DownloadApp::KeepDisplaying() {
  if (board.IsChanged() && !displaying.exchange(true)) timers.Start(kDisplayTimer, Now());
}

// Changes that wait to be shown come first: the newest state must not overtake them.
void DownloadApp::DisplayStatus() {
  feed.Show();
  // The rate of a transfer is to be seen to fall when nothing moves.
  if (!board.TakeChange() && !IsExchange(Status())) {
    timers.Stop(kDisplayTimer);
    displaying = false;
    KeepDisplaying(); // of what has changed since
    return;
  }
  const StatusView view = board.TakeView();
  board.ClearActivity();
  services.window->ShowStatus(view);
}

void DownloadApp::WriteJobLine(const EndedJob& job) {
  EndedJob ended = job;
  ended.time = App().LocalTime();
  feed.Add(WindowFeed::Kind::Job, [this, ended] { services.window->ShowEndedJob(ended); });
  logWriter.Add(kJobBytes, [this, ended] {
    if (!jobsPath.IsEmpty()) AddEndedJob(jobsPath, ended);
  });
  log.LogJob(ended);
}

void DownloadApp::TellLogFailure() {
  if (gone) return;
  PostToWindow([this] { services.window->ShowTracing(log.IsTracing()); });
  ShowMessage(LookUpText(kTexts.log), LogFailure(), MessageStyle::Exclamation);
}

void DownloadApp::Ping() {
  if (pingText.IsEmpty()) return;
  RunOnWorker([this, text = pingText] { channel.SendText(text); });
}

void DownloadApp::EndOfServe() {
  RunOnWorker([this] {
    if (Status() == LinkStatus::Uploading) CancelNow();
    EnterStatus(LinkStatus::Waiting);
  });
  if (windowSettings.dncSynchronisation > 0 && windowSettings.dncServerRole == 0) DncClientStep();
}

void DownloadApp::ReadyForServing() {
  const bool synchronised = windowSettings.dncSynchronisation > 0;
  const bool client = synchronised && windowSettings.dncServerRole == 0;
  RunOnWorker([this, client] {
    if (Status() == LinkStatus::Uploading) CancelNow();
    EnterStatus(client ? LinkStatus::ClientNoServer : LinkStatus::Waiting);
  });
  services.window->SetJobButtons(synchronised ? JobButtons::Hidden : JobButtons::Enabled);
  if (client)
    DncClientStep();
  else
    timers.Stop(kPingTimer);
}

// --- Settings ---

FormDescription DownloadApp::SettingsForm() {
  FormDescription form =
      MakeSettingsForm(windowSettings, OfferedPorts(windowSettings.port, services.probePort));
  form.check = [this](FormDescription& edited) {
    edited.obstacle = WhatRuns();
    for (FormField& field : edited.fields)
      field.problem.Clear();
    for (const FieldRefusal& refusal : CheckSettingsForm(edited, windowSettings))
      edited.Find(refusal.key)->problem = refusal.Reason(refusal.label);
  };
  form.look = [this](const FormDescription& edited, const FormDescription::Looked& done) {
    LookAtForm(edited, [looked = edited, done](const Refusals& refusals) mutable {
      for (const FieldRefusal& refusal : refusals)
        looked.Find(refusal.key)->problem = refusal.Reason(refusal.label);
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
  const int question = AwaitAnswer(refuse);
  const bool taken = LookAside([this, edited, before = windowSettings, question, done] {
    PostToWindow([this, question, done, refusals = LookAtPlaces(edited, before)] {
      if (TakeAnswer(question)) done(refusals);
    });
  });
  if (!taken && TakeAnswer(question)) refuse();
}

int DownloadApp::AwaitAnswer(const std::function<void()>& refuse) {
  const int question = ++questions;
  ++unanswered;
  timers.Create(AnswerTimer(question), kAnswerPatience, Now(), true, [this, question, refuse] {
    if (TakeAnswer(question)) refuse();
  });
  return question;
}

bool DownloadApp::TakeAnswer(int question) {
  if (!timers.IsStarted(AnswerTimer(question))) return false;
  timers.Delete(AnswerTimer(question));
  --unanswered;
  return true;
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
    UpdateStatus();
  });
}

bool DownloadApp::SetHandshake(bool rtsCts, bool dtrDsr) {
  if (const KorText running = WhatRuns(); !running.IsEmpty()) {
    ShowMessage(LookUpText(kTexts.downloadSettings), running, MessageStyle::Exclamation);
    return false;
  }
  ChangeSettings([&](LinkSettings& changed) {
    changed.rtsCtsHandshake = rtsCts ? 1 : 0;
    changed.dtrDsrHandshake = dtrDsr ? 1 : 0;
  });
  ReopenPort();
  return true;
}

// --- Delayed download ---

bool DownloadApp::StopDelay() {
  timers.Delete(kDownloadTimer);
  return std::exchange(downloadDelayed, false);
}

void DownloadApp::DelayDownload() {
  StopDelay();
  FinishTransfer(); // the request takes the place of what ran
  if (workerSettings.sendSot != 0) channel.SendCharacter(workerSettings.sotCharacter, false);
  if (workerSettings.transmitDelay < 1) {
    DownloadNow();
    return;
  }
  App().DebugOutput(
      KorText::Format(u"Download delayed for %i second(s).\n", workerSettings.transmitDelay));
  board.SetCount(0);
  EnterStatus(LinkStatus::DownloadWaiting);
  Delay(workerSettings.transmitDelay, [this] { DownloadNow(); });
}

void DownloadApp::Delay(double seconds, std::function<void()> task) {
  downloadDelayed = true;
  // Only the worker deletes the timer: here it could be a newer request's by now.
  timers.Create(kDownloadTimer, seconds, Now(), true,
                [this, mine = ++delays, then = std::move(task)] {
                  RunOnWorker([this, mine, then] {
                    if (mine == delays && StopDelay()) then();
                  });
                });
}

void DownloadApp::DownloadNow() {
  StopDelay();
  SetStatus(LinkStatus::DownloadPreparation);
  StartDownload();
}

// --- Manual transfer ---

void DownloadApp::ChooseDownloadFile() {
  if (!MayStart(ManualTransfer::SendCaption())) return;
  if (const auto chosen = manual.ChooseToSend(windowSettings, CurrentStatus().fileName))
    SendFile(*chosen);
}

void DownloadApp::ChooseUploadFile() {
  if (!MayStart(ManualTransfer::ReceiveCaption())) return;
  if (const auto chosen = manual.ChooseToReceive(windowSettings, CurrentStatus().fileName))
    ReceiveFile(*chosen);
}

void DownloadApp::SendFile(const KorText& path) {
  StartOnWorker(ManualTransfer::SendCaption(),
                [this, full = App().AbsolutePath(path)] { StartSend(full); });
}

void DownloadApp::StartSend(const KorText& path) {
  if (ending) return;
  AbandonExchange();
  board.SetFileName(path);
  std::int64_t size = 0;
  if (!LoadTransfer(path, size)) {
    EnterStatus(LinkStatus::DownloadCantOpen);
    return;
  }
  board.BeginCount(size);
  EnterStatus(LinkStatus::Downloading);
  PostToWindow([this, path] {
    ChangeSettings([&](LinkSettings& changed) { ManualTransfer::Remember(path, changed); });
  });
  manual.Begin(EndDialog::Download, modelName + u"  " + path);
}

bool DownloadApp::LoadTransfer(const KorText& path, std::int64_t& size) {
  const WriterWatch watch(path);
  SimpleFile file(path);
  const bool opened = !watch.IsHeld() && NcProgram::Open(file) == NcProgram::Result::Read;
  const auto bytes = opened ? file.ReadAll() : std::nullopt;
  if (watch.SawWriter()) {
    TellRefusal(NcProgram::Result::BeingWritten, path);
    return false;
  }
  if (!bytes) return false;
  size = static_cast<std::int64_t>(bytes->size());
  channel.SetSendSource(std::string(bytes->begin(), bytes->end()));
  return true;
}

void DownloadApp::PollIdle() {
  if (Status() != LinkStatus::Downloading) return;
  if (channel.SendPosition() < channel.SendLength()) {
    // About a sixteenth of a second of line time.
    const std::int64_t chunk =
        std::min<std::int64_t>(workerSettings.baudrate.ToInteger() / 8 / 2, kLargestChunk);
    if (!channel.QueueCharacters(chunk)) return;
    const auto sent = static_cast<std::int64_t>(channel.SendPosition());
    board.SetCount(sent);
    ShowProgress(sent, static_cast<std::int64_t>(channel.SendLength()));
    return;
  }
  ShowProgress(1, 1);
  EnterStatus(LinkStatus::DownloadCompleted);
  FinishTransfer();
}

void DownloadApp::FinishTransfer() {
  program.Clear();
  channel.SetSendSource({});
  manual.End();
}

void DownloadApp::ReceiveFile(const KorText& path) {
  StartOnWorker(ManualTransfer::ReceiveCaption(),
                [this, full = App().AbsolutePath(path)] { StartReceive(full); });
}

void DownloadApp::StartReceive(const KorText& path) {
  AbandonExchange();
  if (!OpenUpload(path)) {
    EnterStatus(LinkStatus::UploadCantOpen);
    return;
  }
  BeginUpload();
  manual.Begin(EndDialog::Upload, modelName + u"  " + path);
}

void DownloadApp::ProcessReceived() {
  if (Status() == LinkStatus::Uploading && upload.IsOpen()) {
    const std::string_view bytes = channel.Received();
    const bool stored = upload.Write(bytes);
    CountReceived(bytes.size());
    if (!stored) {
      upload.Discard();
      EnterStatus(LinkStatus::UploadErrors);
      FinishTransfer();
    }
  }
  if (Status() != LinkStatus::LoopbackFailure) channel.DiscardReceived();
}

void DownloadApp::CompleteUpload() {
  RunOnWorker([this] {
    const KorText caption = LookUpText(kTexts.uploadEnd);
    if (Status() != LinkStatus::Uploading) {
      ShowMessage(caption, LookUpText(kTexts.nothingReceived), MessageStyle::Information);
      return;
    }
    if (!manual.IsRunning()) {
      ShowMessage(caption, LookUpText(kTexts.onlyControllerCompletes), MessageStyle::Exclamation);
      return;
    }
    ShowProgress(0, 0);
    EnterStatus(CommitUpload() ? LinkStatus::UploadCompleted : LinkStatus::UploadErrors);
    FinishTransfer();
  });
}

// --- Transfer file ---

bool DownloadApp::OpenUpload(const KorText& path) {
  board.SetFileName(path);
  if (!upload.Open(path)) return false;
  StopDelay(); // a download that waits for it would break into the upload
  return true;
}

void DownloadApp::BeginUpload(const KorText& note) {
  board.SetCount(0);
  uploadNote = note;
  uploadMoved = Now();
  uploadStands = false;
  EnterStatus(LinkStatus::Uploading, note);
}

void DownloadApp::CountReceived(std::size_t bytes) {
  board.AddCount(static_cast<std::int64_t>(bytes));
  uploadMoved = Now();
  if (uploadStands) ShowUploadNote(false);
}

// An upload whose end mark never comes waits for ever: whoever looks at the PC is told what to do.
void DownloadApp::WatchUpload() {
  if (uploadStands || Status() != LinkStatus::Uploading) return;
  if (Now() - uploadMoved >= kUploadPatience) ShowUploadNote(true);
}

void DownloadApp::ShowUploadNote(bool standsStill) {
  uploadStands = standsStill;
  KorText note = uploadNote;
  if (standsStill)
    note = KorText::Format(LookUpText(kTexts.uploadStands), services.window->CancelName());
  board.SetNote(note);
  shownCode.reset(); // the code is the same, but the window shall show it at once
  UpdateStatus();
}

bool DownloadApp::CommitUpload() {
  if (upload.IsOpen()) board.SetCount(static_cast<std::int64_t>(upload.Size()));
  return upload.Commit();
}

NcProgram::Result DownloadApp::ReadProgram(const KorText& path) {
  const NcProgram::Result result = program.Read(path);
  if (result != NcProgram::Result::BeingWritten) TellRefusal(result, path);
  return result;
}

void DownloadApp::TellRefusal(NcProgram::Result result, const KorText& path) {
  using enum NcProgram::Result;
  KorText why;
  if (result == LineTooLong) why = LookUpText(kTexts.notAsciiFile);
  if (result == Damaged) why = KorText::Format(LookUpText(kTexts.programDamaged), path);
  if (result == TooLarge) why = KorText::Format(LookUpText(kTexts.programTooLarge), path);
  if (result == BeingWritten) why = KorText::Format(LookUpText(kTexts.programStillWritten), path);
  if (!why.IsEmpty()) ShowMessage(u"Error", why, MessageStyle::Exclamation);
}

// --- Line tests and logs ---

void DownloadApp::LoopbackTest() {
  StartOnWorker(LookUpText(kTexts.loopBackTest), [this] {
    timers.Stop(kDisplayTimer); // the waiting status stands until the test has begun
    AbandonExchange();
    EnterStatus(LinkStatus::Waiting);
    channel.StartLoopbackTest();
    displaying = true;
    timers.Start(kDisplayTimer, Now());
  });
}

void DownloadApp::XonXoffTest() {
  StartOnWorker(LookUpText(kTexts.xonXoffTest), [this] {
    channel.HoldController();
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

// Behind the jobs that have ended so far.
bool DownloadApp::ReadJobsOfToday(std::function<void(const std::vector<EndedJob>&)> show) {
  return logWriter.Add(1, [this, show = std::move(show)] {
    if (gone) return;
    PostToWindow([show, jobs = ReadJobsOfDay(jobsPath, App().LocalTime())] { show(jobs); });
  });
}

void DownloadApp::AskJobsOfToday(std::function<void(const std::vector<EndedJob>&)> show) {
  const auto refuse = [this] {
    ShowMessage(LookUpText(kTexts.log), SilentFolder(), MessageStyle::Exclamation);
  };
  const int question = AwaitAnswer(refuse);
  const bool asked = ReadJobsOfToday([this, question, show = std::move(show)](const auto& jobs) {
    if (TakeAnswer(question)) show(jobs);
  });
  if (!asked && TakeAnswer(question)) refuse();
}

void DownloadApp::StopTrace() {
  log.StopTrace(u"End of Logging");
}

} // namespace kor
