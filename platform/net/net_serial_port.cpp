#include "platform/net/net_serial_port.h"

#include <algorithm>
#include <utility>

#include "services/core/app_interface.h"
#include "services/core/as_bytes.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

constexpr std::chrono::milliseconds kSilenceLook{500}; // between looks for a vanished server
// This much line time may wait for the peer's acknowledgement beyond the lead, because systems
// delay an acknowledgement by up to that.
constexpr std::chrono::milliseconds kAcknowledging{200};
// A raw server that can't serve says so and closes, in this time: until then the line isn't open.
constexpr std::chrono::milliseconds kSettling{200};
constexpr std::size_t kMostReceived = 8192; // then the server has to wait
constexpr std::size_t kMostGreeting = 80;

// Returns the bytes in one line, with a blank for each that doesn't print.
KorText PlainText(std::string_view bytes) {
  KorText text;
  for (const char byte : bytes)
    text += byte >= ' ' && byte <= '~' ? static_cast<char16_t>(byte) : u' ';
  return text.Trimmed();
}

} // namespace

NetSerialPort::~NetSerialPort() {
  Close();
}

// --- Errors ---

bool NetSerialPort::Fail(PortTrouble kind, const KorText& text) {
  trouble = kind;
  errorText = text;
  return false;
}

bool NetSerialPort::FailNotOpen() {
  return Fail(PortTrouble::Other, App().ErrorText(kErrorNotOpen));
}

bool NetSerialPort::NotYet() {
  return Fail(PortTrouble::NotYet, KorText());
}

void NetSerialPort::End(PortTrouble kind, const KorText& text) {
  if (!ending) ending = Ending{kind, text};
}

// Ends with what the server said before it closed, or with the system's text.
void NetSerialPort::EndAsTheSocket() {
  const KorText said = stage < Stage::Serving ? PlainText(greetingText) : KorText();
  if (socket.IsNameUnknown())
    End(PortTrouble::NoServer,
        KorText::Format(LookUpText(kTexts.unknownHost), KorText::FromUtf8(address.host)));
  else if (!said.IsEmpty())
    End(PortTrouble::InUse, KorText::Format(LookUpText(kTexts.serverSays), said));
  else if (socket.WasClosed())
    End(PortTrouble::NoServer, LookUpText(kTexts.serverClosed));
  else
    End(PortTrouble::NoServer, App().ErrorText(static_cast<std::uint32_t>(socket.Error().value())));
}

// Reports each warning once for a line and its detail.
void NetSerialPort::Warn(const UserText& warning, const KorText& detail) {
  const KorText text = KorText::Format(LookUpText(warning), detail);
  if (!warned.insert(name + text).second) return;
  App().Report({.level = MessageLevel::Warn, .info = name, .message = text, .details = {}});
}

// --- Opening and closing ---

bool NetSerialPort::Begin(const KorText& text) {
  const KorText refusal = ParsePortAddress(text, address);
  if (!refusal.IsEmpty()) return Fail(PortTrouble::Other, refusal);
  const std::string place = address.host + ':' + std::to_string(address.port);
  if (IsPaced() && !claim.Take(place.c_str()))
    return Fail(PortTrouble::InUse, u"In use by another program");
  name = text;
  current = {};
  received.clear();
  greetingText.clear();
  xoffReceived = cutShort = false;
  isSilent = true;
  ending.reset();
  client = IsComPort() ? std::make_unique<ComPortClient>() : nullptr;
  timers = HoldPreciseTimers();
  estimate = {};
  estimate.SetLine(current);
  socket.Open(address, Now());
  stage = address.scheme == Scheme::Listen ? Stage::Greeted : Stage::Connecting;
  return true;
}

bool NetSerialPort::Open(const KorText& text) {
  const bool goesOn = stage != Stage::Closed && !IsOpen() && text == name;
  if (!goesOn) {
    Close();
    if (!Begin(text)) return false;
  }
  if (!Pump(Now())) {
    const auto kind = trouble;
    const KorText reason = errorText;
    Close();
    return Fail(kind, reason);
  }
  return IsReady() || NotYet();
}

bool NetSerialPort::Close() {
  socket.Close();
  claim.Release();
  client.reset();
  timers.reset();
  stage = Stage::Closed;
  return true;
}

// --- Progress ---

void NetSerialPort::LookForTheEnd(Time now) {
  if (ending) return;
  if (socket.Pump(now) == LineSocket::State::Ended) {
    TakeReceived(now); // its last words
    EndAsTheSocket();
  } else if (now - silenceLooked > kSilenceLook) {
    silenceLooked = now;
    if (socket.IsSilent()) End(PortTrouble::NoServer, App().ErrorText(kErrorTimedOut));
  }
}

bool NetSerialPort::Pump(Time now) {
  if (stage == Stage::Closed) return FailNotOpen();
  LookForTheEnd(now);
  if (!ending && !TakeReceived(now)) End(PortTrouble::NoServer, LookUpText(kTexts.noComPortServer));
  if (!ending) MoveOn(now);
  if (ending) return Fail(ending->kind, ending->text);
  Flush();
  estimate.SetHeld((Holds() & ~std::uint32_t{kXoffHold}) != 0, now);
  return true;
}

// Returns false when what came is no telnet stream.
bool NetSerialPort::TakeReceived(Time now) {
  if (received.size() >= kMostReceived) return true;
  std::string data = std::exchange(socket.Received(), {});
  if (data.empty()) return true;
  isSilent = false;
  bool isGood = true;
  if (client) {
    isGood = client->Receive(AsBytes(data), now);
    data = std::exchange(client->Data(), {});
  }
  if (IsReady()) received += data;
  // A server may agree to the protocol before it says that it is busy.
  if (stage < Stage::Serving)
    greetingText += data.substr(0, kMostGreeting - std::min(kMostGreeting, greetingText.size()));
  return isGood;
}

void NetSerialPort::MoveOn(Time now) {
  if (stage == Stage::Connecting && socket.Pump(now) == LineSocket::State::Up) {
    stage = Stage::Greeting;
    settled = now + kSettling;
    if (client) client->Start(now);
  }
  if (stage != Stage::Greeting) return;
  if (!client) {
    if (now >= settled) stage = Stage::Greeted;
    return;
  }
  const auto answer = client->Greeting(now);
  if (answer == ComPortClient::Answer::Given) stage = Stage::Greeted;
  if (answer != ComPortClient::Answer::Refused) return;
  if (isSilent) // a server that takes one client at a time may let others wait
    End(PortTrouble::InUse, LookUpText(kTexts.serverSilent));
  else
    End(PortTrouble::Other, LookUpText(kTexts.noComPortServer));
}

void NetSerialPort::Flush() {
  if (client) socket.Send(client->TakeOutput());
}

// --- Settings ---

bool NetSerialPort::SetQueueSizes(std::uint32_t, std::uint32_t) {
  return IsReady() || FailNotOpen();
}

bool NetSerialPort::SetTimeouts(const PortTimeouts&) {
  return IsReady() || FailNotOpen();
}

bool NetSerialPort::GetControlBlock(DeviceControlBlock& block) {
  if (!IsReady()) return FailNotOpen();
  block = current;
  return true;
}

bool NetSerialPort::BuildControlBlock(const KorText& text, DeviceControlBlock& block) {
  return ParseControlText(text, block) || Fail(PortTrouble::Other, App().ErrorText(kErrorInvalid));
}

bool NetSerialPort::SetControlBlock(const DeviceControlBlock& block) {
  const Time now = Now();
  if (!IsReady()) return FailNotOpen();
  if (!Pump(now)) {
    stage = Stage::Serving; // open, though it has ended: the next look at its status tells
    return false;
  }
  if (stage != Stage::Setting || block != current) {
    current = block;
    estimate.SetLine(block);
    if (!block.outX) xoffReceived = false;
    if (client) client->SetLine(block, now);
    Flush();
    stage = Stage::Setting;
  }
  if (client && client->LineAnswer(now) == ComPortClient::Answer::Awaited) return NotYet();
  stage = Stage::Serving;
  if (!client) return true;
  if (client->LineAnswer(now) == ComPortClient::Answer::Refused)
    return Fail(PortTrouble::Other, client->Difference());
  WarnOfSettings();
  return true;
}

void NetSerialPort::WarnOfSettings() {
  const KorText unanswered = client->Unanswered();
  if (!unanswered.IsEmpty()) Warn(kTexts.serverLeftUnanswered, unanswered);
  if (client->ObeysLess()) Warn(kTexts.serverObeysLess, {});
}

// --- Status ---

std::uint32_t NetSerialPort::Holds() const {
  return (client ? client->Holds() : 0) | (xoffReceived ? std::uint32_t{kXoffHold} : 0);
}

bool NetSerialPort::GetStatus(LineStatus& status) {
  const Time now = Now();
  if (!Pump(now)) return false;
  status.errors = client ? client->TakeErrors() : LineErrors();
  status.holds = Holds();
  status.inQueue = static_cast<std::uint32_t>(received.size());
  status.outQueue = OutQueue(now);
  return true;
}

std::size_t NetSerialPort::Room(Time now) {
  const SocketQueue queue = socket.Queue();
  if (!IsPaced()) return queue.unsent == 0 ? kMostReceived : 0;
  const auto most = static_cast<std::size_t>(
      (LineEstimate::kLead + LineEstimate::kMostJitter + kAcknowledging) / ByteTime(current));
  if (queue.unsent > 0 || queue.unacknowledged > std::max<std::size_t>(most, 16)) return 0;
  // What would wait for the peer's window here would keep the system from its keep-alive.
  const std::size_t window = socket.Window();
  return std::min(estimate.Room(now), window - std::min(window, queue.unacknowledged));
}

std::uint32_t NetSerialPort::OutQueue(Time now) {
  const bool wantsMore = cutShort && Holds() == 0;
  if (wantsMore && Room(now) > 0) return 0;
  const std::size_t least = wantsMore ? 1 : 0; // a server that takes nothing has something left
  const std::size_t backlog = IsPaced() ? estimate.Backlog(now) : 0;
  return static_cast<std::uint32_t>(std::max({least, backlog, socket.Queue().unsent}));
}

// --- Traffic ---

bool NetSerialPort::Read(std::span<std::uint8_t> to, std::size_t& readCount) {
  readCount = 0;
  if (!Pump(Now())) return false;
  const std::size_t count = std::min(to.size(), received.size());
  std::copy_n(received.begin(), count, to.begin());
  received.erase(0, count);
  readCount = count;
  WatchXoff(to.first(count));
  return true;
}

// When several arrive together, only the last one counts.
void NetSerialPort::WatchXoff(std::span<const std::uint8_t> bytes) {
  if (!current.outX) return;
  for (const std::uint8_t byte : bytes) {
    if (byte == current.xoffChar) xoffReceived = true;
    if (byte == current.xonChar) xoffReceived = false;
  }
}

bool NetSerialPort::Write(std::span<const std::uint8_t> from, std::size_t& writtenCount) {
  const Time now = Now();
  writtenCount = 0;
  if (!Pump(now)) return false;
  if (from.empty()) return true;
  const std::size_t count = Holds() != 0 ? 0 : std::min(from.size(), Room(now));
  cutShort = count < from.size();
  if (count == 0) return true;
  writtenCount = count;
  estimate.Add(count, cutShort, now);
  if (client)
    client->Send(from.first(count));
  else
    socket.Send({reinterpret_cast<const char*>(from.data()), count});
  Flush();
  return true;
}

bool NetSerialPort::PurgeTransmit() {
  if (!IsReady()) return FailNotOpen();
  if (client) client->PurgeTransmit();
  Flush();
  estimate.Clear(Now());
  xoffReceived = cutShort = false;
  return true;
}

bool NetSerialPort::PurgeReceive() {
  const Time now = Now();
  if (!Pump(now)) return false;
  received.clear();
  if (client) client->PurgeReceive(now);
  Flush();
  return true;
}

// --- Waiting ---

void NetSerialPort::WaitReadable(std::chrono::microseconds atMost) {
  const Time now = Now();
  Time until = now + atMost;
  if (stage != Stage::Closed && (ending || !received.empty())) return;
  if (stage == Stage::Connecting) until = std::min(until, now + LineSocket::kConnectTime);
  if (stage == Stage::Greeting && !client) until = std::min(until, settled);
  if (client) until = std::min(until, client->Deadline(now).value_or(until));
  socket.WaitUntil(until);
}

KorText NetSerialPort::AskSignature() {
  if (!client) return {};
  const Time until = Now() + ComPortClient::kPatience;
  client->AskSignature();
  while (Pump(Now()) && !client->Signature() && Now() < until)
    socket.WaitUntil(until);
  return client->Signature() ? PlainText(*client->Signature()) : KorText();
}

} // namespace kor
