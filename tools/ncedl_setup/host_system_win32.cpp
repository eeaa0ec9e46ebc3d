#include "platform/port_address.h"
#include "platform/win32/serial_names_win32.h"
#include "tools/ncedl_setup/host_system.h"

namespace kor {

std::filesystem::path NativePath(const KorText& path) {
  return std::u16string(path.View());
}

KorText TextOfPath(const std::filesystem::path& path) {
  return path.u16string();
}

KorText RefusalOfFolder(const KorText&) {
  return {};
}

KorText AssignPort(const KorText& name, const KorText& device) {
  if (device.IsEmpty() || IsPortAddress(device)) return AssignSerialName(name, device);
  return name +
         u": Windows itself gives the names of serial ports. To change one, open the adapter "
         u"in the Device Manager: Port Settings, Advanced";
}

KorText DeviceRemark(const KorText&) {
  return {};
}

std::vector<KorText> DescribePorts() {
  std::vector<KorText> lines;
  for (const SerialName& known : ListSerialNames())
    lines.push_back(KorText::Format(u"%-6s %s", known.name, known.device));
  lines.emplace_back(lines.empty() ? u"as the Device Manager names them"
                                   : u"others: as the Device Manager names them");
  return lines;
}

} // namespace kor
