#include "ui/console/console_front_end.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>
#include <utility>

#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"
#include "ui/console/column_width.h"
#include "ui/console/plain_line_editor.h"
#include "ui/console/status_line.h"

namespace kor {

namespace {

constexpr double kLongestWait = 60.0; // seconds
constexpr double kRestPeriod = 0.1;   // seconds that the begin of a monitor line waits for its end
constexpr double kRefresh = 1.0;      // seconds between two looks at a transfer that may stand
constexpr std::string_view kPrompt = "> ";
constexpr std::string_view kRed = "\x1b[31m", kPlain = "\x1b[0m";

// A counter that moves on is not a change of status.
bool IsNewStatus(const StatusView& before, const StatusView& now) {
  if (before.code != now.code) return true;
  return !IsTransfer(now.code) && before.line != now.line;
}

KorText ClockText() {
  const SystemTime now = App().LocalTime();
  return KorText::Format(u"%02i:%02i:%02i", now.hour, now.minute, now.second);
}

// These marks turn the direction of writing: a name with one would turn the rest of the line, too.
bool TurnsWriting(char16_t c) {
  return c == 0x200e || c == 0x200f || (c >= 0x202a && c <= 0x202e) || (c >= 0x2066 && c <= 0x2069);
}

} // namespace

std::string PrintableText(const KorText& text) {
  KorText clean;
  for (const char16_t c : text.View())
    clean += c < u' ' || (c >= 0x7f && c < 0xa0) || TurnsWriting(c) ? u' ' : c;
  return clean.ToUtf8();
}

KorText InOneLine(const KorText& message) {
  KorText line = message;
  line.ReplaceAll(u"\n\n", u"\n");
  return line.ReplaceAll(u"\n", u": ");
}

std::string RedText(std::string_view text) {
  return std::string(kRed) + std::string(text) + std::string(kPlain);
}

ConsoleFrontEnd::ConsoleFrontEnd(std::shared_ptr<Terminal> systemTerminal)
    : terminal(std::move(systemTerminal)), output(terminal), interactive(terminal->IsInteractive()),
      colours(terminal->HasColours()) {
  if (interactive) {
    terminal->StartKeys();
    editor = terminal->MakeLineEditor();
  }
  if (!editor) editor = std::make_unique<PlainLineEditor>(interactive);
}

ConsoleFrontEnd::~ConsoleFrontEnd() {
  terminal->StopKeys();
  inbox->Close();
}

// --- Loop ---

void ConsoleFrontEnd::Post(std::function<void()> task) {
  inbox->Post(std::move(task));
}

std::function<void(TerminalEvent)> ConsoleFrontEnd::EventHandler() {
  return [box = inbox, this](TerminalEvent event) {
    switch (event) {
    case TerminalEvent::Interrupt:
      box->Interrupt();
      break;
    case TerminalEvent::End:
      box->Quit();
      break;
    case TerminalEvent::Resized:
      box->Post([this] { DrawLive(); });
      break;
    }
  };
}

// The end of the input ends the reader, not the program. The reader reads ahead only as much as the
// inbox takes, so a flood waits in its pipe.
void ConsoleFrontEnd::StartReader() {
  std::thread([box = inbox, source = terminal] {
    std::array<char, 512> bytes;
    std::size_t count = 1;
    while (count > 0) {
      count = source->Read(bytes);
      if (!box->AddInput({bytes.data(), count})) return;
    }
  }).detach();
}

void ConsoleFrontEnd::WaitForWork(const TimerQueue& timers) {
  constexpr double kBusy = 0.01; // seconds until a busy worker is asked again
  const bool takes = (!takesInput || takesInput()) && !lines.IsFull();
  const auto due = timers.NextDue();
  const double now = App().HighResolutionSeconds();
  double wait = due ? std::clamp(*due - now, 0.0, kLongestWait) : kLongestWait;
  if (hasStatus && IsExchange(shown.code)) wait = std::min(wait, kRefresh);
  if (!monitorRest.empty()) wait = std::clamp(restDue - now, 0.0, wait);
  if (!lines.IsEmpty()) wait = lines.IsReady(now) ? 0 : std::min(wait, kBusy);
  if (!takes && inbox->HasInput()) wait = std::min(wait, kBusy);
  const auto span = std::chrono::duration<double>(wait);
  inbox->Wait(takes ? ConsoleInbox::For::TaskOrInput : ConsoleInbox::For::Task,
              std::chrono::steady_clock::now() +
                  std::chrono::duration_cast<std::chrono::steady_clock::duration>(span));
}

void ConsoleFrontEnd::RunTasks() {
  for (const auto& task : inbox->TakeTasks())
    task();
}

void ConsoleFrontEnd::Run(TimerQueue& timers, std::function<void(const KorText&)> onLine) {
  lineHandler = std::move(onLine);
  timers.SetOnEarlier([this] { Post([] {}); });
  StartReader();
  while (!inbox->IsQuitting()) {
    WaitForWork(timers);
    RunTasks();
    TakeInput();
    if (!inbox->IsQuitting()) timers.RunDue(App().HighResolutionSeconds());
    Refresh();
  }
  RunTasks();
  EraseLive();
}

void ConsoleFrontEnd::Finish() {
  RunTasks();
  EraseLive();
  hasStatus = false;
  Flush();
}

// --- Input ---

// Only one line is run at a time; what follows "quit" is left alone.
void ConsoleFrontEnd::TakeInput() {
  if (inbox->IsQuitting() || (takesInput && !takesInput()) || RunLine()) return;
  if (lines.IsFull()) return;
  ReadLine();
  RunLine();
}

void ConsoleFrontEnd::ReadLine() {
  const std::string bytes = inbox->TakeInput();
  for (const std::string& line : editor->Take(bytes))
    CompleteLine(line);
  if (interactive && !bytes.empty()) DrawLive();
}

void ConsoleFrontEnd::CompleteLine(const std::string& bytes) {
  const KorText line = KorText::FromUtf8(bytes).Trimmed();
  if (line.IsEmpty()) return;
  if (interactive) PrintLine(std::string(kPrompt) + PrintableText(line));
  lines.Add(line);
}

bool ConsoleFrontEnd::RunLine() {
  const auto line = lines.Take(App().HighResolutionSeconds());
  if (line && lineHandler) lineHandler(*line);
  return line.has_value();
}

// --- Output ---

// Erases the prompt, and the status line above it, which may be wrapped since the screen became
// narrower.
void ConsoleFrontEnd::EraseLive() {
  if (liveLine.empty()) return;
  const auto columns = static_cast<std::size_t>(std::max(terminal->Columns(), 1));
  std::string erase = "\r\x1b[J";
  for (std::size_t row = 0; row * columns < std::max<std::size_t>(liveColumns, 1); ++row)
    erase += "\x1b[1A\x1b[K";
  output.Write(erase);
  liveLine.clear();
}

// Returns the part of the typed text that fits beside the prompt, with the cursor in its place.
std::string ConsoleFrontEnd::TypedLine(std::size_t columns) const {
  const std::string text = editor->Text();
  const std::size_t cursor = editor->Cursor();
  const KorText before =
      KorText::FromUtf8(PrintableText(KorText::FromUtf8(text.substr(0, cursor))));
  const KorText left = CutLeft(before, columns);
  const KorText after = KorText::FromUtf8(PrintableText(KorText::FromUtf8(text.substr(cursor))));
  const KorText right = after.Left(FitColumns(after, columns - ColumnsOf(left)).length);
  std::string line = left.ToUtf8() + right.ToUtf8();
  if (const std::size_t back = ColumnsOf(right); back > 0)
    line += "\x1b[" + std::to_string(back) + "D";
  return line;
}

// The last column stays free, because a line that fills it wraps on some screens.
std::size_t ConsoleFrontEnd::ScreenColumns() const {
  return static_cast<std::size_t>(std::max(terminal->Columns() - 1, 4));
}

// Draws two lines that never wrap.
void ConsoleFrontEnd::DrawLive() {
  if (!interactive || !hasStatus) return;
  const std::size_t columns = ScreenColumns();
  const KorText status =
      KorText::FromUtf8(PrintableText(StatusLine(shown, meter.Measured(), columns)));
  const std::string line = "\x1b[7m" + status.ToUtf8() + std::string(kPlain) + "\n" +
                           std::string(kPrompt) + TypedLine(columns - kPrompt.size());
  if (line == liveLine) return;
  EraseLive();
  output.Write(line);
  liveLine = line;
  liveColumns = columns;
}

// A transfer that stands still brings no status, but its rate falls.
void ConsoleFrontEnd::Refresh() {
  if (App().HighResolutionSeconds() >= restDue) ShowMonitorRest();
  if (!interactive || !hasStatus || !IsExchange(shown.code)) return;
  meter.Update(shown, App().HighResolutionSeconds());
  DrawLive();
}

void ConsoleFrontEnd::PrintLine(std::string_view line) {
  EraseLive();
  output.Write(std::string(line) + "\n");
  DrawLive();
}

void ConsoleFrontEnd::PrintAlert(std::string_view line) {
  PrintLine(colours ? RedText(line) : std::string(line));
}

void ConsoleFrontEnd::Print(const KorText& line) {
  PrintLine(PrintableText(line));
}

bool ConsoleFrontEnd::IsOnScreen(const StatusView& view) const {
  if (!hasStatus || IsExchange(view.code) || view != shown) return false;
  return !interactive || (!liveLine.empty() && ScreenColumns() == liveColumns);
}

void ConsoleFrontEnd::ShowStatus(const StatusView& view) {
  ShowMonitorRest();
  if (IsOnScreen(view)) return; // an idle program has nothing to draw ten times a second
  const bool isNew = !hasStatus || IsNewStatus(shown, view);
  const bool isLost = isNew && view.code == LinkStatus::NoLink;
  const bool isBack =
      hasStatus && shown.code == LinkStatus::NoLink && view.code == LinkStatus::Waiting;
  const bool hasNewReason = view.reason != shown.reason && !view.reason.IsEmpty();
  const bool hasNote = !view.note.IsEmpty() && (isNew || view.note != shown.note);
  shown = view;
  hasStatus = true;
  meter.Update(view, App().HighResolutionSeconds());
  if (isNew) AskWhileBusy();
  if (!interactive) {
    if (isNew) Print(KorText::Format(u"%s %i %s", ClockText(), NumberOf(view.code), view.line));
    if (hasNewReason) Print(KorText::Format(u"%s %s", ClockText(), view.reason));
    if (hasNote) Print(KorText::Format(u"%s %s", ClockText(), view.note));
    return;
  }
  if (hasNote && !EndsJob(view.code)) PrintAlert(PrintableText(ClockText() + u" " + view.note));
  const std::string line = PrintableText(KorText::Format(u"%s %s", ClockText(), view.line));
  if (isLost)
    PrintAlert(line);
  else if (isBack)
    PrintLine(line);
  DrawLive();
}

// Only a user who sees the question can answer it.
void ConsoleFrontEnd::AskWhileBusy() {
  const bool asks = interactive && IsExchange(shown.code);
  inbox->SetQuestion(asks ? [this] { Print(LookUpText(kTexts.quitDuringTransfer)); }
                          : std::function<void()>());
}

// On a pipe the change of status has told this already.
void ConsoleFrontEnd::ShowEndedJob(const EndedJob& job) {
  if (!interactive) return;
  const SystemTime today = App().LocalTime();
  const KorText date = App().FormatDate(today);
  if (date != shownDate) Print(date);
  shownDate = date;
  PrintJob(job);
}

void ConsoleFrontEnd::PrintJob(const EndedJob& job) {
  const std::string line = PrintableText(JobLine(job, ScreenColumns()));
  if (job.Failed())
    PrintAlert(line);
  else
    PrintLine(line);
  if (!job.note.IsEmpty()) PrintAlert(PrintableText(job.note));
}

void ConsoleFrontEnd::SetMonitorOn(bool on) {
  monitorOn = on;
  if (on) return;
  monitorRest.clear();
  restIsShown = false;
}

void ConsoleFrontEnd::ShowMonitorRest() {
  if (monitorRest.empty()) return;
  PrintLine(monitorRest);
  monitorRest.clear();
  restIsShown = true;
}

// Whole lines are shown as they come. An unfinished line, such as a reply that nothing has followed
// yet, waits a moment for its end.
void ConsoleFrontEnd::AppendMonitor(const KorText& text) {
  if (!monitorOn) return;
  if (monitorRest.empty()) restDue = App().HighResolutionSeconds() + kRestPeriod;
  monitorRest += text.ToUtf8();
  if (restIsShown && !monitorRest.empty()) {
    restIsShown = false;
    if (monitorRest.front() == '\n') monitorRest.erase(0, 1); // the screen has that line end
  }
  const std::size_t end = monitorRest.rfind('\n');
  if (end == std::string::npos) return;
  PrintLine(std::string_view(monitorRest).substr(0, end));
  monitorRest.erase(0, end + 1);
}

void ConsoleFrontEnd::SetTitle(const KorText& newTitle) {
  if (newTitle == title) return;
  title = newTitle;
  if (interactive) output.Write("\x1b]2;" + PrintableText(title) + "\x07");
}

void ConsoleFrontEnd::ShowMessage(const KorText& caption, const KorText& text, MessageStyle) {
  std::string line = PrintableText(KorText::Format(u"%s: %s", caption, InOneLine(text)));
  if (interactive) line = PrintableText(ClockText()) + " " + line;
  EraseLive();
  output.WriteError((colours ? RedText(line) : line) + "\n");
  DrawLive();
}

} // namespace kor
