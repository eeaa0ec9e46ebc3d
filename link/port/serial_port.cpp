#include "link/port/serial_port.h"

#include <algorithm>
#include <array>
#include <optional>

namespace kor {

namespace {

constexpr std::array<std::uint32_t, 12> kBaudRates = {110,  150,  300,   600,   1200,  2400,
                                                      4800, 9600, 19200, 38400, 57600, 115200};

std::optional<std::uint32_t> BaudRateFrom(std::u16string_view value) {
  auto known = std::find_if(kBaudRates.begin(), kBaudRates.end(), [&](std::uint32_t rate) {
    return KorText::Format(u"%u", rate) == KorText(value);
  });
  if (known == kBaudRates.end()) return std::nullopt;
  return *known;
}

std::optional<Parity> ParityFrom(std::u16string_view value) {
  constexpr std::u16string_view kLetters = u"NOEMS"; // in the order of Parity's values
  if (value.size() != 1) return std::nullopt;
  std::size_t at = kLetters.find(FoldAscii(value[0]));
  if (at == std::u16string_view::npos) return std::nullopt;
  return static_cast<Parity>(at);
}

std::optional<std::uint8_t> DataBitsFrom(std::u16string_view value) {
  if (value.size() != 1 || value[0] < u'5' || value[0] > u'8') return std::nullopt;
  return static_cast<std::uint8_t>(value[0] - u'0');
}

std::optional<StopBits> StopBitsFrom(std::u16string_view value) {
  if (value == u"1") return StopBits::One;
  if (value == u"1.5") return StopBits::OnePointFive;
  if (value == u"2") return StopBits::Two;
  return std::nullopt;
}

template <class Value> bool Store(const std::optional<Value>& value, Value& to) {
  if (value) to = *value;
  return value.has_value();
}

bool StoreWord(std::u16string_view word, DeviceControlBlock& block) {
  std::size_t sign = word.find(u'=');
  if (sign == std::u16string_view::npos) return false;
  KorText key(word.substr(0, sign));
  std::u16string_view value = word.substr(sign + 1);
  if (key.EqualsNoCase(u"baud")) return Store(BaudRateFrom(value), block.baudRate);
  if (key.EqualsNoCase(u"parity")) return Store(ParityFrom(value), block.parity);
  if (key.EqualsNoCase(u"data")) return Store(DataBitsFrom(value), block.dataBits);
  if (key.EqualsNoCase(u"stop")) return Store(StopBitsFrom(value), block.stopBits);
  return false;
}

void ClearFlowControl(DeviceControlBlock& block) {
  block.outxCtsFlow = block.outxDsrFlow = false;
  block.dtrControl = block.rtsControl = LineControl::Enable;
  block.outX = block.inX = false;
}

} // namespace

bool ParseControlText(const KorText& text, DeviceControlBlock& block) {
  DeviceControlBlock built = block;
  ClearFlowControl(built);
  for (const KorText& word : Split(text, u' '))
    if (!word.IsEmpty() && !StoreWord(word, built)) return false;
  block = built;
  return true;
}

// Each setting is tested on its own: a text that is none of the four changes nothing.
void ApplyFlowControl(DeviceControlBlock& block, const KorText& setting, bool rtsCts, bool dtrDsr,
                      bool noSoftware) {
  bool combined = setting == u"Combined";
  bool hardware = combined || setting == u"Hardware";
  bool software = combined || setting == u"Xon/Xoff";
  if (!hardware && !software && setting != u"None") return;
  bool cts = hardware && rtsCts;
  bool dsr = hardware && dtrDsr;
  block.outxCtsFlow = cts;
  block.outxDsrFlow = dsr;
  block.dsrSensitivity = hardware;
  block.dtrControl = dsr ? LineControl::Handshake : LineControl::Enable;
  block.rtsControl = cts ? LineControl::Handshake : LineControl::Enable;
  block.outX = block.inX = software && !noSoftware;
}

} // namespace kor
