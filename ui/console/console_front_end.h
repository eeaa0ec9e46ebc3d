// ConsoleFrontEnd: the engine's window on a terminal, and its loop. On a terminal it keeps a live
// status line above a prompt and lets ended jobs and the monitor's text scroll above both; piped,
// it writes a line for each change of status. Messages go to standard error as "caption: text".
//
// Owned by main. Window's thread, which is the one that calls Run, but for Post, Quit, and what
// EventHandler returns.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "ui/console/console_inbox.h"
#include "ui/console/console_output.h"
#include "ui/console/waiting_lines.h"
#include "ui/form_dialog.h"
#include "ui/terminal.h"
#include "ui/timer_queue.h"
#include "ui/transfer_text.h"

namespace kor {

// Returns UTF-8 without control characters and changes of writing direction, which would disturb
// the screen.
std::string PrintableText(const KorText& text);
// Joins a message's lines by ": ".
KorText InOneLine(const KorText& message);
// Makes a text red, for a terminal that shows colours.
std::string RedText(std::string_view text);

class ConsoleFrontEnd : public FormDialog {
 public:
  explicit ConsoleFrontEnd(std::shared_ptr<Terminal> systemTerminal);
  ~ConsoleFrontEnd() override;

  // Runs until Quit: hands each line of standard input to onLine and runs timers as they fall due.
  void Run(TimerQueue& timers, std::function<void(const KorText&)> onLine);
  // Sets what is asked before each line of input. While the answer is no, the input waits, and so
  // does whoever writes it.
  void SetTakesInput(std::function<bool()> ready) { takesInput = std::move(ready); }
  WaitingLines& Lines() { return lines; }
  void Quit() { inbox->Quit(); } // ends Run; any thread
  // Quits. On a terminal it first asks while an exchange runs.
  void AskQuit() { inbox->Interrupt(); }
  // Returns what the terminal's events call. Any thread may call it at any time, also after the
  // front end has gone. A second Ctrl-C always ends Run.
  std::function<void(TerminalEvent)> EventHandler();
  // Shows, after the engine's end, what the engine had not shown yet.
  void Finish();
  // Returns whether standard input and output are a terminal, so that somebody looks at them.
  bool IsInteractive() const { return interactive; }

  // Writes a line of answer to a command on standard output.
  void Print(const KorText& line);
  void PrintJob(const EndedJob& job); // does the same, in red where the job failed
  // Waits until the reader has taken what was printed.
  void Flush(std::chrono::milliseconds atMost = ConsoleOutput::kPatience) { output.Flush(atMost); }
  void SetMonitorOn(bool on);

  // FormDialog
  void ShowStatus(const StatusView& view) override;
  void ShowEndedJob(const EndedJob& job) override;
  void AppendMonitor(const KorText& text) override;
  void SetTitle(const KorText& title) override;
  void ShowEndDialog(EndDialog, bool) override {} // the commands complete and cancel do their work
  void SetJobButtons(JobButtons) override {}
  void ShowSpecialButton() override {}
  bool RunForm(FormDescription&) override { return false; } // set and special edit the forms
  std::optional<KorText> ChooseFile(const FileChoice&) override { return std::nullopt; }
  void ShowMessage(const KorText& caption, const KorText& text, MessageStyle style) override;
  void Post(std::function<void()> task) override;

 private:
  void StartReader();
  void TakeInput();
  bool RunLine(); // false when all have to wait, or there is none
  void ReadLine();
  void CompleteLine(const std::string& line);
  void AskWhileBusy();
  void RunTasks();
  void WaitForWork(const TimerQueue& timers);
  void ShowMonitorRest();
  void PrintLine(std::string_view line);
  void PrintAlert(std::string_view line); // red where that can be
  void Refresh();
  std::size_t ScreenColumns() const;
  bool IsOnScreen(const StatusView& view) const;
  void EraseLive();
  void DrawLive();
  std::string TypedLine(std::size_t columns) const;

  // Shared with the reading and the writing thread, which may be stuck in a call.
  const std::shared_ptr<Terminal> terminal;
  ConsoleOutput output;
  const bool interactive;
  const bool colours;
  const std::shared_ptr<ConsoleInbox> inbox = std::make_shared<ConsoleInbox>();
  std::function<void(const KorText&)> lineHandler;
  std::function<bool()> takesInput;
  WaitingLines lines;
  std::unique_ptr<LineEditor> editor;
  StatusView shown;
  bool hasStatus = false;
  KorText title;
  KorText shownDate; // the day of the last job shown
  RateMeter meter;
  bool monitorOn = false;
  std::string monitorRest;     // monitor text after the last line end
  double restDue = 0;          // when it is shown as it is; seconds of the high-resolution clock
  bool restIsShown = false;    // the begin of that line is on the screen already
  std::string liveLine;        // as drawn; empty when nothing is
  std::size_t liveColumns = 0; // of its status line
};

} // namespace kor
