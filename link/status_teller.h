// StatusTeller: the worker's side of the link status. It sets the status and has the window show it
// at once, with the titles and messages that belong to it. Owned by Exchange. Worker's thread.
#pragma once

#include <optional>

#include "link/exchange_host.h"
#include "link/status_board.h"
#include "link/status_display.h"

namespace kor {

class StatusTeller {
 public:
  StatusTeller(StatusBoard& statusBoard, StatusDisplay& statusDisplay, ExchangeHost& exchangeHost)
      : board(statusBoard), display(statusDisplay), host(exchangeHost) {}

  LinkStatus Code() const { return board.Code(); }
  StatusBoard& Board() { return board; } // for the counters and the file's name
  void Set(LinkStatus code);             // to be shown by the display's timer
  void Enter(LinkStatus code, const KorText& note = {});
  // Forms the status line, with its job-log line, and has the window show it.
  void Update();
  void ChangeNote(const KorText& note); // of the status as it is
  void ShowTitle(const KorText& title);
  void ShowMessage(const KorText& caption, const KorText& text, MessageStyle style);

 private:
  StatusBoard& board;
  StatusDisplay& display;
  ExchangeHost& host;
  std::optional<LinkStatus> shown; // the last one that was posted
};

} // namespace kor
