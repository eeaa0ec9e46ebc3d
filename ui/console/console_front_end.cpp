#include "ui/console/console_front_end.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>

#include "services/core/app_interface.h"

namespace kor {

namespace {

constexpr std::int32_t kDownloading = 12;
constexpr std::int32_t kUploading = 13;
constexpr double kLongestWait = 1.0; // seconds
constexpr std::string_view kPrompt = "> ";
constexpr char kBackspace = 8;
constexpr char kDelete = 127;
constexpr char kEraseLine = 21; // Ctrl-U
constexpr char kEscape = 27;
constexpr std::size_t kLongestLine = 4096; // bytes of a command; the rest is dropped

// A counter that moves on is no change of status.
bool IsNewStatus(const StatusView& before, const StatusView& now) {
  if (before.code != now.code) return true;
  const bool counting = now.code == kDownloading || now.code == kUploading;
  return !counting && before.line != now.line;
}

KorText ClockText() {
  const SystemTime now = App().LocalTime();
  return KorText::Format(u"%02i:%02i:%02i", now.hour, now.minute, now.second);
}

// The last character, which may be several bytes of UTF-8.
void RemoveLast(std::string& text) {
  while (!text.empty() && (text.back() & 0xC0) == 0x80)
    text.pop_back();
  if (!text.empty()) text.pop_back();
}

} // namespace

std::string PrintableText(const KorText& text) {
  KorText clean;
  for (const char16_t c : text.View())
    clean += c < u' ' || (c >= 0x7f && c < 0xa0) ? u' ' : c;
  return clean.ToUtf8();
}

ConsoleFrontEnd::ConsoleFrontEnd(std::shared_ptr<Terminal> systemTerminal)
    : terminal(std::move(systemTerminal)), output(terminal),
      interactive(terminal->IsInteractive()) {
  if (interactive) terminal->StartKeys();
}

ConsoleFrontEnd::~ConsoleFrontEnd() {
  terminal->StopKeys();
  const std::lock_guard lock(shared->mutex);
  shared->closed = true;
  shared->tasks.clear();
}

// --- Loop ----------------------------------------------------------------------------------------------

void ConsoleFrontEnd::Post(std::function<void()> task) {
  {
    const std::lock_guard lock(shared->mutex);
    if (shared->closed) return;
    shared->tasks.push_back(std::move(task));
  }
  shared->changed.notify_one();
}

std::function<void()> ConsoleFrontEnd::Quitter() const {
  return [state = shared] {
    const std::lock_guard lock(state->mutex);
    state->quit = true;
    state->changed.notify_one();
  };
}

// The end of the input ends the reader, not the program.
void ConsoleFrontEnd::StartReader() {
  std::thread([state = shared, source = terminal, this] {
    std::array<char, 512> bytes;
    while (const std::size_t count = source->Read(bytes)) {
      const std::lock_guard lock(state->mutex);
      if (state->closed) return;
      state->tasks.emplace_back(
          [this, text = std::string(bytes.data(), count)] { TakeInput(text); });
      state->changed.notify_one();
    }
    // A last line without its end is a line.
    const std::lock_guard lock(state->mutex);
    if (!state->closed) state->tasks.emplace_back([this] { CompleteLine(); });
    state->changed.notify_one();
  }).detach();
}

void ConsoleFrontEnd::WaitForWork(const TimerQueue& timers) {
  const auto due = timers.NextDue();
  const double now = App().HighResolutionSeconds();
  const double wait = due ? std::clamp(*due - now, 0.0, kLongestWait) : kLongestWait;
  std::unique_lock lock(shared->mutex);
  shared->changed.wait_for(lock, std::chrono::duration<double>(wait),
                           [this] { return shared->quit || !shared->tasks.empty(); });
}

void ConsoleFrontEnd::RunTasks() {
  std::deque<std::function<void()>> now;
  {
    const std::lock_guard lock(shared->mutex);
    now.swap(shared->tasks);
  }
  for (const auto& task : now)
    task();
}

void ConsoleFrontEnd::Run(TimerQueue& timers, std::function<void(const KorText&)> onLine) {
  lineHandler = std::move(onLine);
  timers.SetOnEarlier([this] { Post([] {}); });
  StartReader();
  const auto quitting = [this] {
    const std::lock_guard lock(shared->mutex);
    return shared->quit;
  };
  while (!quitting()) {
    WaitForWork(timers);
    RunTasks();
    if (!quitting()) timers.RunDue(App().HighResolutionSeconds());
  }
  RunTasks();
  EraseLive();
}

// --- Input ---------------------------------------------------------------------------------------------

void ConsoleFrontEnd::TakeInput(const std::string& bytes) {
  for (const char c : bytes)
    TakeKey(c);
  if (interactive) DrawLive();
}

// A cursor or function key: ESC, "[" or "O", parameters, a letter or "~". It means nothing here.
bool ConsoleFrontEnd::IsEscape(char c) {
  if (escape.empty() && c != kEscape) return false;
  escape += c;
  const bool introducer = escape.size() == 2 && (c == '[' || c == 'O');
  const bool parameter = escape.size() > 2 && c >= ' ' && c < '@';
  if (escape.size() > 1 && !introducer && !parameter) escape.clear();
  return true;
}

void ConsoleFrontEnd::TakeKey(char c) {
  if (interactive && IsEscape(c)) return;
  if (c == '\n' || c == '\r')
    CompleteLine();
  else if (interactive && (c == kBackspace || c == kDelete))
    RemoveLast(input);
  else if (interactive && c == kEraseLine)
    input.clear();
  else if ((static_cast<unsigned char>(c) >= ' ' || c == '\t') && input.size() < kLongestLine)
    input += c;
}

void ConsoleFrontEnd::CompleteLine() {
  const KorText line = KorText::FromUtf8(input).Trimmed();
  if (interactive && !line.IsEmpty()) PrintLine(std::string(kPrompt) + input);
  input.clear();
  if (!line.IsEmpty() && lineHandler) lineHandler(line);
}

// --- Output --------------------------------------------------------------------------------------------

void ConsoleFrontEnd::EraseLive() {
  if (liveLine.empty()) return;
  output.Write("\r\x1b[K\x1b[1A\r\x1b[K"); // the prompt, and the status line above it
  liveLine.clear();
}

// Two lines that never wrap: the status, and the end of what is being typed.
void ConsoleFrontEnd::DrawLive() {
  if (!interactive || !hasStatus) return;
  const auto columns = static_cast<std::size_t>(std::max(terminal->Columns() - 1, 4));
  const std::string status = PrintableText(StatusLine(shown, meter.BytesPerSecond(), columns));
  const std::string typed = KorText::FromUtf8(input).Right(columns - kPrompt.size()).ToUtf8();
  const std::string line = "\x1b[7m" + status + "\x1b[0m\n" + std::string(kPrompt) + typed;
  if (line == liveLine) return;
  EraseLive();
  output.Write(line);
  liveLine = line;
}

void ConsoleFrontEnd::PrintLine(std::string_view line) {
  EraseLive();
  output.Write(std::string(line) + "\n");
  DrawLive();
}

void ConsoleFrontEnd::Print(const KorText& line) {
  PrintLine(PrintableText(line));
}

void ConsoleFrontEnd::ShowStatus(const StatusView& view) {
  const bool isNew = !hasStatus || IsNewStatus(shown, view);
  shown = view;
  hasStatus = true;
  meter.Update(view, App().HighResolutionSeconds());
  if (interactive)
    DrawLive();
  else if (isNew)
    Print(KorText::Format(u"%s %i %s", ClockText(), view.code, view.line));
}

void ConsoleFrontEnd::SetMonitorOn(bool on) {
  monitorOn = on;
  if (!on) monitorRest.clear();
}

// Whole lines are shown as they come; an unfinished one waits for its end.
void ConsoleFrontEnd::AppendMonitor(const KorText& text) {
  if (!monitorOn) return;
  monitorRest += text.ToUtf8();
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
  KorText oneLine = text;
  oneLine.ReplaceAll(u"\n", u": ");
  EraseLive();
  output.WriteError(PrintableText(KorText::Format(u"%s: %s", caption, oneLine)) + "\n");
  DrawLive();
}

} // namespace kor
