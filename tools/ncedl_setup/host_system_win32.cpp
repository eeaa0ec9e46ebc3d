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

KorText AssignPort(const KorText& name, const KorText&) {
  return name +
         u": Windows itself gives the names of serial ports. To change one, open the adapter "
         u"in the Device Manager: Port Settings, Advanced";
}

KorText DeviceRemark(const KorText&) {
  return {};
}

std::vector<KorText> DescribePorts() {
  return {u"as the Device Manager names them"};
}

} // namespace kor
