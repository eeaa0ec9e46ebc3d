#include "link/status_teller.h"

namespace kor {

void StatusTeller::Set(LinkStatus code) {
  board.Set(code);
  display.Keep();
}

void StatusTeller::Enter(LinkStatus code, const KorText& note) {
  board.Set(code, note);
  Update();
}

void StatusTeller::Update() {
  const LinkStatus code = Code();
  // Between two changes the display timer shows the counters; a reply does not wait for that.
  if (code == shown && !EndsJob(code)) return;
  shown = code;
  board.TellJobs();
  host.PostToWindow(WindowFeed::Kind::Status,
                    [view = board.TakeView()](FormDialog& window) { window.ShowStatus(view); });
}

void StatusTeller::ChangeNote(const KorText& note) {
  board.SetNote(note);
  shown.reset(); // the code is the same, but the window shall show it at once
  Update();
}

void StatusTeller::ShowTitle(const KorText& title) {
  host.PostToWindow(WindowFeed::Kind::Title,
                    [title](FormDialog& window) { window.SetTitle(title); });
}

void StatusTeller::ShowMessage(const KorText& caption, const KorText& text, MessageStyle style) {
  host.PostToWindow(WindowFeed::Kind::Message, [caption, text, style](FormDialog& window) {
    window.ShowMessage(caption, text, style);
  });
}

} // namespace kor
