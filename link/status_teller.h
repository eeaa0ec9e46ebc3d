// StatusTeller: the worker's side of the link status. It sets the status and posts it to the window
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
  StatusBoard& Board() { return board; } // holds the counters and the file's name
  void Set(LinkStatus code);             // The display's timer shows it.
  void Enter(LinkStatus code, const KorText& note = {});
  // Forms the status line, logs the job that has ended, and posts the status to the window.
  void Update();
  void ChangeNote(const KorText& note); // Keeps the status.
  void ShowTitle(const KorText& title);
  void ShowMessage(const KorText& caption, const KorText& text, MessageStyle style);

 private:
  StatusBoard& board;
  StatusDisplay& display;
  ExchangeHost& host;
  std::optional<LinkStatus> shown; // the status that was posted last
};

} // namespace kor
