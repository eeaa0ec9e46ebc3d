#include "link/serial_channel.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "link/echo_text.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

constexpr std::uint8_t kLineEnd = 64; // "@": ends the line of the loop-back test
constexpr const char16_t* kLoopbackMessage = u"LocalTestMessage";
constexpr std::uint32_t kWriteTimeout = 10000; // milliseconds
constexpr double kSlowWrite = 5.0;             // seconds
constexpr double kXonPatience = 0.2;           // seconds that the end waits for a held line
constexpr std::uint32_t kXonStep = 5;          // milliseconds
constexpr std::uint32_t kBitsOfCharacter = 12; // at most: start, eight, parity, two stop bits
constexpr std::size_t kTracePiece = 1000;      // characters
constexpr std::size_t kMonitorWrap = 256;      // characters
constexpr std::size_t kMonitorHeld = 4096;     // characters that may wait while the line is held

struct HoldName {
  std::uint32_t bit;
  Lamp lamp;
  const char16_t* format;
};
constexpr HoldName kHolds[] = {
    {kCtsHold, kLampCtsHold, u"CTS Hold=%i  "},    {kDsrHold, kLampDsrHold, u"DSR Hold=%i  "},
    {kRlsdHold, kLampRlsdHold, u"RLS Hold=%i  "},  {kXoffHold, kLampXoffHold, u"XOff Hold=%i  "},
    {kXoffSent, kLampXoffSent, u"XOff Sent=%i  "},
};

struct StepCaption {
  PortStep step;
  UserText caption;
};
constexpr StepCaption kStepCaptions[] = {
    {PortStep::ClosePrevious, kTexts.stepClosePrevious},
    {PortStep::Open, kTexts.stepOpen},
    {PortStep::SetQueueSizes, kTexts.stepSetQueueSizes},
    {PortStep::GetState, kTexts.stepGetState},
    {PortStep::UpdateState, kTexts.stepUpdateState},
    {PortStep::SetState, kTexts.stepSetState},
    {PortStep::SetTimeouts, kTexts.stepSetTimeouts},
    {PortStep::CheckStatus, kTexts.stepCheckStatus},
    {PortStep::ReadData, kTexts.stepReadData},
};

KorText CaptionOf(PortStep step) {
  return LookUpText(std::ranges::find(kStepCaptions, step, &StepCaption::step)->caption);
}

char16_t ParityLetter(const LinkSettings& settings) {
  return settings.parity.IsEmpty() ? u'\0' : settings.parity[0];
}

} // namespace

SerialChannel::SerialChannel(SerialPort& serialPort, OsClock& osClock, StatusBoard& statusBoard,
                             CommsLog& commsLog, MonitorFeed& monitorFeed, ChannelHost& channelHost)
    : port(serialPort), clock(osClock), board(statusBoard), log(commsLog), monitor(monitorFeed),
      host(channelHost) {}

bool SerialChannel::Check(PortStep step, bool success) {
  if (success) {
    if (!failures.empty()) failures.erase(step);
    return true;
  }
  isPending = port.Trouble() == PortTrouble::NotYet;
  if (isPending) return false;
  const KorText text = port.LastErrorText();
  host.OnPortTrouble(port.Trouble(), text);
  Failure& failure = failures[step];
  const bool lasts = std::exchange(failure.last, text) == text;
  const bool isKnown = failure.reported.IsEmpty() && port.IsGone(); // its loss was reported
  if (failure.reported == text || (isRetry && (!lasts || isKnown))) return false;
  failure.reported = text;
  host.ReportPortFailure(CaptionOf(step), text);
  return false;
}

// --- Opening and closing ---

void SerialChannel::Open(const LinkSettings& newSettings, const KorText& name, bool noSoftware) {
  settings = &newSettings;
  applicationName = name;
  noSoftwareFlow = noSoftware;
  failures.clear(); // somebody asked for it: every failing step is reported anew
  ForgetErrors();
  if (port.IsOpen()) {
    if (SendOwedXon()) log.Trace(u"TX [11]", CommsLog::Repeated::Dropped);
    port.PurgeTransmit();
    port.PurgeReceive();
    Check(PortStep::ClosePrevious, port.Close());
  }
  isLost = !OpenDevice(Attempt::First);
  if (isLost) nextRetry = clock.Seconds() + kRetryPeriod;
  host.ShowTitle(title);
}

// False when the device could not be opened. A device that could not be configured stays open under
// the title "No Link" and is polled.
bool SerialChannel::OpenDevice(Attempt attempt) {
  isRetry = attempt == Attempt::Retry;
  isPending = false;
  title = applicationName + u" - No Link";
  // This also clears a hold that the controller has never released. What was on its way is torn.
  ForgetTraffic();
  const bool opened = Check(PortStep::Open, port.Open(settings->port));
  const bool configured = opened && ConfigureDevice();
  if (isPending) return false;
  if (opened) {
    port.PurgeTransmit();
    port.PurgeReceive();
    if (controllerHold == Hold::Releasing) SendText(KorText(1, kXon));
  }
  isRetry = false;
  return opened && (configured || attempt == Attempt::First);
}

bool SerialChannel::ConfigureDevice() {
  const LinkSettings& s = *settings;
  const KorText control = KorText::Format(u"baud=%s parity=%c data=%s stop=%s", s.baudrate,
                                          ParityLetter(s), s.databits, s.stopbits);
  DeviceControlBlock block;
  Check(PortStep::SetQueueSizes, port.SetQueueSizes(kReceiveSize, kTransmitSize));
  Check(PortStep::GetState, port.GetControlBlock(block));
  if (!Check(PortStep::UpdateState, port.BuildControlBlock(control, block))) return false;
  block.dsrSensitivity = false;
  block.xonChar = kXon;
  block.xoffChar = kXoff;
  ApplyFlowControl(block, s.flowControl, s.rtsCtsHandshake > 0, s.dtrDsrHandshake > 0,
                   noSoftwareFlow);
  if (!Check(PortStep::SetState, port.SetControlBlock(block))) return false;
  characterTime = kBitsOfCharacter * 1000 / block.baudRate + 1;
  PortTimeouts timeouts;
  timeouts.writeConstant = kWriteTimeout;
  if (!Check(PortStep::SetTimeouts, port.SetTimeouts(timeouts))) return false;
  title = KorText::Format(u"%s %s:%s,%c,%s,%s,%s", applicationName, s.port, s.baudrate,
                          ParityLetter(s), s.databits, s.stopbits, s.flowControl);
  return true;
}

void SerialChannel::Close() {
  settings = nullptr;
  isLost = false;
  if (isPending) port.Close();
  if (!port.IsOpen()) return;
  SendOwedXon(); // not traced: a worker that is stuck may have the log
  port.PurgeTransmit();
  port.PurgeReceive();
  port.Close();
}

void SerialChannel::Lose() {
  port.Close();
  ForgetTraffic();
  isLost = true;
  nextRetry = clock.Seconds() + kRetryPeriod;
  title = applicationName + u" - No Link";
  host.ShowTitle(title);
  host.OnLinkLost();
}

// What was on its way belongs to an exchange that the controller has given up by the time the
// device is back.
void SerialChannel::ForgetTraffic() {
  receiveCount = 0;
  transmitCount = 0;
  replyQueue.clear();
  sendSource.clear();
  sendPosition = 0;
  dataToWrite = false;
  remoteXoff = false;
  delayUntil.reset();
  status = LineStatus();
  SetLamps();
}

void SerialChannel::ReopenWhenDue() {
  if (!isLost || !settings) return;
  const double now = clock.Seconds();
  if (!isPending && now < nextRetry) return;
  // An attempt that goes on stays what it was.
  if (!OpenDevice(isPending && !isRetry ? Attempt::First : Attempt::Retry)) {
    if (isPending) return;
    if (port.IsOpen()) port.Close();
    nextRetry = now + kRetryPeriod;
    board.MarkChanged(); // a window also tells which devices there are
    return;
  }
  isLost = false;
  failures.clear();
  host.ShowTitle(title);
  host.OnLinkBack();
}

// --- Poll ---

bool SerialChannel::CheckStatus() {
  LineStatus now;
  if (!Check(PortStep::CheckStatus, port.GetStatus(now))) {
    if (port.IsGone()) Lose();
    return false;
  }
  LogHoldChanges(now);
  if (now.errors != LineErrors()) CountErrors(now.errors);
  status = now;
  if (controllerHold == Hold::Releasing && !IsSending() && now.outQueue == 0)
    controllerHold = Hold::None;
  return true;
}

bool SerialChannel::Poll() {
  if (!port.IsOpen() || isPending) {
    ReopenWhenDue();
    return false;
  }
  if (!CheckStatus()) return false;
  SetLamps();
  bool moved = status.inQueue > 0 && Read();
  if (port.IsOpen() && status.outQueue == 0 && (status.holds & kXoffHold) == 0) {
    // What a hold or a failure left behind goes on by itself as soon as the line allows it.
    if (transmitCount > 0 && !remoteXoff) dataToWrite = true;
    if (WriteStep() > 0) moved = true;
    if (port.IsOpen()) host.FeedTransmitter();
  }
  const std::size_t before = receiveCount;
  if (receiveCount > 0) host.ConsumeReceived();
  const bool consumed = receiveCount != before; // more lines may stand behind an empty one
  if (moved || monitorLine.Length() > kMonitorHeld) HandOverMonitor();
  const bool canWrite = status.outQueue == 0 && !remoteXoff && (status.holds & kXoffHold) == 0;
  return moved || consumed || (dataToWrite && transmitCount > 0 && canWrite);
}

// Bytes that arrive, a device that goes and tasks end the wait at once. The wait only bounds how
// late the rest is noticed: a hold that ends, a device that drains, a retry.
std::chrono::microseconds SerialChannel::IdleWait() const {
  using std::chrono::microseconds;
  constexpr microseconds kIdle(1000000), kHeld(20000), kDraining(10000), kWaiting(1000),
      kShortest(50);
  constexpr std::int64_t kBitsPerByte = 10; // start, 8 data, stop
  const auto until = [this](double moment, microseconds most) {
    const double left = moment - clock.Seconds();
    return std::clamp(microseconds(static_cast<std::int64_t>(left * 1e6)), microseconds(0), most);
  };
  if (isPending) return kIdle; // the port ends the wait when it has come further
  if (isLost) return until(nextRetry, kIdle);
  const bool sending = transmitCount > 0 || sendPosition < sendSource.size();
  if (!settings || (!sending && status.outQueue == 0)) return kIdle;
  if (remoteXoff || (status.holds & (kCtsHold | kDsrHold | kXoffHold)) != 0) return kHeld;
  if (delayUntil) return until(*delayUntil, kWaiting);
  if (status.outQueue == 0) return kWaiting;
  // The next bytes wait for the device to drain: be back about when it has.
  const std::int64_t baud = std::max(settings->baudrate.ToInteger(), 1);
  return std::clamp(microseconds(status.outQueue * kBitsPerByte * 1000000 / baud), kShortest,
                    sending ? kWaiting : kDraining);
}

void SerialChannel::SetLamps() {
  for (const HoldName& hold : kHolds) {
    // An XOFF that only the engine honours, because the flow control is another one, is a hold too.
    const bool byEngine = hold.bit == kXoffHold && remoteXoff;
    board.SetLamp(hold.lamp, byEngine || (status.holds & hold.bit) != 0);
  }
}

void SerialChannel::LogHoldChanges(const LineStatus& now) {
  const std::uint32_t changed = now.holds ^ previousHolds;
  previousHolds = now.holds;
  if (changed == 0) return;
  KorText text;
  for (const HoldName& hold : kHolds)
    if (changed & hold.bit)
      text += KorText::Format(hold.format, (now.holds & hold.bit) != 0 ? 1 : 0);
  log.Trace(text, CommsLog::Repeated::Traced);
}

// A break is no error of the settings; the trace shows it all the same.
void SerialChannel::CountErrors(const LineErrors& now) {
  errorCounts.overrun += now.overrun + now.overflow;
  errorCounts.parity += now.parity;
  errorCounts.framing += now.framing;
  errorCounts.breaks += now.breaks;
  const LineErrors all = Errors();
  KorText text;
  if (now.framing > 0) text += KorText::Format(u"Framing Errors=%u  ", all.framing);
  if (now.parity > 0) text += KorText::Format(u"Parity Errors=%u  ", all.parity);
  if (now.overrun + now.overflow > 0) text += KorText::Format(u"Overrun Errors=%u  ", all.overrun);
  if (now.breaks > 0) text += KorText::Format(u"Breaks=%u  ", all.breaks);
  log.Trace(text, CommsLog::Repeated::Traced);
}

void SerialChannel::ForgetErrors() {
  errorCounts.overrun = errorCounts.parity = errorCounts.framing = errorCounts.breaks = 0;
}

LineErrors SerialChannel::Errors() const {
  LineErrors errors;
  errors.overrun = errorCounts.overrun;
  errors.parity = errorCounts.parity;
  errors.framing = errorCounts.framing;
  errors.breaks = errorCounts.breaks;
  return errors;
}

std::vector<KorText> LineErrorTexts(const LineErrors& errors) {
  std::vector<KorText> texts;
  const auto tell = [&texts](std::uint32_t count, const KorText& format) {
    if (count > 0) texts.push_back(KorText::Format(format, count));
  };
  tell(errors.framing, LookUpText(kTexts.framingErrors));
  tell(errors.parity, LookUpText(kTexts.parityErrors));
  tell(errors.overrun, LookUpText(kTexts.overrunErrors));
  return texts;
}

void SerialChannel::HandOverMonitor() {
  monitor.Add(monitorLine);
  monitorLine.Clear();
}

// --- Receiving ---

bool SerialChannel::Read() {
  if (receiveCount >= kReceiveSize) {
    host.OnOverRun();
    receiveCount = 0;
    return false;
  }
  if (board.Code() == LinkStatus::OverRun) board.Set(LinkStatus::Waiting);
  const std::span<std::uint8_t> room = std::span(receiveBuffer).subspan(receiveCount);
  std::size_t count = 0;
  if (!Check(PortStep::ReadData, port.Read(room, count))) {
    if (port.IsGone()) Lose();
    return false;
  }
  if (count == 0) return false;
  WritePendingTransmit();
  receiveCount += count;
  board.SetLamp(kLampReceive, true);
  EchoReceived(room.first(count));
  if (board.Code() == LinkStatus::LoopbackFailure) CheckLoopback();
  host.ConsumeReceived();
  return true;
}

void SerialChannel::EchoReceived(std::span<const std::uint8_t> bytes) {
  KorText echo = u"RX ";
  for (const std::uint8_t c : bytes) {
    AppendEcho(echo, c);
    if (c == kXoff) remoteXoff = true;
    if (c == kXon) remoteXoff = false;
  }
  log.Trace(echo, CommsLog::Repeated::Traced);
  if (monitorLineOpen) {
    monitorLine += u'\n';
    monitorLineOpen = false;
  }
  monitorLine += echo;
  monitorLine += u'\n';
}

// The trace gets sent characters that no formatted reply has traced: SOT, and a file sent by hand.
void SerialChannel::WritePendingTransmit() {
  if (pendingTransmit.IsEmpty()) return;
  const KorText text = u"TX " + pendingTransmit;
  for (std::size_t at = 0; at < text.Length(); at += kTracePiece) {
    const KorText piece = text.Mid(at, kTracePiece);
    log.Trace(piece, CommsLog::Repeated::Dropped);
    monitorLine += piece; // intended: the monitor has the characters from the sending already
  }
  monitorLine += u'\n';
  pendingTransmit.Clear();
}

std::string_view SerialChannel::Received() const {
  return {reinterpret_cast<const char*>(receiveBuffer.data()), receiveCount};
}

void SerialChannel::DiscardReceived() {
  receiveCount = 0;
}

std::optional<std::string> SerialChannel::ExtractLine(std::uint8_t end, EndCharacter endCharacter) {
  const auto first = receiveBuffer.begin();
  const auto last = first + static_cast<std::ptrdiff_t>(receiveCount);
  const auto found = std::find(first, last, end);
  if (found == last) return std::nullopt;
  std::string line;
  for (auto at = first; at <= found; ++at) {
    const bool isEnd = at == found;
    if ((*at >= 32 && *at <= 126) || (isEnd && endCharacter == EndCharacter::Kept))
      line += static_cast<char>(*at);
  }
  std::fill(std::copy(found + 1, last, first), last, std::uint8_t{0});
  receiveCount -= static_cast<std::size_t>(found - first) + 1;
  return line;
}

// --- Sending ---

std::size_t SerialChannel::WriteStep() {
  if (!dataToWrite) return 0;
  const double start = clock.Seconds();
  std::size_t written = 0;
  if (transmitCount > 0) {
    Read(); // an XOFF that has arrived is seen before anything goes out
    if (!port.IsOpen()) return 0;
    if (!remoteXoff) port.Write(std::span(transmitBuffer).first(transmitCount), written);
  }
  dataToWrite = false;
  if (written == transmitCount && clock.Seconds() - start < kSlowWrite) {
    transmitCount = 0;
    board.SetLamp(kLampWrite, true);
  } else {
    const auto end = transmitBuffer.begin() + static_cast<std::ptrdiff_t>(transmitCount);
    std::fill(std::copy(transmitBuffer.begin() + static_cast<std::ptrdiff_t>(written), end,
                        transmitBuffer.begin()),
              end, std::uint8_t{0});
    transmitCount -= written;
  }
  RefillTransmit();
  status.outQueue += static_cast<std::uint32_t>(written); // until the device tells how it drains
  return written;
}

void SerialChannel::RefillTransmit() {
  if (replyQueue.empty() || transmitCount == kTransmitSize) return;
  const std::size_t count = std::min(replyQueue.size(), kTransmitSize - transmitCount);
  std::memcpy(transmitBuffer.data() + transmitCount, replyQueue.data(), count);
  transmitCount += count;
  replyQueue.erase(0, count);
  dataToWrite = true;
}

void SerialChannel::SetSendSource(std::string bytes) {
  sendSource.swap(bytes); // an assignment would keep the memory of a large one
  sendPosition = 0;
  delayUntil.reset();
}

bool SerialChannel::QueueCharacters(std::int64_t count) {
  if (status.outQueue > 0 || transmitCount > 0) return false;
  const double now = clock.Seconds();
  if (!delayUntil) delayUntil = now + settings->characterDelay / 1000.0;
  if (now < *delayUntil) return false;
  delayUntil.reset();
  monitorLine += KorText::Format(u"TX%i ", count);
  for (std::int64_t i = 0; i < count && sendPosition < sendSource.size(); ++i) {
    const auto c = static_cast<std::uint8_t>(sendSource[sendPosition++]);
    transmitBuffer[transmitCount++] = c;
    AppendEcho(pendingTransmit, c);
    AppendEcho(monitorLine, c);
  }
  monitorLine += u'\n';
  if (pendingTransmit.Length() >= kTracePiece) WritePendingTransmit();
  dataToWrite = true;
  return true;
}

void SerialChannel::SendCharacter(std::uint8_t c, Echo echo) {
  if (replyQueue.empty() && transmitCount < kTransmitSize)
    transmitBuffer[transmitCount++] = c;
  else
    replyQueue += static_cast<char>(c);
  if (!monitorLineOpen || echo == Echo::NewLine) {
    monitorLine += u"TX ";
    monitorLineOpen = true;
  }
  AppendEcho(pendingTransmit, c);
  AppendEcho(monitorLine, c);
  if (c == '\n' || monitorLine.Length() >= kMonitorWrap) {
    monitorLine += u'\n';
    monitorLineOpen = false;
  }
  dataToWrite = true;
}

void SerialChannel::SendBytes(std::string_view bytes) {
  WritePendingTransmit(); // characters sent singly keep their place before this text
  pendingTransmit = u"TX ";
  for (const char c : bytes)
    SendCharacter(static_cast<std::uint8_t>(c), Echo::InLine);
  log.Trace(pendingTransmit, CommsLog::Repeated::Dropped);
  pendingTransmit.Clear();
}

void SerialChannel::SendText(const KorText& text) {
  SendBytes(text.Left(std::min(text.Find(u'\0'), text.Length())).ToBytes());
}

// --- Line tests ---

void SerialChannel::StartLoopbackTest() {
  board.Set(LinkStatus::LoopbackFailure);
  monitorLine += u'\n';
  // The zero character ends the text, so only the message and the line end go out.
  SendText(KorText::Format(u"%s%c%c", kLoopbackMessage, static_cast<char16_t>(kLineEnd), u'\0'));
}

void SerialChannel::CheckLoopback() {
  const std::optional<std::string> line = ExtractLine(kLineEnd, EndCharacter::Dropped);
  if (line && KorText::FromBytes(*line).Contains(kLoopbackMessage))
    board.Set(LinkStatus::LoopbackSuccess);
}

void SerialChannel::HoldController() {
  if (!port.IsOpen()) return;
  controllerHold = Hold::Held;
  SendText(KorText(1, kXoff));
}

void SerialChannel::ReleaseController() {
  if (controllerHold == Hold::None) return;
  controllerHold = Hold::Releasing;
  if (port.IsOpen()) SendText(KorText(1, kXon));
}

// Writes the XON past the buffers, whose content is to be dropped anyway: without it the controller
// would stay stopped for good. True when it was written.
bool SerialChannel::SendOwedXon() {
  if (controllerHold.exchange(Hold::None) == Hold::None) return false;
  const double until = clock.Seconds() + kXonPatience;
  std::size_t written = 0;
  LineStatus now;
  // Once the driver has nothing left, the last character may still be leaving the chip.
  for (bool isOut = false; !isOut && clock.Seconds() < until;
       clock.SleepMilliseconds(isOut ? characterTime : kXonStep)) {
    if (written == 0 && !port.Write(std::span(&kXon, 1), written)) return false;
    isOut = written > 0 && (!port.GetStatus(now) || now.outQueue == 0);
  }
  return written > 0;
}

} // namespace kor
