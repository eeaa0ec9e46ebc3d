#include "platform/net/com_port_client.h"

#include <algorithm>
#include <array>

#include "services/core/text_lookup.h"

namespace kor {

namespace {

// These are the client's commands. The server's answer has the command's number plus kFromServer.
enum Command : std::uint8_t {
  kSignature = 0,
  kSetBaudRate = 1,
  kSetDataSize = 2,
  kSetParity = 3,
  kSetStopSize = 4,
  kSetControl = 5,
  kNotifyLineState = 6,
  kNotifyModemState = 7,
  kSuspend = 8,
  kResume = 9,
  kSetLineStateMask = 10,
  kSetModemStateMask = 11,
  kPurgeData = 12,
};
constexpr std::uint8_t kFromServer = 100;

// Values of SET-CONTROL.
constexpr std::uint8_t kNoFlow = 1, kCtsFlow = 3, kDsrFlow = 19, kDtrOn = 8, kDtrOff = 9,
                       kRtsOn = 11, kRtsOff = 12;
constexpr std::uint8_t kPurgeReceived = 1, kPurgeUnsent = 2;
// Bits of NOTIFY-LINESTATE and NOTIFY-MODEMSTATE.
constexpr std::uint8_t kOverrun = 2, kParityError = 4, kFramingError = 8, kBreak = 16;
constexpr std::uint8_t kCts = 16, kDsr = 32, kCarrier = 128;
constexpr std::uint8_t kLineStateMask = kOverrun | kParityError | kFramingError | kBreak;
constexpr std::uint8_t kModemStateMask = 255; // some servers tell changes only with the change bits

constexpr std::size_t kMostSignature = 80;
constexpr std::string_view kOwnSignature = "ncedl";

std::string Bytes(std::uint32_t value) { // most significant first
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8)
    bytes += static_cast<char>(value >> shift);
  return bytes;
}

std::uint32_t Number(std::string_view bytes) {
  std::uint32_t number = 0;
  for (const char byte : bytes)
    number = number << 8 | static_cast<std::uint8_t>(byte);
  return number;
}

std::uint8_t StopCode(StopBits stop) {
  if (stop == StopBits::OnePointFive) return 3;
  return stop == StopBits::Two ? 2 : 1;
}

std::uint8_t FlowCode(const DeviceControlBlock& block) {
  if (block.outxCtsFlow) return kCtsFlow;
  return block.outxDsrFlow ? kDsrFlow : kNoFlow;
}

// Returns which setting a value of SET-CONTROL belongs to; one command serves three settings.
int ControlKind(std::uint32_t value) {
  if (value == kDtrOn || value == kDtrOff) return 1;
  return value == kRtsOn || value == kRtsOff ? 2 : 0;
}

KorText ValueText(std::uint8_t command, std::uint32_t value) {
  static constexpr std::u16string_view kParities = u"?NOEMS";
  static constexpr std::array<std::u16string_view, 4> kStops = {u"?", u"1", u"2", u"1.5"};
  if (command == kSetBaudRate) return KorText::Format(u"baud=%u", value);
  if (command == kSetDataSize) return KorText::Format(u"data=%u", value);
  if (command == kSetParity)
    return KorText::Format(u"parity=%c", kParities[value < kParities.size() ? value : 0]);
  return KorText::Format(u"stop=%s", kStops[value < kStops.size() ? value : 0]);
}

KorText NameOf(std::uint8_t command) {
  static constexpr std::array<std::u16string_view, 13> kNames = {u"SIGNATURE",
                                                                 u"SET-BAUDRATE",
                                                                 u"SET-DATASIZE",
                                                                 u"SET-PARITY",
                                                                 u"SET-STOPSIZE",
                                                                 u"SET-CONTROL",
                                                                 u"",
                                                                 u"",
                                                                 u"",
                                                                 u"",
                                                                 u"SET-LINESTATE-MASK",
                                                                 u"SET-MODEMSTATE-MASK",
                                                                 u"PURGE-DATA"};
  return KorText(kNames[command]);
}

// Allows what a receiver that samples in the middle of a bit can bear, as with a local port.
bool IsSameRate(std::uint32_t set, std::uint32_t asked) {
  const std::uint64_t difference = set > asked ? set - asked : asked - set;
  return difference * 100 <= std::uint64_t{asked} * 3;
}

} // namespace

// --- Asking ---

void ComPortClient::Start(Time now) {
  greetingEnd = now + kPatience;
  // The client offers the port option and never asks for it with DO, because common servers refuse
  // that.
  options.OfferOwn(telnet::kComPort);
  for (const std::uint8_t option : {telnet::kBinary, telnet::kSuppressGoAhead}) {
    options.OfferOwn(option);
    options.AskFar(option);
  }
}

ComPortClient::Answer ComPortClient::Greeting(Time now) const {
  if (options.IsOwnOn(telnet::kComPort)) return Answer::Given;
  const bool isOver = now >= greetingEnd || options.IsOwnRefused(telnet::kComPort);
  return isOver ? Answer::Refused : Answer::Awaited;
}

void ComPortClient::Command(std::uint8_t command, std::string_view value) {
  std::string payload(1, static_cast<char>(command));
  payload += value;
  AppendSubNegotiation(out, telnet::kComPort, payload);
}

void ComPortClient::Await(std::uint8_t command, std::uint32_t value) {
  awaited.push_back({command, value});
  Command(command,
          command == kSetBaudRate ? Bytes(value) : std::string(1, static_cast<char>(value)));
}

void ComPortClient::SetLine(const DeviceControlBlock& block, Time now) {
  line = block;
  lineEnd = now + kPatience;
  awaited.clear();
  difference.Clear();
  const bool byTwoLines = block.outxCtsFlow && block.outxDsrFlow;
  obeysLess = byTwoLines || (block.outX && FlowCode(block) != kNoFlow);
  Await(kSetBaudRate, block.baudRate);
  Await(kSetDataSize, block.dataBits);
  Await(kSetParity, static_cast<std::uint32_t>(block.parity) + 1);
  Await(kSetStopSize, StopCode(block.stopBits));
  Await(kSetControl, block.dtrControl == LineControl::Disable ? kDtrOff : kDtrOn);
  Await(kSetControl, block.rtsControl == LineControl::Disable ? kRtsOff : kRtsOn);
  Await(kSetControl, FlowCode(block));
  Await(kSetLineStateMask, kLineStateMask);
  Await(kSetModemStateMask, kModemStateMask);
}

ComPortClient::Answer ComPortClient::LineAnswer(Time now) const {
  if (!difference.IsEmpty()) return Answer::Refused;
  return awaited.empty() || now >= lineEnd ? Answer::Given : Answer::Awaited;
}

KorText ComPortClient::Unanswered() const {
  KorText names;
  for (const Awaited& command : awaited) {
    const KorText name = NameOf(command.command);
    if (names.Contains(name)) continue;
    if (!names.IsEmpty()) names += u", ";
    names += name;
  }
  return names;
}

void ComPortClient::PurgeTransmit() {
  Command(kPurgeData, std::string(1, static_cast<char>(kPurgeUnsent)));
}

void ComPortClient::PurgeReceive(Time now) {
  data.clear();
  purging = true;
  purgeEnd = now + kPatience;
  Command(kPurgeData, std::string(1, static_cast<char>(kPurgeReceived)));
}

void ComPortClient::AskSignature() {
  Command(kSignature, {});
}

std::optional<ComPortClient::Time> ComPortClient::Deadline(Time now) const {
  if (Greeting(now) == Answer::Awaited) return greetingEnd;
  if (LineAnswer(now) == Answer::Awaited) return lineEnd;
  return std::nullopt;
}

// --- What the server says ---

bool ComPortClient::Receive(std::span<const std::uint8_t> bytes, Time now) {
  if (purging && now >= purgeEnd) purging = false;
  return decoder.Decode(bytes, *this);
}

void ComPortClient::OnData(std::span<const std::uint8_t> bytes) {
  const bool isIgnored = line.dsrSensitivity && IsDsrOff(); // as of this place in the stream
  if (!purging && !isIgnored) data.append(bytes.begin(), bytes.end());
}

void ComPortClient::OnNegotiation(std::uint8_t verb, std::uint8_t option) {
  options.OnNegotiation(verb, option);
}

void ComPortClient::OnSubNegotiation(std::uint8_t option, std::string_view payload) {
  if (option != telnet::kComPort || payload.empty()) return;
  const auto command = static_cast<std::uint8_t>(payload[0]);
  const bool isServers = command >= kFromServer;
  const auto meant = static_cast<std::uint8_t>(isServers ? command - kFromServer : command);
  // A server's own commands have the higher numbers, but some servers use the client's for these
  // two.
  if (meant == kSuspend) suspended = true;
  if (meant == kResume) suspended = false;
  if (isServers) OnAnswer(meant, payload.substr(1));
}

void ComPortClient::OnAnswer(std::uint8_t command, std::string_view value) {
  if (command == kSignature) return OnSignature(value);
  if (value.size() != (command == kSetBaudRate ? 4U : 1U)) return;
  const std::uint32_t number = Number(value);
  if (command == kNotifyLineState) return OnLineState(static_cast<std::uint8_t>(number));
  if (command == kNotifyModemState) return OnModemState(static_cast<std::uint8_t>(number));
  if (command == kPurgeData && (number & kPurgeReceived) != 0) purging = false;
  const auto asked = std::ranges::find_if(awaited, [&](const Awaited& one) {
    const bool sameKind = command != kSetControl || ControlKind(one.value) == ControlKind(number);
    return one.command == command && sameKind;
  });
  if (asked == awaited.end()) return;
  Check(*asked, number);
  awaited.erase(asked);
}

// A signature without a text is the server's own question. It gets one answer, so that it can't
// fill the memory.
void ComPortClient::OnSignature(std::string_view value) {
  if (!value.empty())
    signature = std::string(value.substr(0, kMostSignature));
  else if (!std::exchange(hasSigned, true))
    Command(kSignature, kOwnSignature);
}

// The user could do nothing about a mask or a modem output that differs, so those are ignored.
void ComPortClient::Check(const Awaited& asked, std::uint32_t set) {
  const bool isRate = asked.command == kSetBaudRate;
  if (isRate ? IsSameRate(set, asked.value) : set == asked.value) return;
  if (asked.command == kSetControl && ControlKind(asked.value) == 0) obeysLess = true;
  if (asked.command > kSetStopSize || !difference.IsEmpty()) return;
  difference =
      KorText::Format(LookUpText(kTexts.serverSetOther), ValueText(asked.command, asked.value),
                      ValueText(asked.command, set));
}

void ComPortClient::OnLineState(std::uint8_t state) {
  errors.overrun += (state & kOverrun) != 0;
  errors.parity += (state & kParityError) != 0;
  errors.framing += (state & kFramingError) != 0;
  errors.breaks += (state & kBreak) != 0;
}

void ComPortClient::OnModemState(std::uint8_t state) {
  modemState = state;
  carrierSeen = carrierSeen || (state & kCarrier) != 0;
}

bool ComPortClient::IsDsrOff() const {
  return modemState && (*modemState & kDsr) == 0;
}

// Most cables have no wire for the carrier. Where the carrier was on and drops, the machine has
// gone.
std::uint32_t ComPortClient::Holds() const {
  std::uint32_t holds = suspended ? std::uint32_t{kCtsHold} : 0;
  if (!modemState) return holds;
  const bool byHardware = line.outxCtsFlow || line.outxDsrFlow;
  if (line.outxCtsFlow && (*modemState & kCts) == 0) holds |= kCtsHold;
  if (line.outxDsrFlow && IsDsrOff()) holds |= kDsrHold;
  if (byHardware && carrierSeen && (*modemState & kCarrier) == 0) holds |= kRlsdHold;
  return holds;
}

} // namespace kor
