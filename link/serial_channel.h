// SerialChannel: the one serial device through which the engine talks to the controller. Opens and
// configures it from the settings, polls it, moves bytes between the device and its buffers,
// honours holds, echoes the traffic to the monitor and the trace, and runs the two line tests.
//
// Owned by Exchange. Threads: everything runs on the thread that polls (CommsMonitor once it
// runs, before that the window's), except where another is named. What other threads may look at,
// status, counts and lamps, it puts on the StatusBoard.
//
// Nothing here waits for the line. A reply that the transmit buffer can't take stays in a queue
// behind it and follows in order; a held line leaves bytes waiting and the poll goes on, so closing
// the program never waits for the line.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "link/comms_log.h"
#include "link/link_settings.h"
#include "link/monitor_feed.h"
#include "link/port/serial_port.h"
#include "link/status_board.h"
#include "services/core/os_clock.h"

namespace kor {

// What the channel asks of the engine. Called on the polling thread.
class ChannelHost {
 public:
  virtual ~ChannelHost() = default;
  virtual void ConsumeReceived() = 0;
  virtual void FeedTransmitter() = 0;
  // The caption of a failing step in the user's language, and the system's text for it.
  virtual void ReportPortFailure(const KorText& caption, const KorText& systemText) = 0;
  // Called for each failing step, also of a quiet retry.
  virtual void OnPortTrouble(PortTrouble trouble, const KorText& systemText) = 0;
  virtual void ShowTitle(const KorText& title) = 0;
  // The device has disappeared; the channel goes on trying to open it, quietly.
  virtual void OnLinkLost() = 0;
  virtual void OnLinkBack() = 0;
  // The receive buffer was full and its content is lost. The host sets the status to 24 and has it
  // shown and logged at once, since the next read takes the status back.
  virtual void OnOverRun() = 0;
};

// What the channel does with its port, as far as it can fail.
enum class PortStep {
  ClosePrevious,
  Open,
  SetQueueSizes,
  GetState,
  UpdateState,
  SetState,
  SetTimeouts,
  CheckStatus,
  ReadData,
};

class SerialChannel {
 public:
  static constexpr std::size_t kReceiveSize = 4000;
  static constexpr std::size_t kTransmitSize = 1000;
  // Every so many seconds a device that is not there is tried again.
  static constexpr double kRetryPeriod = 1.0;
  // Where the monitor shows a character that is sent.
  enum class Echo { NewLine, InLine };
  // Whether an extracted line keeps the character that ends it.
  enum class EndCharacter { Dropped, Kept };

  SerialChannel(SerialPort& serialPort, OsClock& osClock, StatusBoard& statusBoard,
                CommsLog& commsLog, MonitorFeed& monitorFeed, ChannelHost& channelHost);

  // Closes a previous connection and opens the configured one; failing steps are reported. settings
  // must outlive the connection. applicationName heads the title.
  void Open(const LinkSettings& settings, const KorText& applicationName, bool noSoftwareFlow);
  void Close();
  bool IsOpen() const { return port.IsOpen(); }

  // Runs one pass of status check, read and write. True when bytes moved: poll again at once.
  bool Poll();
  // Returns how long an idle worker may wait for bytes before the next poll: 1 ms while something
  // waits to be sent and the line is free, 20 ms while the line is held. With nothing to send only
  // the lamps want a look, and a second is soon enough for those.
  std::chrono::microseconds IdleWait() const;
  // Returns the line errors since Open. Any thread.
  LineErrors Errors() const;

  // Moves up to count characters from the send source into the transmit buffer, once the device has
  // sent everything and the character delay has passed. False when it is not yet time.
  bool QueueCharacters(std::int64_t count);
  void SetSendSource(std::string bytes); // position 0
  std::size_t SendPosition() const { return sendPosition; }
  std::size_t SendLength() const { return sendSource.size(); }

  void SendCharacter(std::uint8_t c, Echo echo);
  // Sends each byte as one character, traced as one text.
  void SendBytes(std::string_view bytes);
  // Sends the low byte of each character, up to the first zero character, which ends a formatted
  // text.
  void SendText(const KorText& text);
  // True while a long reply is still on its way into the transmit buffer: no further request is
  // handled until it is in.
  bool IsReplyWaiting() const { return !replyQueue.empty(); }
  // True while any byte waits to be written.
  bool IsSending() const { return transmitCount > 0 || !replyQueue.empty(); }

  // Takes the first line up to its end character, without the bytes outside 32 to 126; std::nullopt
  // when no whole line has arrived. An empty line is an empty text.
  std::optional<std::string> ExtractLine(std::uint8_t end, EndCharacter endCharacter);
  std::string_view Received() const;
  void DiscardReceived();

  void StartLoopbackTest(); // status 21 until the message comes back, then 22

  // Holds the controller by XOFF until XON releases it. Open and Close send an XON that is still to
  // come first. When the device was lost before the release, the XON follows once the device is
  // back.
  void HoldController();
  void ReleaseController(); // nothing for a controller that isn't held

 private:
  enum class Attempt { First, Retry };

  bool Read();
  std::size_t WriteStep();
  bool CheckStatus();
  void LogHoldChanges(const LineStatus& now);
  void CountErrors(const LineErrors& now);
  void ForgetErrors();
  void SetLamps();
  void CheckLoopback();
  void EchoReceived(std::span<const std::uint8_t> bytes);
  void WritePendingTransmit();
  void RefillTransmit();
  void HandOverMonitor();
  bool OpenDevice(Attempt attempt);
  bool ConfigureDevice();
  bool SendOwedXon();
  void ReopenWhenDue();
  void Lose();
  void ForgetTraffic();
  // Reports a failing step once until it succeeds again or fails with another text. A retry reports
  // another text when it has come twice in a row: a device that comes back may refuse for a moment.
  bool Check(PortStep step, bool success);

  SerialPort& port;
  OsClock& clock;
  StatusBoard& board;
  CommsLog& log;
  MonitorFeed& monitor;
  ChannelHost& host;

  const LinkSettings* settings = nullptr;
  KorText applicationName;
  KorText title;
  bool noSoftwareFlow = false;
  bool isRetry = false;   // of a device that could not be opened or has disappeared
  bool isLost = false;    // the device could not be opened or has disappeared
  bool isPending = false; // its opening goes on
  double nextRetry = 0;   // seconds of the high-resolution clock
  struct Failure {
    KorText last;     // the system's text
    KorText reported; // the one that was reported; empty: none
  };
  std::map<PortStep, Failure> failures; // until the step succeeds

  struct {
    std::atomic<std::uint32_t> overrun{0}, parity{0}, framing{0}, breaks{0};
  } errorCounts;

  LineStatus status;
  std::uint32_t previousHolds = 0;
  std::array<std::uint8_t, kReceiveSize> receiveBuffer{};
  std::size_t receiveCount = 0;
  std::array<std::uint8_t, kTransmitSize> transmitBuffer{};
  std::size_t transmitCount = 0;
  std::string replyQueue; // bytes of a reply longer than the transmit buffer
  std::string sendSource;
  std::size_t sendPosition = 0;
  bool dataToWrite = false;
  bool remoteXoff = false;
  enum class Hold { None, Held, Releasing };
  std::atomic<Hold> controllerHold{Hold::None}; // Close may be the window's
  std::optional<double> delayUntil;             // end of the character delay that runs now
  std::uint32_t characterTime = 0;              // milliseconds on the line, rounded up

  KorText monitorLine;
  bool monitorLineOpen = false;
  KorText pendingTransmit; // echo of sent characters that the trace doesn't have yet
};

// Says for the user what the counted errors mean, with a line for each kind that there was.
std::vector<KorText> LineErrorTexts(const LineErrors& errors);

} // namespace kor
