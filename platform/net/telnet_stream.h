// The telnet framing under RFC 2217: data bytes, options that one side offers and the other
// accepts, and sub-negotiations. Holds plain state and no sockets; used by one thread.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kor {

namespace telnet {
inline constexpr std::uint8_t kSubEnd = 240, kSubBegin = 250, kWill = 251, kWont = 252, kDo = 253,
                              kDont = 254, kIac = 255;
inline constexpr std::uint8_t kBinary = 0, kSuppressGoAhead = 3, kComPort = 44; // options
} // namespace telnet

// Receives what a stream brings, in order.
class TelnetSink {
 public:
  virtual ~TelnetSink() = default;
  virtual void OnData(std::span<const std::uint8_t> bytes) = 0; // 0xFF undoubled
  virtual void OnNegotiation(std::uint8_t verb, std::uint8_t option) = 0;
  virtual void OnSubNegotiation(std::uint8_t option, std::string_view payload) = 0;
};

class TelnetDecoder {
 public:
  static constexpr std::size_t kMostPayload = 255; // a longer sub-negotiation isn't told
  static constexpr std::size_t kMostSkipped = 4096;

  // Takes the stream in pieces of any size. Once a sub-negotiation is longer than kMostSkipped
  // bytes beyond the payload, the result stays false, because what follows can't be told from data.
  bool Decode(std::span<const std::uint8_t> bytes, TelnetSink& sink);

 private:
  enum class State { Data, Command, Negotiation, Sub, SubCommand, Broken };

  void OnCommand(std::uint8_t byte, TelnetSink& sink);
  void OnSubCommand(std::uint8_t byte, TelnetSink& sink);
  void Keep(std::uint8_t byte);

  State state = State::Data;
  std::uint8_t verb = 0;
  std::string payload;     // of the sub-negotiation under way, its option first
  std::size_t skipped = 0; // its bytes beyond the payload
};

// Appends the data with each 0xFF doubled.
void AppendEscaped(std::string& to, std::span<const std::uint8_t> data);
void AppendSubNegotiation(std::string& to, std::uint8_t option, std::string_view payload);

// Keeps the options that are on. It answers only what changes something and refuses each unknown
// option once, so that two sides can't answer each other for ever. The number of answers is limited
// as well.
class TelnetOptions {
 public:
  // Answers and offers are appended to out, which outlives this object.
  explicit TelnetOptions(std::string& toAppendTo) : out(toAppendTo) {}

  void OfferOwn(std::uint8_t option) { Ask(own, option); }   // WILL
  void AskFar(std::uint8_t option) { Ask(farSide, option); } // DO
  void OnNegotiation(std::uint8_t verb, std::uint8_t option);
  bool IsOwnOn(std::uint8_t option) const { return own.states[option] == State::On; }
  bool IsOwnRefused(std::uint8_t option) const { return own.states[option] == State::Refused; }
  bool IsFarOn(std::uint8_t option) const { return farSide.states[option] == State::On; }

 private:
  enum class State : std::uint8_t { Off, Asked, On, Refused, Denied };
  struct Side {
    std::uint8_t enable, disable; // what this program says of the side
    std::array<State, 256> states{};
  };

  void Ask(Side& side, std::uint8_t option);
  void OnWanted(Side& side, std::uint8_t option);
  void OnUnwanted(Side& side, std::uint8_t option);
  void Say(std::uint8_t verb, std::uint8_t option);
  bool Knows(const Side& side, std::uint8_t option) const;

  std::string& out;
  Side own{telnet::kWill, telnet::kWont};
  Side farSide{telnet::kDo, telnet::kDont};
  int answersLeft = 600; // every option of both sides once, and some that change their mind
};

} // namespace kor
