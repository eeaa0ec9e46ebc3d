#include "platform/net/telnet_stream.h"

#include <algorithm>

#include "services/core/as_bytes.h"

namespace kor {

using namespace telnet;

// --- Reading ---

bool TelnetDecoder::Decode(std::span<const std::uint8_t> bytes, TelnetSink& sink) {
  while (!bytes.empty() && state != State::Broken) {
    if (state == State::Data) {
      const auto end = std::ranges::find(bytes, kIac);
      const auto count = static_cast<std::size_t>(end - bytes.begin());
      if (count > 0) sink.OnData(bytes.first(count));
      bytes = bytes.subspan(count);
      if (bytes.empty()) break;
    }
    const std::uint8_t byte = bytes.front();
    bytes = bytes.subspan(1);
    switch (state) {
    case State::Data:
      state = State::Command;
      break;
    case State::Command:
      OnCommand(byte, sink);
      break;
    case State::Negotiation:
      state = State::Data;
      sink.OnNegotiation(verb, byte);
      break;
    case State::Sub:
      if (byte == kIac)
        state = State::SubCommand;
      else
        Keep(byte);
      break;
    case State::SubCommand:
      OnSubCommand(byte, sink);
      break;
    case State::Broken:
      break;
    }
  }
  return state != State::Broken;
}

void TelnetDecoder::OnCommand(std::uint8_t byte, TelnetSink& sink) {
  state = State::Data;
  if (byte == kIac) {
    sink.OnData(std::span(&byte, 1));
  } else if (byte == kSubBegin) {
    payload.clear();
    skipped = 0;
    state = State::Sub;
  } else if (byte >= kWill) {
    verb = byte;
    state = State::Negotiation;
  } // the others, such as "are you there", ask for nothing that a serial line has
}

void TelnetDecoder::OnSubCommand(std::uint8_t byte, TelnetSink& sink) {
  state = State::Sub;
  if (byte == kIac) {
    Keep(byte);
  } else if (byte != kSubEnd) {
    OnCommand(byte, sink); // the sub-negotiation was torn
  } else {
    state = State::Data;
    if (payload.empty() || skipped > 0) return;
    sink.OnSubNegotiation(static_cast<std::uint8_t>(payload[0]),
                          std::string_view(payload).substr(1));
  }
}

void TelnetDecoder::Keep(std::uint8_t byte) {
  state = State::Sub;
  if (payload.size() <= kMostPayload)
    payload += static_cast<char>(byte);
  else if (++skipped > kMostSkipped)
    state = State::Broken;
}

// --- Writing ---

void AppendEscaped(std::string& to, std::span<const std::uint8_t> data) {
  for (const std::uint8_t byte : data) {
    to += static_cast<char>(byte);
    if (byte == kIac) to += static_cast<char>(byte);
  }
}

void AppendSubNegotiation(std::string& to, std::uint8_t option, std::string_view payload) {
  to += {static_cast<char>(kIac), static_cast<char>(kSubBegin), static_cast<char>(option)};
  AppendEscaped(to, AsBytes(payload));
  to += {static_cast<char>(kIac), static_cast<char>(kSubEnd)};
}

// --- Options ---

bool TelnetOptions::Knows(const Side& side, std::uint8_t option) const {
  return option == kBinary || option == kSuppressGoAhead || (&side == &own && option == kComPort);
}

void TelnetOptions::Say(std::uint8_t verb, std::uint8_t option) {
  if (answersLeft-- <= 0) return;
  out += {static_cast<char>(kIac), static_cast<char>(verb), static_cast<char>(option)};
}

void TelnetOptions::Ask(Side& side, std::uint8_t option) {
  side.states[option] = State::Asked;
  Say(side.enable, option);
}

void TelnetOptions::OnNegotiation(std::uint8_t verb, std::uint8_t option) {
  if (verb == kDo) OnWanted(own, option);
  if (verb == kDont) OnUnwanted(own, option);
  if (verb == kWill) OnWanted(farSide, option);
  if (verb == kWont) OnUnwanted(farSide, option);
}

void TelnetOptions::OnWanted(Side& side, std::uint8_t option) {
  State& state = side.states[option];
  if (state == State::On || state == State::Denied) return;
  const bool answers = state != State::Asked;
  state = Knows(side, option) ? State::On : State::Denied;
  if (answers) Say(state == State::On ? side.enable : side.disable, option);
}

void TelnetOptions::OnUnwanted(Side& side, std::uint8_t option) {
  State& state = side.states[option];
  if (state == State::On) Say(side.disable, option);
  if (state == State::On || state == State::Asked) state = State::Refused;
}

} // namespace kor
