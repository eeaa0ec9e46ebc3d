#include "tools/nce_controller/line_settings.h"

#include <array>
#include <utility>

namespace kor::controller {

std::uint32_t LineSettings::HalfBitsPerByte() const {
  const std::uint32_t parityBits = parity == Parity::None ? 0 : 1;
  const std::uint32_t stopHalves = 2U + static_cast<std::uint32_t>(stopBits);
  return 2 * (1 + dataBits + parityBits) + stopHalves;
}

// Half a bit takes 5e8 / baud ns; 64 bits hold that product for more than 1e9 bytes in one piece.
Time LineSettings::BytesTime(std::uint64_t count) const {
  return Time(count * HalfBitsPerByte() * 500'000'000ULL / baud);
}

bool ParseBits(std::string_view text, LineSettings& settings) {
  static constexpr std::array<std::pair<char, Parity>, 5> kParities{{{'N', Parity::None},
                                                                     {'O', Parity::Odd},
                                                                     {'E', Parity::Even},
                                                                     {'M', Parity::Mark},
                                                                     {'S', Parity::Space}}};
  static constexpr std::array<std::pair<std::string_view, StopBits>, 3> kStops{
      {{"1", StopBits::One}, {"1.5", StopBits::OnePointFive}, {"2", StopBits::Two}}};
  if (text.size() < 3 || (text[0] != '7' && text[0] != '8')) return false;
  const char letter = text[1] >= 'a' ? static_cast<char>(text[1] - 'a' + 'A') : text[1];
  for (const auto& [name, parity] : kParities)
    for (const auto& [stopName, stop] : kStops)
      if (letter == name && text.substr(2) == stopName) {
        settings.dataBits = static_cast<std::uint8_t>(text[0] - '0');
        settings.parity = parity;
        settings.stopBits = stop;
        return true;
      }
  return false;
}

std::optional<FlowControl> ParseFlow(std::string_view text) {
  if (text == "xonxoff") return FlowControl::XonXoff;
  if (text == "hardware") return FlowControl::Hardware;
  if (text == "none") return FlowControl::None;
  return std::nullopt;
}

} // namespace kor::controller
