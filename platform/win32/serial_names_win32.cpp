#include "platform/win32/serial_names_win32.h"

#include "platform/port_address.h"
#include "platform/serial_devices.h"
#include "services/core/app_interface.h"

namespace kor {

namespace {

constexpr int kLastNumber = 255;

KorText Key() {
  return AppInterface::RegistryKey(u"PORTS");
}

} // namespace

KorText NetworkAddress(const KorText& name) {
  const KorText target =
      IsPortAddress(name) ? name : App().ReadRegistryText(Key(), name).value_or(KorText());
  return IsPortAddress(target) ? target : KorText();
}

std::vector<SerialName> ListSerialNames() {
  std::vector<SerialName> names;
  for (int number = 1; number <= kLastNumber; ++number) {
    const KorText name = KorText::Format(u"COM%i", number);
    const KorText address = NetworkAddress(name);
    if (!address.IsEmpty()) names.push_back({name, address});
  }
  return names;
}

KorText AssignSerialName(const KorText& name, const KorText& address) {
  if (address.IsEmpty() && NetworkAddress(name).IsEmpty()) return {};
  const KorText refusal = address.IsEmpty() ? KorText() : RefusalOfPortAddress(address);
  if (!refusal.IsEmpty()) return refusal;
  if (App().WriteRegistryText(Key(), name, address)) return {};
  return name + u": " + App().ErrorText(App().LastError());
}

} // namespace kor
