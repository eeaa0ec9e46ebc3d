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
constexpr double kGrace = 0.3;        // seconds until a command may overtake a question
constexpr std::string_view kPrompt = "> ";
constexpr std::string_view kRed = "\x1b[31m", kPlain = "\x1b[0m";

// A counter that moves on is no change of status.
bool IsNewStatus(const StatusView& before, const StatusView& now) {
  if (before.code != now.code) return true;
  return !IsTransfer(now.code) && before.line != now.line;
}

KorText ClockText() {
  const SystemTime now = App().LocalTime();
  return KorText::Format(u"%02i:%02i:%02i", now.hour, now.minute, now.second);
}

// Marks that turn the direction of writing: a name with one would turn the rest of the line, too.
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
  const Lock lock(shared->mutex);
  shared->closed = true;
  shared->tasks.clear();
  shared->room.notify_all();
}

// --- Loop ---

void ConsoleFrontEnd::Post(std::function<void()> task) {
  {
    const Lock lock(shared->mutex);
    if (shared->closed) return;
    shared->tasks.push_back(std::move(task));
  }
  shared->changed.notify_one();
}

std::function<void()> ConsoleFrontEnd::Quitter() const {
  return [state = shared] {
    const Lock lock(state->mutex);
    state->quit = true;
    state->changed.notify_one();
  };
}

// A second one ends Run whatever the window's thread is doing.
void ConsoleFrontEnd::Interrupt(const std::shared_ptr<Shared>& shared) {
  const Lock lock(shared->mutex);
  if (shared->closed) return;
  if (shared->asks && !shared->asked) {
    shared->asked = true;
    shared->tasks.push_back(shared->question);
  } else {
    shared->quit = true;
  }
  shared->changed.notify_one();
}

std::function<void(TerminalEvent)> ConsoleFrontEnd::EventHandler() {
  return [state = shared, quit = Quitter(), this](TerminalEvent event) {
    if (event == TerminalEvent::Interrupt) {
      Interrupt(state);
    } else if (event == TerminalEvent::End) {
      quit();
    } else {
      const Lock lock(state->mutex);
      if (state->closed) return;
      state->tasks.emplace_back([this] { DrawLive(); });
      state->changed.notify_one();
    }
  };
}

bool ConsoleFrontEnd::AddInput(Shared& shared, std::string_view bytes) {
  const Lock lock(shared.mutex);
  while (!shared.closed && shared.input.size() >= kMostInput)
    shared.room.wait(shared.mutex);
  if (shared.closed) return false;
  shared.input += bytes;
  shared.inputEnded = bytes.empty();
  shared.changed.notify_one();
  return true;
}

// The end of the input ends the reader, not the program. The reader reads ahead no more than it
// may: a flood waits in its pipe.
void ConsoleFrontEnd::StartReader() {
  std::thread([state = shared, source = terminal] {
    std::array<char, 512> bytes;
    std::size_t count = 1;
    while (count > 0) {
      count = source->Read(bytes);
      if (!AddInput(*state, {bytes.data(), count})) return;
    }
  }).detach();
}

void ConsoleFrontEnd::WaitForWork(const TimerQueue& timers) {
  constexpr double kBusy = 0.01; // seconds until a busy worker is asked again
  const bool takes = (!takesInput || takesInput()) && lines.size() < kMostLines;
  const auto due = timers.NextDue();
  const double now = App().HighResolutionSeconds();
  double wait = due ? std::clamp(*due - now, 0.0, kLongestWait) : kLongestWait;
  if (hasStatus && IsExchange(shown.code)) wait = std::min(wait, kRefresh);
  if (!monitorRest.empty()) wait = std::clamp(restDue - now, 0.0, wait);
  if (!lines.empty()) wait = NextLine() == lines.end() ? std::min(wait, kBusy) : 0;
  const Lock lock(shared->mutex);
  const double most = !takes && shared->HasInput() ? std::min(wait, kBusy) : wait;
  const auto until = std::chrono::steady_clock::now() + std::chrono::duration<double>(most);
  while (!shared->quit && shared->tasks.empty() && !(takes && shared->HasInput()))
    if (shared->changed.wait_until(shared->mutex, until) == std::cv_status::timeout) return;
}

bool ConsoleFrontEnd::IsQuitting() {
  const Lock lock(shared->mutex);
  return shared->quit;
}

void ConsoleFrontEnd::RunTasks() {
  std::deque<std::function<void()>> now;
  {
    const Lock lock(shared->mutex);
    now.swap(shared->tasks);
  }
  for (const auto& task : now)
    task();
}

void ConsoleFrontEnd::Run(TimerQueue& timers, std::function<void(const KorText&)> onLine) {
  lineHandler = std::move(onLine);
  timers.SetOnEarlier([this] { Post([] {}); });
  StartReader();
  while (!IsQuitting()) {
    WaitForWork(timers);
    RunTasks();
    TakeInput();
    if (!IsQuitting()) timers.RunDue(App().HighResolutionSeconds());
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

// At most one line is run; what follows "quit" is left alone.
void ConsoleFrontEnd::TakeInput() {
  if (IsQuitting() || (takesInput && !takesInput()) || RunLine()) return;
  if (lines.size() >= kMostLines) return;
  ReadLine();
  RunLine();
}

void ConsoleFrontEnd::ReadLine() {
  std::string bytes;
  bool ended = false;
  {
    const Lock lock(shared->mutex);
    const std::size_t end = shared->input.find_first_of("\r\n");
    bytes = shared->input.substr(0, end == std::string::npos ? end : end + 1);
    shared->input.erase(0, bytes.size());
    ended = shared->input.empty() && std::exchange(shared->inputEnded, false);
  }
  shared->room.notify_one();
  if (ended) bytes += '\n'; // a last line without its end is a line
  for (const std::string& line : editor->Take(bytes))
    CompleteLine(line);
  if (interactive && !bytes.empty()) DrawLive();
}

void ConsoleFrontEnd::CompleteLine(const std::string& bytes) {
  const KorText line = KorText::FromUtf8(bytes).Trimmed();
  if (line.IsEmpty()) return;
  if (interactive) PrintLine(std::string(kPrompt) + PrintableText(line));
  lines.push_back(line);
}

bool ConsoleFrontEnd::RunLine() {
  const auto next = NextLine();
  if (next == lines.end()) return false;
  const KorText line = std::move(*next);
  lines.erase(next);
  if (lineHandler) lineHandler(line);
  return true;
}

// The first that need not wait.
std::deque<KorText>::iterator ConsoleFrontEnd::NextLine() {
  const double now = App().HighResolutionSeconds();
  if (!awaits || !awaits())
    awaitsSince.reset();
  else if (!awaitsSince)
    awaitsSince = now;
  if (!awaitsSince) return lines.begin();
  if (now < *awaitsSince + kGrace) return lines.end();
  for (auto line = lines.begin(); line != lines.end(); ++line) {
    const auto waits = [&](const KorText& other) { return !overtakes(*line, other); };
    if (!waits({}) && std::none_of(lines.begin(), line, waits)) return line;
  }
  return lines.end();
}

// --- Output ---

// The prompt, and the status line above it, which a screen that became narrower has wrapped.
void ConsoleFrontEnd::EraseLive() {
  if (liveLine.empty()) return;
  const auto columns = static_cast<std::size_t>(std::max(terminal->Columns(), 1));
  std::string erase = "\r\x1b[J";
  for (std::size_t row = 0; row * columns < std::max<std::size_t>(liveColumns, 1); ++row)
    erase += "\x1b[1A\x1b[K";
  output.Write(erase);
  liveLine.clear();
}

// The part of what is being typed that fits beside the prompt, with the cursor in its place.
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

// Without the last one: a line that fills it wraps on some screens.
std::size_t ConsoleFrontEnd::ScreenColumns() const {
  return static_cast<std::size_t>(std::max(terminal->Columns() - 1, 4));
}

// Two lines that never wrap.
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

// A transfer that stands changes nothing that would be told; its rate changes by that.
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
  const Lock lock(shared->mutex);
  shared->asks = interactive && IsExchange(shown.code);
  shared->asked = shared->asked && shared->asks;
  if (shared->asks && !shared->question)
    shared->question = [this] { Print(LookUpText(kTexts.quitDuringTransfer)); };
}

// Piped, the change of status has told it.
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

// Whole lines are shown as they come. An unfinished one, such as a reply that nothing has followed
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
